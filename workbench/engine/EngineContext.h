#pragma once

#include "host/engine/IEngineContext.h"

#include <QObject>

#include <atomic>
#include <functional>
#include <vector>

class QToolButton;

namespace zeo {

/// The engine's context as the program sees it: the commands that exist, the one active tool, and what a
/// click does. GUI thread.
///
/// Click protocol. Qt has already flipped the button when OnAction runs; what the button shows then is what
/// the user wants.
/// - A command: OnBeforeExcute, then Execute. The active tool stays active.
/// - A tool: the active tool, the clicked one included, is left first; then the clicked tool is entered if
///   its button was checked, otherwise no tool is active.
///   * Leaving: the button is set checked and OnDeactivate is called, so that a tool which keeps "not
///     checked" as its flag for the next activation always keeps false, even if it had switched itself off
///     meanwhile.
///   * Entering: OnActivate is called; the tool checks its own button. Until another click it counts as
///     active, even if it finishes by itself.
///
/// Whatever a command or tool throws ends here: it is logged, its button is unchecked, commandFailed is
/// emitted, and a tool that failed is not active.
class ENGINE_API EngineContext final : public QObject, public IEngineContext {
    Q_OBJECT

public:
    static EngineContext& instance();

    const osgEarth::SpatialReference* GetMapSRS() const override { return m_mapSRS; }
    void AddCommand(ICommand* command) override;
    void RemoveCommand(ICommand* command) override;
    void ActivateTool(ITool* tool) override;
    ITool* GetActiveTool() const override { return m_activeTool; }
    void SetStatusTip(const QString& text) override;

    /// The caller keeps the reference system alive until it sets another one or null.
    void setMapSRS(const osgEarth::SpatialReference* srs) { m_mapSRS = srs; }
    /// In the order in which they were constructed.
    const std::vector<ICommand*>& commands() const { return m_commands; }
    /// The command's button; null before createselfUI and after the button was deleted.
    static QToolButton* buttonOf(const ICommand& command);
    /// What OnAction does.
    void click(ICommand& command);
    /// Leaves the active tool, if any.
    void deactivateTool();
    /// Leaves the active tool and destroys all commands, newest first. The host's last call before the scene
    /// goes.
    void shutdown();

signals:
    /// A command came or went. Emitted while it is under construction or destruction: connect queued, or only
    /// note that commands() is to be read later.
    void commandsChanged();
    /// The active tool changed; null for none.
    void activeToolChanged(zeo::ITool* tool);
    void statusTipChanged(const QString& text);
    /// A command or tool threw; `name` is the text of its button, `reason` what the exception said.
    void commandFailed(const QString& name, const QString& reason);

private:
    EngineContext() = default;

    void enter(ITool& tool);
    bool guarded(ICommand& command, const std::function<void()>& call);
    void setActiveTool(ITool* tool);

    std::vector<ICommand*> m_commands;
    ITool* m_activeTool = nullptr;
    std::atomic<const osgEarth::SpatialReference*> m_mapSRS{nullptr};
};

} // namespace zeo
