#include "tests/plugin/PluginHost.h"

#include "host/inspection/AVWindow.h"
#include "host/inspection/EditHistory.h"
#include "host/inspection/IORVAContext.h"

#include <QMenu>
#include <QSignalSpy>

namespace {

class History : public PluginTest {
protected:
    AVWindow& m_table = *IORVAContext::Instance()->GetAVWindow();
    QToolButton& m_undo = m_host.button("撤销");
    QToolButton& m_redo = m_host.button("重做");
};

TEST_F(History, WithNothingToUndoAReportKeepsTheButtonDisabledAndTheMenuEmpty) {
    EditHistory* history = IORVAContext::Instance()->GetEditHistory();
    ASSERT_TRUE(!history || !history->CanUndo());
    m_table.sent_msg_undo(QStringLiteral("删除异常"));
    EXPECT_FALSE(m_undo.isEnabled());
    EXPECT_TRUE(m_undo.menu()->actions().isEmpty());
    m_table.sent_msg_undo(QString());
    EXPECT_FALSE(m_undo.isEnabled());
}

TEST_F(History, WithNothingToRedoAReportKeepsTheButtonDisabled) {
    EditHistory* history = IORVAContext::Instance()->GetEditHistory();
    ASSERT_TRUE(!history || !history->CanRedo());
    m_table.sent_msg_redo(QStringLiteral("删除异常"));
    EXPECT_FALSE(m_redo.isEnabled());
}

TEST_F(History, ExecutingWithNothingToDoReportsNothing) {
    QSignalSpy undone(&m_table, &AVWindow::msg_redo);
    QSignalSpy redone(&m_table, &AVWindow::msg_undo);
    m_undo.setChecked(true); // as by the click that runs them
    m_redo.setChecked(true);
    m_host.command("撤销").Execute();
    m_host.command("重做").Execute();
    EXPECT_TRUE(undone.isEmpty());
    EXPECT_TRUE(redone.isEmpty());
    EXPECT_FALSE(m_undo.isChecked());
    EXPECT_FALSE(m_redo.isChecked());
}

} // namespace
