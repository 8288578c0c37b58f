// The windows show the results of one pair of epochs, and of another one when the user chooses it.

#include "tests/inspection/windows/WindowFixture.h"
#include "tests/support/SamplePair.h"
#include "tests/support/ThirdFlight.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/EditHistory.h"
#include "host/inspection/KVImageWindow.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"

#include <QApplication>
#include <QLabel>
#include <QTest>

namespace {

/// Two pairs of a sample were computed in all of its checked stations; the first pair is shown.
class ComparedPairTest : public InspectionWindowTest {
protected:
    void SetUp() override {
        InspectionWindowTest::SetUp();
        openComputed();
        const std::vector<std::uint32_t> stations = checked();
        context().closeProject();
        addThirdFlight(m_project, stations);
        computePair(m_project, kThirdPair, stations);
        ASSERT_FALSE(context().openProject(m_project));
        ASSERT_FALSE(context().setComparedPair(kSamplePair));
        for (int row = 0; row < static_cast<int>(stations.size()); ++row) {
            clickCheckBox(station(row));
        }
        const KV_StationItem* richest = checkedStationWithMostAnomalies();
        m_station = richest->GetStationId();
        for (int row = 0; row < tree().topLevelItem(0)->childCount(); ++row) {
            if (station(row)->data(0, Qt::UserRole).toUInt() == m_station) {
                tree().setCurrentItem(station(row));
            }
        }
        ASSERT_GT(m_station, 0U);
    }

    std::vector<std::uint32_t> checked() {
        std::vector<std::uint32_t> ids;
        for (const KV_StationItem* item : context().GetStationWindow()->GetSelectedStationItem()) {
            ids.push_back(item->GetStationId());
        }
        return ids;
    }
    /// As they lie in the database.
    std::vector<SdiffData> stored(const inspection::EpochPair& pair, std::uint32_t station) {
        mysqlhelper::KV_MySQL database(context().project()->description().databaseUrl().toStdString());
        return inspection::readAnomalies(database, station, pair);
    }
    QStringList namesOf(const inspection::EpochPair& pair) {
        QStringList names;
        for (const SdiffData& anomaly : stored(pair, m_station)) {
            names << fromGbk(anomaly.name);
        }
        return names;
    }
    QStringList shownNames() const {
        QStringList names;
        for (int row = 0; row < table().model()->rowCount(); ++row) {
            names << table().model()->index(row, 0).data().toString();
        }
        names.sort();
        return names;
    }
    /// Of all checked stations.
    QStringList overlayNames() const {
        QStringList names;
        for (const osg::Group* group : overlayGroups()) {
            for (unsigned i = 0; i < group->getNumChildren(); ++i) {
                names << fromGbk(group->getChild(i)->getName());
            }
        }
        names.sort();
        return names;
    }
    QStringList storedNames(const inspection::EpochPair& pair) {
        QStringList names;
        for (const std::uint32_t id : checked()) {
            for (const SdiffData& anomaly : stored(pair, id)) {
                names << fromGbk(anomaly.name);
            }
        }
        names.sort();
        return names;
    }
    QString captionOfPictures() {
        QString texts;
        for (const QLabel* label : context().GetKVImageWindow()->findChildren<QLabel*>()) {
            texts += label->text();
        }
        return texts;
    }
    QString status() {
        const QWidget* progress = context().progressWidget();
        const QLabel* text = progress->findChild<QLabel*>();
        return progress->isHidden() || !text ? QString() : text->text();
    }
    void judgeFirst(Qt::Key key) {
        table().selectRow(0);
        table().setFocus();
        QTest::keyClick(&table(), key);
        QApplication::processEvents();
    }

