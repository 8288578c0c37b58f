#pragma once

#include "host/inspection/AVWindow.h"
#include "plugin/Inspection.h"

/// The table's own item; null where the host has no table. GUI thread.
inline KV_StationItem* shownItem() {
    AVWindow* table = anomalyTable();
    return table ? table->GetCurrentItem() : nullptr;
}
