#include "workbench/app/TrustDialog.h"

#include "host/style/myMessageBox.h"
#include "workbench/inspectiondata/project/TrustedPlaces.h"

#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

using inspection::ForeignPlaces;

TrustDialog::TrustDialog(const QString& project, const ForeignPlaces& places, QWidget* parent)
    : BaseDialog(parent) {
    constexpr QSize kSize(640, 360);
    setObjectName("trustDialog");
    setWindowTitle(tr("信任项目"));
    m_titleBar->setTitleContent(windowTitle());
    m_titleBar->setButtonType(titleBar::OnlyClose);
    auto* text = new QLabel(tr("项目 %1 要使用其文件夹以外的以下各处：").arg(project));
    text->setTextFormat(Qt::PlainText);
    text->setWordWrap(true);
    auto* list = new QListWidget;
    list->setObjectName("foreignPlaces");
    list->setSelectionMode(QAbstractItemView::NoSelection);
    list->setFocusPolicy(Qt::NoFocus);
    list->setWordWrap(true);
    for (const inspection::ForeignPlace& place : places) {
        list->addItem(place.text());
    }
    auto* advice = new QLabel(tr("自己的项目，或来自可信的人时，选“信任”，以后不再询问。来历不明时选“取消”，"
                                 "项目不会打开，以上各处也不会被读取。"));
    advice->setWordWrap(true);
    auto* trust = new QPushButton(tr("信任"));
    trust->setObjectName("trust");
    trust->setAutoDefault(false);
    auto* cancel = new QPushButton(tr("取消"));
    cancel->setObjectName("cancelTrust");
    cancel->setDefault(true);
    connect(trust, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(trust);
    buttons->addWidget(cancel);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 16, 20, 14);
    column->setSpacing(12);
    column->addWidget(text);
    column->addWidget(list, 1);
    column->addWidget(advice);
    column->addLayout(buttons);
    updateLayout();
    resize(kSize);
    cancel->setFocus();
}

bool TrustDialog::settle(const QString& folder, QWidget* parent) {
    for (ForeignPlaces places = inspection::untrustedPlaces(folder); !places.empty();
         places = inspection::untrustedPlaces(folder)) {
        if (TrustDialog(QDir::toNativeSeparators(folder), places, parent).exec() != QDialog::Accepted) {
            return false;
        }
        if (const auto kept = inspection::trustPlaces(folder, places); !kept) {
            myMessageBox::showMyMessageBox(parent, tr("提示"), kept.error().userMessage,
                                           myMessageBox::Warning, myMessageBox::Ok);
            return false;
        }
    }
    return true;
}
