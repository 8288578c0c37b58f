#pragma once

#include "host/Export.h"

class AVWindow;
class DataSetManager;
class EditHistory;
class KVImageWindow;
class QWidget;
class StationWindow;

/// The inspection data library's one context. GUI thread, unless said otherwise. The host initialises the
/// library before it loads plug-ins; from then on every accessor answers, unless said otherwise, and the tools
/// do without what a host takes away again. What the accessors give belongs to the host.
class INSPECTION_API IORVAContext {
public:
    /// Never null. The GUI thread or that of the viewer's frames.
    static IORVAContext* Instance();

    virtual StationWindow* GetStationWindow() = 0;
    virtual AVWindow* GetAVWindow() = 0;
    virtual KVImageWindow* GetKVImageWindow() = 0;
    /// The GUI thread or that of the viewer's frames.
    virtual DataSetManager* GetDataSetManager() = 0;
    /// Null when edits are not recorded, as while no project is open.
    virtual EditHistory* GetEditHistory() = 0;
    /// Parent for dialogs and messages.
    virtual QWidget* GetMainWindow() = 0;

protected:
    virtual ~IORVAContext() = default;
};
