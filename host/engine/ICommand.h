#pragma once

#include "host/Export.h"

#include <QCursor>
#include <QIcon>
#include <QObject>
#include <QString>

#include <string>

class QHBoxLayout;
class QToolButton;
class QWidget;

namespace zeo {

/// What the host shows as one button of a tool group. Lives on the GUI thread.
///
/// The order of the virtual operations is part of the interface. All std::string are GBK.
class ENGINE_API ICommand : public QObject {
    Q_OBJECT

public:
    ICommand();
    ~ICommand() override;

    /// The host's way to dispose of the command; the object is gone afterwards.
    virtual void Destroy() = 0;
    /// Runs the command; for an interactive tool, asks the host to make it the active tool.
    virtual void Execute() = 0;
    /// Text under the button.
    virtual std::string Name() = 0;
    /// Shown while the pointer rests on the button; may be empty.
    virtual std::string ToolTip() = 0;
    /// Identity of the command, compared byte by byte, trailing blanks included.
    virtual std::string Key() = 0;
    /// True for interactive tools, which are activated and deactivated instead of run once.
    virtual bool IsTool() = 0;
    /// Title of the tool group; commands of one type stand together.
    virtual std::string CommandType() = 0;
    /// Of the button; may be null.
    virtual QIcon GetIcon() = 0;
    /// The pointer's look over a 2D view while the tool is active.
    virtual QCursor GetCursor() = 0;
    /// Called by the host right before Execute.
    virtual void OnBeforeExcute() = 0;
    /// Shows a text in the host's status bar.
    virtual void setStatbarTip(QString text);
    /// Creates the command's button as a child of `parent`, appends it to `layout` and connects its clicked()
    /// to OnAction() and isrun(bool) to its setChecked(bool). The default makes a checkable QToolButton, icon
    /// over text, whose object name is Name().
    virtual void createselfUI(QWidget* parent, QHBoxLayout* layout);

signals:
    /// The command reports whether it is running.
    void isrun(bool running);

public slots:
    /// The host's reaction to a click: Execute for a command, activation or deactivation for a tool.
    void OnAction();

protected:
    /// Made by createselfUI, owned by its parent widget; null before. The first field, by contract.
    QToolButton* m_pButton = nullptr;

    friend class EngineContext;
};

} // namespace zeo
