#include "workbench/app/ToolArea.h"

#include "host/Gbk.h"
#include "host/engine/ICommand.h"
#include "workbench/engine/EngineContext.h"

#include <QFrame>
#include <QHBoxLayout>
#include <QLabel>
#include <QShortcut>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

constexpr auto kUndoCommand = "318 undo command";

QList<QKeySequence> keysOf(const std::string& command) {
    if (command == kUndoCommand) {
        return {QKeySequence(Qt::CTRL | Qt::Key_Z)};
    }
    if (command == "319 redo command") {
        return {QKeySequence(Qt::CTRL | Qt::SHIFT | Qt::Key_Z), QKeySequence(Qt::CTRL | Qt::Key_Y)};
    }
    return {};
}

} // namespace

ToolArea::ToolArea(QWidget* parent) : QWidget(parent), m_groups(new QHBoxLayout(this)) {
    setObjectName("toolArea");
    setAttribute(Qt::WA_StyledBackground);
    m_groups->setContentsMargins(6, 4, 6, 2);
    m_groups->setSpacing(8);
    m_groups->addStretch(1);
}

void ToolArea::addCommands(const std::vector<zeo::ICommand*>& commands) {
    for (zeo::ICommand* command : commands) {
        QHBoxLayout* layout = groupLayout(fromGbk(command->CommandType()));
        command->createselfUI(layout->parentWidget(), layout);
        bindKeys(*command);
    }
}

void ToolArea::undo() {
    for (zeo::ICommand* command : zeo::EngineContext::instance().commands()) {
        QToolButton* button = zeo::EngineContext::buttonOf(*command);
        if (command->Key() == kUndoCommand && button) {
            button->click();
        }
    }
}

void ToolArea::bindKeys(zeo::ICommand& command) {
    QToolButton* button = zeo::EngineContext::buttonOf(command);
    const QList<QKeySequence> keys = keysOf(command.Key());
    if (!button || keys.isEmpty()) {
        return;
    }
    for (const QKeySequence& key : keys) {
        // A field that is being edited takes these keys for itself first.
        connect(new QShortcut(key, button->window()), &QShortcut::activated, button, &QToolButton::click);
    }
    button->setToolTip(
        tr("%1（%2）")
            .arg(fromGbk(command.ToolTip()), QKeySequence::listToString(keys, QKeySequence::NativeText)));
}

QHBoxLayout* ToolArea::groupLayout(const QString& commandType) {
    QHBoxLayout*& layout = m_layouts[commandType];
    if (layout) {
        return layout;
    }

    auto* group = new QFrame(this);
    group->setObjectName("toolGroup");
    auto* buttons = new QWidget(group);
    layout = new QHBoxLayout(buttons);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(2);
    auto* caption = new QLabel(commandType, group);
    caption->setObjectName("toolGroupCaption");
    caption->setAlignment(Qt::AlignCenter);

    auto* column = new QVBoxLayout(group);
    column->setContentsMargins(6, 4, 6, 2);
    column->setSpacing(1);
    column->addWidget(buttons);
    column->addWidget(caption);
    m_groups->insertWidget(m_groups->count() - 1, group);
    return layout;
}
