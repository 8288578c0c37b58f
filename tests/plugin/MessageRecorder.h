#pragma once

#include "host/viewmanager/CXCommandHandler.h"
#include "workbench/viewmanager/HandlerRegistry.h"

#include <string>
#include <utility>
#include <vector>

/// While it lives, hears what is posted on the bus, as every registered handler does.
class MessageRecorder : public CXCommandHandler {
public:
    MessageRecorder() { HandlerRegistry::instance().add("message recorder", this); }
    ~MessageRecorder() override { HandlerRegistry::instance().add("message recorder", nullptr); }
    void OnMessage(std::string message) override { m_messages.push_back(std::move(message)); }
    /// What was heard since the last call.
    std::vector<std::string> take() { return std::exchange(m_messages, {}); }

private:
    std::vector<std::string> m_messages;
};
