#pragma once

#include "host/engine/ICommand.h"

namespace zeo {

/// Base of the one-shot commands. The constructor makes the command known to the host under its key.
/// A derived command fills the fields in its constructor and supplies Execute.
class ENGINE_API CommandPlugin : public ICommand {
    Q_OBJECT

public:
    /// `key` (GBK) is what Key() answers for good. GUI thread.
    explicit CommandPlugin(const std::string& key);
    /// The host forgets the command; its button belongs to the button's own parent.
    ~CommandPlugin() override;

    /// Deletes the object: commands live on the heap.
    void Destroy() override;
    // The accessors answer what the fields below hold at the time of the call.
    std::string Name() override;
    std::string ToolTip() override;
    std::string Key() override;
    bool IsTool() override; ///< false
    std::string CommandType() override;
    QIcon GetIcon() override;
    QCursor GetCursor() override;
    void OnBeforeExcute() override; ///< nothing

protected:
    /// What the accessors above answer, all std::string GBK. Final before the host asks for the button, which
    /// is made of them once.
    std::string m_name;
    std::string m_toolTip;
    std::string m_key;
    std::string m_commandType;
    QIcon m_icon;
    QCursor m_cursor;
};

} // namespace zeo
