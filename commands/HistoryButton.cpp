#include "commands/HistoryButton.h"

#include "host/Gbk.h"
#include "host/engine/ICommand.h"

#include <QHBoxLayout>
#include <QToolButton>

QToolButton* makeHistoryButton(zeo::ICommand& command, QWidget* parent, QHBoxLayout* layout) {
    const QString name = fromGbk(command.Name());
    auto* button = new QToolButton(parent);
    button->setObjectName(name);
    button->setMinimumSize(60, 60);
    button->setIcon(command.GetIcon());
    button->setIconSize(QSize(32, 32));
    button->setCheckable(true);
    button->setChecked(false);
    button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    button->setText(name);
    button->setToolTip(fromGbk(command.ToolTip()));
    layout->addWidget(button);

    QObject::connect(button, SIGNAL(clicked()), &command, SLOT(OnAction()));
    QObject::connect(&command, SIGNAL(isrun(bool)), button, SLOT(setChecked(bool)));
    button->setEnabled(false);
    return button;
}
