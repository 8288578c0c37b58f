#include "host/style/myMessageBox.h"

#include <QApplication>
#include <QDialog>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QTest>
#include <QTimer>
#include <gtest/gtest.h>

namespace {

QDialog* openBox() {
    for (QWidget* widget : QApplication::topLevelWidgets()) {
        if (widget->objectName() == "myMessageBox" && widget->isVisible()) {
            return qobject_cast<QDialog*>(widget);
        }
    }
    return nullptr;
}

/// Shows the box and, once it is open, does `act` with it.
template<typename Act>
int answerOf(int type, int buttons, Act act, const QString& text = QStringLiteral("内容")) {
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        QDialog* box = openBox();
        if (!box) {
            return;
        }
        poll.stop();
        act(*box);
    });
    poll.start(5);
    return myMessageBox::showMyMessageBox(nullptr, QStringLiteral("提示"), text, type, buttons, true);
}

void click(QDialog& box, const char* button) {
    QTest::mouseClick(box.findChild<QPushButton*>(button), Qt::LeftButton);
}

TEST(MessageBox, ACautiousQuestionIsDeclinedByEnter) {
    const auto pressEnter = [](QDialog& box) {
        ASSERT_TRUE(QTest::qWaitForWindowActive(&box));
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Return);
    };
    EXPECT_EQ(answerOf(myMessageBox::Question, myMessageBox::YesNoCautious, pressEnter), 1);
}

TEST(MessageBox, OkConfirms) {
    EXPECT_EQ(answerOf(3, 0, [](QDialog& box) { click(box, "pushButtonOK"); }), 0);
}

TEST(MessageBox, YesConfirmsAndNoDeclines) {
    EXPECT_EQ(answerOf(2, 1, [](QDialog& box) { click(box, "pushButtonYes"); }), 0);
    EXPECT_EQ(answerOf(2, 1, [](QDialog& box) { click(box, "pushButtonNo"); }), 1);
}

TEST(MessageBox, EnterConfirmsAndEscapeDeclines) {
    EXPECT_EQ(answerOf(2, 1, [](QDialog& box) { QTest::keyClick(&box, Qt::Key_Return); }), 0);
    EXPECT_EQ(answerOf(2, 1, [](QDialog& box) { QTest::keyClick(&box, Qt::Key_Escape); }), 1);
}

TEST(MessageBox, TheTitleBarsCloseButtonDeclines) {
    EXPECT_EQ(answerOf(2, 1, [](QDialog& box) { click(box, "titleBarClose"); }), 1);
}

TEST(MessageBox, ShowsTitleAndTextAsTheyStand) {
    answerOf(
        2, 1,
        [](QDialog& box) {
            EXPECT_EQ(box.findChild<QLabel*>("titleBarText")->text(), QStringLiteral("提示"));
            EXPECT_EQ(box.findChild<QLabel*>("labelText")->text(), QStringLiteral("<b>是否</b>删除?"));
            EXPECT_EQ(box.findChild<QLabel*>("labelText")->textFormat(), Qt::PlainText);
            EXPECT_EQ(box.findChild<QPushButton*>("pushButtonYes")->text(), QStringLiteral("是"));
            EXPECT_EQ(box.findChild<QPushButton*>("pushButtonNo")->text(), QStringLiteral("否"));
            EXPECT_EQ(box.findChild<QPushButton*>("pushButtonOK"), nullptr);
            box.reject();
        },
        QStringLiteral("<b>是否</b>删除?"));
}

TEST(MessageBox, BlocksTheWholeApplicationWhileItWaits) {
    answerOf(3, 0, [](QDialog& box) {
        EXPECT_EQ(box.windowModality(), Qt::ApplicationModal);
        box.accept();
    });
}

TEST(MessageBox, HasAPictureOfItsOwnForEachKindOfMessage) {
    QList<QImage> pictures;
    for (int type = 0; type < 4; ++type) {
        answerOf(type, 0, [&](QDialog& box) {
            pictures << box.findChild<QLabel*>("labelPicture")->pixmap().toImage();
            box.accept();
        });
    }
    ASSERT_EQ(pictures.size(), 4);
    for (int first = 0; first < 4; ++first) {
        for (int second = 0; second < first; ++second) {
            EXPECT_NE(pictures[first], pictures[second]) << first << " and " << second;
        }
    }
}

TEST(MessageBox, ALongTextWrapsAndStaysReadable) {
    const QString text = QStringLiteral("无法写入结果：磁盘空间不足。").repeated(12);
    answerOf(
        3, 0,
        [](QDialog& box) {
            const auto* label = box.findChild<QLabel*>("labelText");
            EXPECT_LT(box.width(), 800);
            EXPECT_GE(label->height(), label->heightForWidth(label->width()));
            box.accept();
        },
        text);
}

TEST(MessageBox, NotModalReturnsAtOnceAndDeletesItselfWhenClosed) {
    EXPECT_EQ(myMessageBox::showMyMessageBox(nullptr, "t", "x", 0, 0, false), 0);
    const QPointer<QDialog> box = openBox();
    ASSERT_TRUE(box);
    click(*box, "pushButtonOK");
    EXPECT_TRUE(QTest::qWaitFor([&] { return box.isNull(); }));
}

TEST(MessageBox, SurvivesTheEndOfItsParent) {
    auto* parent = new QWidget;
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&] {
        if (!openBox()) {
            return;
        }
        poll.stop();
        delete parent;
    });
    poll.start(5);
    EXPECT_EQ(myMessageBox::showMyMessageBox(parent, "t", "x", 2, 1, true), 1);
}

} // namespace
