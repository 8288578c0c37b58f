#pragma once

#include "host/inspection/DataSet.h"
#include "host/inspection/IORVAContext.h"

/// The host's inspection data. Everything here answers null while the host has none of it, as where its
/// windows go before the tools do; the tools then do nothing, silently. GUI thread.

inline StationWindow* stationWindow() {
    IORVAContext* context = IORVAContext::Instance();
    return context ? context->GetStationWindow() : nullptr;
}

inline AVWindow* anomalyTable() {
    IORVAContext* context = IORVAContext::Instance();
    return context ? context->GetAVWindow() : nullptr;
}

inline KVImageWindow* imageWindow() {
    IORVAContext* context = IORVAContext::Instance();
    return context ? context->GetKVImageWindow() : nullptr;
}

inline EditHistory* editHistory() {
    IORVAContext* context = IORVAContext::Instance();
    return context ? context->GetEditHistory() : nullptr;
}

/// Parent of dialogs and messages.
inline QWidget* mainWindow() {
    IORVAContext* context = IORVAContext::Instance();
    return context ? context->GetMainWindow() : nullptr;
}

/// The data set of that class. That of the parameters may be asked for on the thread of the frames as well.
template<typename T>
T* dataSet() {
    IORVAContext* context = IORVAContext::Instance();
    DataSetManager* manager = context ? context->GetDataSetManager() : nullptr;
    return manager ? dynamic_cast<T*>(manager->GetDataSet(T::kIndex)) : nullptr;
}
