#include "workbench/inspection/creation/FileField.h"

#include "workbench/style/FileChoice.h"

#include <QDir>
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
    const bool isFolder = m_kind == Kind::Folder;
    FileChoice choice(this, isFolder ? "projects" : "data", m_title);
    choice.beginAt(path().isEmpty() ? m_start : path());
    const QString chosenPath = isFolder ? choice.existingFolder() : choice.existingFile();
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
