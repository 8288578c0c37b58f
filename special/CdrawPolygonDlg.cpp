#include "special/CdrawPolygonDlg.h"

#include "host/Gbk.h"
#include "special/AttributeBox.h"

#include <QCloseEvent>
#include <QColorDialog>

#include <utility>

namespace {

void showColor(QLabel* swatch, const QColor& color) {
    swatch->setStyleSheet(QStringLiteral("background-color: rgb(%1, %2, %3);")
                              .arg(color.red())
                              .arg(color.green())
                              .arg(color.blue()));
}

QColor toColor(const osg::Vec3& channels) {
    return {static_cast<int>(channels.x() * 255.0), static_cast<int>(channels.y() * 255.0),
            static_cast<int>(channels.z() * 255.0), 255};
}

} // namespace

CdrawPolygonDlg::CdrawPolygonDlg(QWidget* parent)
    : BaseWindow(parent), m_borderColor(255, 255, 255), m_fillColor(255, 255, 0) {
    ui.setupUi(this);
    m_titleBar->setButtonType(titleBar::OnlyClose);
    m_titleBar->setTitleWidth(width());
    updateLayout();
    prepareAttributes(*ui.comboBox_attri);

    connect(ui.pushButtonBorderColorDlg, SIGNAL(clicked()), this, SLOT(SlotBorderColor()));
    connect(ui.pushButtonFillColorDlg, SIGNAL(clicked()), this, SLOT(SlotFillColor()));
    connect(ui.spinBoxBorderWidth, SIGNAL(valueChanged(int)), this, SLOT(SlotBorderWidth(int)));
    connect(ui.doubleSpinBox, SIGNAL(valueChanged(double)), this, SLOT(SlotOpacity(double)));
    connect(ui.pushButtonCancel, SIGNAL(clicked()), this, SLOT(SlotClose()));
    connect(ui.pushButtonOK, SIGNAL(clicked()), this, SLOT(SlotOK()));
    connect(ui.spinBox_level, SIGNAL(valueChanged(int)), this, SLOT(SlotLevel(int)));
    connect(ui.comboBox_attri, SIGNAL(editTextChanged(QString)), this, SLOT(SlotAttri(QString)));

    ui.labelFillColor->setStyleSheet(QStringLiteral("background-color: rgb(255,255,0);"));
    ui.labelBorderColor->setStyleSheet(QStringLiteral("background-color: rgb(255, 255,255);"));
}

void CdrawPolygonDlg::LoadRecord(int type) {
    if (type == KV_SPECIAL_AREA) {
        m_mode = SpecialArea;
        m_titleBar->setTitleContent(tr("添加特殊面"), 10);
        ui.label_level->hide();
        ui.spinBox_level->hide();
    } else if (type == KV_HIGH_CONSEQUENCE_AREA) {
        m_mode = HighConsequenceArea;
        m_titleBar->setTitleContent(tr("添加高后果区"), 10);
    } else {
        return;
    }
    if (readAttributeHistory(m_history)) {
        offerAttributes(*ui.comboBox_attri, m_history.*listOfMode());
    }
}

void CdrawPolygonDlg::showRecord(const Special_Region& region) {
    if (region.m_type == KV_SPECIAL_AREA) {
        m_titleBar->setTitleContent(tr("编辑特殊面"), 10);
        ui.label_level->hide();
        ui.spinBox_level->hide();
    } else if (region.m_type == KV_HIGH_CONSEQUENCE_AREA) {
        m_titleBar->setTitleContent(tr("编辑高后果区"), 10);
        ui.spinBox_level->setValue(region.m_level);
    } else {
        return;
    }
    m_fillColor = toColor(region.m_fillColor);
    m_borderColor = toColor(region.m_borderColor);
    showColor(ui.labelFillColor, m_fillColor);
    showColor(ui.labelBorderColor, m_borderColor);
    ui.lineEditTitle->setText(fromGbk(region.GetName()));
    ui.spinBoxBorderWidth->setValue(region.m_borderWidth);
    ui.doubleSpinBox->setValue(region.m_opacity);
    ui.comboBox_attri->setEditText(fromGbk(region.m_attribute));
}

QStringList AttributeHistory::* CdrawPolygonDlg::listOfMode() const {
    return m_mode == HighConsequenceArea ? &AttributeHistory::area : &AttributeHistory::polygon;
}

void CdrawPolygonDlg::SaveRecord() {
    rememberAttribute(m_history, listOfMode(), m_attribute);
}

void CdrawPolygonDlg::SlotBorderColor() {
    const QColor color = QColorDialog::getColor(Qt::yellow, this, tr("颜色选择"));
    if (!color.isValid()) {
        return;
    }
    m_borderColor = color;
    showColor(ui.labelBorderColor, color);
}

void CdrawPolygonDlg::SlotFillColor() {
    const QColor color = QColorDialog::getColor(Qt::yellow, this, tr("颜色选择"));
    if (!color.isValid()) {
        return;
    }
    m_fillColor = color;
    showColor(ui.labelFillColor, color);
}

void CdrawPolygonDlg::SlotBorderWidth(int widthPixels) {
    m_borderWidth = widthPixels;
}

void CdrawPolygonDlg::SlotOpacity(double opacity) {
    m_opacity = static_cast<float>(opacity);
}

void CdrawPolygonDlg::SlotLevel(int level) {
    m_level = level;
}

void CdrawPolygonDlg::SlotAttri(QString text) {
    m_attribute = std::move(text);
}

void CdrawPolygonDlg::SlotOK() {
    if (m_mode == NotInitialised) {
        return;
    }
    SaveRecord();
    emit SignalOK();
}

void CdrawPolygonDlg::SlotClose() {
    emit SignalClose();
    close();
}

void CdrawPolygonDlg::closeEvent(QCloseEvent* event) {
    BaseWindow::closeEvent(event);
    emit SignalClose();
}
