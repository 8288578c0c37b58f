#include "host/engine/ToolPlugin.h"

#include "host/engine/IEngineContext.h"

namespace zeo {

ToolPlugin::ToolPlugin(const std::string& key) : m_key(key) {
    IEngineContext::Instance()->AddCommand(this);
}

ToolPlugin::~ToolPlugin() {
    IEngineContext::Instance()->RemoveCommand(this);
}

void ToolPlugin::Destroy() {
    delete this;
}

void ToolPlugin::Execute() {
    IEngineContext::Instance()->ActivateTool(this);
}

std::string ToolPlugin::Name() {
    return m_name;
}

std::string ToolPlugin::ToolTip() {
    return m_toolTip;
}

std::string ToolPlugin::Key() {
    return m_key;
}

std::string ToolPlugin::CommandType() {
    return m_commandType;
}

QIcon ToolPlugin::GetIcon() {
    return m_icon;
}

QCursor ToolPlugin::GetCursor() {
    return m_cursor;
}

void ToolPlugin::OnBeforeExcute() {}

void ToolPlugin::OnKeyPress(QKeyEvent* /*event*/) {}
void ToolPlugin::OnKeyRelease(QKeyEvent* /*event*/) {}
void ToolPlugin::OnMouseMove(QMouseEvent* /*event*/) {}
void ToolPlugin::OnMousePress(QMouseEvent* /*event*/) {}
void ToolPlugin::OnMouseRelease(QMouseEvent* /*event*/) {}
void ToolPlugin::OnMouseDoubleClick(QMouseEvent* /*event*/) {}
void ToolPlugin::OnMouseWheel(QWheelEvent* /*event*/) {}

int ToolPlugin::MessageEvent(int /*message*/, long long /*first*/, long long /*second*/) {
    return 0;
}

void ToolPlugin::onFormAction(int /*action*/, double /*value*/) {}
void ToolPlugin::onFormAction(int /*action*/, QString /*value*/) {
} // NOLINT(performance-unnecessary-value-param)
void ToolPlugin::onFormAction(QString /*action*/) {} // NOLINT(performance-unnecessary-value-param)

} // namespace zeo