    std::uint32_t m_station = 0;
};

TEST_F(ComparedPairTest, ChoosingAPairShowsItsAnomaliesEverywhere) {
    ASSERT_EQ(shownNames(), namesOf(kSamplePair));
    ASSERT_EQ(overlayNames(), storedNames(kSamplePair));
    ASSERT_NE(namesOf(kSamplePair), namesOf(kThirdPair));
    ASSERT_FALSE(namesOf(kThirdPair).isEmpty());
    judgeFirst(Qt::Key_1);
    table().selectRow(0);
    QTest::keyClick(&table(), Qt::Key_Enter);
    QApplication::processEvents();
    ASSERT_TRUE(captionOfPictures().contains(shownNames().first())) << captionOfPictures().toStdString();

    ASSERT_FALSE(context().setComparedPair(kThirdPair));
    EXPECT_EQ(shownNames(), namesOf(kThirdPair));
    EXPECT_EQ(overlayNames(), storedNames(kThirdPair));
    EXPECT_EQ(tree().currentItem()->text(1).toInt(), namesOf(kThirdPair).size());
    QApplication::processEvents();
    EXPECT_FALSE(table().selectionModel()->hasSelection());
    EXPECT_FALSE(captionOfPictures().contains(namesOf(kSamplePair).first()))
        << "the pictures are of the other pair";
    KV_StationItem* item = context().GetAVWindow()->GetCurrentItem();
    const SdiffData heap = item->m_diffData.m_anomalies.front();
    double dzMetres = 0.0;
    ASSERT_TRUE(item->readdiffvz());
    ASSERT_TRUE(item->m_diffData.GetdZ(heap.x, heap.y, dzMetres));
    EXPECT_NEAR(dzMetres, heap.dzMeanMetres, 0.7) << "the raster of the same pair";

    ASSERT_FALSE(context().setComparedPair(kSamplePair));
    EXPECT_EQ(shownNames(), namesOf(kSamplePair));
    EXPECT_EQ(stored(kSamplePair, m_station).front().attribute.empty(), false);
    EXPECT_EQ(overlayNames(), storedNames(kSamplePair));
    QApplication::processEvents();
    EXPECT_FALSE(table().selectionModel()->hasSelection())
        << "what was selected before the user went elsewhere";
}

TEST_F(ComparedPairTest, APairThatWasNeverComputedIsEmptyAndSaysSo) {
    ASSERT_FALSE(context().setComparedPair({kSamplePair.older, kThirdPair.newer}));
    EXPECT_TRUE(shownNames().isEmpty());
    EXPECT_TRUE(overlayNames().isEmpty());
    EXPECT_EQ(tree().currentItem()->text(1), "未计算");
}

TEST_F(ComparedPairTest, TheChoiceIsStillThereWhenTheProjectIsOpenedAgain) {
    ASSERT_FALSE(context().setComparedPair(kThirdPair));
    ASSERT_FALSE(context().setComparedPair(kSamplePair));
    context().closeProject();
    ASSERT_FALSE(context().openProject(m_project));
    EXPECT_EQ(context().project()->description().pair(), kSamplePair);
}

TEST_F(ComparedPairTest, UndoingAnEditOfAPairThatIsNotShownChangesItsRowAndSaysWhichPair) {
    const QString first = shownNames().first();
    judgeFirst(Qt::Key_1);
    ASSERT_FALSE(stored(kSamplePair, m_station).front().attribute.empty());
    ASSERT_FALSE(context().setComparedPair(kThirdPair));
    const QStringList before = shownNames();
    const QStringList overlays = overlayNames();

    EditHistory& history = *context().GetEditHistory();
    ASSERT_TRUE(history.CanUndo());
    history.TakeUndo()->Undo(true);
    EXPECT_TRUE(stored(kSamplePair, m_station).front().attribute.empty());
    EXPECT_EQ(shownNames(), before);
    EXPECT_EQ(overlayNames(), overlays);
    EXPECT_EQ(status(), "已更改 2024-05-18 → 2025-05-20 的异常，当前显示的是 2025-05-20 → 2026-05-25");

    ASSERT_TRUE(history.CanRedo());
    history.TakeRedo()->Redo(true);
    EXPECT_FALSE(stored(kSamplePair, m_station).front().attribute.empty());
    EXPECT_EQ(shownNames(), before);
}

TEST_F(ComparedPairTest, AnomaliesOfAPairThatIsNotShownComeBackToItAlone) {
    const QStringList all = shownNames();
    {
        const MessageWatch watch;
        table().selectRow(0);
        table().setFocus();
        QTest::keyClick(&table(), Qt::Key_Delete);
        QApplication::processEvents();
    }
    ASSERT_EQ(shownNames().size(), all.size() - 1);
    ASSERT_FALSE(context().setComparedPair(kThirdPair));
    const QStringList third = shownNames();
    const QString count = tree().currentItem()->text(1);
    context().GetEditHistory()->TakeUndo()->Undo(true);
    QApplication::processEvents();
    EXPECT_EQ(shownNames(), third);
    EXPECT_EQ(tree().currentItem()->text(1), count);
    EXPECT_EQ(overlayNames(), storedNames(kThirdPair));
    ASSERT_FALSE(context().setComparedPair(kSamplePair));
    EXPECT_EQ(shownNames(), all);
}

TEST_F(ComparedPairTest, WhileWorkIsGoingOnThePairStays) {
    const QStringList before = shownNames();
    m_finished = false;
    context().GetStationWindow()->PickCurrentShowItemsDiff();
    ASSERT_TRUE(context().isWorking());
    const auto problem = context().setComparedPair(kThirdPair);
    ASSERT_TRUE(problem.has_value());
    EXPECT_TRUE(problem->contains("“计算异常”正在进行")) << problem->toStdString();
    EXPECT_EQ(context().project()->description().pair(), kSamplePair);
    ASSERT_TRUE(waitUntil([this] { return m_finished; }));
    ASSERT_TRUE(m_succeeded);
    EXPECT_EQ(shownNames(), before) << "computed again";
    EXPECT_FALSE(context().setComparedPair(kThirdPair).has_value());
}

} // namespace
