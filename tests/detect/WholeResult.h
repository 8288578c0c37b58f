#pragma once

#include "detect/Detection.h"

#include <string>
#include <vector>

namespace detect::test {

/// A whole result file of anomalies in memory, as a run writes its own. `attributes` are the inspector's
/// classes in the order of the anomalies; missing ones stay empty.
Status writeAnomalies(const std::vector<Anomaly>& anomalies, const std::string& srsWkt,
                      const std::string& path, const std::vector<std::string>& attributes = {});

} // namespace detect::test
