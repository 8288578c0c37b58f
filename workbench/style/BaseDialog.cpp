#include "host/style/BaseDialog.h"

#include "workbench/style/TitledLayout.h"

BaseDialog::BaseDialog(QWidget* parent)
    : QDialog(parent, Qt::Dialog | Qt::FramelessWindowHint), m_titleBar(new titleBar(this)) {
    dressWindow(*this, *m_titleBar);
}

BaseDialog::~BaseDialog() = default;

void BaseDialog::updateLayout() {
    putBelowTitleBar(*this, *m_titleBar);
}
