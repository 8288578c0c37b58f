#include "tests/inspection/windows/WindowFixture.h"
#include "tests/support/MenuEntry.h"
#include "tests/support/Typing.h"

#include "host/inspection/AVWindow.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/Project.h"

#include <osgEarthUtil/EarthManipulator>

#include <QApplication>
#include <QContextMenuEvent>
#include <QDir>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QTest>
#include <QToolButton>

#include <numeric>

namespace {

class StationTreeTest : public InspectionWindowTest {
protected:
    void clickButton(const QString& text) {
        for (QToolButton* button : context().GetStationWindow()->findChildren<QToolButton*>()) {
            if (button->text() == text) {
                QTest::mouseClick(button, Qt::LeftButton);
            }
        }
    }
    void openSampleWhereNothingIsLargeEnough() {
        m_project = copySample(m_folder);
        {
            auto project = inspection::Project::open(m_project).value();
            inspection::ProjectParameters parameters = project.description().parameters;
            parameters.minAreaSquareMetres = 1e9;
            ASSERT_TRUE(project.setParameters(parameters).has_value());
        }
        ASSERT_FALSE(context().openProject(m_project).has_value());
    }
};

constexpr int kCountColumn = 1;

int countOf(const QTreeWidgetItem* item) {
    return item->text(kCountColumn).toInt();
}

TEST_F(StationTreeTest, ShowsTheProjectsStationsUncheckedAndNotComputed) {
    openSample();
    const QTreeWidgetItem* root = tree().topLevelItem(0);
    EXPECT_EQ(root->text(0), "站场/站段");
    ASSERT_GT(root->childCount(), 1);
    EXPECT_EQ(root->child(0)->checkState(0), Qt::Unchecked);
    EXPECT_EQ(root->child(0)->text(kCountColumn), "未计算");
    EXPECT_TRUE(context().GetStationWindow()->GetSelectedStationItem().empty());
    EXPECT_EQ(tree().topLevelItem(1)->text(0), "特殊点");
    EXPECT_EQ(tree().topLevelItem(2)->text(0), "特殊区域");
    EXPECT_EQ(tree().topLevelItem(3)->text(0), "高后果区");
}

TEST_F(StationTreeTest, AClickOnTheBoxChecksTheStation) {
    openSample();
    clickCheckBox(station(1));
    const auto selected = context().GetStationWindow()->GetSelectedStationItem();
    ASSERT_EQ(selected.size(), 1U);
    EXPECT_EQ(selected[0]->GetStationId(), station(1)->data(0, Qt::UserRole).toUInt());
    EXPECT_FALSE(context().GetStationWindow()->IsDiffChecked(selected[0])) << "nothing is computed yet";
    EXPECT_FALSE(context().GetStationWindow()->IsDiffChecked(nullptr));
}

TEST_F(StationTreeTest, AComputedStationWithoutAnomaliesIsWorkedOnWhileItIsChecked) {
    openSampleWhereNothingIsLargeEnough();
    computeStations(1);
    KV_StationItem* computed = context().GetStationWindow()->GetSelectedStationItem().at(0);
    ASSERT_TRUE(computed->m_diffData.m_anomalies.empty());
    EXPECT_TRUE(context().GetStationWindow()->IsDiffChecked(computed));
    ASSERT_TRUE(computed->readdiffvz());
    const KV_Station& place = computed->m_station;
    double dz = 0.0;
    EXPECT_TRUE(computed->m_diffData.GetdZ((place.m_xMin + place.m_xMax) / 2.0,
                                           (place.m_yMin + place.m_yMax) / 2.0, dz))
        << "so there is something to tell there";

    clickCheckBox(station(1));
    const KV_StationItem* neverComputed = context().GetStationWindow()->GetSelectedStationItem().at(1);
    EXPECT_FALSE(context().GetStationWindow()->IsDiffChecked(neverComputed));
    clickCheckBox(station(0));
    EXPECT_FALSE(context().GetStationWindow()->IsDiffChecked(computed)) << "it is not shown any more";
}

TEST_F(StationTreeTest, AShiftClickChecksTheRange) {
    openSample();
    const int last = tree().topLevelItem(0)->childCount() - 1;
    ASSERT_GE(last, 2);
    clickCheckBox(station(0));
    clickCheckBox(station(last), Qt::ShiftModifier);
    EXPECT_EQ(context().GetStationWindow()->GetSelectedStationItem().size(),
              static_cast<std::size_t>(last) + 1);
    clickCheckBox(station(1), Qt::ShiftModifier);
    EXPECT_EQ(station(0)->checkState(0), Qt::Checked);
    EXPECT_EQ(station(1)->checkState(0), Qt::Unchecked);
    EXPECT_EQ(station(last)->checkState(0), Qt::Unchecked);
}

TEST_F(StationTreeTest, ButtonsCheckAllAndNone) {
    openSample();
    clickButton("全选");
    EXPECT_EQ(context().GetStationWindow()->GetSelectedStationItem().size(),
              static_cast<std::size_t>(tree().topLevelItem(0)->childCount()));
    clickButton("全不选");
    EXPECT_TRUE(context().GetStationWindow()->GetSelectedStationItem().empty());
}

TEST_F(StationTreeTest, TheContextMenuChecksAll) {
    openSample();
    QTimer::singleShot(0, [] {
        auto* menu = qobject_cast<QMenu*>(QApplication::activePopupWidget());
        ASSERT_NE(menu, nullptr);
        QStringList texts;
        for (const QAction* action : menu->actions()) {
            texts << action->text();
        }
        EXPECT_EQ(texts, QStringList({"全选", "全不选", "", "飞到", "重命名\tF2", "删除\tDelete"}));
        clickEntry(*menu, *menu->actions().first());
    });
    const QPoint at = tree().visualItemRect(station(0)).center();
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, tree().viewport()->mapToGlobal(at));
    QApplication::sendEvent(tree().viewport(), &event);
    EXPECT_EQ(context().GetStationWindow()->GetSelectedStationItem().size(),
              static_cast<std::size_t>(tree().topLevelItem(0)->childCount()));
}

