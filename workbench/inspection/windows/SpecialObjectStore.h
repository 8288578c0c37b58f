#pragma once

#include "host/inspection/Records.h"

#include <cstdint>
#include <optional>

namespace inspection {

class Session;

/// The special objects' rows in the open project's database. What the database refuses is written to standard
/// output and leaves it as it was. GUI thread.
class SpecialObjectStore {
public:
    explicit SpecialObjectStore(const Session& session) : m_session(session) {}

    /// Inserts into the table of the record's type code. The new row's id, or nothing when it was refused.
    std::optional<std::uint32_t> insert(const KV_BasicNode& record) const;
    /// Updates the row of that id; true whatever number of rows was changed.
    bool update(const KV_BasicNode& record, std::uint32_t id) const;
    bool remove(int objectType, std::uint32_t id) const;
    /// Longitude, latitude and height of a stored object; nothing when there is no such row.
    std::optional<osg::Vec3d> position(int objectType, std::uint32_t id) const;

private:
    const Session& m_session;
};

} // namespace inspection
