#include "tests/engine/RecordingTool.h"

#include <gtest/gtest.h>

namespace {

class Button : public ::testing::Test {
protected:
    QStringList m_log;
    ToolAreaWindow m_area;
};

TEST_F(Button, CarriesNameTipAndIconOfTheCommand) {
    auto* command = new RecordingCommand("1", m_log);
    EXPECT_EQ(zeo::EngineContext::buttonOf(*command), nullptr);

    const QToolButton* button = m_area.addButton(*command);

    EXPECT_EQ(button->objectName(), QStringLiteral("命令 1"));
    EXPECT_EQ(button->text(), QStringLiteral("命令 1"));
    EXPECT_EQ(button->toolTip(), QStringLiteral("提示文字"));
    ASSERT_FALSE(button->icon().isNull());
    EXPECT_EQ(button->icon().pixmap(32, 32).toImage(), command->GetIcon().pixmap(32, 32).toImage());
    EXPECT_EQ(button->toolButtonStyle(), Qt::ToolButtonTextUnderIcon);
    EXPECT_EQ(button->iconSize(), QSize(32, 32));
    EXPECT_GE(button->width(), 60);
    EXPECT_GE(button->height(), 60);
    EXPECT_TRUE(button->isCheckable());
    EXPECT_FALSE(button->isChecked());
    EXPECT_EQ(m_area.m_layout->itemAt(0)->widget(), button);
}

TEST_F(Button, FollowsTheRunningSignal) {
    auto* command = new RecordingCommand("1", m_log);
    const QToolButton* button = m_area.addButton(*command);
    emit command->isrun(true);
    EXPECT_TRUE(button->isChecked());
    emit command->isrun(false);
    EXPECT_FALSE(button->isChecked());
}

TEST_F(Button, IsForgottenWhenItsWindowDeletesIt) {
    auto* command = new RecordingCommand("1", m_log);
    delete m_area.addButton(*command);
    EXPECT_EQ(zeo::EngineContext::buttonOf(*command), nullptr);
}

TEST_F(Button, OfASecondWindowOutlivesTheFirst) {
    auto* command = new RecordingCommand("1", m_log);
    QToolButton* first = m_area.addButton(*command);
    QToolButton* second = m_area.addButton(*command);
    delete first;
    EXPECT_EQ(zeo::EngineContext::buttonOf(*command), second);
}

} // namespace
