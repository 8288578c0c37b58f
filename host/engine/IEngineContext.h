#pragma once

#include "host/Export.h"

#include <QString>

namespace osgEarth {
class SpatialReference;
}

namespace zeo {

class ICommand;
class ITool;

/// The host engine's one context. GUI thread, unless said otherwise. It exists from the first use until the
/// process ends.
class ENGINE_API IEngineContext {
public:
    /// Never null. The GUI thread or that of the viewer's frames.
    static IEngineContext* Instance();

    /// Spatial reference of the globe's map, null while there is no globe. The GUI thread or that of the
    /// viewer's frames.
    virtual const osgEarth::SpatialReference* GetMapSRS() const = 0;
    /// Called by the command base constructors and destructors; commands keep the order in which they came.
    /// The object is not complete at either time: none of its operations is called then. The host destroys
    /// what it knows, through ICommand::Destroy. Null and unknown commands are ignored.
    virtual void AddCommand(ICommand* command) = 0;
    virtual void RemoveCommand(ICommand* command) = 0;
    /// Deactivates the active tool, if any, `tool` itself included, and activates `tool`; null only
    /// deactivates. What a tool throws ends here: a tool that failed to start is not active.
    virtual void ActivateTool(ITool* tool) = 0;
    /// The active tool or null.
    virtual ITool* GetActiveTool() const = 0;
    /// Shows a text in the status bar until another one is shown.
    virtual void SetStatusTip(const QString& text) = 0;

protected:
    virtual ~IEngineContext() = default;
};

} // namespace zeo
