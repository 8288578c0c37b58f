#include "workbench/inspectiondata/history/OwnVersions.h"

namespace inspection {

void OwnVersions::wrote(const std::string& table, std::int64_t id, std::int64_t before, std::int64_t after) {
    const auto [found, isNew] = m_runs.try_emplace({table, id}, Run{before, after});
    Run& run = found->second;
    run = isNew || run.newest != before ? Run{before, after} : Run{run.before, after};
}

void OwnVersions::settled(const std::string& table, std::int64_t id) {
    const auto found = m_runs.find({table, id});
    if (found != m_runs.end()) {
        found->second.before = 0;
    }
}

bool OwnVersions::isCurrent(const std::string& table, std::int64_t id, std::int64_t held,
                            std::int64_t stored) const {
    if (held == stored) {
        return true;
    }
    const auto found = m_runs.find({table, id});
    return found != m_runs.end() && found->second.newest == stored && held >= found->second.before;
}

} // namespace inspection
