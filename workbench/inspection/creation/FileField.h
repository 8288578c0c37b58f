#pragma once

#include <QWidget>

class QLineEdit;
class QPushButton;

namespace inspection {

/// A path that is typed or looked for. GUI thread.
class FileField : public QWidget {
    Q_OBJECT

public:
    enum class Kind { File, Folder };

    /// `title` is that of the file dialog.
    FileField(Kind kind, const QString& title, QWidget* parent = nullptr);

    QString path() const;
    /// Does not announce it.
    void setPath(const QString& path);
    void setPlaceholder(const QString& text);
    /// Where the dialog begins while the field is empty.
    void setStart(const QString& fileOrFolder) { m_start = fileOrFolder; }

signals:
    /// The user has entered or chosen another path; empty for none.
    void chosen(const QString& path);

private:
    void browse();
    void announce();

    Kind m_kind;
    QString m_title;
    QString m_start;
    QString m_announced;
    QLineEdit* m_edit;
    QPushButton* m_browse;
};

} // namespace inspection
