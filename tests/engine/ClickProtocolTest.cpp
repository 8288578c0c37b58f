#include "tests/engine/RecordingTool.h"

#include <QKeyEvent>
#include <QMouseEvent>
#include <QSignalSpy>
#include <QWheelEvent>
#include <gtest/gtest.h>

namespace {

class Click : public ::testing::Test {
protected:
    Click() {
        m_command = new RecordingCommand("C", m_log);
        m_first = new RecordingTool("A", m_log);
        m_second = new RecordingTool("B", m_log);
        m_commandButton = m_area.addButton(*m_command);
        m_firstButton = m_area.addButton(*m_first);
        m_secondButton = m_area.addButton(*m_second);
    }

    zeo::EngineContext& m_engine = zeo::EngineContext::instance();
    QStringList m_log;
    ToolAreaWindow m_area;
    RecordingCommand* m_command;
    RecordingTool* m_first;
    RecordingTool* m_second;
    QToolButton* m_commandButton;
    QToolButton* m_firstButton;
    QToolButton* m_secondButton;
};

TEST_F(Click, OnACommandRunsItOnceAndLeavesItsButtonUp) {
    clickOn(m_commandButton);
    EXPECT_EQ(m_log, QStringList({"C before", "C execute"}));
    EXPECT_FALSE(m_commandButton->isChecked());
}

TEST_F(Click, OnACommandLeavesTheActiveToolActive) {
    clickOn(m_firstButton);
    clickOn(m_commandButton);
    EXPECT_EQ(m_engine.GetActiveTool(), m_first);
    EXPECT_TRUE(m_firstButton->isChecked());
}

TEST_F(Click, OnAToolActivatesItAndTheNextClickLeavesIt) {
    clickOn(m_firstButton);
    EXPECT_EQ(m_engine.GetActiveTool(), m_first);
    EXPECT_TRUE(m_firstButton->isChecked());

    clickOn(m_firstButton);
    EXPECT_EQ(m_engine.GetActiveTool(), nullptr);
    EXPECT_FALSE(m_firstButton->isChecked());
    EXPECT_EQ(m_log, QStringList({"A on", "A off"}));
}

TEST_F(Click, OnAnotherToolLeavesTheFirstBeforeTheSecondIsEntered) {
    clickOn(m_firstButton);
    clickOn(m_secondButton);
    EXPECT_EQ(m_log, QStringList({"A on", "A off", "B on"}));
    EXPECT_EQ(m_engine.GetActiveTool(), m_second);
    EXPECT_FALSE(m_firstButton->isChecked());
    EXPECT_TRUE(m_secondButton->isChecked());
}

TEST_F(Click, OnAToolThatSwitchedItselfOffStartsItAgain) {
    clickOn(m_firstButton);
    m_first->switchItselfOff();
    EXPECT_EQ(m_engine.GetActiveTool(), m_first) << "active until another click";

    clickOn(m_firstButton);

    EXPECT_EQ(m_log, QStringList({"A on", "A off", "A on"})) << "left with its button checked";
    EXPECT_EQ(m_engine.GetActiveTool(), m_first);
    EXPECT_TRUE(m_firstButton->isChecked());
}

TEST_F(Click, AlternatesForeverBetweenOnAndOff) {
    for (int round = 0; round < 5; ++round) {
        clickOn(m_firstButton);
        EXPECT_TRUE(m_firstButton->isChecked()) << round;
        clickOn(m_firstButton);
        EXPECT_FALSE(m_firstButton->isChecked()) << round;
    }
    EXPECT_EQ(m_log.count("A on"), 5);
    EXPECT_EQ(m_log.count("A off"), 5);
}

TEST_F(Click, ReportsWhichToolIsActive) {
    QList<zeo::ITool*> active;
    const auto connection = QObject::connect(&m_engine, &zeo::EngineContext::activeToolChanged,
                                             [&](zeo::ITool* tool) { active << tool; });
    clickOn(m_firstButton);
    clickOn(m_secondButton);
    clickOn(m_secondButton);
    QObject::disconnect(connection);
    EXPECT_EQ(active, QList<zeo::ITool*>({m_first, nullptr, m_second, nullptr}));
}

TEST_F(Click, OnACommandThatThrowsIsReportedAndUnchecksItsButton) {
    QSignalSpy failures(&m_engine, &zeo::EngineContext::commandFailed);
    m_command->m_throws = true;
    clickOn(m_commandButton);
    ASSERT_EQ(failures.size(), 1);
    EXPECT_EQ(failures[0][0].toString(), QStringLiteral("命令 C"));
    EXPECT_EQ(failures[0][1].toString(), "out of paper");
    EXPECT_FALSE(m_commandButton->isChecked());
}

TEST_F(Click, OnAToolThatThrowsOnActivationLeavesNoToolActive) {
    QSignalSpy failures(&m_engine, &zeo::EngineContext::commandFailed);
    m_first->m_throwsOnActivate = true;
    clickOn(m_firstButton);
    EXPECT_EQ(failures.size(), 1);
    EXPECT_EQ(m_engine.GetActiveTool(), nullptr);
    EXPECT_FALSE(m_firstButton->isChecked());
}

TEST_F(Click, StillEntersTheNextToolWhenTheFirstThrowsOnLeaving) {
    QSignalSpy failures(&m_engine, &zeo::EngineContext::commandFailed);
    m_first->m_throwsOnDeactivate = true;
    clickOn(m_firstButton);
    clickOn(m_secondButton);
    EXPECT_EQ(failures.size(), 1);
    EXPECT_EQ(m_engine.GetActiveTool(), m_second);
    EXPECT_FALSE(m_firstButton->isChecked());
    EXPECT_TRUE(m_secondButton->isChecked());
}

TEST_F(Click, BySpaceKeyDoesTheSame) {
    m_firstButton->setFocus();
    QTest::keyClick(m_firstButton, Qt::Key_Space);
    EXPECT_EQ(m_engine.GetActiveTool(), m_first);
}

TEST_F(Click, OperationsThatAToolDoesNotSupplyDoNothing) {
    QKeyEvent key(QEvent::KeyPress, Qt::Key_A, Qt::NoModifier);
    QMouseEvent mouse(QEvent::MouseMove, QPointF(1, 2), QPointF(1, 2), Qt::NoButton, Qt::NoButton,
                      Qt::NoModifier);
    QWheelEvent wheel(QPointF(1, 2), QPointF(1, 2), QPoint(), QPoint(0, 120), Qt::NoButton, Qt::NoModifier,
                      Qt::NoScrollPhase, false);
    zeo::ITool& tool = *m_first;
    tool.OnKeyPress(&key);
    tool.OnKeyRelease(&key);
    tool.OnMouseMove(&mouse);
    tool.OnMousePress(&mouse);
    tool.OnMouseRelease(&mouse);
    tool.OnMouseDoubleClick(&mouse);
    tool.OnMouseWheel(&wheel);
    tool.onFormAction(1, 2.0);
    tool.onFormAction(1, QStringLiteral("value"));
    tool.onFormAction(QStringLiteral("action"));
    tool.OnBeforeExcute();
    EXPECT_EQ(tool.MessageEvent(7, 8, 9), 0);
    EXPECT_TRUE(m_log.isEmpty());
    EXPECT_EQ(m_engine.GetActiveTool(), nullptr);
}

TEST_F(Click, ExecuteOfAToolMakesItTheActiveTool) {
    clickOn(m_firstButton);
    m_second->Execute();
    EXPECT_EQ(m_log, QStringList({"A on", "A off", "B on"}));
    EXPECT_EQ(m_engine.GetActiveTool(), m_second);
}

} // namespace
