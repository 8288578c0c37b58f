#pragma once

#include "detect/Detection.h"

namespace cli {

/// A table of the anomalies on standard output, tabs between the columns.
void printAnomalies(const detect::Result& result);

} // namespace cli
