#include "host/inspection/DataSet.h"

DataSet::~DataSet() = default;
DataSetManager::~DataSetManager() = default;
