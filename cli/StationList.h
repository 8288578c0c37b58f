#pragma once

#include "cli/Command.h"
#include "host/inspection/Station.h"
#include "workbench/inspectiondata/project/Result.h"

#include <cstdint>
#include <string>
#include <vector>

namespace cli {

/// Stations by their numbers, from the first to the last of them.
struct StationRange {
    std::uint32_t first = 0;
    std::uint32_t last = 0;
};

/// "1,2,5-9"; wrong for anything else.
Parsed<std::vector<StationRange>> parseStations(const std::string& text);

/// The numbers of the project's stations that the ranges name. Fails when one of the numbers that they begin or end with is
/// none.
inspection::Result<std::vector<std::uint32_t>> stationsIn(const std::vector<StationRange>& ranges,
                                                          const std::vector<KV_Station>& stations);

} // namespace cli
