#pragma once

#include "host/Export.h"

namespace inspection {

/// Qt works in a UTF-8 locale only, and where the environment has another, as under cron, in a container or
/// on a cluster, it says so in four lines for every program. This chooses one beforehand. Call it first in
/// main.
INSPECTIONDATA_API void useUtf8Locale();

} // namespace inspection
