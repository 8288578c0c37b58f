#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QPointF>
#include <QString>

#include <optional>
#include <vector>

class OGRGeometry;

namespace inspection {

/// Where a point lies along the pipe.
struct PipePosition {
    double chainageMetres = 0.0;
    double offsetMetres = 0.0; ///< shortest distance from it, on the map plane
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
    /// Empty without a centre line.
    std::optional<PipePosition> positionOf(const QPointF& point) const;

private:
    void append(const OGRGeometry& geometry);

    QString m_crs;
    std::vector<std::vector<QPointF>> m_parts;
    std::vector<std::vector<double>> m_chainages; ///< of the vertices of the parts
};

/// "K1+234" of 1234 m.
INSPECTIONDATA_API QString chainageText(double metres);

} // namespace inspection
