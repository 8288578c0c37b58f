#pragma once

#include "host/style/BaseDialog.h"
#include "workbench/inspectiondata/project/ForeignPlace.h"

/// Asks whether a project may use places outside of its folder; no is the default. GUI thread.
class TrustDialog : public BaseDialog {
    Q_OBJECT

public:
    TrustDialog(const QString& project, const inspection::ForeignPlaces& places, QWidget* parent);

    /// True when nothing is left that the user has not agreed to: he is asked for what is new, and what he agrees to is
    /// remembered. A message box tells when it cannot be.
    static bool settle(const QString& folder, QWidget* parent);
};
