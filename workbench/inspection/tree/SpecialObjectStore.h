#pragma once

#include "host/inspection/Records.h"
#include "workbench/inspection/project/Failure.h"

#include <cstdint>
#include <optional>
#include <string>

namespace inspection {

class Session;

/// The special objects' rows in the open project's database; each change is an edit of its history. What the
/// database refuses is written to standard output, too, and leaves it as it was. GUI thread.
class SpecialObjectStore {
public:
    explicit SpecialObjectStore(Session& session) : m_session(session) {}

    /// Inserts into the table of the record's type code; gives the new row's id.
    Result<std::uint32_t> insert(const KV_BasicNode& record) const;
    /// Updates the row of that id; none any more is no failure.
    Status update(const KV_BasicNode& record, std::uint32_t id) const;
    /// Gives an object another name (GBK).
    Status rename(int objectType, std::uint32_t id, const std::string& oldName,
                  const std::string& name) const;
    /// `name` (GBK) is for the history.
    Status remove(int objectType, std::uint32_t id, const std::string& name) const;
    /// Longitude, latitude and height of a stored object; nothing when there is no such row.
    std::optional<osg::Vec3d> position(int objectType, std::uint32_t id) const;

private:
    Session& m_session;
};

} // namespace inspection
