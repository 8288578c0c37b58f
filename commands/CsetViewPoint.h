#pragma once

#include "host/engine/CommandPlugin.h"
#include "host/viewmanager/CXCommandHandler.h"

/// Turns the view north-up and straight down, at once; focal point and range stay.
class CsetViewPoint : public zeo::CommandPlugin, public CXCommandHandler {
    Q_OBJECT

public:
    CsetViewPoint();

    void Execute() override;
};
