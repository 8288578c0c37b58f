#pragma once

#include "host/inspection/Records.h"
#include "host/style/BaseWindow.h"
#include "special/AttributeHistory.h"
#include "ui_CDrawPointDlg.h"

#include <QString>

/// Name and attribute of a special point. The tools read the members and hide the window themselves; a close
/// may be signalled twice.
class CDrawPointDlg : public BaseWindow {
    Q_OBJECT

public:
    explicit CDrawPointDlg(QWidget* parent = nullptr);

    /// Fills the attributes from the history; only for special points.
    void LoadRecord(int type);
    /// Shows a stored point for editing; only for special points. After LoadRecord.
    void showRecord(const Special_Point& point);

    Ui::CDrawPointDlg ui;
    QString m_name; ///< the confirmed name
    QString m_iconPath = QStringLiteral("icon/Placemark_32.png");
    QString m_attribute; ///< the text as last typed or chosen

signals:
    void SignalClose();
    void SignalOK();

public slots:
    void SlotOK();
    void SlotClose();
    void SlotAttri(QString text);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void SaveRecord();

    AttributeHistory m_history;
};
