#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/pipeline/BoxTree.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QPointF>
#include <QString>

#include <cstddef>
#include <optional>
#include <vector>

class OGRGeometry;

namespace inspection {

/// Where a point lies along the pipe.
struct PipePosition {
    double chainageMetres = 0.0;
    double offsetMetres = 0.0; ///< shortest distance from it, on the map plane
};

/// A place on the pipe at a round chainage.
struct ChainageMark {
    double chainageMetres = 0.0;
    QPointF place;
};

/// The pipe's centre line in the project's reference system. Its measures are chainages in metres; where it has none
/// they count along the line from its start.
class INSPECTIONDATA_API Pipeline {
public:
    /// Layer "centerline" of the project's centre-line file; no parts when there is none.
    static Pipeline read(const ProjectDescription& project);

    const std::vector<std::vector<QPointF>>& parts() const { return m_parts; }
    /// The reference system of the parts, the project's.
    const QString& crs() const { return m_crs; }
    /// Between the smallest and the largest chainage; 0 without a centre line.
    double lengthMetres() const;
    /// Empty without a centre line. Of several places that are as near, the first one. Any thread.
    std::optional<PipePosition> positionOf(const QPointF& point) const;
    /// Where the chainage is a multiple of `intervalMetres` (above 0), along each part.
    std::vector<ChainageMark> marks(double intervalMetres) const;
    /// The outlines of what lies within that distance of the line, rings in the line's own system. Empty
    /// without a line.
    std::vector<std::vector<QPointF>> bufferOutlines(double metres) const;

private:
    /// Some segments of a part, one after the other.
    struct Run {
        std::size_t part = 0;
        std::size_t first = 0; ///< vertex
        std::size_t last = 0;  ///< vertex
    };

    void append(const OGRGeometry& geometry);
    void index();
    PipePosition nearestOf(const Run& run, const QPointF& point) const;

    QString m_crs;
    std::vector<std::vector<QPointF>> m_parts;
    std::vector<std::vector<double>> m_chainages; ///< of the vertices of the parts
    std::vector<Run> m_runs;                      ///< all segments, in their order
    BoxTree m_boxes;                              ///< of the runs
};

/// "K1+234" of 1234 m.
INSPECTIONDATA_API QString chainageText(double metres);

} // namespace inspection
