#include "anomaly/kv_setdiffattri.h"

#include <utility>

kv_setdiffattri::kv_setdiffattri(QWidget* parent) : BaseDialog(parent) {
    ui.setupUi(this);
    m_titleBar->setTitleContent(tr("自定义异常属性"), 10);
    m_titleBar->setButtonType(titleBar::OnlyClose);
    m_titleBar->setTitleWidth(width());
    updateLayout();

    connect(ui.lineEdit_diffattri, SIGNAL(textChanged(QString)), this, SLOT(OnChangeAttri(QString)));
    connect(ui.pushButton_OK, SIGNAL(clicked()), this, SLOT(OnOk()));
    connect(ui.pushButton_Cancle, SIGNAL(clicked()), this, SLOT(OnCancle()));
}

void kv_setdiffattri::OnChangeAttri(
    QString text) { // NOLINT(performance-unnecessary-value-param): a slot by name
    attribute = std::move(text);
}

void kv_setdiffattri::OnOk() {
    result = 1;
    close();
}

void kv_setdiffattri::OnCancle() {
    result = 0;
    close();
}
