#include "workbench/app/RemoveEpochDialog.h"

#include "workbench/inspectiondata/project/EpochTitles.h"
#include "workbench/style/ToolTip.h"

#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QVBoxLayout>

RemoveEpochDialog::RemoveEpochDialog(const inspection::ProjectDescription& project, QWidget* parent)
    : BaseDialog(parent), m_epochs(new QListWidget), m_remove(new QPushButton(tr("移除"))) {
    constexpr QSize kSize(560, 320);
    setObjectName("removeEpochDialog");
    setWindowTitle(tr("移除期次"));
    m_titleBar->setTitleContent(tr("移除期次"));
    m_titleBar->setButtonType(titleBar::OnlyClose);
    m_epochs->setObjectName("epochList");
    m_epochs->setTextElideMode(Qt::ElideMiddle);
    const QStringList titles = inspection::epochTitles(project);
    for (std::size_t i = 0; i < project.epochs.size(); ++i) {
        const QString file = QDir::toNativeSeparators(project.epochs[i].dsm);
        auto* item =
            new QListWidgetItem(titles[static_cast<int>(i)] + QStringLiteral("    ") + file, m_epochs);
        item->setData(Qt::UserRole, project.keyOf(project.epochs[i]));
        item->setToolTip(plainToolTip(file));
    }
    m_epochs->setCurrentRow(0);
    auto* text = new QLabel(tr("移除一期数据，连同它与其他各期的对比结果。栅格文件保留在原处。"));
    text->setWordWrap(true);
    m_remove->setObjectName("removeEpoch");
    m_remove->setDefault(true);
    auto* cancel = new QPushButton(tr("取消"));
    cancel->setAutoDefault(false);
    auto* buttons = new QHBoxLayout;
    buttons->addStretch(1);
    buttons->addWidget(m_remove);
    buttons->addWidget(cancel);
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins(20, 16, 20, 14);
    column->setSpacing(12);
    column->addWidget(text);
    column->addWidget(m_epochs, 1);
    column->addLayout(buttons);
    connect(m_remove, &QPushButton::clicked, this, &QDialog::accept);
    connect(cancel, &QPushButton::clicked, this, &QDialog::reject);
    connect(m_epochs, &QListWidget::itemActivated, this, &QDialog::accept);
    updateLayout();
    resize(kSize);
    m_epochs->setFocus();
}

QString RemoveEpochDialog::key() const {
    const QListWidgetItem* item = m_epochs->currentItem();
    return item ? item->data(Qt::UserRole).toString() : QString();
}
