#pragma once

#include "host/engine/ITool.h"

namespace zeo {

/// Base of the interactive tools. The constructor makes the tool known to the host under its key.
/// A derived tool fills the fields in its constructor and supplies IsTool, OnActivate and OnDeactivate.
class ENGINE_API ToolPlugin : public ITool {
    Q_OBJECT

public:
    /// `key` (GBK) is what Key() answers for good. GUI thread.
    explicit ToolPlugin(const std::string& key);
    /// The host forgets the tool without calling OnDeactivate, as the derived object is gone by then: a tool
    /// that may be active is left first.
    ~ToolPlugin() override;

    /// Deletes the object: tools live on the heap.
    void Destroy() override;
    void Execute() override; ///< asks the host to make this the active tool
    std::string Name() override;
    std::string ToolTip() override;
    std::string Key() override;
    std::string CommandType() override;
    QIcon GetIcon() override;
    QCursor GetCursor() override;
    void OnBeforeExcute() override; ///< nothing

    // No reaction unless a tool overrides them; MessageEvent answers 0. The tools on the globe hear of keys
    // and pointer through CXCommandHandler::handle instead.
    void OnKeyPress(QKeyEvent* event) override;
    void OnKeyRelease(QKeyEvent* event) override;
    void OnMouseMove(QMouseEvent* event) override;
    void OnMousePress(QMouseEvent* event) override;
    void OnMouseRelease(QMouseEvent* event) override;
    void OnMouseDoubleClick(QMouseEvent* event) override;
    void OnMouseWheel(QWheelEvent* event) override;
    int MessageEvent(int message, long long first, long long second) override;
    void onFormAction(int action, double value) override;
    void onFormAction(int action, QString value) override;
    void onFormAction(QString action) override;

protected:
    /// What the accessors above answer, all std::string GBK. A tool registers its handler under m_name, which
    /// is also what its OnActivate hands to osgCmd.
    std::string m_name;
    std::string m_toolTip;
    std::string m_key;
    std::string m_commandType;
    QIcon m_icon;
    QCursor m_cursor;
};

} // namespace zeo
