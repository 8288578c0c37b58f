#include "special/CDrawPointDlg.h"

#include "host/Gbk.h"
#include "special/AttributeBox.h"

#include <QCloseEvent>

#include <utility>

CDrawPointDlg::CDrawPointDlg(QWidget* parent) : BaseWindow(parent) {
    ui.setupUi(this);
    m_titleBar->setTitleContent(tr("添加特殊点"), 10);
    m_titleBar->setButtonType(titleBar::OnlyClose);
    m_titleBar->setTitleWidth(width());
    updateLayout();
    prepareAttributes(*ui.combox_attri);
    ui.combox_attri->setCurrentIndex(-1);

    connect(ui.combox_attri, SIGNAL(editTextChanged(QString)), this, SLOT(SlotAttri(QString)));
    connect(ui.pushButtonOK, SIGNAL(clicked()), this, SLOT(SlotOK()));
    connect(ui.pushButtonCancel, SIGNAL(clicked()), this, SLOT(SlotClose()));
}

void CDrawPointDlg::LoadRecord(int type) {
    if (type == KV_SPECIAL_POINT && readAttributeHistory(m_history)) {
        offerAttributes(*ui.combox_attri, m_history.point);
    }
}

void CDrawPointDlg::showRecord(const Special_Point& point) {
    if (point.m_type != KV_SPECIAL_POINT) {
        return;
    }
    m_titleBar->setTitleContent(tr("编辑特殊点"), 10);
    ui.lineEditTitle->setText(fromGbk(point.GetName()));
    ui.combox_attri->setEditText(fromGbk(point.m_attribute));
}

void CDrawPointDlg::SaveRecord() {
    rememberAttribute(m_history, &AttributeHistory::point, m_attribute);
}

void CDrawPointDlg::SlotOK() {
    m_name = ui.lineEditTitle->text();
    SaveRecord();
    emit SignalOK();
}

void CDrawPointDlg::SlotClose() {
    close();
    emit SignalClose();
}

void CDrawPointDlg::SlotAttri(QString text) {
    m_attribute = std::move(text);
}

void CDrawPointDlg::closeEvent(QCloseEvent* event) {
    BaseWindow::closeEvent(event);
    emit SignalClose();
}
