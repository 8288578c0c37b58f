// How the two dialogs are built: texts, sizes, places, title bars, and the order of their signals and slots.

#include "tests/plugin/special/DialogFixture.h"

#include <QApplication>
#include <QGridLayout>
#include <QLabel>
#include <QMetaMethod>
#include <QTest>
#include <QTranslator>

#include <map>

namespace {

using DialogForms = Dialogs;
using Texts = std::map<QString, QString>;

/// Texts of all labels and buttons of the form itself.
Texts textsOf(const QWidget& form) {
    Texts texts;
    for (const auto* label : form.findChildren<QLabel*>()) {
        if (label->objectName() != "titleBarText") {
            texts[label->objectName()] = label->text();
        }
    }
    for (const auto* button : form.findChildren<QPushButton*>()) {
        if (!button->objectName().startsWith("titleBar")) {
            texts[button->objectName()] = button->text();
        }
    }
    return texts;
}

/// Names of what stands side by side in a row of a grid, which may be a layout of its own.
QStringList rowOf(const QGridLayout& grid, int row) {
    QStringList names;
    for (int column = 0; column < grid.columnCount(); ++column) {
        const QLayoutItem* item = grid.itemAtPosition(row, column);
        if (!item || (column > 0 && item == grid.itemAtPosition(row, column - 1))) {
            continue;
        }
        if (const QWidget* widget = const_cast<QLayoutItem*>(item)->widget()) {
            names << widget->objectName();
        } else if (const QLayout* layout = const_cast<QLayoutItem*>(item)->layout()) {
            names << layout->objectName() + ':';
            for (int index = 0; index < layout->count(); ++index) {
                const QWidget* inner = layout->itemAt(index)->widget();
                names << (inner ? inner->objectName() : QString("spacer"));
            }
        }
    }
    return names;
}

QStringList methodsOf(const QMetaObject& meta) {
    QStringList methods;
    for (int index = meta.methodOffset(); index < meta.methodCount(); ++index) {
        methods << meta.method(index).methodSignature();
    }
    return methods;
}

/// Names of the fields in the order that Tab visits them, the first one first.
QStringList tabOrder(QWidget& dialog) {
    QStringList names;
    for (int step = 0; step < 20; ++step) {
        const QString name = QApplication::focusWidget()->objectName();
        if (names.contains(name)) {
            break;
        }
        names << name;
        QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
    }
    EXPECT_TRUE(dialog.isActiveWindow());
    return names;
}

/// Translates a text into its context and itself.
class ContextTeller : public QTranslator {
public:
    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* source, const char*, int) const override {
        return QString("%1/%2").arg(context, source);
    }
};

void expectTitleBar(const QWidget& dialog, int widthPixels) {
    const auto* bar = dialog.findChild<titleBar*>();
    ASSERT_NE(bar, nullptr);
    EXPECT_EQ(bar->minimumWidth(), widthPixels);
    EXPECT_EQ(bar->findChild<QLabel*>("titleBarText")->font().pointSize(), 10);
    EXPECT_TRUE(bar->findChild<QPushButton*>("titleBarMinimize")->isHidden());
    EXPECT_TRUE(bar->findChild<QPushButton*>("titleBarMaximize")->isHidden());
    EXPECT_FALSE(bar->findChild<QPushButton*>("titleBarClose")->isHidden());
    EXPECT_EQ(dialog.size(), QSize(widthPixels, dialog.height()));
}

TEST_F(DialogForms, SignalsAndSlotsStandInTheOrderThatHostsCallThemBy) {
    EXPECT_EQ(methodsOf(CDrawPointDlg::staticMetaObject),
              QStringList({"SignalClose()", "SignalOK()", "SlotOK()", "SlotClose()", "SlotAttri(QString)"}));
    EXPECT_EQ(methodsOf(CdrawPolygonDlg::staticMetaObject),
              QStringList({"SignalClose()", "SignalOK()", "closeEvent(QCloseEvent*)", "SlotBorderColor()",
                           "SlotBorderWidth(int)", "SlotFillColor()", "SlotOpacity(double)", "SlotClose()",
                           "SlotOK()", "SlotLevel(int)", "SlotAttri(QString)"}));
}

