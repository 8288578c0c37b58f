#pragma once

#include "host/engine/CommandPlugin.h"
#include "host/viewmanager/CXCommandHandler.h"

/// Computes the anomalies of the stations that are shown.
class CcomputDiff : public zeo::CommandPlugin, public CXCommandHandler {
    Q_OBJECT

public:
    CcomputDiff();

    void Execute() override;
};
