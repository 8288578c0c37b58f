#pragma once

#include "host/inspection/Records.h"
#include "workbench/inspectiondata/database/RowChange.h"
#include "workbench/inspectiondata/project/Result.h"

#include <cstdint>
#include <optional>
#include <string>

namespace inspection {

class Session;

/// A special object as it is shown to the user.
struct StoredObject {
    int type = 0; ///< KV_ObjectType
    std::uint32_t id = 0;
    std::int64_t version = 0;
    std::string name; ///< GBK
};

/// The special objects' rows in the open project's database; each change is an edit of its history. What the
/// database refuses is written to standard output, too, and leaves it as it was. GUI thread.
class SpecialObjectStore {
public:
    explicit SpecialObjectStore(Session& session) : m_session(session) {}

    /// Inserts into the table of the record's type code; gives the new row's id.
    Result<std::uint32_t> insert(const KV_BasicNode& record) const;
    /// Updates the row of that id, which the user has edited from the record's version on. False when there is
    /// none any more.
    Result<bool> update(const KV_BasicNode& record, std::uint32_t id) const;
    /// Gives an object another name (GBK).
    Status rename(const StoredObject& object, const std::string& name) const;
    Status remove(const StoredObject& object) const;
    /// The row, as a change that brings it; nothing when there is none.
    std::optional<RowChange> find(int objectType, std::uint32_t id) const;
    /// Longitude, latitude and height of a stored object; nothing when there is no such row.
    std::optional<osg::Vec3d> position(int objectType, std::uint32_t id) const;

private:
    Session& m_session;
};

} // namespace inspection
