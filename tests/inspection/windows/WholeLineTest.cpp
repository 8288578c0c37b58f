// One table, and one selection, over several stations of the line.

#include "tests/inspection/windows/WindowFixture.h"
#include "tests/support/SamplePair.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/EditHistory.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspection/table/AnomalyColumns.h"
#include "workbench/inspectiondata/database/AnomalyTable.h"
#include "workbench/inspectiondata/project/Project.h"

#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>

#include <algorithm>
#include <set>

namespace {

using Column = inspection::AnomalyColumn;

class WholeLineTest : public InspectionWindowTest {
protected:
    void SetUp() override {
        InspectionWindowTest::SetUp();
        openComputed();
        for (KV_StationItem* item : context().GetStationWindow()->GetSelectedStationItem()) {
            m_all += static_cast<int>(item->m_diffData.m_anomalies.size());
            if (!item->m_diffData.m_anomalies.empty()) {
                m_rich.push_back(item);
            }
        }
        ASSERT_GE(m_rich.size(), 2U);
    }

    void clickEntry(QTreeWidgetItem* entry, Qt::KeyboardModifiers modifiers = {}) {
        tree().scrollToItem(entry);
        const QRect row = tree().visualItemRect(entry);
        QTest::mouseClick(tree().viewport(), Qt::LeftButton, modifiers, {row.right() - 4, row.center().y()});
        QApplication::processEvents();
    }
    void showWholeLine() { clickEntry(tree().topLevelItem(0)); }
    QTreeWidgetItem* entryOf(const KV_StationItem& item) const {
        for (int i = 0; i < tree().topLevelItem(0)->childCount(); ++i) {
            if (station(i)->data(0, Qt::UserRole).toUInt() == item.GetStationId()) {
                return station(i);
            }
        }
        return nullptr;
    }
    int rows() const { return table().model()->rowCount(); }
    QString cell(int row, int column) const { return table().model()->index(row, column).data().toString(); }
    int rowOf(const QString& name) const {
        for (int row = 0; row < rows(); ++row) {
            if (cell(row, Column::Name) == name) {
                return row;
            }
        }
        return -1;
    }
    std::set<QString> stationsShown() const {
        std::set<QString> names;
        for (int row = 0; row < rows(); ++row) {
            names.insert(cell(row, Column::Station));
        }
        return names;
    }
    QString summary() const { return m_window->findChild<QLabel*>("anomalySummary")->text(); }
    QComboBox& filter(const char* name) const { return *m_window->findChild<QComboBox*>(name); }
    QLineEdit& words() const { return *m_window->findChild<QLineEdit*>("anomalySearch"); }
    void clickRow(int row, Qt::KeyboardModifiers modifiers = {}) {
        const QModelIndex index = table().model()->index(row, 0);
        table().scrollTo(index);
        QTest::mouseClick(table().viewport(), Qt::LeftButton, modifiers, table().visualRect(index).center());
        QApplication::processEvents();
    }
    void key(Qt::Key key, Qt::KeyboardModifiers modifiers = {}) {
        QTest::keyClick(&table(), key, modifiers);
        QApplication::processEvents();
    }
    static QString firstOf(const KV_StationItem& item) {
        return fromGbk(item.m_diffData.m_anomalies.front().name);
    }
    /// As the tool on the globe tells it.
    void selectOnGlobe(const QStringList& names) {
        EXPECT_TRUE(QMetaObject::invokeMethod(context().GetAVWindow(), "SetSelectedbyname",
                                              Q_ARG(QStringList, names)));
        EXPECT_TRUE(
            waitUntil([&] { return table().selectionModel()->selectedRows().size() == names.size(); }));
    }
    std::size_t storedDeleted() {
        mysqlhelper::KV_MySQL database(context().project()->description().databaseFile().toStdString());
        return inspection::readDeletedAnomalies(database, kSamplePair).size();
    }
    void chooseDeleted() { filter("attributeFilter").setCurrentIndex(7); }

