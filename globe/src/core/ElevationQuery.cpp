#include <osgEarth/ElevationLayer>
#include <osgEarth/ElevationQuery>

#include "src/terrain/HeightBlocks.h"
#include "src/terrain/RasterSource.h"

#include <cmath>

namespace osgEarth {

void ElevationQuery::setMap(const Map* map) {
    m_map = map;
    m_sources.clear();
    m_revision = -1;
}

// Takes the map's elevation rasters anew after a change; false without a map.
bool ElevationQuery::refreshSources() {
    osg::ref_ptr<const Map> map;
    if (!m_map.lock(map)) {
        return false;
    }
    if (map->getDataModelRevision() == m_revision) {
        return true;
    }
    std::vector<osg::ref_ptr<ElevationLayer>> layers;
    m_revision = map->getLayers(layers);
    m_mapSRS = map->getSRS();
    m_sources.clear();
    for (auto layer = layers.rbegin(); layer != layers.rend(); ++layer) {
        if ((*layer)->getEnabled() && (*layer)->raster() != nullptr) {
            m_sources.push_back((*layer)->raster());
        }
    }
    return true;
}

float ElevationQuery::sample(double x, double y, const SpatialReference* srs,
                             double* out_actualResolution) const {
    for (const auto& source : m_sources) {
        double sourceX = x;
        double sourceY = y;
        if (!srs->transform2D(x, y, source->srs(), sourceX, sourceY)) {
            continue;
        }
        double column = 0.0;
        double row = 0.0;
        source->toCells(sourceX + source->turn(sourceX), sourceY, column, row);
        const float height = source->heightBlocks().sample(column, row);
        if (std::isnan(height)) {
            continue;
        }
        if (out_actualResolution) {
            *out_actualResolution = m_mapSRS->isGeographic() ? source->resolutionDegrees()
                                                             : source->extent().height() / source->rows();
        }
        return height;
    }
    return NO_DATA_VALUE;
}

float ElevationQuery::getElevation(const GeoPoint& point, double /*desiredResolution*/,
                                   double* out_actualResolution) {
    if (!point.isValid() || !refreshSources()) {
        return NO_DATA_VALUE;
    }
    return sample(point.x(), point.y(), point.getSRS(), out_actualResolution);
}

bool ElevationQuery::getElevations(std::vector<osg::Vec3d>& points, const SpatialReference* srs, bool ignoreZ,
                                   double /*desiredResolution*/) {
    if (!srs || !refreshSources()) {
        return false;
    }
    bool hasAny = false;
    for (osg::Vec3d& point : points) {
        const float height = sample(point.x(), point.y(), srs, nullptr);
        if (height > NO_DATA_VALUE) {
            point.z() = ignoreZ ? height : point.z() + height;
            hasAny = true;
        }
    }
    return hasAny;
}

} // namespace osgEarth
