#include "workbench/engine/EngineContext.h"

#include "host/Gbk.h"
#include "host/engine/ICommand.h"
#include "host/engine/ITool.h"
#include "workbench/engine/Log.h"

#include <QDebug>
#include <QToolButton>

#include <algorithm>
#include <exception>

namespace zeo {

namespace {

void setButtonChecked(const ICommand& command, bool checked) {
    if (QToolButton* button = EngineContext::buttonOf(command)) {
        button->setChecked(checked);
    }
}

} // namespace

IEngineContext* IEngineContext::Instance() {
    return &EngineContext::instance();
}

// Commands may outlive main's locals and deregister late, so the context is never destroyed.
EngineContext& EngineContext::instance() {
    static auto* context = new EngineContext;
    return *context;
}

void EngineContext::AddCommand(ICommand* command) {
    if (!command) {
        return;
    }
    m_commands.push_back(command);
    emit commandsChanged();
}

void EngineContext::RemoveCommand(ICommand* command) {
    const auto position = std::find(m_commands.begin(), m_commands.end(), command);
    if (position == m_commands.end()) {
        return;
    }
    m_commands.erase(position);
    if (m_activeTool == command) {
        setActiveTool(nullptr);
    }
    emit commandsChanged();
}

void EngineContext::ActivateTool(ITool* tool) {
    deactivateTool();
    if (tool) {
        enter(*tool);
    }
}

void EngineContext::SetStatusTip(const QString& text) {
    emit statusTipChanged(text);
}

QToolButton* EngineContext::buttonOf(const ICommand& command) {
    return command.m_pButton;
}

void EngineContext::click(ICommand& command) {
    auto* tool = command.IsTool() ? dynamic_cast<ITool*>(&command) : nullptr;
    if (!tool) {
        guarded(command, [&] {
            command.OnBeforeExcute();
            command.Execute();
        });
        return;
    }

    // Without a button the click itself is the wish to change.
    const QToolButton* button = buttonOf(command);
    const bool wanted = button ? button->isChecked() : m_activeTool != tool;
    deactivateTool();
    if (wanted) {
        enter(*tool);
    } else {
        setButtonChecked(*tool, false);
    }
}

void EngineContext::deactivateTool() {
    if (!m_activeTool) {
        return;
    }
    ITool& left = *m_activeTool;
    setButtonChecked(left, true);
    if (guarded(left, [&] { left.OnDeactivate(); })) {
        setButtonChecked(left, false);
    }
    setActiveTool(nullptr);
}

void EngineContext::enter(ITool& tool) {
    if (guarded(tool, [&] { tool.OnActivate(); })) {
        setActiveTool(&tool);
    }
}

void EngineContext::shutdown() {
    deactivateTool();
    while (!m_commands.empty()) {
        ICommand* last = m_commands.back();
        // First, so that a command that fails to destroy itself is not asked again.
        RemoveCommand(last);
        try {
            last->Destroy();
        } catch (const std::exception& error) {
            qCWarning(engineLog).noquote() << "A command failed to destroy itself:" << error.what();
        } catch (...) {
            qCWarning(engineLog) << "A command failed to destroy itself";
        }
    }
}

bool EngineContext::guarded(ICommand& command, const std::function<void()>& call) {
    QString reason;
    try {
        call();
        return true;
    } catch (const std::exception& error) {
        reason = QString::fromLocal8Bit(error.what());
    } catch (...) {
        reason = QStringLiteral("unknown exception");
    }
    setButtonChecked(command, false);
    const QString name = fromGbk(command.Name());
    qCWarning(engineLog).noquote() << "Command" << name << "failed:" << reason;
    emit commandFailed(name, reason);
    return false;
}

void EngineContext::setActiveTool(ITool* tool) {
    if (m_activeTool == tool) {
        return;
    }
    m_activeTool = tool;
    emit activeToolChanged(tool);
}

} // namespace zeo
