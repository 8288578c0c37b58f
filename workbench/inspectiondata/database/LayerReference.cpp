#include "workbench/inspectiondata/database/LayerReference.h"

#include "workbench/inspectiondata/database/SheetColumns.h"
#include "workbench/inspectiondata/project/Georeference.h"

#include <ogrsf_frmts.h>

namespace inspection {

std::optional<OGRSpatialReference> namedReference(OGRLayer& layer) {
    const OGRSpatialReference* named = layer.GetSpatialRef();
    if (!named || named->IsLocal() != 0 ||
        QString::fromUtf8(named->GetName()).startsWith(QLatin1String("Undefined"))) {
        return std::nullopt;
    }
    OGRSpatialReference reference = *named;
    reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return reference;
}

bool isInDegrees(OGRLayer& layer) {
    constexpr double kMostLongitude = 180.0;
    constexpr double kMostLatitude = 90.0;
    OGREnvelope extent;
    return hasDegreeColumns(layer) ||
           (layer.GetExtent(&extent) == OGRERR_NONE && extent.MinX >= -kMostLongitude &&
            extent.MaxX <= kMostLongitude && extent.MinY >= -kMostLatitude && extent.MaxY <= kMostLatitude);
}

OGRSpatialReference referenceOfLayer(OGRLayer& layer, const OGRSpatialReference& otherwise) {
    if (auto named = namedReference(layer)) {
        return *named;
    }
    return otherwise.IsGeographic() == 0 && isInDegrees(layer) ? wgs84() : otherwise;
}

} // namespace inspection
