#include "tests/inspection/windows/WindowFixture.h"
#include "tests/support/SamplePair.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/ParaSet.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QHeaderView>
#include <QLabel>
#include <QTest>

namespace {

enum Column { Name, Kind, Area, Volume, MeanDz, LargestDz, Attribute, Suggested };

class AnomalyTableTest : public InspectionWindowTest {
protected:
    void SetUp() override {
        InspectionWindowTest::SetUp();
        openComputed();
        m_item = checkedStationWithMostAnomalies();
        ASSERT_GE(m_item->m_diffData.m_anomalies.size(), 2U);
        clickStation(m_item->GetStationId());
    }

    void clickStation(std::uint32_t id) {
        for (int i = 0; i < tree().topLevelItem(0)->childCount(); ++i) {
            if (station(i)->data(0, Qt::UserRole).toUInt() == id) {
                QTest::mouseClick(tree().viewport(), Qt::LeftButton, {},
                                  tree().visualItemRect(station(i)).center());
            }
        }
    }
    int rows() const { return table().model()->rowCount(); }
    QString cell(int row, int column) const { return table().model()->index(row, column).data().toString(); }
    QString summary() const { return m_window->findChild<QLabel*>("anomalySummary")->text(); }
    int rowOf(const QString& name) const {
        for (int row = 0; row < rows(); ++row) {
            if (cell(row, Name) == name) {
                return row;
            }
        }
        return -1;
    }
    std::vector<SdiffData> stored() {
        mysqlhelper::KV_MySQL database(context().project()->description().databaseFile().toStdString());
        return inspection::readAnomalies(database, m_item->GetStationId(), kSamplePair);
    }

