// What a user does in the two dialogs, and what the tools read of it.

#include "tests/plugin/special/DialogFixture.h"

#include <QApplication>
#include <QColorDialog>
#include <QLabel>
#include <QPushButton>
#include <QSignalSpy>
#include <QTest>

namespace {

void expectNothingClipped(QWidget& dialog) {
    for (const QWidget* widget : dialog.findChildren<QWidget*>()) {
        if (widget->isVisible() &&
            (qobject_cast<const QLabel*>(widget) || qobject_cast<const QPushButton*>(widget))) {
            EXPECT_GE(widget->width(), widget->minimumSizeHint().width())
                << widget->objectName().toStdString();
            EXPECT_GE(widget->height(), std::min(20, widget->minimumSizeHint().height()))
                << widget->objectName().toStdString();
            EXPECT_TRUE(dialog.rect().contains(QRect(widget->mapTo(&dialog, QPoint()), widget->size())))
                << widget->objectName().toStdString();
        }
    }
}

TEST_F(Dialogs, OfAPointIsEmptyWithoutAHistory) {
    CDrawPointDlg dialog;
    dialog.LoadRecord(KV_SPECIAL_POINT);
    EXPECT_EQ(title(dialog), "添加特殊点");
    EXPECT_EQ(dialog.ui.combox_attri->count(), 0);
    EXPECT_EQ(dialog.ui.combox_attri->currentText(), "");
    EXPECT_EQ(dialog.ui.lineEditTitle->text(), "");
    EXPECT_EQ(dialog.m_iconPath, "icon/Placemark_32.png");
}

TEST_F(Dialogs, FillTheirAttributesFromTheirOwnBlock) {
    AttributeHistory history;
    history.polygon = QStringList({"学校", "市场"});
    history.area = QStringList{"居民区"};
    history.point = QStringList({"阀室", "桩"});
    writeAttributeHistory(history);
    const auto entries = [](const QComboBox& box) {
        QStringList texts;
        for (int index = 0; index < box.count(); ++index) {
            texts << box.itemText(index);
        }
        EXPECT_EQ(box.currentIndex(), -1);
        EXPECT_EQ(box.currentText(), "");
        return texts;
    };
    CDrawPointDlg point;
    point.LoadRecord(KV_SPECIAL_AREA);
    EXPECT_EQ(entries(*point.ui.combox_attri), QStringList());
    point.LoadRecord(KV_SPECIAL_POINT);
    EXPECT_EQ(entries(*point.ui.combox_attri), history.point);
    CdrawPolygonDlg area(nullptr);
    area.LoadRecord(KV_SPECIAL_POINT);
    EXPECT_EQ(entries(*area.ui.comboBox_attri), QStringList());
    area.LoadRecord(KV_SPECIAL_AREA);
    EXPECT_EQ(entries(*area.ui.comboBox_attri), history.polygon);
    CdrawPolygonDlg consequence(nullptr);
    consequence.LoadRecord(KV_HIGH_CONSEQUENCE_AREA);
    EXPECT_EQ(entries(*consequence.ui.comboBox_attri), history.area);
    EXPECT_EQ(title(consequence), "添加高后果区");
}

TEST_F(Dialogs, AHistoryThatIsGoneAddsNothingToWhatTheyOffer) {
    AttributeHistory history;
    history.polygon = QStringList{"学校"};
    history.point = QStringList({"阀室", "桩"});
    writeAttributeHistory(history);
    CDrawPointDlg point;
    point.LoadRecord(KV_SPECIAL_POINT);
    CdrawPolygonDlg area(nullptr);
    area.LoadRecord(KV_SPECIAL_AREA);
    ASSERT_TRUE(QFile::remove(m_directory.file("record.txt")));
    point.LoadRecord(KV_SPECIAL_POINT);
    area.LoadRecord(KV_SPECIAL_AREA);
    EXPECT_EQ(point.ui.combox_attri->count(), 2);
    EXPECT_EQ(area.ui.comboBox_attri->count(), 1);
}

TEST_F(Dialogs, CancelSaysTwiceThatTheyClose) {
    CDrawPointDlg point;
    CdrawPolygonDlg area(nullptr);
    QList<bool> pointVisible;
    QList<bool> areaVisible;
    QObject::connect(&point, &CDrawPointDlg::SignalClose, [&] { pointVisible << point.isVisible(); });
    QObject::connect(&area, &CdrawPolygonDlg::SignalClose, [&] { areaVisible << area.isVisible(); });
    show(point);
    QTest::mouseClick(point.ui.pushButtonCancel, Qt::LeftButton);
    EXPECT_EQ(pointVisible, QList<bool>({true, false})) << "that of a point closes first and then says so";
    EXPECT_FALSE(point.isVisible());
    show(area);
    QTest::mouseClick(area.ui.pushButtonCancel, Qt::LeftButton);
    EXPECT_EQ(areaVisible, QList<bool>({true, true})) << "that of an area says so first";
    EXPECT_FALSE(area.isVisible());
}

TEST_F(Dialogs, EscClosesThemOnce) {
    CdrawPolygonDlg area(nullptr);
    QSignalSpy closes(&area, SIGNAL(SignalClose()));
    show(area);
    QTest::keyClick(QApplication::focusWidget(), Qt::Key_Escape);
    EXPECT_FALSE(area.isVisible());
    EXPECT_EQ(closes.size(), 1);
}

TEST_F(Dialogs, OfAnAreaBeginsWhiteAndYellowWhateverItsFormSays) {
    const CdrawPolygonDlg dialog(nullptr);
    EXPECT_EQ(dialog.m_borderColor, QColor(255, 255, 255));
    EXPECT_EQ(dialog.m_fillColor, QColor(255, 255, 0));
    EXPECT_EQ(dialog.m_borderWidth, 3);
    EXPECT_FLOAT_EQ(dialog.m_opacity, 0.6F);
    EXPECT_EQ(dialog.m_level, 1);
    EXPECT_EQ(dialog.m_attribute, "");
    EXPECT_EQ(dialog.m_mode, CdrawPolygonDlg::NotInitialised);
    EXPECT_EQ(dialog.ui.labelFillColor->styleSheet(), "background-color: rgb(255,255,0);");
    EXPECT_EQ(dialog.ui.labelBorderColor->styleSheet(), "background-color: rgb(255, 255,255);");
}

TEST_F(Dialogs, AConfirmedColourIsTakenAndACancelledOneIsNot) {
    CdrawPolygonDlg dialog(nullptr);
    dialog.LoadRecord(KV_SPECIAL_AREA);
    show(dialog);
    chooseColour(*dialog.ui.pushButtonFillColorDlg, QColor(10, 20, 30), true);
    EXPECT_EQ(dialog.m_fillColor, QColor(10, 20, 30));
    EXPECT_EQ(dialog.ui.labelFillColor->styleSheet(), "background-color: rgb(10, 20, 30);");
    chooseColour(*dialog.ui.pushButtonFillColorDlg, QColor(1, 2, 3), false);
    EXPECT_EQ(dialog.m_fillColor, QColor(10, 20, 30));
    EXPECT_EQ(dialog.ui.labelFillColor->styleSheet(), "background-color: rgb(10, 20, 30);");
    chooseColour(*dialog.ui.pushButtonBorderColorDlg, QColor(40, 50, 60), true);
    EXPECT_EQ(dialog.m_borderColor, QColor(40, 50, 60));
    EXPECT_EQ(dialog.ui.labelBorderColor->styleSheet(), "background-color: rgb(40, 50, 60);");
    chooseColour(*dialog.ui.pushButtonBorderColorDlg, QColor(1, 2, 3), false);
    EXPECT_EQ(dialog.m_borderColor, QColor(40, 50, 60));
    EXPECT_EQ(dialog.ui.labelBorderColor->styleSheet(), "background-color: rgb(40, 50, 60);");
}

TEST_F(Dialogs, ValuesStayWithinTheirLimitsAndMoveInSteps) {
    CdrawPolygonDlg dialog(nullptr);
    dialog.LoadRecord(KV_HIGH_CONSEQUENCE_AREA);
    show(dialog);
    QTest::keyClick(dialog.ui.doubleSpinBox, Qt::Key_Up);
    EXPECT_FLOAT_EQ(dialog.m_opacity, 0.65F);
    for (int step = 0; step < 12; ++step) {
        QTest::keyClick(dialog.ui.doubleSpinBox, Qt::Key_Up);
    }
    EXPECT_FLOAT_EQ(dialog.m_opacity, 1.0F);
    for (int step = 0; step < 25; ++step) {
        QTest::keyClick(dialog.ui.doubleSpinBox, Qt::Key_Down);
    }
    EXPECT_FLOAT_EQ(dialog.m_opacity, 0.0F);
    EXPECT_EQ(dialog.ui.doubleSpinBox->toolTip(), "0为全透明，1为不透明");
    for (int step = 0; step < 9; ++step) {
        QTest::keyClick(dialog.ui.spinBox_level, Qt::Key_Up);
    }
    EXPECT_EQ(dialog.m_level, 5);
    for (int step = 0; step < 120; ++step) {
        QTest::keyClick(dialog.ui.spinBoxBorderWidth, Qt::Key_Up);
    }
    EXPECT_EQ(dialog.m_borderWidth, 99);
}

TEST_F(Dialogs, TheLevelIsHiddenForSpecialAreasAndKeepsItsValue) {
    for (const int level : {1, 4}) {
        CdrawPolygonDlg dialog(nullptr);
        dialog.ui.spinBox_level->setValue(level);
        dialog.LoadRecord(KV_SPECIAL_AREA);
        show(dialog);
        EXPECT_EQ(title(dialog), "添加特殊面");
        EXPECT_FALSE(dialog.ui.spinBox_level->isVisible());
        EXPECT_FALSE(dialog.ui.label_level->isVisible());
        EXPECT_EQ(dialog.m_level, level);
    }
}

TEST_F(Dialogs, OfAnAreaThatNoKindWasChosenForDoesNothingOnOk) {
    CdrawPolygonDlg dialog(nullptr);
    QSignalSpy confirmed(&dialog, SIGNAL(SignalOK()));
    show(dialog);
    dialog.ui.comboBox_attri->setEditText("学校");
    QTest::mouseClick(dialog.ui.pushButtonOK, Qt::LeftButton);
    EXPECT_TRUE(confirmed.isEmpty());
    EXPECT_FALSE(QFile::exists(m_directory.file("record.txt")));
}

TEST_F(Dialogs, AKnownWordIsConfirmedAndLeavesTheHistoryByteForByte) {
    const QByteArray odd =
        "x\r\nstartPoint\r\n  valve \t rest\r\nendPoint\r\nstartPolygon\r\nyard\r\nendPolygon";
    QFile file(m_directory.file("record.txt"));
    ASSERT_TRUE(file.open(QIODevice::WriteOnly));
    file.write(odd);
    file.close();
    {
        CDrawPointDlg dialog;
        dialog.LoadRecord(KV_SPECIAL_POINT);
        const QSignalSpy confirmed(&dialog, SIGNAL(SignalOK()));
        show(dialog);
        type(dialog.ui.combox_attri, "valve");
        QTest::mouseClick(dialog.ui.pushButtonOK, Qt::LeftButton);
        EXPECT_EQ(confirmed.count(), 1);
    }
    {
        CdrawPolygonDlg dialog(nullptr);
        dialog.LoadRecord(KV_SPECIAL_AREA);
        const QSignalSpy confirmed(&dialog, SIGNAL(SignalOK()));
        show(dialog);
        type(dialog.ui.comboBox_attri, "yard");
        QTest::mouseClick(dialog.ui.pushButtonOK, Qt::LeftButton);
        EXPECT_EQ(confirmed.count(), 1);
    }
    EXPECT_EQ(m_directory.history(), odd);
}

TEST_F(Dialogs, AWordThatIsKnownInAnotherLetterCaseStaysAsItIsTyped) {
    AttributeHistory history;
    history.point = QStringList({"Valve", "valves"});
    writeAttributeHistory(history);
    CDrawPointDlg dialog;
    dialog.LoadRecord(KV_SPECIAL_POINT);
    show(dialog);
    QSignalSpy confirmed(&dialog, SIGNAL(SignalOK()));
    dialog.ui.combox_attri->setFocus();
    QTest::keyClicks(dialog.ui.combox_attri->lineEdit(), "valve");
    EXPECT_EQ(dialog.m_attribute, "valve") << "nothing is completed unasked";
    if (QWidget* suggestions = QApplication::activePopupWidget()) {
        QTest::keyClick(suggestions, Qt::Key_Escape);
    }
    QTest::keyClick(dialog.ui.combox_attri->lineEdit(), Qt::Key_Return);
    EXPECT_EQ(confirmed.size(), 1);
    EXPECT_EQ(dialog.m_attribute, "valve");
    EXPECT_TRUE(m_directory.history().endsWith("startPoint\nValve\nvalves\nvalve\nendPoint\n"));
    QTest::mouseClick(dialog.ui.pushButtonOK, Qt::LeftButton);
    EXPECT_EQ(confirmed.size(), 2) << "a known word is confirmed, too";
}

TEST_F(Dialogs, NothingIsClippedAtOneAndAHalfTimesTheTextSize) {
    const QFont usual = QApplication::font();
    for (const double factor : {1.0, 1.5}) {
        QFont font = usual;
        font.setPointSizeF(usual.pointSizeF() * factor);
        QApplication::setFont(font);
        CDrawPointDlg point;
        point.LoadRecord(KV_SPECIAL_POINT);
        show(point);
        expectNothingClipped(point);
        CdrawPolygonDlg area(nullptr);
        area.LoadRecord(KV_HIGH_CONSEQUENCE_AREA);
        show(area);
        expectNothingClipped(area);
        const QString folder = qEnvironmentVariable("CORRIDOR_TEST_PICTURES");
        if (!folder.isEmpty()) {
            point.grab().save(QDir(folder).filePath(QString("dialog-point-%1.png").arg(factor)));
            area.grab().save(QDir(folder).filePath(QString("dialog-area-%1.png").arg(factor)));
        }
    }
    QApplication::setFont(usual);
}

} // namespace
