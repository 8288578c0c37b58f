#include "workbench/app/ProjectLayers.h"

#include "workbench/viewer/GlobeMap.h"

#include <osgEarth/GeoData>
#include <osgEarth/SpatialReference>

#include <gdal_priv.h>

#include <array>
#include <cmath>
#include <memory>

namespace {

constexpr const char* kTerrainLayer = "terrain";

void note(QStringList& problems, const std::optional<std::string>& problem) {
    if (problem) {
        problems << QString::fromStdString(*problem);
    }
}

struct DatasetCloser {
    void operator()(GDALDataset* dataset) const { GDALClose(dataset); }
};
using DatasetPointer = std::unique_ptr<GDALDataset, DatasetCloser>;

// Centre and half diagonal of a raster on the ground.
struct Footprint {
    osgEarth::GeoPoint centre;
    double radiusMetres = 0.0;
};

osg::Vec3d cellPosition(const std::array<double, 6>& transform, double column, double row) {
    return {transform[0] + column * transform[1] + row * transform[2],
            transform[3] + column * transform[4] + row * transform[5], 0.0};
}

double heightInTheMiddle(GDALDataset& raster) {
    const int column = raster.GetRasterXSize() / 2;
    const int row = raster.GetRasterYSize() / 2;
    double height = 0.0;
    if (raster.GetRasterBand(1)->RasterIO(GF_Read, column, row, 1, 1, &height, 1, 1, GDT_Float64, 0, 0) !=
        CE_None) {
        return 0.0;
    }
    constexpr double kHighestGroundMetres = 9000.0;
    return std::abs(height) < kHighestGroundMetres ? height : 0.0;
}

std::optional<Footprint> footprintOf(const QString& file) {
    DatasetPointer raster(GDALDataset::Open(file.toUtf8().constData(), GDAL_OF_RASTER));
    std::array<double, 6> transform{};
    if (!raster || raster->GetGeoTransform(transform.data()) != CE_None) {
        return std::nullopt;
    }
    const osg::ref_ptr<const osgEarth::SpatialReference> srs =
        osgEarth::SpatialReference::get(raster->GetProjectionRef());
    if (!srs) {
        return std::nullopt;
    }

    const double width = raster->GetRasterXSize();
    const double height = raster->GetRasterYSize();
    osgEarth::GeoPoint centre(srs.get(), cellPosition(transform, width / 2, height / 2));
    const osgEarth::GeoPoint corner(srs.get(), cellPosition(transform, 0.0, 0.0));
    centre.z() = heightInTheMiddle(*raster);
    const osgEarth::SpatialReference* geographic = srs->getGeographicSRS();
    return Footprint{centre.transform(geographic),
                     centre.transform(geographic).distanceTo(corner.transform(geographic))};
}

} // namespace

QStringList ProjectLayers::show(const inspection::ProjectDescription& project) {
    clear();
    m_epochs = project.epochs;
    QStringList problems;
    for (std::size_t epoch = 0; epoch < m_epochs.size(); ++epoch) {
        const QString& dom = m_epochs[epoch].dom;
        if (!dom.isEmpty()) {
            note(problems, m_map.addImagery(imageryName(epoch), dom.toStdString()));
        }
    }
    return problems + showEpoch(static_cast<int>(m_epochs.size()) - 1);
}

QStringList ProjectLayers::epochs() const {
    QStringList names;
    for (const inspection::Epoch& epoch : m_epochs) {
        const QString undated = names.isEmpty() ? QStringLiteral("前期") : QStringLiteral("后期");
        names << (epoch.date.isEmpty() ? undated : epoch.date);
    }
    return names;
}

QStringList ProjectLayers::showEpoch(int index) {
    QStringList problems;
    if (index < 0 || index >= static_cast<int>(m_epochs.size()) || index == m_shown) {
        return problems;
    }
    m_shown = index;
    const auto shown = static_cast<std::size_t>(index);
    m_map.removeLayer(kTerrainLayer);
    note(problems, m_map.addElevation(kTerrainLayer, m_epochs[shown].dsm.toStdString()));
    for (std::size_t epoch = 0; epoch < m_epochs.size(); ++epoch) {
        m_map.setImageryVisible(imageryName(epoch), epoch == shown);
    }
    return problems;
}

std::optional<osgEarth::Viewpoint> ProjectLayers::overview() const {
    if (m_epochs.empty()) {
        return std::nullopt;
    }
    const std::optional<Footprint> footprint = footprintOf(m_epochs.back().dsm);
    if (!footprint) {
        return std::nullopt;
    }
    constexpr double kPitchDegrees = -50.0;
    constexpr double kRangePerRadius = 2.7;
    return osgEarth::Viewpoint("overview", footprint->centre.x(), footprint->centre.y(),
                               footprint->centre.z(), 0.0, kPitchDegrees,
                               kRangePerRadius * footprint->radiusMetres);
}

void ProjectLayers::clear() {
    for (std::size_t epoch = 0; epoch < m_epochs.size(); ++epoch) {
        m_map.removeLayer(imageryName(epoch));
    }
    m_map.removeLayer(kTerrainLayer);
    m_epochs.clear();
    m_shown = -1;
}

std::string ProjectLayers::imageryName(std::size_t epoch) {
    return "orthophoto " + std::to_string(epoch);
}
