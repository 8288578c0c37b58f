#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/creation/KilometrePosts.h"
#include "workbench/inspectiondata/project/Georeference.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>
#include <QStringList>

#include <vector>

namespace inspection {

/// Where a centre line comes from: any vector format that GDAL reads.
struct CenterlineSource {
    QString file;
    QString layer{};          ///< the one to read, for files in which several hold lines
    QString crs{};            ///< of a file that names no reference system
    bool isTurned = false;    ///< the pipe runs against the direction of the file
    double startMetres = 0.0; ///< chainage of the first vertex, where no posts tell it
    QString posts{};          ///< file of points with a name and a chainage; empty for none
    bool isOwn = false;       ///< a project's own file: the line as it is, with the chainages that it has
};

/// A pipe's centre line, in the reference system that was asked for.
struct Centerline {
    QString name;
    std::vector<PipeVertex> vertices; ///< at least two
    bool hasHeights = false;          ///< z is known: from the geometry
    std::vector<KilometrePost> posts;

    double lengthMetres() const; ///< on the map plane
};

/// Reads the parts of a line and joins them end to end; points in their order where the file has no lines (CSV with
/// columns of longitude and latitude, or of easting and northing). Ends that are no further apart than a metre meet.
/// Fails, with one line that names file, cause and place, when there is no line, more than one layer has lines, parts
/// do not meet or branch, the line crosses itself or has no length, or a post does not fit.
INSPECTIONDATA_API Result<Centerline> readCenterline(const CenterlineSource& source,
                                                     const OGRSpatialReference& reference);

/// The layers of a file that could hold the centre line: those with lines, or else those with points in a row.
INSPECTIONDATA_API Result<QStringList> centerlineLayers(const QString& file);

} // namespace inspection
