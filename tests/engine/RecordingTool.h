#pragma once

#include "host/Gbk.h"
#include "host/engine/CommandPlugin.h"
#include "host/engine/ToolPlugin.h"
#include "workbench/engine/EngineContext.h"

#include <QHBoxLayout>
#include <QPixmap>
#include <QStringList>
#include <QTest>
#include <QToolButton>
#include <QWidget>

#include <gtest/gtest.h>

#include <stdexcept>

/// A one-shot command that notes what the engine does with it.
class RecordingCommand : public zeo::CommandPlugin {
    Q_OBJECT

public:
    RecordingCommand(const std::string& key, QStringList& log) : zeo::CommandPlugin(key), m_log(log) {
        m_name = toGbk("命令 ") + key;
        m_toolTip = toGbk("提示文字");
        m_commandType = toGbk("测试");
        QPixmap picture(32, 32);
        picture.fill(Qt::red);
        m_icon = QIcon(picture);
    }
    ~RecordingCommand() override { m_log << fromGbk(m_key) + " destroyed"; }

    void OnBeforeExcute() override { m_log << fromGbk(m_key) + " before"; }
    void Execute() override {
        m_log << fromGbk(m_key) + " execute";
        if (m_throws) {
            throw std::runtime_error("out of paper");
        }
        m_pButton->setChecked(false);
    }

    bool m_throws = false;

private:
    QStringList& m_log;
};

/// A tool in the manner of the plug-in's: it keeps the inverse of its button's state when it is left, and
/// refuses to start while that flag is set.
class RecordingTool : public zeo::ToolPlugin {
    Q_OBJECT

public:
    RecordingTool(const std::string& key, QStringList& log) : zeo::ToolPlugin(key), m_log(log) {
        m_name = toGbk("工具 ") + key;
        m_commandType = toGbk("测试");
    }
    ~RecordingTool() override { m_log << fromGbk(m_key) + " destroyed"; }

    bool IsTool() override { return true; }
    void OnActivate() override {
        m_log << fromGbk(m_key) + (m_wasUnchecked ? " refused" : " on");
        m_pButton->setChecked(!m_wasUnchecked);
        if (m_throwsOnActivate) {
            throw std::runtime_error("no database");
        }
    }
    void OnDeactivate() override {
        m_log << fromGbk(m_key) + (m_pButton->isChecked() ? " off" : " off while unchecked");
        m_wasUnchecked = !m_pButton->isChecked();
        m_pButton->setChecked(false);
        if (m_throwsOnDeactivate) {
            throw 42;
        }
    }
    /// What a drawing tool does when it is finished before the user leaves it.
    void switchItselfOff() { m_pButton->setChecked(false); }

    bool m_throwsOnActivate = false;
    bool m_throwsOnDeactivate = false;

private:
    QStringList& m_log;
    bool m_wasUnchecked = false;
};

/// A visible tool area with the buttons of all commands. Its end destroys the commands.
class ToolAreaWindow {
public:
    ToolAreaWindow() : m_layout(new QHBoxLayout(&m_window)) {}
    ~ToolAreaWindow() { zeo::EngineContext::instance().shutdown(); }

    QToolButton* addButton(zeo::ICommand& command) {
        command.createselfUI(&m_window, m_layout);
        m_window.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_window));
        return zeo::EngineContext::buttonOf(command);
    }

    QWidget m_window;
    QHBoxLayout* m_layout;
};

inline void clickOn(QToolButton* button) {
    QTest::mouseClick(button, Qt::LeftButton);
}
