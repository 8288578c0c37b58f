#pragma once

#include "host/Export.h"

#include <osgGA/GUIEventHandler>

#include <string>

/// The part of a tool that lives in the viewer's frame loop.
///
/// The view manager never owns a handler: it lives as long as its tool, which the host disposes of through
/// ICommand::Destroy. The order of the virtual operations is part of the interface.
class VIEWMANAGER_API CXCommandHandler : public osgGA::GUIEventHandler {
public:
    CXCommandHandler();

    using osgGA::GUIEventHandler::handle;
    /// Receives the viewer's events, in the frame loop, while the handler is the active one. Positions are
    /// window pixels with y upwards. True consumes the event: the globe's camera does not follow it then. The
    /// default answers false.
    bool handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) override;
    /// Receives a message of the bus, in the frame loop and between frames. The default ignores it.
    virtual void OnMessage(std::string message);
    /// Called when the handler has been registered.
    virtual void InitInstance();
    /// Called when the view manager lets go of the handler, before its tool is destroyed.
    virtual void ExitInstance();

protected:
    ~CXCommandHandler() override;
};
