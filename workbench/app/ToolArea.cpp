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

#include <algorithm>
#include <array>

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

QWidget* makeLine(QWidget* parent) {
    auto* line = new QFrame(parent);
    line->setObjectName("taskLine");
    line->setFixedWidth(1);
    return line;
}

} // namespace

int taskOf(const std::string& key) {
    // Anomalies, special objects, results, settings and view, history.
    constexpr std::array<int, 5> kLastOfTask = {307, 309, 312, 316, 319};
    constexpr int kNone = -1;
    const std::string digits = key.substr(0, 3); // a fourth tells commands of one number apart
    const bool isNumber = digits.size() == 3 && std::all_of(digits.begin(), digits.end(), [](char digit) {
                              return digit >= '0' && digit <= '9';
                          });
    return isNumber ? static_cast<int>(
                          std::lower_bound(kLastOfTask.begin(), kLastOfTask.end(), std::stoi(digits)) -
                          kLastOfTask.begin())
                    : kNone;
}

ToolArea::ToolArea(QWidget* parent) : QWidget(parent), m_groups(new QHBoxLayout(this)) {
    setObjectName("toolArea");
    setAttribute(Qt::WA_StyledBackground);
    m_groups->setContentsMargins(6, 4, 6, 2);
    m_groups->setSpacing(8);
    m_groups->addStretch(1);
}

void ToolArea::addCommands(const std::vector<zeo::ICommand*>& commands) {
    for (zeo::ICommand* command : commands) {
        Group& group = this->group(fromGbk(command->CommandType()));
        const int task = taskOf(command->Key());
        if (group.layout->count() > 0 && task != group.task) {
            group.layout->addWidget(makeLine(group.layout->parentWidget()));
        }
        group.task = task;
        command->createselfUI(group.layout->parentWidget(), group.layout);
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

ToolArea::Group& ToolArea::group(const QString& commandType) {
    Group& group = m_groupOfType[commandType];
    if (group.layout) {
        return group;
    }

    auto* frame = new QFrame(this);
    frame->setObjectName("toolGroup");
    auto* buttons = new QWidget(frame);
    group.layout = new QHBoxLayout(buttons);
    group.layout->setContentsMargins(0, 0, 0, 0);
    group.layout->setSpacing(2);
    auto* caption = new QLabel(commandType, frame);
    caption->setObjectName("toolGroupCaption");
    caption->setAlignment(Qt::AlignCenter);

    auto* column = new QVBoxLayout(frame);
    column->setContentsMargins(6, 4, 6, 2);
    column->setSpacing(1);
    column->addWidget(buttons);
    column->addWidget(caption);
    m_groups->insertWidget(m_groups->count() - 1, frame);
    return group;
}
