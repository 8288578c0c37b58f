#pragma once

#include "host/style/BaseDialog.h"
#include "ui_kv_setdiffattri.h"

#include <QString>

/// Asks for an anomaly's attribute in free words. Closing it in any way but OK leaves the result at 0.
class kv_setdiffattri : public BaseDialog {
    Q_OBJECT

public:
    explicit kv_setdiffattri(QWidget* parent = nullptr);

    Ui::kv_setdiffattri ui;
    QString attribute; ///< the text as last changed
    int result = 0;    ///< 1 after OK

public slots:
    void OnChangeAttri(QString text);
    void OnOk();
    void OnCancle();
};
