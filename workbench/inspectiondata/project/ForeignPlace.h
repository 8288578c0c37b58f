#pragma once

#include "host/Export.h"

#include <QString>

#include <vector>

namespace inspection {

/// A place outside of a project's folder that opening the project leads to.
struct INSPECTIONDATA_API ForeignPlace {
    enum class Use {
        Read,  ///< files of a folder; reduced pictures are made beside its rasters
        Store, ///< a database file
        Link, ///< a folder that a link in the project's folder leads to; the project's own work may end there
        Server,  ///< of a database, or of tiles; without user, password and path
        Unclear, ///< a file, or a name of GDAL's, that leads where only opening it tells
    };
    Use use = Use::Read;
    QString where; ///< absolute path, address, or GDAL's name

    /// What is done there, one Chinese line.
    QString text() const;
    /// The same place has the same one; for settings.
    QString key() const;
};

using ForeignPlaces = std::vector<ForeignPlace>;

} // namespace inspection