TEST_F(StationTreeTest, ADoubleClickFliesToTheStation) {
    openSample();
    const QPoint at = tree().visualItemRect(station(1)).center();
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {}, at);
    QTest::mouseDClick(tree().viewport(), Qt::LeftButton, {}, at);
    clickCheckBox(station(1));
    const KV_Station place = context().GetStationWindow()->GetSelectedStationItem().at(0)->m_station;
    const double most = 1.5 * std::max(place.m_xMax - place.m_xMin, place.m_yMax - place.m_yMin);
    EXPECT_TRUE(waitUntil([&] {
        const osgEarth::Viewpoint view = m_globe->getManipulator()->getViewpoint();
        return view.isValid() && std::abs(view.getRange() - most) < 1.0 &&
               std::abs(view.getPitch() + 60.0) < 0.1;
    }));
}

TEST_F(StationTreeTest, NothingCheckedGivesOneMessage) {
    openSample();
    MessageWatch messages;
    context().GetStationWindow()->PickCurrentShowItemsDiff();
    EXPECT_EQ(messages.texts(), QStringList({"请先勾选要计算的站场或站段"}));
    EXPECT_EQ(messages.titles(), QStringList({"提示"}));
    EXPECT_FALSE(context().isWorking());
}

TEST_F(StationTreeTest, WithoutAProjectOneMessageAsksForOne) {
    MessageWatch messages;
    context().GetStationWindow()->PickCurrentShowItemsDiff();
    context().GetStationWindow()->OutPutReport();
    context().GetStationWindow()->OutPutShap();
    EXPECT_EQ(messages.texts(), QStringList({"请先打开项目", "请先打开项目", "请先打开项目"}));
}

