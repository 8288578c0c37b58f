#pragma once

class QHBoxLayout;
class QToolButton;
class QWidget;

namespace zeo {
class ICommand;
}

/// Puts the disabled button of an undo or redo command into `place`, appended to `layout` and connected to the
/// command. `place`, a member of the command, is null again when the button goes.
void makeHistoryButton(zeo::ICommand& command, QToolButton*& place, QWidget* parent, QHBoxLayout* layout);
