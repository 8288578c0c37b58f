#include "workbench/inspectiondata/project/Georeference.h"

#include "detect/GdalErrors.h"

#include <QRegularExpression>

#include <algorithm>
#include <array>

#include <cmath>

namespace inspection {

namespace {

/// PROJ would open a grid, or a list of systems, that is named by a path.
bool namesAFile(const QString& definition) {
    static const QRegularExpression path(
        QStringLiteral(R"((?:grids|init)\s*=[^ ]*/|PARAMETERFILE\s*\[[^\]]*/)"),
        QRegularExpression::CaseInsensitiveOption);
    return definition.contains(path);
}

/// Without these GDAL would read a definition out of any file or address that it gets.
constexpr std::array kNothingButText{"ALLOW_FILE_ACCESS=NO", "ALLOW_NETWORK_ACCESS=NO",
                                     static_cast<const char*>(nullptr)};

} // namespace

std::optional<OGRSpatialReference> referenceOf(const QString& definition) {
    const detect::GdalErrors errors;
    OGRSpatialReference reference;
    if (definition.isEmpty() || namesAFile(definition) ||
        reference.SetFromUserInput(definition.toUtf8().constData(), kNothingButText.data()) != OGRERR_NONE) {
        return std::nullopt;
    }
    reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return reference;
}

QString definitionOf(const OGRSpatialReference& reference) {
    const char* authority = reference.GetAuthorityName(nullptr);
    const char* code = reference.GetAuthorityCode(nullptr);
    if (authority && code) {
        return QStringLiteral("%1:%2").arg(QString::fromUtf8(authority), QString::fromUtf8(code));
    }
    char* wkt = nullptr;
    reference.exportToWkt(&wkt);
    const QString definition = QString::fromUtf8(wkt);
    CPLFree(wkt);
    return definition;
}

bool sameReference(const OGRSpatialReference& a, const OGRSpatialReference& b) {
    const std::array<const char*, 3> options{"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES",
                                             "CRITERION=EQUIVALENT", nullptr};
    return a.IsSame(&b, options.data()) != 0;
}

OGRSpatialReference wgs84() {
    OGRSpatialReference reference;
    reference.SetWellKnownGeogCS("WGS84");
    reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return reference;
}

Transformation transformationBetween(const OGRSpatialReference& from, const OGRSpatialReference& to) {
    const detect::GdalErrors errors;
    return Transformation(OGRCreateCoordinateTransformation(&from, &to));
}

std::optional<detect::Box> transformedBox(const detect::Box& box, const OGRSpatialReference& from,
                                          const OGRSpatialReference& to) {
    if (sameReference(from, to)) {
        return box;
    }
    constexpr int kPointsPerEdge = 21;
    const Transformation transformation = transformationBetween(from, to);
    const detect::GdalErrors errors;
    detect::Box result;
    if (!transformation ||
        transformation->TransformBounds(box.xMin, box.yMin, box.xMax, box.yMax, &result.xMin, &result.yMin,
                                        &result.xMax, &result.yMax, kPointsPerEdge) == 0) {
        return std::nullopt;
    }
    return result;
}

OGRSpatialReference projectedReferenceAt(double lonDegrees, double latDegrees) {
    OGRSpatialReference reference;
    const bool inChina = lonDegrees >= 73.5 && lonDegrees < 136.5 && latDegrees >= 16.0 && latDegrees <= 55.0;
    if (inChina) {
        // EPSG:4534 is the CGCS2000 zone with central meridian 75 degrees east, one code for every 3 degrees.
        const int zone = static_cast<int>(std::lround(lonDegrees / 3.0)) - 25;
        reference.importFromEPSG(4534 + zone);
    } else {
        const int zone = std::clamp(static_cast<int>(std::floor((lonDegrees + 180.0) / 6.0)) + 1, 1, 60);
        reference.importFromEPSG((latDegrees >= 0.0 ? 32600 : 32700) + zone);
    }
    reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    return reference;
}

} // namespace inspection