TEST_F(StationTreeTest, ComputesTheCheckedStationsBesideTheGuiThread) {
    openSample();
    clickCheckBox(station(0));
    clickCheckBox(station(1));
    context().GetStationWindow()->PickCurrentShowItemsDiff();
    EXPECT_TRUE(context().isWorking()) << "the call returns while the work goes on";
    EXPECT_TRUE(context().progressWidget()->isVisible());

    MessageWatch messages;
    context().GetStationWindow()->PickCurrentShowItemsDiff();
    ASSERT_EQ(messages.texts().size(), 1);
    EXPECT_TRUE(messages.texts()[0].contains("计算异常")) << messages.texts()[0].toStdString();

    ASSERT_TRUE(waitUntil([this] { return m_finished; }));
    ASSERT_TRUE(m_succeeded) << m_message.toStdString();
    EXPECT_EQ(messages.texts().size(), 1) << "success needs no box";
    const auto selected = context().GetStationWindow()->GetSelectedStationItem();
    ASSERT_EQ(selected.size(), 2U);
    std::size_t total = 0;
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(static_cast<std::size_t>(countOf(station(i))),
                  selected[static_cast<std::size_t>(i)]->m_diffData.m_anomalies.size());
        total += selected[static_cast<std::size_t>(i)]->m_diffData.m_anomalies.size();
    }
    EXPECT_GT(total, 0U);
    EXPECT_EQ(station(2)->text(kCountColumn), "未计算");
    EXPECT_EQ(static_cast<std::size_t>(countOf(tree().topLevelItem(0))), total);
    keepPicture(*m_window, "window-computed");
    keepPicture(*context().GetStationWindow(), "station-tree");
    keepPicture(*context().progressWidget(), "progress-result");
}

TEST_F(StationTreeTest, CancelKeepsTheEarlierResults) {
    openSample();
    computeStations(2);
    const QString before = station(0)->text(kCountColumn) + '/' + station(1)->text(kCountColumn);
    const auto groups = overlayGroups().size();

    m_finished = false;
    context().GetStationWindow()->PickCurrentShowItemsDiff();
    keepPicture(*context().progressWidget(), "progress");
    QTest::mouseClick(context().progressWidget()->findChild<QPushButton*>("jobCancel"), Qt::LeftButton);
    MessageWatch messages;
    ASSERT_TRUE(waitUntil([this] { return m_finished; }));
    EXPECT_FALSE(m_succeeded);
    EXPECT_TRUE(messages.texts().isEmpty()) << "the user's own stop is no news";
    EXPECT_EQ(station(0)->text(kCountColumn) + '/' + station(1)->text(kCountColumn), before);
    EXPECT_EQ(overlayGroups().size(), groups);
    EXPECT_TRUE(context().GetStationWindow()->GetSelectedStationItem()[0]->readclassfi());
}

TEST_F(StationTreeTest, ABrokenRasterIsToldInOneMessageAndKeepsTheEarlierResults) {
    openSample();
    computeStations(1);
    const QString before = station(0)->text(kCountColumn);
    const QString raster = context().project()->description().newEpoch().dsm;
    ASSERT_TRUE(QFile::remove(raster));
    m_finished = false;
    MessageWatch messages;
    context().GetStationWindow()->PickCurrentShowItemsDiff();
    ASSERT_TRUE(waitUntil([this] { return m_finished; }));
    EXPECT_FALSE(m_succeeded);
    ASSERT_EQ(messages.texts().size(), 1);
    EXPECT_FALSE(messages.texts()[0].contains('\n'));
    EXPECT_EQ(station(0)->text(kCountColumn), before);
}

TEST_F(StationTreeTest, ClosingWhileComputingEndsTheWork) {
    openSample();
    clickCheckBox(station(0));
    context().GetStationWindow()->PickCurrentShowItemsDiff();
    context().closeProject();
    EXPECT_FALSE(context().isWorking());
    EXPECT_EQ(tree().topLevelItem(0)->childCount(), 0);
    EXPECT_FALSE(m_finished) << "the result of a closed project is nobody's news";
}

/// Files below the results' folder that the process has open.
int openResults() {
    int count = 0;
    const QFileInfoList files = QDir("/proc/self/fd").entryInfoList(QDir::Files | QDir::System);
    for (const QFileInfo& file : files) {
        count += file.symLinkTarget().contains("/output/stations/") ? 1 : 0;
    }
    return count;
}

