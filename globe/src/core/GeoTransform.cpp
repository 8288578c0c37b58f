#include <osgEarth/GeoTransform>

namespace osgEarth {

GeoTransform::GeoTransform() = default;
GeoTransform::~GeoTransform() = default;

bool GeoTransform::setPosition(const GeoPoint& position) {
    if (!position.isValid())
        return false;
    _position = position;
    clampToTerrain();
    return true;
}

void GeoTransform::setTerrain(Terrain* terrain) {
    _terrain = terrain;
    clampToTerrain();
}

void GeoTransform::clampToTerrain() {
    if (!_position.isValid())
        return;
    GeoPoint absolute = _position;
    if (absolute.isRelative()) {
        osg::ref_ptr<Terrain> terrain;
        if (!_terrain.lock(terrain) || !absolute.makeAbsolute(terrain.get()))
            absolute.altitudeMode() = ALTMODE_ABSOLUTE;
    }
    osg::Matrixd localToWorld;
    if (absolute.createLocalToWorld(localToWorld))
        setMatrix(localToWorld);
}

} // namespace osgEarth
