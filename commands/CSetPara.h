#pragma once

#include "host/engine/CommandPlugin.h"
#include "host/viewmanager/CXCommandHandler.h"

/// Opens the settings of the project.
class CSetPara : public zeo::CommandPlugin, public CXCommandHandler {
    Q_OBJECT

public:
    CSetPara();

    void Execute() override;
};
