#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>

#include <memory>

class QLockFile;

namespace files {
class Unfinished;
}

namespace inspection {

/// A project folder that is open: project.json, inspection.db, rasters, centre line, output/.
/// One writer at a time: an exclusively opened project holds a lock file in the folder until it is destroyed.
/// The lock of a process that no longer runs is taken over.
class INSPECTIONDATA_API Project {
public:
    enum class Access {
        Exclusive, ///< for work that stores something
        ReadOnly   ///< nothing is written into the folder and no lock is taken
    };

    enum class Trust {
        Needed, ///< the user has agreed to all places that the project leads to (TrustedPlaces.h)
        Given   ///< he has just named them all himself
    };

    static constexpr int kVersion = 1; ///< of project.json

    /// Fails for a missing or broken project.json, one of a newer version, a project that is not trusted, one that
    /// another process has open, and a folder that cannot be written (exclusive access only). The rasters are not opened. A change of
    /// line and stations that was interrupted is settled before (PendingProjectFile.h).
    static Result<Project> open(const QString& folder, Access access = Access::Exclusive,
                                Trust trust = Trust::Needed);

    Project(Project&&) noexcept;
    Project& operator=(Project&&) noexcept;
    ~Project();

    const ProjectDescription& description() const { return m_description; }
    Access access() const { return m_access; }

    /// Stores the parameters in project.json, wholly or not at all.
    Status setParameters(const ProjectParameters& parameters);
    /// The same with the database: a server's address, or the path of a SQLite file, which may be relative to
    /// the folder. Nothing is moved there.
    Status setDatabase(const QString& database);
    /// Chooses the pair that is compared. A project that is open for reading only keeps it as long as it is
    /// open and stores nothing.
    Status setComparedPair(const EpochPair& pair);

    /// Adds an epoch in the order of dates, with paths that are absolute. Fails for a key that another epoch
    /// has. The rasters are not looked at: creation/EpochAddition.h does so before it calls this.
    Status addEpoch(const Epoch& epoch);
    /// Takes an epoch out of project.json; its rasters stay where they are. Two epochs must be left. The
    /// results in the database are not looked at: compute/EpochRemoval.h takes them away before it calls this.
    Status removeEpoch(const QString& key);
    /// The same with the base layers, bottom first.
    Status setBaseLayers(const std::vector<BaseLayer>& layers);
    /// Replaces everything at once; amendment/AmendProject.h keeps the database in step.
    Status setDescription(ProjectDescription description) { return store(std::move(description)); }
    /// Takes what project.json says now.
    Status reread();

private:
    Status store(ProjectDescription changed);
    Project(ProjectDescription description, Access access, std::unique_ptr<QLockFile> lock);

    ProjectDescription m_description;
    Access m_access;
    std::unique_ptr<QLockFile> m_lock;
    std::unique_ptr<files::Unfinished> m_entry; ///< of the lock file, for the sudden end of the process
};

} // namespace inspection
