#include "host/engine/CommandPlugin.h"

#include "host/engine/IEngineContext.h"

namespace zeo {

CommandPlugin::CommandPlugin(const std::string& key) : m_key(key) {
    IEngineContext::Instance()->AddCommand(this);
}

CommandPlugin::~CommandPlugin() {
    IEngineContext::Instance()->RemoveCommand(this);
}

void CommandPlugin::Destroy() {
    delete this;
}

std::string CommandPlugin::Name() {
    return m_name;
}

std::string CommandPlugin::ToolTip() {
    return m_toolTip;
}

std::string CommandPlugin::Key() {
    return m_key;
}

bool CommandPlugin::IsTool() {
    return false;
}

std::string CommandPlugin::CommandType() {
    return m_commandType;
}

QIcon CommandPlugin::GetIcon() {
    return m_icon;
}

QCursor CommandPlugin::GetCursor() {
    return m_cursor;
}

void CommandPlugin::OnBeforeExcute() {}

} // namespace zeo
