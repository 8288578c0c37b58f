#pragma once

#include "workbench/inspectiondata/output/InspectionData.h"
#include "workbench/inspectiondata/output/MapSheet.h"
#include "workbench/inspectiondata/output/ReportCanvas.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include <functional>
#include <vector>

namespace inspection {

/// A map of each station that has anomalies, with their outlines and names, several on a page. Refers to what
/// it was made of.
class StationMaps {
public:
    StationMaps(const InspectionData& data, const Pipeline& pipeline);

    /// 0 where nothing was found. How many maps are on a page follows from the tallest station.
    int pages() const;
    /// `nextPage` begins a page; it is called before each of the pages(), the first included.
    void draw(ReportCanvas& canvas, const std::function<void()>& nextPage) const;

private:
    int mapsPerPage() const { return m_columns * m_rows; }
    void drawMap(ReportCanvas& canvas, const QRectF& box, const StationFindings& findings) const;
    void drawNames(ReportCanvas& canvas, const MapSheet& sheet, const StationFindings& findings) const;

    const InspectionData& m_data;
    const Pipeline& m_pipeline;
    std::vector<const StationFindings*> m_stations;
    int m_columns = 1;
    int m_rows = 1;
};

} // namespace inspection
