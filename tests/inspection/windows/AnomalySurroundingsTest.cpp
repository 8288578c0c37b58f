// The table's columns of what lies around an anomaly: the pipe and the high-consequence areas.

#include "tests/inspection/windows/WindowFixture.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/EditHistory.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspectiondata/pipeline/Surroundings.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QComboBox>
#include <QFile>
#include <QGuiApplication>
#include <QHeaderView>
#include <QTest>

#include <map>

namespace {

enum Column { Name = 0, Attribute = 6, PipeDistance = 8, HighConsequenceAreas = 9 };

class AnomalySurroundingsTest : public InspectionWindowTest {
protected:
    void SetUp() override {
        InspectionWindowTest::SetUp();
        openComputed();
        m_item = checkedStationWithMostAnomalies();
        ASSERT_GE(m_item->m_diffData.m_anomalies.size(), 2U);
        ASSERT_TRUE(context().GetStationWindow()->SetcurrentdiffSelected(m_item));
        show(*m_item);
    }

    void show(const KV_StationItem& item) {
        context().GetAVWindow()->Refresh();
        context().GetAVWindow()->SetCurrentItem(item);
        context().GetAVWindow()->AddData();
    }
    int rows() const { return table().model()->rowCount(); }
    QString cell(int row, int column) const { return table().model()->index(row, column).data().toString(); }
    QStringList column(int column) const {
        QStringList texts;
        for (int row = 0; row < rows(); ++row) {
            texts << cell(row, column);
        }
        return texts;
    }
    QString areasOf(const std::string& name) const {
        return cell(static_cast<int>(column(Name).indexOf(fromGbk(name))), HighConsequenceAreas);
    }
    void clickHead(int column) {
        QHeaderView* header = table().horizontalHeader();
        table().scrollTo(table().model()->index(0, column));
        QTest::mouseClick(header->viewport(), Qt::LeftButton, {},
                          {header->sectionViewportPosition(column) + header->sectionSize(column) / 2,
                           header->height() / 2});
    }
    const SdiffData& firstAnomaly() const { return m_item->m_diffData.m_anomalies.front(); }
    /// A high-consequence area of 2 m around the anomaly's centroid, as a drawing tool hands it over.
    bool drawAreaAround(const SdiffData& anomaly, const char* name) {
        constexpr double kDegrees = 1e-5;
        const double lon = anomaly.lonDegrees;
        const double lat = anomaly.latDegrees;
        Special_Polygon area(toGbk(name), {lon, lat, 0.0});
        area.m_type = KV_HIGH_CONSEQUENCE_AREA;
        area.m_vertices = {{lon - kDegrees, lat - kDegrees, 0.0},
                           {lon + kDegrees, lat - kDegrees, 0.0},
                           {lon, lat + kDegrees, 0.0}};
        return context().GetStationWindow()->AddAreaNode(area);
    }
    /// The user comes back from another program.
    static void comeBack() { emit qGuiApp->applicationStateChanged(Qt::ApplicationActive); }

