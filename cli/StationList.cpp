#include "cli/StationList.h"

#include <algorithm>
#include <sstream>

namespace cli {

namespace {

std::optional<StationRange> parseRange(const std::string& text) {
    const std::size_t dash = text.find('-');
    const auto first = commandline::parseInteger(text.substr(0, dash));
    const auto last = dash == std::string::npos ? first : commandline::parseInteger(text.substr(dash + 1));
    if (!first || !last || *first <= 0 || *last < *first) {
        return std::nullopt;
    }
    return StationRange{static_cast<std::uint32_t>(*first), static_cast<std::uint32_t>(*last)};
}

} // namespace

Parsed<std::vector<StationRange>> parseStations(const std::string& text) {
    std::vector<StationRange> ranges;
    std::istringstream parts(text);
    for (std::string part; std::getline(parts, part, ',');) {
        const auto range = parseRange(part);
        if (!range) {
            ranges.clear();
            break;
        }
        ranges.push_back(*range);
    }
    if (ranges.empty()) {
        return wrongUse("--stations 的值必须是以逗号分隔的站段编号或编号范围，如 1,2,5-9：" + text);
    }
    return ranges;
}

inspection::Result<std::vector<std::uint32_t>> stationsIn(const std::vector<StationRange>& ranges,
                                                          const std::vector<KV_Station>& stations) {
    std::vector<std::uint32_t> ids;
    for (const StationRange& range : ranges) {
        for (const std::uint32_t end : {range.first, range.last}) {
            if (std::none_of(stations.begin(), stations.end(),
                             [end](const KV_Station& station) { return station.m_id == end; })) {
                return inspection::Unexpected(
                    inspection::Failure{QStringLiteral("the project has no station %1").arg(end),
                                        QStringLiteral("没有编号为 %1 的站段").arg(end)});
            }
        }
        for (const KV_Station& station : stations) {
            if (station.m_id >= range.first && station.m_id <= range.last) {
                ids.push_back(station.m_id);
            }
        }
    }
    return ids;
}

} // namespace cli