TEST_F(StationTreeTest, ADifferenceIsReadInTheStationOfThePlaceAlone) {
    openComputed();
    context().closeProject();
    ASSERT_FALSE(context().openProject(m_project));
    const int before = openResults();
    const KV_StationItem* item = nullptr;
    for (int row = 0; !item && row < tree().topLevelItem(0)->childCount(); ++row) {
        tree().setCurrentItem(station(row));
        item = context().GetAVWindow()->GetCurrentItem();
        item = item->m_diffData.m_anomalies.empty() ? nullptr : item;
    }
    ASSERT_NE(item, nullptr);
    const SdiffData& anomaly = item->m_diffData.m_anomalies.front();
    const auto metres = context().differenceAt(anomaly.lonDegrees, anomaly.latDegrees);
    ASSERT_TRUE(metres);
    EXPECT_NE(*metres, 0.0);
    EXPECT_LE(openResults() - before, 1) << "not those of all stations";
    EXPECT_FALSE(context().differenceAt(0.0, 0.0));
}

class StationSearchTest : public StationTreeTest {
protected:
    void SetUp() override {
        InspectionWindowTest::SetUp();
        openSample();
        m_window->activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(m_window.get()));
        tree().setFocus();
        QTest::keyClick(&tree(), Qt::Key_F, Qt::ControlModifier | Qt::ShiftModifier);
        ASSERT_TRUE(words().hasFocus());
    }
    QLineEdit& words() const { return *m_window->findChild<QLineEdit*>("stationSearch"); }
    std::vector<int> listed() const {
        std::vector<int> rows;
        for (int row = 0; row < tree().topLevelItem(0)->childCount(); ++row) {
            if (!station(row)->isHidden()) {
                rows.push_back(row);
            }
        }
        return rows;
    }
    std::vector<int> ticked() const {
        std::vector<int> rows;
        for (int row = 0; row < tree().topLevelItem(0)->childCount(); ++row) {
            if (station(row)->checkState(0) == Qt::Checked) {
                rows.push_back(row);
            }
        }
        return rows;
    }
    std::size_t stations() const { return static_cast<std::size_t>(tree().topLevelItem(0)->childCount()); }
    /// "K0+123" in that station.
    QString chainageIn(int row) {
        mysqlhelper::KV_MySQL database(context().project()->description().databaseFile().toStdString());
        for (const KV_Station& each : inspection::readStations(database)) {
            if (each.m_id == station(row)->data(0, Qt::UserRole).toUInt()) {
                const int metres = static_cast<int>((each.m_startMetres + each.m_endMetres) / 2.0);
                return QString("k%1+%2").arg(metres / 1000).arg(metres % 1000, 3, 10, QChar('0'));
            }
        }
        return {};
    }
};

TEST_F(StationSearchTest, ANameListsItsStationAndEscapeListsAllAgain) {
    type(&words(), station(2)->text(0));
    EXPECT_EQ(listed(), std::vector<int>{2});
    keepPicture(*context().GetStationWindow(), "station-search");
    QTest::keyClick(&words(), Qt::Key_Escape);
    EXPECT_EQ(listed().size(), stations());
    EXPECT_TRUE(words().hasFocus());
    QTest::keyClick(&words(), Qt::Key_Escape);
    EXPECT_TRUE(tree().hasFocus());
}

TEST_F(StationSearchTest, AChainageListsTheStationThatHasIt) {
    const QString chainage = chainageIn(2);
    QTest::keyClicks(&words(), chainage);
    EXPECT_EQ(listed(), std::vector<int>{2}) << chainage.toStdString();
    words().setText(chainage.left(chainage.indexOf('+')));
    EXPECT_GT(listed().size(), 1U) << "a whole kilometre";
    words().setText("K99+000");
    EXPECT_TRUE(listed().empty());
}

TEST_F(StationSearchTest, TicksStayAndOnlyWhatIsListedIsTickedTogether) {
    clickCheckBox(station(1));
    words().setText(station(2)->text(0));
    EXPECT_EQ(ticked(), std::vector<int>{1});
    clickButton("全选");
    EXPECT_EQ(ticked(), (std::vector<int>{1, 2}));
    clickButton("全不选");
    EXPECT_EQ(ticked(), std::vector<int>{1});
    words().setText(QString());
    EXPECT_EQ(ticked(), std::vector<int>{1});
}

TEST_F(StationSearchTest, EnterGoesToTheFirstThatIsListed) {
    type(&words(), station(2)->text(0));
    QTest::keyClick(&words(), Qt::Key_Return);
    EXPECT_TRUE(tree().hasFocus());
    EXPECT_EQ(tree().currentItem(), station(2));
}

} // namespace
