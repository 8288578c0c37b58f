#pragma once

#include "host/Export.h"
#include "host/inspection/Records.h"
#include "host/inspection/Station.h"
#include "workbench/inspectiondata/pipeline/BoxTree.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"
#include "workbench/inspectiondata/project/Georeference.h"

#include <ogr_geometry.h>

#include <QString>

#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace inspection {

/// How far an anomaly lies from the pipe, and which high-consequence areas it touches.
struct Surroundings {
    /// Shortest distance in metres from the outline to the centre line, on the map plane; 0 where the line
    /// meets the outline or what it encloses. Empty without a centre line or an outline.
    std::optional<double> pipeMetres;
    /// Names (GBK) of the areas that the outline touches or overlaps, in the order of their records.
    std::vector<std::string> highConsequenceAreas;
};

/// What lies around the anomalies of a station. Any thread.
class INSPECTIONDATA_API StationSurroundings {
public:
    /// Nothing is known.
    StationSurroundings() = default;
    /// For outlines in `own`, measured in the projected system `plane`. An area that has no place in it is
    /// left out. Nothing is kept of the arguments.
    StationSurroundings(const OGRSpatialReference& own, const OGRSpatialReference& plane,
                        const Pipeline& pipeline, const std::vector<Special_Polygon>& highConsequenceAreas);

    Surroundings of(const SdiffData& anomaly) const;
    /// The same of an outline that was read before; null where it is none.
    Surroundings of(std::unique_ptr<OGRGeometry> outline) const;
    /// Each of the two by itself takes less time.
    std::optional<double> pipeMetres(const SdiffData& anomaly) const;
    std::vector<std::string> highConsequenceAreas(const SdiffData& anomaly) const;

private:
    /// A few vertices of the centre line, so that most of it need not be looked at.
    struct Stretch {
        OGRLineString line;
        std::vector<OGRRawPoint> places; ///< the same
    };
    struct Area {
        std::string name;
        OGREnvelope bounds;
        OGRPreparedGeometryUniquePtr outline;
    };

    void addPipeline(const Pipeline& pipeline, const OGRSpatialReference& plane);
    void addStretches(const std::vector<QPointF>& part, OGRCoordinateTransformation& toPlane);
    void addAreas(const std::vector<Special_Polygon>& areas, const OGRSpatialReference& plane);
    void addArea(const Special_Polygon& area, OGRCoordinateTransformation& toPlane);
    /// The outline where lengths are measured; null for none.
    std::unique_ptr<OGRGeometry> toPlane(std::unique_ptr<OGRGeometry> outline) const;
    std::optional<double> pipeMetresFrom(const OGRGeometry& outline) const;
    std::vector<std::string> areasTouchedBy(const OGRGeometry& outline) const;

    mutable std::mutex m_libraries; ///< what these let one thread do at a time: transform, look into an area
    Transformation m_toPlane;       ///< of the outlines; null when they lie in it
    double m_metresPerUnit = 1.0;
    std::vector<Stretch> m_stretches;
    BoxTree m_boxes; ///< of the stretches
    std::vector<Area> m_areas;
};

/// A project's centre line and high-consequence areas, as they lie around each of its stations. Lengths are
/// measured in the station's own reference system; where that is geographic, in the projected one of the
/// station's place (projectedReferenceAt), in which they are true to 0.1 %. One thread at a time.
class INSPECTIONDATA_API CorridorSurroundings {
public:
    CorridorSurroundings(Pipeline pipeline, std::vector<Special_Polygon> highConsequenceAreas);

    /// Quick, except for the first station of a reference system. Not null.
    std::shared_ptr<const StationSurroundings> around(const KV_Station& station);

private:
    Pipeline m_pipeline;
    std::vector<Special_Polygon> m_areas;
    /// By the reference systems of the outlines and of the measuring.
    std::map<std::pair<std::string, QString>, std::shared_ptr<const StationSurroundings>> m_stations;
};

/// "12.3", "1,234.5": metres to the decimetre, which outlines on a raster are good for.
INSPECTIONDATA_API QString pipeDistanceText(double metres);
/// "东关村、李庄".
INSPECTIONDATA_API QString areaNamesText(const std::vector<std::string>& gbkNames);

} // namespace inspection
