#include "workbench/inspectiondata/database/LayerReference.h"

#include <ogrsf_frmts.h>

#include <QString>

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

} // namespace inspection
