#include <osgEarth/Viewpoint>

namespace osgEarth {

Viewpoint::Viewpoint()
    : _heading(Angle(0.0, Units::DEGREES)), _pitch(Angle(-30.0, Units::DEGREES)),
      _range(Distance(10000.0, Units::METERS)) {}

Viewpoint::Viewpoint(const char* name, double lon, double lat, double z, double heading, double pitch,
                     double range)
    : Viewpoint() {
    if (name != nullptr) {
        _name = std::string(name);
    }
    _focalPoint = GeoPoint(SpatialReference::get("wgs84"), lon, lat, z, ALTMODE_ABSOLUTE);
    setHeading(heading);
    setPitch(pitch);
    setRange(range);
}

bool Viewpoint::isValid() const {
    return (_focalPoint.isSet() && _focalPoint->isValid()) || _node.valid();
}

void Viewpoint::setNode(osg::Node* node) {
    _node = node;
    _nodeIsSet = node != nullptr;
}

bool Viewpoint::getNode(osg::ref_ptr<osg::Node>& node) const {
    return _node.lock(node);
}

} // namespace osgEarth