    std::vector<KV_StationItem*> m_rich; ///< with anomalies
    int m_all = 0;
};

TEST_F(WholeLineTest, AClickOnTheGroupShowsAllStationsInOneTable) {
    showWholeLine();
    EXPECT_EQ(rows(), m_all);
    EXPECT_EQ(stationsShown().size(), m_rich.size());
    EXPECT_FALSE(table().isColumnHidden(Column::Station));
    EXPECT_TRUE(summary().contains(QString("共 %1 处").arg(m_all))) << summary().toStdString();
    EXPECT_TRUE(cell(0, Column::Chainage).startsWith("K0+")) << cell(0, Column::Chainage).toStdString();
    keepPicture(*context().GetAVWindow(), "whole-line");

    clickEntry(entryOf(*m_rich[0]));
    EXPECT_EQ(stationsShown().size(), 1U);
    EXPECT_TRUE(table().isColumnHidden(Column::Station));
    clickEntry(entryOf(*m_rich[1]), Qt::ControlModifier);
    EXPECT_EQ(stationsShown().size(), 2U);
    EXPECT_FALSE(table().isColumnHidden(Column::Station));
}

TEST_F(WholeLineTest, CheckBoxesLeaveTheTableAsItIs) {
    clickEntry(entryOf(*m_rich[1]));
    clickCheckBox(station(0));
    clickCheckBox(station(2), Qt::ShiftModifier);
    EXPECT_EQ(tree().selectedItems(), QList<QTreeWidgetItem*>{entryOf(*m_rich[1])});
    EXPECT_EQ(station(1)->checkState(0), Qt::Unchecked);
}

TEST_F(WholeLineTest, ChainageSortsByItsMetresAndNamesByTheirNumbers) {
    showWholeLine();
    table().sortByColumn(Column::Chainage, Qt::DescendingOrder);
    QStringList chainages;
    for (int row = 0; row < rows(); ++row) {
        chainages << cell(row, Column::Chainage);
    }
    EXPECT_TRUE(std::is_sorted(chainages.rbegin(), chainages.rend())) << chainages.join(' ').toStdString();
    EXPECT_NE(chainages.first(), chainages.last());
}

TEST_F(WholeLineTest, WordsAreLookedForAndEscapeTakesThemAway) {
    showWholeLine();
    const QString name = firstOf(*m_rich[1]);
    m_window->activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(m_window.get()));
    table().setFocus();
    QTest::keyClick(&table(), Qt::Key_F, Qt::ControlModifier);
    ASSERT_TRUE(words().hasFocus());
    QTest::keyClicks(&words(), name.toLower());
    EXPECT_EQ(rows(), 1);
    EXPECT_EQ(cell(0, Column::Name), name);
    QTest::keyClick(&words(), Qt::Key_Escape);
    EXPECT_EQ(rows(), m_all);
    EXPECT_TRUE(words().hasFocus());
    QTest::keyClick(&words(), Qt::Key_Escape);
    EXPECT_TRUE(table().hasFocus());
    words().setText("填方 " + cell(0, Column::Station));
    for (int row = 0; row < rows(); ++row) {
        EXPECT_EQ(cell(row, Column::Kind), "填方");
    }
    EXPECT_LT(rows(), m_all);
    key(Qt::Key_Escape);
    EXPECT_EQ(rows(), m_all);
}

TEST_F(WholeLineTest, DistanceAndSuggestedClassAreFilters) {
    showWholeLine();
    filter("distanceFilter").setCurrentIndex(3);
    int near = 0;
    for (int row = 0; row < rows(); ++row) {
        EXPECT_LE(cell(row, Column::PipeDistance).toDouble(), 10.05);
        ++near;
    }
    EXPECT_LT(near, m_all);
    filter("distanceFilter").setCurrentIndex(0);
    const QString suggested = cell(0, Column::Suggested);
    filter("suggestedFilter").setCurrentText("建议 " + suggested);
    ASSERT_GT(rows(), 0);
    for (int row = 0; row < rows(); ++row) {
        EXPECT_EQ(cell(row, Column::Suggested), suggested);
    }
    EXPECT_TRUE(summary().contains(QString("显示 %1").arg(rows())));
}