    KV_StationItem* m_item = nullptr;
};

TEST_F(AnomalyTableTest, AClickOnAStationFillsTheTable) {
    EXPECT_EQ(static_cast<std::size_t>(rows()), m_item->m_diffData.m_anomalies.size());
    EXPECT_EQ(context().GetAVWindow()->GetCurrentItem()->GetStationId(), m_item->GetStationId());
    QStringList titles;
    for (int column = 0; column < table().model()->columnCount(); ++column) {
        titles << table().model()->headerData(column, Qt::Horizontal).toString();
    }
    EXPECT_EQ(titles, QStringList({"名称", "类型", "面积(m²)", "体积(m³)", "平均dZ(m)", "最大|dZ|(m)", "属性",
                                   "建议类别", "距管线(m)", "高后果区", "位置", "体积标准差(m³)",
                                   "dZ标准差(m)", "检出限(m)", "显著性", "类别置信度", "站段", "里程"}));
    EXPECT_TRUE(summary().contains(QString("共 %1 处").arg(rows())));
    const QVariant alignment = table().model()->index(0, Area).data(Qt::TextAlignmentRole);
    EXPECT_TRUE(alignment.value<Qt::Alignment>().testFlag(Qt::AlignRight));
    keepPicture(*context().GetAVWindow(), "anomaly-table");
}

TEST_F(AnomalyTableTest, AClickOnAHeadSortsByNumber) {
    QHeaderView* header = table().horizontalHeader();
    const QPoint at(header->sectionViewportPosition(Area) + header->sectionSize(Area) / 2,
                    header->height() / 2);
    QTest::mouseClick(header->viewport(), Qt::LeftButton, {}, at);
    const auto area = [this](int row) {
        SdiffData anomaly;
        EXPECT_TRUE(m_item->m_diffData.GetdiffdataByname(toGbk(cell(row, Name)), anomaly));
        return anomaly.areaSquareMetres;
    };
    const bool ascending = header->sortIndicatorOrder() == Qt::AscendingOrder;
    for (int row = 1; row < rows(); ++row) {
        EXPECT_EQ(area(row - 1) <= area(row), ascending || area(row - 1) == area(row));
    }
}

TEST_F(AnomalyTableTest, SettingAttributesStoresAndShowsThem) {
    std::vector<SdiffData> some(m_item->m_diffData.m_anomalies.begin(),
                                m_item->m_diffData.m_anomalies.begin() + 2);
    some[0].attribute = toGbk("深挖");
    some[1].attribute = toGbk("带'引号'的\n属性");
    context().GetAVWindow()->SetItemAtrii(m_item, some);
    EXPECT_EQ(cell(rowOf(fromGbk(some[0].name)), Attribute), "深挖");
    EXPECT_EQ(cell(rowOf(fromGbk(some[1].name)), Attribute), "带'引号'的 属性");
    EXPECT_TRUE(summary().contains("已判定 2"));
    const auto rows = stored();
    for (const SdiffData& changed : some) {
        const auto found =
            std::find_if(rows.begin(), rows.end(), [&](const auto& row) { return row.id == changed.id; });
        ASSERT_NE(found, rows.end());
        EXPECT_EQ(found->attribute, changed.attribute);
    }
    SdiffData own;
    ASSERT_TRUE(context().GetAVWindow()->GetCurrentItem()->m_diffData.GetdiffdataByname(some[0].name, own));
    EXPECT_EQ(own.attribute, some[0].attribute);
}

TEST_F(AnomalyTableTest, DeletingTakesRowOverlayAndRecordAway) {
    const std::vector<SdiffData> one(m_item->m_diffData.m_anomalies.begin(),
                                     m_item->m_diffData.m_anomalies.begin() + 1);
    const int before = rows();
    context().GetAVWindow()->DeleteItems(context().GetAVWindow()->GetCurrentItem(), one);
    EXPECT_EQ(rows(), before - 1);
    EXPECT_EQ(rowOf(fromGbk(one[0].name)), -1);
    EXPECT_EQ(stored().size(), static_cast<std::size_t>(before) - 1);
    for (osg::Group* group : overlayGroups()) {
        for (unsigned i = 0; i < group->getNumChildren(); ++i) {
            EXPECT_NE(group->getChild(i)->getName(), one[0].name);
        }
    }
    EXPECT_EQ(m_item->m_diffData.m_anomalies.size(), static_cast<std::size_t>(before) - 1)
        << "the station window's item follows";
}

TEST_F(AnomalyTableTest, WhenTheDatabaseRefusesNothingChangesAndOneMessageSaysSo) {
    auto* data = dynamic_cast<PipelineDataSet*>(context().GetDataSet(PipelineDataSet::kIndex));
    data->GetMySQL()->execute("drop table anomaly");
    std::vector<SdiffData> one(m_item->m_diffData.m_anomalies.begin(),
                               m_item->m_diffData.m_anomalies.begin() + 1);
    const QString before = cell(rowOf(fromGbk(one[0].name)), Attribute);
    const int rowsBefore = rows();
    one[0].attribute = toGbk("塌陷");
    MessageWatch messages;
    context().GetAVWindow()->SetItemAtrii(m_item, one);
    EXPECT_EQ(messages.texts().size(), 1);
    context().GetAVWindow()->DeleteItems(m_item, one);
    EXPECT_EQ(messages.texts().size(), 2);
    EXPECT_EQ(rows(), rowsBefore);
    EXPECT_EQ(cell(rowOf(fromGbk(one[0].name)), Attribute), before);
}

TEST_F(AnomalyTableTest, SelectsByPositionAndScrollsThere) {
    const SdiffData& last = m_item->m_diffData.m_anomalies.back();
    SdiffData expected;
    if (!m_item->m_diffData.GetdiffdataBycoor(last.x, last.y, expected)) {
        GTEST_FAIL() << "the centroid lies in the outline for the sample's compact shapes";
    }
    context().GetAVWindow()->SetSelectedbycoor(m_item, last.x, last.y);
    const QModelIndexList selected = table().selectionModel()->selectedRows();
    ASSERT_EQ(selected.size(), 1);
    EXPECT_EQ(selected[0].data().toString(), fromGbk(expected.name));
    EXPECT_TRUE(table().viewport()->rect().intersects(table().visualRect(selected[0])));
    context().GetAVWindow()->SetSelectedbycoor(nullptr, last.x, last.y);
    EXPECT_EQ(table().selectionModel()->selectedRows().size(), 1);
}

TEST_F(AnomalyTableTest, RefreshClearsAndAddDataFillsFromTheOwnCopy) {
    AVWindow* window = context().GetAVWindow();
    const int before = rows();
    window->Refresh();
    EXPECT_EQ(rows(), 0);
    KV_StationItem copy = *m_item;
    copy.m_diffData.m_anomalies.resize(1);
    window->SetCurrentItem(copy);
    EXPECT_EQ(rows(), 0);
    window->AddData();
    EXPECT_EQ(rows(), 1);
    EXPECT_EQ(static_cast<std::size_t>(before), m_item->m_diffData.m_anomalies.size())
        << "the copy is a copy";
    EXPECT_TRUE(context().GetStationWindow()->SetcurrentdiffSelected(m_item));
    EXPECT_FALSE(context().GetStationWindow()->SetcurrentdiffSelected(nullptr));
}

} // namespace
