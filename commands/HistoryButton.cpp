#include "commands/HistoryButton.h"

#include "host/Gbk.h"
#include "host/engine/ICommand.h"

#include <QCoreApplication>
#include <QHBoxLayout>
#include <QToolButton>

namespace {

/// As the command's own tr gives it.
QString translated(const zeo::ICommand& command, const std::string& gbk) {
    return QCoreApplication::translate(command.metaObject()->className(), fromGbk(gbk).toUtf8().constData());
}

} // namespace

void makeHistoryButton(zeo::ICommand& command, QToolButton*& place, QWidget* parent, QHBoxLayout* layout) {
    const QString name = translated(command, command.Name());
    auto* button = new QToolButton(parent);
    button->setObjectName(name);
    button->setMinimumSize(60, 60);
    button->setIcon(command.GetIcon());
    button->setIconSize(QSize(32, 32));
    button->setCheckable(true);
    button->setChecked(false);
    button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    button->setText(name);
    button->setToolTip(translated(command, command.ToolTip()));
    layout->addWidget(button);

    QObject::connect(button, SIGNAL(clicked()), &command, SLOT(OnAction()));
    QObject::connect(&command, SIGNAL(isrun(bool)), button, SLOT(setChecked(bool)));
    QObject::connect(button, &QObject::destroyed, &command, [&place, button] {
        if (place == button) {
            place = nullptr;
        }
    });
    button->setEnabled(false);
    place = button;
}
