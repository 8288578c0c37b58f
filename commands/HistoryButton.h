#pragma once

class QHBoxLayout;
class QToolButton;
class QWidget;

namespace zeo {
class ICommand;
}

/// The disabled button of an undo or redo command, appended to `layout` and connected to the command.
QToolButton* makeHistoryButton(zeo::ICommand& command, QWidget* parent, QHBoxLayout* layout);
