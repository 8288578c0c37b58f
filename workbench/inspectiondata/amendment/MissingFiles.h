#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/amendment/Amendment.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <vector>

/// Files that a project names and that are not there, because they were moved or their disk is not there.
namespace inspection {

struct MissingFile {
    enum class Sort { Surface, Picture, Line };
    Sort sort = Sort::Surface;
    QString epoch; ///< its key; empty for the line
    QString path;

    /// "2024-05-18 的表面模型"
    INSPECTIONDATA_API QString title() const;
    /// The option of `corridor project set` that tells where it lies now, with NEW for the place.
    INSPECTIONDATA_API QString option() const;
};

/// In the order of the epochs, the line last. Looks whether the files are there and opens none.
INSPECTIONDATA_API std::vector<MissingFile> missingFiles(const ProjectDescription& project);

/// The wish for those missing files that lie in a folder, under as much of their earlier path as is there; under their
/// mere name only when no other missing file has it.
INSPECTIONDATA_API AmendmentWish locatedIn(const QString& folder, const std::vector<MissingFile>& missing);

/// The wish for a missing file that lies there now, and for others that went the same way or lie beside it.
INSPECTIONDATA_API AmendmentWish locatedAt(const QString& file, const MissingFile& which,
                                           const std::vector<MissingFile>& missing);

} // namespace inspection
