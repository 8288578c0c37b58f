#pragma once

#include "host/Export.h"

#include <string>

class CXCommandHandler;

/// Registration of a handler under a name (GBK) for osgCmd. Constructing the record is the whole
/// registration; the record itself may be a short-lived local. A second registration under a name replaces
/// the first. A null handler is registered as such and never becomes active. GUI thread.
class VIEWMANAGER_API DynamicClass {
public:
    DynamicClass(std::string name, CXCommandHandler* handler);
};
