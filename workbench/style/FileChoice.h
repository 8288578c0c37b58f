#pragma once

#include "host/Export.h"

#include <QString>
#include <QStringList>

class QWidget;

/// Qt's dialogs for files, which begin where the user was last for the same purpose, in this session or an earlier one.
/// Each waits for the user; what it gives is empty when he gave up. GUI thread.
class STYLE_API FileChoice {
public:
    /// `purpose` is the key under which the place is kept.
    FileChoice(QWidget* parent, QString purpose, QString title);

    /// A file or folder to begin with in place of the remembered one, where there is such.
    FileChoice& beginAt(const QString& path);
    /// As QFileDialog has them: "PDF 文档 (*.pdf);;所有文件 (*)".
    FileChoice& filters(const QString& filters);

    QString existingFile();
    QStringList existingFiles();
    QString existingFolder();

private:
    QString place() const;
    void keep(const QString& chosen) const;

    QWidget* m_parent;
    QString m_key;
    QString m_title;
    QString m_start;
    QString m_filters;
};
