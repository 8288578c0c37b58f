#pragma once

#include <QWidget>

#include <map>
#include <string>
#include <vector>

class QHBoxLayout;

namespace zeo {
class ICommand;
}

/// What a command is for, by the number that its key begins with: commands of one task are numbered one after the other.
/// The same number for the same task; keys without a number have one of their own.
int taskOf(const std::string& key);

/// The strip of tool groups on top of the main window: one frame for each command type, big buttons side by
/// side in the order of the commands, a line where the task becomes another one, the type as the frame's caption.
class ToolArea : public QWidget {
    Q_OBJECT

public:
    explicit ToolArea(QWidget* parent = nullptr);

    /// Asks each command for its button.
    void addCommands(const std::vector<zeo::ICommand*>& commands);
    /// As a click on the undo command's button, where there is one.
    void undo();

private:
    struct Group {
        QHBoxLayout* layout = nullptr;
        int task = 0; ///< of its last button
    };

    Group& group(const QString& commandType);
    /// The keys of the command's button, wherever the focus is, and in its tip.
    void bindKeys(zeo::ICommand& command);

    QHBoxLayout* m_groups;
    std::map<QString, Group> m_groupOfType;
};
