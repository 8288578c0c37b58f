#pragma once

#include "host/Export.h"

#include <cstdint>
#include <map>
#include <string>
#include <utility>

namespace inspection {

/// The versions of rows that this workbench has stored itself, one after the other. A form or a tool that
/// holds a row from before them has still seen everything that others did to it. GUI thread.
class INSPECTIONDATA_API OwnVersions {
public:
    /// The row had the version `before` (0 for a new row) and has `after` now.
    void wrote(const std::string& table, std::int64_t id, std::int64_t before, std::int64_t after);
    /// The user has been asked about all that others did to the row that was just stored.
    void settled(const std::string& table, std::int64_t id);
    /// True when nobody else has changed the row since it had the version `held`. `stored` is its version
    /// now.
    bool isCurrent(const std::string& table, std::int64_t id, std::int64_t held, std::int64_t stored) const;
    void clear() { m_runs.clear(); }

private:
    /// Versions that follow each other without a foreign one between them.
    struct Run {
        std::int64_t before = 0;
        std::int64_t newest = 0;
    };
    std::map<std::pair<std::string, std::int64_t>, Run> m_runs;
};

} // namespace inspection
