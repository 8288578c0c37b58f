#pragma once

#include "host/Export.h"

#include <tl/expected.hpp>

#include <optional>
#include <vector>

/// Lines made of the parts in which files hold them. Coordinates of any plane, lengths in its unit.
namespace inspection {

struct LineVertex {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0; ///< carried along
};

using LinePart = std::vector<LineVertex>;

/// Where parts do not make one line.
struct LineBreak {
    bool isBranch = false; ///< more than two ends meet here; otherwise the line ends and goes on elsewhere
    double x = 0.0;
    double y = 0.0;
    double gap = 0.0; ///< to the next end, of a gap
};

/// The parts end to end, in the direction of the first one; ends that are no further apart than `tolerance`
/// meet. Vertices that repeat the one before are left out. No vertices when every part is shorter than that.
INSPECTIONDATA_API tl::expected<LinePart, LineBreak> joinEndToEnd(const std::vector<LinePart>& parts,
                                                                  double tolerance);

/// Where a line first meets itself other than by closing; empty when it does not.
INSPECTIONDATA_API std::optional<LineVertex> selfCrossing(const LinePart& line);

} // namespace inspection
