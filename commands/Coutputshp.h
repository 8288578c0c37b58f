#pragma once

#include "host/engine/CommandPlugin.h"
#include "host/viewmanager/CXCommandHandler.h"

/// Writes the anomalies and special objects as shape files.
class Coutputshp : public zeo::CommandPlugin, public CXCommandHandler {
    Q_OBJECT

public:
    Coutputshp();

    void Execute() override;
};