TEST_F(DialogForms, HaveTheirTextsWithTheBlanksThatAlignThem) {
    const CDrawPointDlg point;
    EXPECT_EQ(point.windowTitle(), "CDrawPointDlg");
    EXPECT_EQ(textsOf(point), Texts({{"label", "名称："},
                                     {"label_attri", "属性："},
                                     {"pushButtonCancel", "取消"},
                                     {"pushButtonOK", "确定"}}));
    const CdrawPolygonDlg area(nullptr);
    EXPECT_EQ(area.windowTitle(), "CdrawPolygonDlg");
    EXPECT_EQ(textsOf(area), Texts({{"label_4", "名称："},
                                    {"label_2", " 选择填充色："},
                                    {"labelFillColor", ""},
                                    {"pushButtonFillColorDlg", "..."},
                                    {"label", " 选择边界色："},
                                    {"labelBorderColor", ""},
                                    {"pushButtonBorderColorDlg", "..."},
                                    {"label_3", " 边界线宽度："},
                                    {"label_6", "    透明度："},
                                    {"label_level", "     等级："},
                                    {"label_attri", "    属性："},
                                    {"pushButtonCancel", "取消"},
                                    {"pushButtonOK", "确定"}}));
}

TEST_F(DialogForms, HaveTheirTextsTranslatedInContextsOfTheirOwn) {
    ContextTeller teller;
    ASSERT_TRUE(QCoreApplication::installTranslator(&teller));
    const CDrawPointDlg point;
    const CdrawPolygonDlg area(nullptr);
    QCoreApplication::removeTranslator(&teller);
    EXPECT_EQ(point.windowTitle(), "CDrawPointDlg/CDrawPointDlg");
    EXPECT_EQ(point.ui.label_attri->text(), "CDrawPointDlg/属性：");
    EXPECT_EQ(area.windowTitle(), "CdrawPolygonDlg/CdrawPolygonDlg");
    EXPECT_EQ(area.ui.label_attri->text(), "CdrawPolygonDlg/    属性：");
}

TEST_F(DialogForms, HaveATitleBarOfTheFormsWidthThatOnlyCloses) {
    CDrawPointDlg point;
    expectTitleBar(point, 214);
    EXPECT_EQ(point.height(), 99 + point.findChild<titleBar*>()->height());
    for (const int type : {KV_SPECIAL_AREA, KV_HIGH_CONSEQUENCE_AREA}) {
        CdrawPolygonDlg area(nullptr);
        expectTitleBar(area, 213);
        EXPECT_EQ(area.height(), 270 + area.findChild<titleBar*>()->height());
        area.LoadRecord(type);
        EXPECT_EQ(area.findChild<QLabel*>("titleBarText")->font().pointSize(), 10);
    }
}

TEST_F(DialogForms, OfAPointIsThreeRowsWithASpacerBetweenTheButtons) {
    const CDrawPointDlg dialog;
    const auto* top = dialog.findChild<QGridLayout*>("gridLayout_4");
    ASSERT_NE(top, nullptr);
    EXPECT_EQ(top->contentsMargins(), QMargins(11, 11, 11, 11));
    EXPECT_EQ(rowOf(*top, 0), QStringList({"gridLayout:", "label", "lineEditTitle"}));
    EXPECT_EQ(rowOf(*top, 1), QStringList({"gridLayout_2:", "label_attri", "combox_attri"}));
    EXPECT_EQ(rowOf(*top, 2), QStringList({"gridLayout_3:", "pushButtonCancel", "spacer", "pushButtonOK"}));
    for (const char* name : {"gridLayout_4", "gridLayout", "gridLayout_2", "gridLayout_3"}) {
        EXPECT_EQ(dialog.findChild<QGridLayout*>(name)->spacing(), 6) << name;
    }
    const auto* buttons = dialog.findChild<QGridLayout*>("gridLayout_3");
    const QSpacerItem* spacer = buttons->itemAtPosition(0, 1)->spacerItem();
    ASSERT_NE(spacer, nullptr);
    EXPECT_EQ(spacer->sizeHint(), QSize(41, 17));
    EXPECT_EQ(spacer->sizePolicy(), QSizePolicy(QSizePolicy::Expanding, QSizePolicy::Minimum));
}

