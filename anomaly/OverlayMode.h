#pragma once

#include "host/inspection/ParaSet.h"
#include "plugin/Inspection.h"

/// True when anomalies are picked by their bounds instead of by the hover picker. Any thread that may ask for
/// it: the GUI thread or that of the frames.
inline bool isPickedByBounds() {
    const auto* parameters = dataSet<ParaSet>();
    return parameters && parameters->GetOverlayMode() == 1;
}
