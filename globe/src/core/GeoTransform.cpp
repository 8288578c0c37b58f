#include <osgEarth/GeoTransform>

namespace osgEarth {

GeoTransform::GeoTransform() = default;
GeoTransform::~GeoTransform() = default;

bool GeoTransform::setPosition(const GeoPoint& position) {
    if (!position.isValid()) {
        return false;
    }
    m_position = position;
    clampToTerrain();
    return true;
}

void GeoTransform::setTerrain(Terrain* terrain) {
    m_terrain = terrain;
    clampToTerrain();
}

void GeoTransform::clampToTerrain() {
    if (!m_position.isValid()) {
        return;
    }
    GeoPoint absolute = m_position;
    if (absolute.isRelative()) {
        osg::ref_ptr<Terrain> terrain;
        if (!m_terrain.lock(terrain) || !absolute.makeAbsolute(terrain.get())) {
            absolute.altitudeMode() = ALTMODE_ABSOLUTE;
        }
    }
    osg::Matrixd localToWorld;
    if (absolute.createLocalToWorld(localToWorld)) {
        setMatrix(localToWorld);
    }
}

} // namespace osgEarth
