#include "workbench/inspection/creation/FileField.h"

#include <QDir>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QPushButton>

namespace inspection {

FileField::FileField(Kind kind, const QString& title, QWidget* parent)
    : QWidget(parent), m_kind(kind), m_title(title), m_edit(new QLineEdit),
      m_browse(new QPushButton(tr("浏览…"))) {
    m_edit->setClearButtonEnabled(kind != Kind::Folder);
    m_browse->setAutoDefault(false);
    auto* row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->setSpacing(6);
    row->addWidget(m_edit, 1);
    row->addWidget(m_browse);
    setFocusProxy(m_edit);
    connect(m_edit, &QLineEdit::editingFinished, this, &FileField::announce);
    connect(m_edit, &QLineEdit::textChanged, this, [this](const QString& text) {
        if (text.isEmpty() && m_edit->isClearButtonEnabled()) {
            announce();
        }
    });
    connect(m_browse, &QPushButton::clicked, this, &FileField::browse);
}

QString FileField::path() const {
    return QDir::fromNativeSeparators(m_edit->text().trimmed());
}

void FileField::setPath(const QString& path) {
    m_announced = path;
    if (path != this->path()) {
        m_edit->setText(QDir::toNativeSeparators(path));
    }
}

void FileField::setPlaceholder(const QString& text) {
    m_edit->setPlaceholderText(text);
}

void FileField::browse() {
    const QString start = path().isEmpty() ? QFileInfo(m_start).absolutePath() : path();
    const QString chosenPath = m_kind == Kind::Folder
                                   ? QFileDialog::getExistingDirectory(this, m_title, start)
                                   : QFileDialog::getOpenFileName(this, m_title, start);
    if (!chosenPath.isEmpty()) {
        m_edit->setText(QDir::toNativeSeparators(chosenPath));
        announce();
    }
}

void FileField::announce() {
    if (path() != m_announced) {
        m_announced = path();
        emit chosen(m_announced);
    }
}

} // namespace inspection
