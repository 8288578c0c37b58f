#pragma once

#include "host/engine/ICommand.h"

class QKeyEvent;
class QMouseEvent;
class QWheelEvent;

namespace zeo {

/// An interactive tool: at most one is active at a time. The order of the virtual operations is part of the
/// interface. The Qt input operations are for hosts with a 2D view; the globe's events go to
/// CXCommandHandler::handle.
class ENGINE_API ITool : public ICommand {
    Q_OBJECT

public:
    /// Input of a 2D view, in the widget coordinates of that view. The events belong to the caller.
    virtual void OnKeyPress(QKeyEvent* event) = 0;
    virtual void OnKeyRelease(QKeyEvent* event) = 0;
    virtual void OnMouseMove(QMouseEvent* event) = 0;
    virtual void OnMousePress(QMouseEvent* event) = 0;
    virtual void OnMouseRelease(QMouseEvent* event) = 0;
    virtual void OnMouseDoubleClick(QMouseEvent* event) = 0;
    virtual void OnMouseWheel(QWheelEvent* event) = 0;
    /// A host's own message with two arguments; 0 when the tool does not know it.
    virtual int MessageEvent(int message, long long first, long long second) = 0;
    /// The tool becomes the active tool. It checks its button itself, or unchecks it when it does not start.
    virtual void OnActivate() = 0;
    /// The tool stops being the active tool. The host calls it with the tool's button checked, whatever the
    /// tool did to the button while it was active, so that a flag derived from the button says "it was
    /// running".
    virtual void OnDeactivate() = 0;
    /// What a form of the host's reports to the active tool: an action's number or name, with its
    /// value.
    virtual void onFormAction(int action, double value) = 0;
    virtual void onFormAction(int action, QString value) = 0;
    virtual void onFormAction(QString action) = 0;
};

} // namespace zeo
