#include "tests/plugin/UndoFixture.h"

#include <QSignalSpy>

namespace {

TEST_F(UndoMenu, TheMenuHasNoParentAndItsEntriesHaveTheMenu) {
    EXPECT_EQ(m_menu->parent(), nullptr);
    recordABC();
    for (const char* text : {"A", "B", "C", "取消"}) {
        EXPECT_EQ(entry(QString::fromUtf8(text))->parent(), m_menu) << text;
    }
}

TEST_F(UndoMenu, HoveringMarksAsManyEntriesAsItWouldUndoWithoutShowingIt) {
    recordABC();
    hover("B");
    const QStringList marked = {"C", "B"};
    for (const char* text : {"A", "B", "C"}) {
        EXPECT_FALSE(entry(text)->isCheckable() || entry(text)->isChecked()) << text;
        entry(text)->setCheckable(true);
        EXPECT_EQ(entry(text)->isChecked(), marked.contains(text)) << text;
    }
}

TEST_F(UndoMenu, ChoosingAnEntryThatCannotBeUndoneAnyMoreDisablesAndClears) {
    recordABC();
    m_history.isRecording = false;
    choose("B");
    EXPECT_TRUE(m_history.log.isEmpty());
    EXPECT_TRUE(entries().isEmpty());
    EXPECT_FALSE(m_undoButton->isEnabled());

    m_history.isRecording = true;
    m_history.record("D");
    m_history.UndoSteps(4);
    m_history.log.clear();
    choose("D");
    EXPECT_TRUE(m_history.log.isEmpty()) << "there is a history, but nothing to undo in it";
    EXPECT_TRUE(entries().isEmpty());
    EXPECT_FALSE(m_undoButton->isEnabled());
}

TEST_F(UndoMenu, UndoAndRedoTellWhatTheEditSaysNotWhatTheMenuShowed) {
    recordABC();
    m_history.describeNewestAs("C, described anew");
    QSignalSpy redoable(&m_history, &AVWindow::msg_redo);
    QSignalSpy undoable(&m_history, &AVWindow::msg_undo);
    m_undo->Execute();
    ASSERT_EQ(redoable.size(), 1);
    EXPECT_EQ(redoable[0][0].toString(), "C, described anew");
    m_redo->Execute();
    ASSERT_EQ(undoable.size(), 1);
    EXPECT_EQ(undoable[0][0].toString(), "C, described anew");
    EXPECT_EQ(entries(), QStringList({"C, described anew", "B", "A", "-", "取消"}));
}

TEST_F(UndoMenu, ListsTheNewestEditFirstThenASeparatorAndCancel) {
    recordABC();
    EXPECT_EQ(entries(), QStringList({"C", "B", "A", "-", "取消"}));
    EXPECT_TRUE(m_undoButton->isEnabled());
    EXPECT_FALSE(m_redoButton->isEnabled());
}

TEST_F(UndoMenu, HoveringAnEntryTellsHowManyStepsItMeans) {
    recordABC();
    hover("A");
    EXPECT_EQ(entries().last(), QStringLiteral("撤销3步"));
    hover("C");
    EXPECT_EQ(entries().last(), QStringLiteral("撤销1步"));
}

TEST_F(UndoMenu, HoveringCancelAfterAnEntrySetsItsTextBack) {
    recordABC();
    hover("B");
    hover(QStringLiteral("撤销2步"));
    EXPECT_EQ(entries().last(), QStringLiteral("取消"));
}

TEST_F(UndoMenu, ChoosingTheOldestUndoesAllAndEmptiesTheMenu) {
    recordABC();
    QSignalSpy redoable(&m_history, &AVWindow::msg_redo);
    choose("A");
    EXPECT_EQ(m_history.log.first(), "UndoSteps(3)");
    EXPECT_TRUE(entries().isEmpty()) << "separator and cancel go as well";
    EXPECT_FALSE(m_undoButton->isEnabled());
    EXPECT_TRUE(m_redoButton->isEnabled());
    ASSERT_EQ(redoable.size(), 1);
    EXPECT_EQ(redoable[0][0].toString(), QString());
}

TEST_F(UndoMenu, ChoosingAMiddleEntryLeavesTheOlderOnes) {
    recordABC();
    choose("B");
    EXPECT_EQ(m_history.log.first(), "UndoSteps(2)");
    EXPECT_EQ(entries(), QStringList({"A", "-", "取消"}));
    EXPECT_TRUE(m_undoButton->isEnabled());
    hover("A");
    EXPECT_EQ(entries().last(), QStringLiteral("撤销1步"));
}

TEST_F(UndoMenu, ChoosingCancelChangesNothing) {
    recordABC();
    choose(QStringLiteral("取消"));
    EXPECT_TRUE(m_history.log.isEmpty());
    EXPECT_EQ(entries(), QStringList({"C", "B", "A", "-", "取消"}));
}

TEST_F(UndoMenu, AnEmptyReportAddsNoEntryButRefreshesTheButton) {
    m_history.record("A", false);
    EXPECT_FALSE(m_undoButton->isEnabled());
    m_history.sent_msg_undo(QString());
    EXPECT_TRUE(m_undoButton->isEnabled());
    EXPECT_TRUE(entries().isEmpty());
}

TEST_F(UndoMenu, UndoingOneStepRemovesTheNewestOnlyAndTellsRedo) {
    recordABC();
    QSignalSpy redoable(&m_history, &AVWindow::msg_redo);
    QTest::mouseClick(m_undoButton, Qt::LeftButton, {}, QPoint(10, 20));
    EXPECT_EQ(m_history.log, QStringList{"undo C"});
    EXPECT_EQ(entries(), QStringList({"B", "A", "-", "取消"}));
    ASSERT_EQ(redoable.size(), 1);
    EXPECT_EQ(redoable[0][0].toString(), "C");
    EXPECT_TRUE(m_redoButton->isEnabled());
    EXPECT_FALSE(m_undoButton->isChecked());
}

TEST_F(UndoMenu, RedoingBringsTheEditBackToTheTopWithTheNextNumber) {
    recordABC();
    m_undo->Execute();
    QSignalSpy undoable(&m_history, &AVWindow::msg_undo);
    QTest::mouseClick(m_redoButton, Qt::LeftButton);
    EXPECT_EQ(m_history.log, QStringList({"undo C", "redo C"}));
    ASSERT_EQ(undoable.size(), 1);
    EXPECT_EQ(undoable[0][0].toString(), "C");
    EXPECT_EQ(entries(), QStringList({"C", "B", "A", "-", "取消"}));
    EXPECT_EQ(entry("C")->data().toInt(), 3);
    EXPECT_FALSE(m_redoButton->isEnabled());
    EXPECT_FALSE(m_redoButton->isChecked());
}

TEST_F(UndoMenu, UndoingTheLastStepClearsTheMenuAndDisablesTheButton) {
    m_history.record("A");
    m_undo->Execute();
    EXPECT_TRUE(entries().isEmpty());
    EXPECT_FALSE(m_undoButton->isEnabled());
    m_history.record("B");
    EXPECT_EQ(entry("B")->data().toInt(), 1) << "numbers start anew";
}

TEST_F(UndoMenu, UnlistedEditsLeaveTheFootStandingAndTheNextEntryBelowIt) {
    m_history.record("unlisted", false);
    m_history.record("A");
    m_undo->Execute();
    EXPECT_EQ(entries(), QStringList({"-", "取消"})) << "the library can still undo";
    EXPECT_TRUE(m_undoButton->isEnabled());
    m_history.record("B");
    EXPECT_EQ(entries(), QStringList({"-", "取消", "B", "-", "取消"}));
    choose(QStringLiteral("取消"));
    EXPECT_EQ(m_history.log, QStringList{"undo A"}) << "neither cancel entry undoes anything";
    const QList<QAction*> all = m_menu->actions();
    for (QAction* cancel : {all[1], all[4]}) {
        hover("B");
        EXPECT_EQ(entries(), QStringList({"-", "取消", "B", "-", "撤销1步"}));
        emit m_menu->hovered(cancel);
        EXPECT_EQ(entries(), QStringList({"-", "取消", "B", "-", "取消"}));
        cancel->trigger();
        EXPECT_EQ(m_history.log, QStringList{"undo A"});
    }
}

TEST_F(UndoMenu, EditsThatWereNeverListedAreUndoneWithoutTouchingTheMenu) {
    m_history.record("unlisted 1", false);
    m_history.record("unlisted 2", false);
    m_undo->Execute();
    EXPECT_TRUE(entries().isEmpty());
    EXPECT_TRUE(m_undoButton->isEnabled());
}

TEST_F(UndoMenu, WithoutAHistoryEveryReportDisablesAndClears) {
    recordABC();
    m_history.isRecording = false;
    expectNothingToStep();
}

TEST_F(UndoMenu, WithoutATableStepsAreTakenAndNobodyIsTold) {
    recordABC();
    QSignalSpy redoable(&m_history, &AVWindow::msg_redo);
    QSignalSpy undoable(&m_history, &AVWindow::msg_undo);
    m_history.isTableThere = false;
    m_undo->Execute();
    m_redo->Execute();
    EXPECT_EQ(m_history.log, QStringList({"undo C", "redo C"}));
    choose("B");
    EXPECT_EQ(redoable.size() + undoable.size(), 0);
    const std::unique_ptr<CUndo> undo = std::make_unique<CUndo>();
    const std::unique_ptr<CRedo> redo = std::make_unique<CRedo>();
    m_history.isTableThere = true;
    m_history.sent_msg_undo(QString());
    m_history.sent_msg_redo(QString());
}

TEST_F(UndoMenu, WithoutAContextTheButtonsAreDisabled) {
    recordABC();
    const MemoryHistory::Away away;
    expectNothingToStep();
}

TEST_F(UndoMenu, ChineseDescriptionsComeBackAsTheyWere) {
    m_history.record(QStringLiteral("删除异常“深挖”"));
    QSignalSpy redoable(&m_history, &AVWindow::msg_redo);
    m_undo->Execute();
    EXPECT_EQ(redoable[0][0].toString(), QStringLiteral("删除异常“深挖”"));
}

} // namespace