    KV_StationItem* m_item = nullptr;
};

TEST_F(AnomalySurroundingsTest, EveryRowTellsTheDistanceToTheCentreLine) {
    const inspection::Pipeline pipeline = inspection::Pipeline::read(context().project()->description());
    const auto around = inspection::CorridorSurroundings(pipeline, {}).around(m_item->m_station);
    for (int row = 0; row < rows(); ++row) {
        SdiffData anomaly;
        ASSERT_TRUE(m_item->m_diffData.GetdiffdataByname(toGbk(cell(row, Name)), anomaly));
        EXPECT_EQ(cell(row, PipeDistance),
                  inspection::pipeDistanceText(around->of(anomaly).pipeMetres.value()));
    }
    const QVariant alignment = table().model()->index(0, PipeDistance).data(Qt::TextAlignmentRole);
    EXPECT_TRUE(alignment.value<Qt::Alignment>().testFlag(Qt::AlignRight));
    for (const int column : {PipeDistance, HighConsequenceAreas}) {
        EXPECT_FALSE(
            table().model()->headerData(column, Qt::Horizontal, Qt::ToolTipRole).toString().isEmpty());
    }
}

TEST_F(AnomalySurroundingsTest, ColumnsAreAsWideAsTheirTexts) {
    ASSERT_TRUE(drawAreaAround(firstAnomaly(), "东关村"));
    show(*m_item);
    for (const int column : {PipeDistance, HighConsequenceAreas}) {
        const QHeaderView* header = table().horizontalHeader();
        EXPECT_GE(header->sectionSize(column), header->sectionSizeHint(column));
        for (int row = 0; row < rows(); ++row) {
            EXPECT_GT(table().columnWidth(column),
                      table().fontMetrics().horizontalAdvance(cell(row, column)));
        }
    }
    keepPicture(*context().GetAVWindow(), "anomaly-surroundings");
}

TEST_F(AnomalySurroundingsTest, DistancesSortByNumberAndMissingOnesStayLast) {
    KV_StationItem item = *m_item;
    item.m_diffData.m_anomalies.resize(2);
    SdiffData& far = item.m_diffData.m_anomalies[0];
    const SdiffData& near = item.m_diffData.m_anomalies[1];
    SdiffData none = near;
    none.name = "none";
    none.outlineWkt.clear();
    far.outlineWkt = "POLYGON ((0 0, 1 0, 0 1, 0 0))"; // hundreds of kilometres
    const QString farName = fromGbk(far.name);
    const QString nearName = fromGbk(near.name);
    item.m_diffData.m_anomalies.insert(item.m_diffData.m_anomalies.begin(), none);
    show(item);
    clickHead(PipeDistance);
    const bool ascending = table().horizontalHeader()->sortIndicatorOrder() == Qt::AscendingOrder;
    const QStringList up{nearName, farName, "none"};
    const QStringList down{farName, nearName, "none"};
    EXPECT_EQ(column(Name), ascending ? up : down);
    EXPECT_EQ(cell(2, PipeDistance), QString());
    clickHead(PipeDistance);
    EXPECT_EQ(column(Name), ascending ? down : up);
}

TEST_F(AnomalySurroundingsTest, AreasSortByNameAndAnomaliesOutsideStayLast) {
    ASSERT_TRUE(drawAreaAround(firstAnomaly(), "东关村"));
    for (int click = 0; click < 2; ++click) {
        clickHead(HighConsequenceAreas);
        EXPECT_EQ(cell(0, HighConsequenceAreas), "东关村");
        EXPECT_EQ(cell(rows() - 1, HighConsequenceAreas), QString());
    }
}

TEST_F(AnomalySurroundingsTest, AnAreaThatIsDrawnUndoneOrDeletedShowsAtOnce) {
    const std::string name = firstAnomaly().name;
    const QString before = areasOf(name);
    EXPECT_FALSE(before.contains("东关村"));
    ASSERT_TRUE(drawAreaAround(firstAnomaly(), "东关村"));
    EXPECT_TRUE(areasOf(name).contains("东关村"));
    EditHistory* history = context().GetEditHistory();
    history->TakeUndo()->Undo(true);
    EXPECT_EQ(areasOf(name), before);
    history->TakeRedo()->Redo(true);
    EXPECT_TRUE(areasOf(name).contains("东关村"));
    ASSERT_TRUE(context().GetStationWindow()->DeleteNode("东关村", KV_HIGH_CONSEQUENCE_AREA));
    EXPECT_EQ(areasOf(name), before);
}

TEST_F(AnomalySurroundingsTest, RowsKeepTheirFiguresWhenOthersAreJudgedOrDeleted) {
    ASSERT_TRUE(drawAreaAround(firstAnomaly(), "东关村"));
    std::map<QString, QString> figures;
    for (int row = 0; row < rows(); ++row) {
        figures[cell(row, Name)] = cell(row, PipeDistance) + cell(row, HighConsequenceAreas);
    }
    std::vector<SdiffData> last(1, m_item->m_diffData.m_anomalies.back());
    last[0].attribute = toGbk("深挖");
    context().GetAVWindow()->SetItemAtrii(m_item, last);
    const std::vector<SdiffData> first(1, firstAnomaly());
    context().GetAVWindow()->DeleteItems(m_item, first);
    ASSERT_EQ(rows(), static_cast<int>(figures.size()) - 1);
    for (int row = 0; row < rows(); ++row) {
        EXPECT_EQ(figures.at(cell(row, Name)), cell(row, PipeDistance) + cell(row, HighConsequenceAreas));
    }
}

TEST_F(AnomalySurroundingsTest, AnotherCentreLineIsMeasuredWhenTheUserComesBack) {
    const QString file = context().project()->description().centerline;
    const QStringList before = column(PipeDistance);
    ASSERT_FALSE(before.contains(QString()));
    ASSERT_TRUE(QFile::rename(file, file + ".away"));
    comeBack();
    EXPECT_EQ(column(PipeDistance).join(QString()), QString()) << "empty without a centre line";
    ASSERT_TRUE(QFile::rename(file + ".away", file));
    comeBack();
    EXPECT_EQ(column(PipeDistance), before);
}

TEST_F(AnomalySurroundingsTest, FiltersWorkOnATableSortedByDistance) {
    clickHead(PipeDistance);
    ASSERT_TRUE(drawAreaAround(firstAnomaly(), "东关村"));
    std::vector<SdiffData> one(1, firstAnomaly());
    one[0].attribute = toGbk("深挖");
    context().GetAVWindow()->SetItemAtrii(m_item, one);
    auto* filter = m_window->findChild<QComboBox*>("attributeFilter");
    filter->setCurrentIndex(4);
    ASSERT_EQ(rows(), 1);
    EXPECT_TRUE(cell(0, HighConsequenceAreas).contains("东关村"));
    EXPECT_EQ(cell(0, Attribute), "深挖");
}

} // namespace
