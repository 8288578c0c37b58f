#pragma once

#include "host/engine/CommandPlugin.h"
#include "host/viewmanager/CXCommandHandler.h"

/// Writes the inspection report.
class Coutputreport : public zeo::CommandPlugin, public CXCommandHandler {
    Q_OBJECT

public:
    Coutputreport();

    void Execute() override;
};
