// The dialog that asks for an attribute in free words: its texts and the places of its parts.

#include "anomaly/kv_setdiffattri.h"
#include "tests/plugin/anomaly/AnomalyFixture.h"

#include "host/style/titleBar.h"

#include <QApplication>
#include <QDialog>
#include <QGridLayout>
#include <QLabel>
#include <QLineEdit>
#include <QMetaObject>
#include <QPushButton>
#include <QTest>

namespace {

/// Opens the dialog as the tool does, looks at it and cancels it.
class AttributeDialog : public AnomalyTest {
protected:
    void withDialog(const std::function<void(QWidget&)>& look) {
        int looks = 0;
        QTimer poll;
        QObject::connect(&poll, &QTimer::timeout, [&] {
            QWidget* dialog = QApplication::activeModalWidget();
            if (!dialog || dialog->objectName() != "kv_setdiffattri") {
                return;
            }
            ++looks;
            look(*dialog);
            QTest::mouseClick(dialog->findChild<QPushButton*>("pushButton_Cancle"), Qt::LeftButton);
        });
        poll.start(5);
        EXPECT_TRUE(QMetaObject::invokeMethod(&m_host.command(m_tool), "OnSetother"));
        EXPECT_EQ(looks, 1);
    }
};

TEST_F(AttributeDialog, BearsItsTexts) {
    withDialog([](QWidget& dialog) {
        EXPECT_EQ(dialog.windowTitle(), "自定义变形属性");
        EXPECT_EQ(dialog.findChild<titleBar*>()->titleContent(), "自定义异常属性");
        EXPECT_EQ(dialog.findChild<QLabel*>("titleBarText")->font().pointSize(), 10);
        EXPECT_EQ(dialog.findChild<QPushButton*>("pushButton_OK")->text(), "确定");
        EXPECT_EQ(dialog.findChild<QPushButton*>("pushButton_Cancle")->text(), "取消");
        EXPECT_EQ(dialog.findChild<QLineEdit*>("lineEdit_diffattri")->text(), "");
        EXPECT_EQ(dialog.parentWidget(), nullptr);
    });
}

TEST_F(AttributeDialog, CanOnlyBeClosedByItsTitleBarWhichIsAsWideAsTheForm) {
    withDialog([](QWidget& dialog) {
        EXPECT_TRUE(dialog.findChild<QPushButton*>("titleBarClose")->isVisible());
        EXPECT_FALSE(dialog.findChild<QPushButton*>("titleBarMinimize")->isVisible());
        EXPECT_FALSE(dialog.findChild<QPushButton*>("titleBarMaximize")->isVisible());
        const auto* bar = dialog.findChild<titleBar*>();
        EXPECT_EQ(bar->minimumWidth(), 231);
        const auto* edit = dialog.findChild<QLineEdit*>("lineEdit_diffattri");
        EXPECT_GE(edit->mapTo(&dialog, QPoint()).y(), bar->geometry().bottom()) << "the form stands below it";
    });
}

TEST_F(AttributeDialog, HasAFormOf231By69Pixels) {
    QDialog plain;
    Ui::kv_setdiffattri form;
    form.setupUi(&plain);
    EXPECT_EQ(plain.size(), QSize(231, 69));
    EXPECT_EQ(plain.objectName(), "kv_setdiffattri");
}

TEST_F(AttributeDialog, HasItsEditAboveItsTwoButtonsInTwoGrids) {
    withDialog([](QWidget& dialog) {
        const auto* outer = dialog.findChild<QGridLayout*>("gridLayout_2");
        const auto* inner = dialog.findChild<QGridLayout*>("gridLayout");
        ASSERT_NE(outer, nullptr);
        ASSERT_NE(inner, nullptr);
        EXPECT_EQ(outer->contentsMargins(), QMargins(11, 11, 11, 11));
        for (const QGridLayout* grid : {outer, inner}) {
            EXPECT_EQ(grid->horizontalSpacing(), 6);
            EXPECT_EQ(grid->verticalSpacing(), 6);
        }
        EXPECT_EQ(outer->itemAtPosition(0, 0)->widget(), dialog.findChild<QLineEdit*>("lineEdit_diffattri"));
        EXPECT_EQ(outer->itemAtPosition(1, 0)->layout(), inner);
        EXPECT_EQ(inner->itemAtPosition(0, 0)->widget(), dialog.findChild<QPushButton*>("pushButton_OK"));
        EXPECT_EQ(inner->itemAtPosition(0, 2)->widget(), dialog.findChild<QPushButton*>("pushButton_Cancle"));
        const QSpacerItem* spacer = inner->itemAtPosition(0, 1)->spacerItem();
        ASSERT_NE(spacer, nullptr);
        EXPECT_EQ(spacer->expandingDirections(), Qt::Horizontal);
    });
}

} // namespace
