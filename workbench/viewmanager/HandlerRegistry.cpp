#include "workbench/viewmanager/HandlerRegistry.h"

#include "host/viewmanager/DynamicClass.h"
#include "host/viewmanager/MessageBus.h"

#include <osg/Notify>

#include <algorithm>
#include <exception>
#include <utility>

namespace {

/// Runs what belongs to a tool; true when it returned true and did not throw.
template<typename Call>
bool guarded(const char* what, Call&& call) {
    try {
        return call();
    } catch (const std::exception& error) {
        OSG_WARN << "A tool failed in " << what << ": " << error.what() << '\n';
    } catch (...) {
        OSG_WARN << "A tool failed in " << what << '\n';
    }
    return false;
}

class Forwarder : public osgGA::GUIEventHandler {
public:
    using osgGA::GUIEventHandler::handle;
    bool handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) override {
        CXCommandHandler* active = HandlerRegistry::instance().activeHandler();
        return active && guarded("handle", [&] { return active->handle(ea, aa); });
    }
};

} // namespace

HandlerRegistry::HandlerRegistry() : m_forwarder(new Forwarder) {}

// Handlers of plug-ins may be destroyed after main has returned, so the registry is never destroyed.
HandlerRegistry& HandlerRegistry::instance() {
    static auto* registry = new HandlerRegistry;
    return *registry;
}

void HandlerRegistry::add(const std::string& name, CXCommandHandler* handler) {
    const auto known = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](const Entry& entry) { return entry.name == name; });
    if (known == m_entries.end()) {
        m_entries.push_back({name, handler});
    } else {
        known->handler = handler;
    }
    if (handler) {
        handler->InitInstance();
    }
}

void HandlerRegistry::clear() {
    m_active = nullptr;
    for (auto entry = m_entries.rbegin(); entry != m_entries.rend(); ++entry) {
        if (CXCommandHandler* handler = entry->handler.get()) {
            guarded("ExitInstance", [&] {
                handler->ExitInstance();
                return true;
            });
        }
    }
    m_entries.clear();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_messages.clear();
}

std::vector<std::string> HandlerRegistry::names() const {
    std::vector<std::string> names;
    names.reserve(m_entries.size());
    for (const Entry& entry : m_entries) {
        names.push_back(entry.name);
    }
    return names;
}

CXCommandHandler* HandlerRegistry::find(const std::string& name) const {
    const auto known = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](const Entry& entry) { return entry.name == name; });
    return known == m_entries.end() ? nullptr : known->handler.get();
}

bool HandlerRegistry::activate(const std::string& name) {
    CXCommandHandler* handler = find(name);
    if (!handler) {
        return false;
    }
    m_active = handler;
    return true;
}

void HandlerRegistry::post(std::string message) {
    std::function<void()> wakeUp;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_messages.push_back(std::move(message));
        wakeUp = m_wakeUp;
    }
    if (wakeUp) {
        wakeUp();
    }
}

bool HandlerRegistry::hasMessages() const {
    const std::lock_guard<std::mutex> lock(m_mutex);
    return !m_messages.empty();
}

void HandlerRegistry::deliverMessages() {
    std::deque<std::string> round;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        round.swap(m_messages);
    }
    for (const std::string& message : round) {
        deliver(message);
    }
}

void HandlerRegistry::deliver(const std::string& message) {
    // A copy, because a handler may register another one; observers, because it may destroy one.
    const std::vector<Entry> entries = m_entries;
    for (const Entry& entry : entries) {
        if (CXCommandHandler* handler = entry.handler.get()) {
            guarded("OnMessage", [&] {
                handler->OnMessage(message);
                return true;
            });
        }
    }
}

void HandlerRegistry::setWakeUp(std::function<void()> wakeUp) {
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_wakeUp = std::move(wakeUp);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): by contract
DynamicClass::DynamicClass(std::string name, CXCommandHandler* handler) {
    HandlerRegistry::instance().add(name, handler);
}

bool osgCmd(const char* name) {
    return name && HandlerRegistry::instance().activate(name);
}

void osgPush(const char* message) {
    if (message) {
        HandlerRegistry::instance().post(message);
    }
}
