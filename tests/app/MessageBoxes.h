#pragma once

#include <QApplication>
#include <QLabel>
#include <QPushButton>
#include <QStringList>
#include <QTest>
#include <QTimer>

/// Answers message boxes by mouse and keeps what they said: yes to questions.
class MessageBoxes {
public:
    MessageBoxes() {
        QObject::connect(&m_timer, &QTimer::timeout, [this] {
            QWidget* box = QApplication::activeModalWidget();
            if (box && box->objectName() == "myMessageBox") {
                texts << box->findChild<QLabel*>("labelText")->text();
                auto* ok = box->findChild<QPushButton*>("pushButtonOK");
                QTest::mouseClick(ok ? ok : box->findChild<QPushButton*>("pushButtonYes"), Qt::LeftButton);
            }
        });
        m_timer.start(10);
    }
    QStringList texts;

private:
    QTimer m_timer;
};
