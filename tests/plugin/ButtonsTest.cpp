#include "tests/plugin/PluginHost.h"

#include "host/Gbk.h"
#include "host/engine/ICommand.h"

#include <QMenu>
#include <QSignalSpy>
#include <QTest>

namespace {

using Buttons = PluginTest;

TEST_F(Buttons, EveryCommandHasOneWithItsNameTipAndIconOverText) {
    for (zeo::ICommand* command : m_engine.commands()) {
        const QToolButton* button = zeo::EngineContext::buttonOf(*command);
        ASSERT_NE(button, nullptr);
        const QString name = fromGbk(command->Name());
        EXPECT_EQ(button->objectName(), name);
        EXPECT_EQ(button->text(), name);
        EXPECT_EQ(button->toolTip(), fromGbk(command->ToolTip()));
        ASSERT_FALSE(button->icon().isNull()) << command->Key();
        EXPECT_EQ(button->icon().pixmap(32, 32).toImage(), command->GetIcon().pixmap(32, 32).toImage())
            << command->Key();
        EXPECT_EQ(button->toolButtonStyle(), Qt::ToolButtonTextUnderIcon);
        EXPECT_EQ(button->minimumSize(), QSize(60, 60));
        EXPECT_EQ(button->iconSize(), QSize(32, 32));
        EXPECT_TRUE(button->isCheckable());
        EXPECT_FALSE(button->isChecked());
    }
}

TEST_F(Buttons, UndoAndRedoStartDisabledAndAllOthersEnabled) {
    for (zeo::ICommand* command : m_engine.commands()) {
        const bool isHistory = command->Name() == toGbk("撤销") || command->Name() == toGbk("重做");
        EXPECT_EQ(zeo::EngineContext::buttonOf(*command)->isEnabled(), !isHistory) << command->Key();
    }
}

TEST_F(Buttons, OnlyUndoHasAMenuBesideItsMainPart) {
    EXPECT_NE(m_host.button("撤销").menu(), nullptr);
    EXPECT_EQ(m_host.button("撤销").popupMode(), QToolButton::MenuButtonPopup);
    EXPECT_EQ(m_host.button("重做").menu(), nullptr);
}

TEST_F(Buttons, UndoAndRedoIgnoreClicksWhileTheyAreDisabled) {
    for (const char* name : {"撤销", "重做"}) {
        QSignalSpy clicks(&m_host.button(name), &QToolButton::clicked);
        m_host.click(name);
        EXPECT_TRUE(clicks.isEmpty()) << name;
        EXPECT_FALSE(m_host.button(name).isChecked()) << name;
    }
}

} // namespace
