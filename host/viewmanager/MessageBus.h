#pragma once

#include "host/Export.h"

/// Makes the handler registered under `name` (GBK) the active one, which from then on receives the viewer's
/// events through handle. An unknown name leaves the active handler as it is and returns false. GUI thread.
VIEWMANAGER_API bool osgCmd(const char* name);

/// Posts `message` (GBK) to the bus. It is delivered to every registered handler as a call of OnMessage on
/// the thread that runs the viewer's frames, between two frames, in the order of posting; what is posted
/// during a delivery arrives in the next round. May be called from any thread.
VIEWMANAGER_API void osgPush(const char* message);
