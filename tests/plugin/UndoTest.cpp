#include "tests/plugin/MemoryHistory.h"

#include "commands/CRedo.h"
#include "commands/CUndo.h"
#include "workbench/engine/EngineContext.h"

#include <QHBoxLayout>
#include <QMenu>
#include <QSignalSpy>
#include <QTest>
#include <QToolButton>
#include <gtest/gtest.h>

namespace {

class UndoMenu : public ::testing::Test {
protected:
    UndoMenu() : m_layout(new QHBoxLayout(&m_row)), m_undo(new CUndo), m_redo(new CRedo) {
        m_undo->createselfUI(&m_row, m_layout);
        m_redo->createselfUI(&m_row, m_layout);
        m_undoButton = zeo::EngineContext::buttonOf(*m_undo);
        m_redoButton = zeo::EngineContext::buttonOf(*m_redo);
        m_menu = m_undoButton->menu();
        m_row.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_row));
    }
    ~UndoMenu() override { zeo::EngineContext::instance().shutdown(); }

    void recordABC() {
        for (const char* text : {"A", "B", "C"})
            m_history.record(text);
    }
    /// The menu from top to bottom; "-" is a separator.
    QStringList entries() const {
        QStringList texts;
        for (const QAction* action : m_menu->actions())
            texts << (action->isSeparator() ? QStringLiteral("-") : action->text());
        return texts;
    }
    QAction* entry(const QString& text) const {
        for (QAction* action : m_menu->actions()) {
            if (action->text() == text)
                return action;
        }
        return nullptr;
    }
    void hover(const QString& text) { emit m_menu->hovered(entry(text)); }
    void choose(const QString& text) { entry(text)->trigger(); }

    MemoryHistory m_history;
    QWidget m_row;
    QHBoxLayout* m_layout;
    CUndo* m_undo;
    CRedo* m_redo;
    QToolButton* m_undoButton;
    QToolButton* m_redoButton;
    QMenu* m_menu;
};

TEST_F(UndoMenu, BothButtonsStartDisabled) {
    EXPECT_FALSE(m_undoButton->isEnabled());
    EXPECT_FALSE(m_redoButton->isEnabled());
    EXPECT_EQ(m_undoButton->popupMode(), QToolButton::MenuButtonPopup);
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
    m_undo->Execute();
    m_redo->Execute();
    EXPECT_TRUE(m_history.log.isEmpty());
    EXPECT_TRUE(entries().isEmpty());
    EXPECT_FALSE(m_undoButton->isEnabled());
    EXPECT_FALSE(m_redoButton->isEnabled());
}

TEST_F(UndoMenu, ChineseDescriptionsComeBackAsTheyWere) {
    m_history.record(QStringLiteral("删除异常“深挖”"));
    QSignalSpy redoable(&m_history, &AVWindow::msg_redo);
    m_undo->Execute();
    EXPECT_EQ(redoable[0][0].toString(), QStringLiteral("删除异常“深挖”"));
}

} // namespace