TEST_F(WholeLineTest, SelectedRowsAreCopiedAsTheyStandThere) {
    showWholeLine();
    clickRow(1);
    clickRow(0, Qt::ControlModifier);
    key(Qt::Key_C, Qt::ControlModifier);
    const QStringList lines = QGuiApplication::clipboard()->text().split('\n', Qt::SkipEmptyParts);
    ASSERT_EQ(lines.size(), 3);
    EXPECT_EQ(lines[0].split('\t').mid(0, 4), (QStringList{"名称", "站段", "里程", "类型"}));
    EXPECT_EQ(lines[1].split('\t').mid(0, 3),
              (QStringList{cell(0, Column::Name), cell(0, Column::Station), cell(0, Column::Chainage)}));
    EXPECT_EQ(lines[2].split('\t').first(), cell(1, Column::Name));
}

TEST_F(WholeLineTest, ADoubleClickOnARowOfAnUncheckedStationChecksIt) {
    showWholeLine();
    QTreeWidgetItem* entry = entryOf(*m_rich[1]);
    const QString name = firstOf(*m_rich[1]);
    entry->setCheckState(0, Qt::Unchecked);
    const QModelIndex index = table().model()->index(rowOf(name), Column::Name);
    table().scrollTo(index);
    QTest::mouseClick(table().viewport(), Qt::LeftButton, {}, table().visualRect(index).center());
    EXPECT_EQ(entry->checkState(0), Qt::Unchecked);
    QTest::mouseDClick(table().viewport(), Qt::LeftButton, {}, table().visualRect(index).center());
    EXPECT_EQ(entry->checkState(0), Qt::Checked);
    EXPECT_EQ(context().GetAVWindow()->GetCurrentItem()->GetStationId(), m_rich[1]->GetStationId());
    EXPECT_TRUE(m_window->findChild<QLabel*>("imageCaption")->text().contains(name));
}

TEST_F(WholeLineTest, WhatWasDeletedIsListedGreyedAndRestored) {
    showWholeLine();
    const QString name = cell(0, Column::Name);
    clickRow(0);
    const MessageWatch messages;
    key(Qt::Key_Delete);
    EXPECT_EQ(messages.texts(), QStringList{"删除 1 处异常？"});
    EXPECT_EQ(rows(), m_all - 1);
    EXPECT_EQ(filter("attributeFilter").itemText(7), "已删除 (1)");

    chooseDeleted();
    ASSERT_EQ(rows(), 1);
    EXPECT_EQ(cell(0, Column::Name), name);
    EXPECT_EQ(table().model()->index(0, 0).data(Qt::ForegroundRole).value<QBrush>().color(),
              QGuiApplication::palette().color(QPalette::Disabled, QPalette::Text));
    keepPicture(*context().GetAVWindow(), "deleted-anomalies");
    clickRow(0);
    key(Qt::Key_Delete);
    key(Qt::Key_1);
    EXPECT_EQ(messages.texts().size(), 1) << "it is neither deleted again nor judged";
    key(Qt::Key_Insert);
    EXPECT_EQ(rows(), 0);
    EXPECT_EQ(storedDeleted(), 0U);
    filter("attributeFilter").setCurrentIndex(0);
    EXPECT_EQ(rows(), m_all);
    EXPECT_GE(rowOf(name), 0);

    context().GetEditHistory()->TakeUndo()->Undo(true);
    EXPECT_EQ(rowOf(name), -1) << "the restoring is taken back";
    chooseDeleted();
    EXPECT_EQ(rows(), 1);
    context().GetEditHistory()->TakeUndo()->Undo(true);
    EXPECT_EQ(rows(), 0);
    filter("attributeFilter").setCurrentIndex(0);
    EXPECT_EQ(rows(), m_all);
}

TEST_F(WholeLineTest, WhatIsDeletedIsStillListedAfterReopening) {
    showWholeLine();
    const QString name = cell(0, Column::Name);
    clickRow(0);
    const MessageWatch messages;
    key(Qt::Key_Delete);
    const QString folder = context().project()->description().folder;
    context().closeProject();
    ASSERT_FALSE(context().openProject(folder));
    showWholeLine();
    chooseDeleted();
    ASSERT_EQ(rows(), 1);
    EXPECT_EQ(cell(0, Column::Name), name);
}

