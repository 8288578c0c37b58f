#pragma once

#include <QApplication>
#include <QFileDialog>
#include <QLineEdit>
#include <QStringList>
#include <QTest>
#include <QTimer>

/// Answers the next file dialog of Qt's own by typing these paths, with Enter. Made before the dialog opens.
class FileDialogAnswer {
public:
    explicit FileDialogAnswer(const QStringList& paths) {
        QObject::connect(&m_timer, &QTimer::timeout, [this, paths] {
            auto* dialog = qobject_cast<QFileDialog*>(QApplication::activeModalWidget());
            auto* name = dialog ? dialog->findChild<QLineEdit*>("fileNameEdit") : nullptr;
            if (!name || m_isAnswered) {
                return;
            }
            m_isAnswered = true;
            const bool isOne = paths.size() == 1;
            name->setText(isOne ? paths.front() : '"' + paths.join("\" \"") + '"');
            if (QWidget* completions = QApplication::activePopupWidget()) {
                completions->close();
            }
            QTest::keyClick(name, Qt::Key_Return);
            if (dialog->isVisible()) { // a folder was entered first
                QTest::keyClick(name, Qt::Key_Return);
            }
        });
        m_timer.start(20);
    }

    bool isAnswered() const { return m_isAnswered; }

private:
    QTimer m_timer;
    bool m_isAnswered = false;
};