TEST_F(DialogForms, OfAnAreaIsEightRows) {
    const CdrawPolygonDlg dialog(nullptr);
    const auto* grid = dialog.findChild<QGridLayout*>("gridLayout_2");
    ASSERT_NE(grid, nullptr);
    EXPECT_EQ(grid->parent(), dialog.findChild<QGridLayout*>("gridLayout_3"));
    const QList<QStringList> rows = {
        {"label_4", "lineEditTitle"},
        {"horizontalLayout_2:", "label_2", "labelFillColor", "pushButtonFillColorDlg"},
        {"horizontalLayout:", "label", "labelBorderColor", "pushButtonBorderColorDlg"},
        {"horizontalLayout_3:", "label_3", "spinBoxBorderWidth"},
        {"gridLayout:", "label_6", "doubleSpinBox"},
        {"label_level", "spinBox_level"},
        {"horizontalLayout_5:", "label_attri", "comboBox_attri"},
        {"horizontalLayout_4:", "pushButtonCancel", "pushButtonOK"}};
    ASSERT_EQ(grid->rowCount(), rows.size());
    for (int row = 0; row < grid->rowCount(); ++row) {
        EXPECT_EQ(rowOf(*grid, row), rows[row]) << row;
    }
    EXPECT_EQ(grid->itemAtPosition(4, 0), grid->itemAtPosition(4, 1)) << "the opacity spans both columns";
}

TEST_F(DialogForms, BeginInTheNameFieldAndTabGoesDown) {
    CDrawPointDlg point;
    point.LoadRecord(KV_SPECIAL_POINT);
    show(point);
    EXPECT_EQ(tabOrder(point),
              QStringList({"lineEditTitle", "combox_attri", "pushButtonCancel", "pushButtonOK"}));
    CdrawPolygonDlg area(nullptr);
    area.LoadRecord(KV_HIGH_CONSEQUENCE_AREA);
    show(area);
    EXPECT_EQ(tabOrder(area),
              QStringList({"lineEditTitle", "pushButtonFillColorDlg", "pushButtonBorderColorDlg",
                           "spinBoxBorderWidth", "doubleSpinBox", "spinBox_level", "comboBox_attri",
                           "pushButtonCancel", "pushButtonOK"}));
}

TEST_F(DialogForms, OfAnAreaHasItsSwatchesAndRanges) {
    QWidget window;
    Ui::CdrawPolygonDlg form{};
    form.setupUi(&window);
    EXPECT_EQ(window.size(), QSize(213, 270));
    EXPECT_EQ(form.labelFillColor->minimumSize(), QSize(20, 2));
    EXPECT_EQ(form.labelBorderColor->minimumSize(), QSize(20, 0));
    EXPECT_EQ(form.labelFillColor->maximumHeight(), 20);
    EXPECT_EQ(form.labelBorderColor->maximumHeight(), 20);
    EXPECT_EQ(form.labelFillColor->styleSheet(), "background-color: rgb(255, 170, 0);");
    EXPECT_EQ(form.labelBorderColor->styleSheet(), "background-color: rgb(85, 170, 255);");
    EXPECT_EQ(form.spinBoxBorderWidth->minimum(), 0);
    EXPECT_EQ(form.spinBoxBorderWidth->maximum(), 99);
    EXPECT_EQ(form.spinBoxBorderWidth->singleStep(), 1);
    EXPECT_EQ(form.spinBoxBorderWidth->value(), 3);
    EXPECT_EQ(form.doubleSpinBox->decimals(), 2);
    EXPECT_DOUBLE_EQ(form.doubleSpinBox->singleStep(), 0.05);
    EXPECT_DOUBLE_EQ(form.doubleSpinBox->value(), 0.6);
    EXPECT_EQ(form.spinBox_level->minimum(), 0);
    EXPECT_EQ(form.spinBox_level->maximum(), 5);
    EXPECT_EQ(form.spinBox_level->value(), 1);
    EXPECT_TRUE(form.comboBox_attri->isEditable());
}

} // namespace
