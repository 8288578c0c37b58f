#pragma once

#include <QWidget>

#include <map>
#include <vector>

class QHBoxLayout;

namespace zeo {
class ICommand;
}

/// The strip of tool groups on top of the main window: one frame for each command type, big buttons side by
/// side in the order of the commands, the type as the frame's caption.
class ToolArea : public QWidget {
    Q_OBJECT

public:
    explicit ToolArea(QWidget* parent = nullptr);

    /// Asks each command for its button.
    void addCommands(const std::vector<zeo::ICommand*>& commands);
    /// As a click on the undo command's button, where there is one.
    void undo();

private:
    QHBoxLayout* groupLayout(const QString& commandType);
    /// The keys of the command's button, wherever the focus is, and in its tip.
    void bindKeys(zeo::ICommand& command);

    QHBoxLayout* m_groups;
    std::map<QString, QHBoxLayout*> m_layouts;
};