TEST_F(WholeLineTest, TheTableGoesToWhatIsSelectedOnTheGlobe) {
    clickEntry(entryOf(*m_rich[0]));
    QSignalSpy selection(context().GetAVWindow(), SIGNAL(selectionChanged(QStringList)));
    QApplication::processEvents();
    selectOnGlobe({firstOf(*m_rich[1])});
    EXPECT_EQ(tree().selectedItems(), QList<QTreeWidgetItem*>{entryOf(*m_rich[1])});
    EXPECT_EQ(stationsShown().size(), 1U);
    EXPECT_TRUE(selection.isEmpty()) << "what comes from the globe is not announced to it";

    selectOnGlobe({firstOf(*m_rich[0]), firstOf(*m_rich[1])});
    EXPECT_EQ(stationsShown().size(), 2U);
    selectOnGlobe({firstOf(*m_rich[0])});
    EXPECT_EQ(stationsShown().size(), 2U) << "it is shown already";
}

TEST_F(WholeLineTest, DeleteTakesAllThatIsSelectedInHoweverManyStations) {
    selectOnGlobe({firstOf(*m_rich[0]), firstOf(*m_rich[1])});
    const MessageWatch messages;
    key(Qt::Key_Delete);
    EXPECT_EQ(messages.texts(), QStringList{"删除 2 处异常？"});
    EXPECT_EQ(storedDeleted(), 2U);
    context().GetEditHistory()->TakeUndo()->Undo(true);
    EXPECT_EQ(storedDeleted(), 0U) << "it was one edit";
    EXPECT_EQ(table().selectionModel()->selectedRows().size(), 2);
}

TEST_F(WholeLineTest, AToolThatDeletesOneStationsPartIsAskedAboutTheRest) {
    const std::vector<SdiffData> one{m_rich[0]->m_diffData.m_anomalies.front()};
    selectOnGlobe({firstOf(*m_rich[0]), firstOf(*m_rich[1])});
    {
        const MessageWatch declining(false);
        context().GetAVWindow()->DeleteItems(m_rich[0], one);
        EXPECT_EQ(declining.texts(), QStringList{"删除 2 处异常？选“否”只删除这个站段的 1 处。"});
        EXPECT_EQ(storedDeleted(), 1U);
    }
    context().GetEditHistory()->TakeUndo()->Undo(true);
    selectOnGlobe({firstOf(*m_rich[0]), firstOf(*m_rich[1])});
    const MessageWatch agreeing;
    context().GetAVWindow()->DeleteItems(m_rich[0], one);
    EXPECT_EQ(storedDeleted(), 2U);
}

TEST_F(WholeLineTest, AToolMayDeleteAPartOfOneStationsSelectionUnasked) {
    const auto rich = std::find_if(m_rich.begin(), m_rich.end(), [](const KV_StationItem* item) {
        return item->m_diffData.m_anomalies.size() > 1;
    });
    ASSERT_NE(rich, m_rich.end());
    const std::vector<SdiffData> anomalies = (*rich)->m_diffData.m_anomalies;
    selectOnGlobe({fromGbk(anomalies[0].name), fromGbk(anomalies[1].name)});
    const MessageWatch messages;
    context().GetAVWindow()->DeleteItems(*rich, {anomalies[0]});
    EXPECT_TRUE(messages.texts().isEmpty()) << messages.texts().join(' ').toStdString();
    EXPECT_EQ(storedDeleted(), 1U);
}

TEST_F(WholeLineTest, ColumnsAreFoundAsTheyWereLeftInTheirProject) {
    showWholeLine();
    QHeaderView* head = table().horizontalHeader();
    const int edge = head->sectionViewportPosition(Column::Name) + head->sectionSize(Column::Name) - 1;
    const QPoint from(edge, head->height() / 2);
    QTest::mousePress(head->viewport(), Qt::LeftButton, {}, from);
    QTest::mouseMove(head->viewport(), from + QPoint(40, 0));
    QTest::mouseRelease(head->viewport(), Qt::LeftButton, {}, from + QPoint(40, 0));
    QApplication::processEvents();
    const int width = table().columnWidth(Column::Name);
    const QString folder = context().project()->description().folder;
    context().closeProject();
    const QTemporaryDir other;
    ASSERT_FALSE(context().openProject(copySample(other)));
    showWholeLine();
    EXPECT_NE(table().columnWidth(Column::Name), width) << "another project has its own";
    ASSERT_FALSE(context().openProject(folder));
    showWholeLine();
    EXPECT_EQ(table().columnWidth(Column::Name), width);
}

} // namespace
