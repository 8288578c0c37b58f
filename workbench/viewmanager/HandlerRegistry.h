#pragma once

#include "host/Export.h"
#include "host/viewmanager/CXCommandHandler.h"

#include <osg/observer_ptr>

#include <deque>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

/// The handlers by name, the active one, and the message bus, as the program that owns the viewer sees them.
/// DynamicClass, osgCmd and osgPush are its face towards plug-ins. Names and messages are GBK.
///
/// Handlers are observed, never owned: a tool is one object with two bases, and ICommand::Destroy deletes it.
/// Nobody may hold an osg::ref_ptr to a handler. A destroyed handler is skipped everywhere from then on.
///
/// GUI thread, except where said. A handler that throws is logged and counts as not having consumed the
/// event.
class VIEWMANAGER_API HandlerRegistry {
public:
    static HandlerRegistry& instance();

    /// Registers `handler` and calls its InitInstance. A known name keeps its place and gets the new handler.
    void add(const std::string& name, CXCommandHandler* handler);
    /// Calls ExitInstance of the handlers that still live, newest first, and forgets names and messages.
    void clear();

    /// In the order of registration.
    std::vector<std::string> names() const;
    /// Null for an unknown name, a null registration or a destroyed handler.
    CXCommandHandler* find(const std::string& name) const;

    /// Makes the handler of that name the active one. False, and nothing changes, where find answers null.
    bool activate(const std::string& name);
    CXCommandHandler* activeHandler() const { return m_active.get(); }

    /// Puts a message into the queue and calls the wake-up. Any thread.
    void post(std::string message);
    /// True while messages wait. Any thread.
    bool hasMessages() const;
    /// Hands what was posted before the call to every registered handler, message by message, in the order of
    /// posting. What is posted meanwhile waits for the next call. The viewer calls it between two frames.
    void deliverMessages();
    /// Called after each post, on the thread that posts, so that a viewer which draws on demand asks for a
    /// frame.
    void setWakeUp(std::function<void()> wakeUp);

    /// The one event handler that the viewer installs on its view: it passes each event on to the active
    /// handler.
    osgGA::GUIEventHandler* activeHandlerForwarder() { return m_forwarder.get(); }

private:
    HandlerRegistry();

    struct Entry {
        std::string name;
        osg::observer_ptr<CXCommandHandler> handler;
    };

    void deliver(const std::string& message);

    std::vector<Entry> m_entries;
    osg::observer_ptr<CXCommandHandler> m_active;
    osg::ref_ptr<osgGA::GUIEventHandler> m_forwarder;

    mutable std::mutex m_mutex; ///< guards what follows
    std::deque<std::string> m_messages;
    std::function<void()> m_wakeUp;
};
