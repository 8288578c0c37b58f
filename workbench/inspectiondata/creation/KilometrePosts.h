#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/creation/LineJoin.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>

#include <optional>
#include <vector>

namespace inspection {

/// A place whose chainage is known.
struct KilometrePost {
    QString name;
    double chainageMetres = 0.0;
    double x = 0.0; ///< in the line's reference system
    double y = 0.0;
};

/// A vertex of the pipe's centre line.
struct PipeVertex {
    double x = 0.0;
    double y = 0.0;
    double z = 0.0;
    double chainageMetres = 0.0;
};

/// The chainage in "12.5" or 12.5 (kilometres), "K12+500", "12+500" or "K12+500.5"; empty for anything else.
INSPECTIONDATA_API std::optional<double> chainageOf(const QString& text);

/// Chainages along a line from a first value, by lengths on the map plane in metres.
INSPECTIONDATA_API std::vector<PipeVertex> chainagesFrom(const LinePart& line, double startMetres);

/// Chainages along a line that are right at every post, and in proportion to the length between them; beyond the first
/// and the last they go on by length. Each post becomes a vertex. A line along which they fall is turned. Fails, naming
/// the post, for fewer than two, for one that is further than `farthestMetres` from the line, and where chainages do not
/// rise from post to post.
INSPECTIONDATA_API Result<std::vector<PipeVertex>> chainagesBy(const std::vector<KilometrePost>& posts,
                                                               LinePart line, double farthestMetres);

} // namespace inspection
