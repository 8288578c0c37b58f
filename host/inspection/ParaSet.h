#pragma once

#include "host/Export.h"
#include "host/inspection/DataSet.h"
#include "host/style/BaseDialog.h"

/// Index 1: the parameters of the project and their settings dialog. GUI thread, unless said otherwise.
class INSPECTION_API ParaSet : public BaseDialog, public DataSet {
    Q_OBJECT

public:
    static constexpr int kIndex = 1;

    explicit ParaSet(QWidget* parent = nullptr);
    ~ParaSet() override;

    /// Opens the settings dialog and waits; what the user confirms is stored in the project. Nothing is
    /// computed anew by it.
    virtual void OnSetPara() = 0;
    /// How anomalies are picked on the globe: 0 by hovering (object under the pointer), 1 by their bounds.
    /// The anomaly tool asks at each event of the globe: the GUI thread or that of the viewer's frames.
    virtual int GetOverlayMode() const = 0;
};
