#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>

#include <memory>

class QLockFile;

namespace inspection {

/// Two surface models, with their orthophotos where there are any.
struct RasterPair {
    QString oldDsm;
    QString newDsm;
    QString oldDom;
    QString newDom;
};

/// A project folder that is open: project.json, inspection.db, rasters, centre line, output/.
/// One writer at a time: an exclusively opened project holds a lock file in the folder until it is destroyed.
/// The lock of a process that no longer runs is taken over.
class INSPECTIONDATA_API Project {
public:
    enum class Access {
        Exclusive, ///< for work that stores something
        ReadOnly   ///< nothing is written into the folder and no lock is taken
    };

    static constexpr int kVersion = 1; ///< of project.json

    /// Fails for a missing or broken project.json, one of a newer version, a project that another process has
    /// open, and a folder that cannot be written (exclusive access only). The rasters are not opened.
    static Result<Project> open(const QString& folder, Access access = Access::Exclusive);

    /// Makes a project of two rasters that stay where they are, with stations over their overlap, and opens
    /// it. A project of the same rasters in `folder` is opened as it is. The stations are in the old raster's
    /// reference system, or in the fitting CGCS2000 3-degree zone (within China) or UTM zone when that is
    /// geographic.
    static Result<Project> createFromRasters(const QString& folder, const RasterPair& rasters);

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
    /// The same with the base layers, bottom first.
    Status setBaseLayers(const std::vector<BaseLayer>& layers);

private:
    Status store(ProjectDescription changed);
    Project(ProjectDescription description, Access access, std::unique_ptr<QLockFile> lock);

    ProjectDescription m_description;
    Access m_access;
    std::unique_ptr<QLockFile> m_lock;
};

} // namespace inspection
