#pragma once

#include "host/inspection/DataSet.h"
#include "host/inspection/IORVAContext.h"

/// The data set of that class from the inspection data library, or null when it has none. GUI thread.
template<typename T>
T* dataSet() {
    DataSetManager* manager = IORVAContext::Instance()->GetDataSetManager();
    return manager ? dynamic_cast<T*>(manager->GetDataSet(T::kIndex)) : nullptr;
}
