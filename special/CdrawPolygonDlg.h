#pragma once

#include "host/inspection/Records.h"
#include "host/style/BaseWindow.h"
#include "special/AttributeHistory.h"
#include "ui_CdrawPolygonDlg.h"

#include <QColor>
#include <QString>

/// Name, attribute and looks of a special area or a high-consequence area. The tools read the members and
/// hide the window themselves; a close may be signalled twice.
class CdrawPolygonDlg : public BaseWindow {
    Q_OBJECT

public:
    enum Mode { NotInitialised = -1, SpecialArea = 0, HighConsequenceArea = 1 };

    explicit CdrawPolygonDlg(QWidget* parent);

    /// Chooses the kind by its object type code and fills the attributes from the history.
    void LoadRecord(int type);
    /// Shows a stored region for editing. After LoadRecord with the same type code.
    void showRecord(const Special_Region& region);

    Ui::CdrawPolygonDlg ui;
    QColor m_borderColor;
    QColor m_fillColor;
    int m_borderWidth = 3; ///< pixels
    float m_opacity = 0.6F;
    int m_level = 1;
    QString m_attribute;
    int m_mode = NotInitialised;

signals:
    void SignalClose();
    void SignalOK();

protected slots:
    /// A slot like the others, and the first: by contract it has its place in the meta-object.
    void closeEvent(QCloseEvent* event) override;

public slots:
    void SlotBorderColor();
    void SlotBorderWidth(int widthPixels);
    void SlotFillColor();
    void SlotOpacity(double opacity);
    void SlotClose();
    void SlotOK();
    void SlotLevel(int level);
    void SlotAttri(QString text);

private:
    QStringList AttributeHistory::* listOfMode() const;
    void SaveRecord();

    AttributeHistory m_history;
};
