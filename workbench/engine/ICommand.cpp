#include "host/engine/ICommand.h"

#include "host/Gbk.h"
#include "workbench/engine/EngineContext.h"

#include <QHBoxLayout>
#include <QToolButton>

namespace zeo {

namespace {

constexpr int kButtonPixels = 60;
constexpr int kIconPixels = 32;

} // namespace

ICommand::ICommand() = default;

ICommand::~ICommand() = default;

void ICommand::setStatbarTip(QString text) { // NOLINT(performance-unnecessary-value-param): by contract
    IEngineContext::Instance()->SetStatusTip(text);
}

void ICommand::createselfUI(QWidget* parent, QHBoxLayout* layout) {
    const QString name = fromGbk(Name());
    auto* button = new QToolButton(parent);
    button->setObjectName(name);
    button->setMinimumSize(kButtonPixels, kButtonPixels);
    button->setIcon(GetIcon());
    button->setIconSize(QSize(kIconPixels, kIconPixels));
    button->setCheckable(true);
    button->setChecked(false);
    button->setToolButtonStyle(Qt::ToolButtonTextUnderIcon);
    button->setText(name);
    button->setToolTip(fromGbk(ToolTip()));
    layout->addWidget(button);

    connect(button, SIGNAL(clicked()), this, SLOT(OnAction()));
    connect(this, SIGNAL(isrun(bool)), button, SLOT(setChecked(bool)));
    // The window that owns the button may be closed before the command is destroyed.
    connect(button, &QObject::destroyed, this, [this, button] {
        if (m_pButton == button) {
            m_pButton = nullptr;
        }
    });
    m_pButton = button;
}

void ICommand::OnAction() {
    EngineContext::instance().click(*this);
}

} // namespace zeo
