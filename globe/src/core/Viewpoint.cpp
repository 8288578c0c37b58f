#include <osgEarth/Viewpoint>

namespace osgEarth {

Viewpoint::Viewpoint()
    : m_heading(Angle(0.0, Units::DEGREES)), m_pitch(Angle(-30.0, Units::DEGREES)),
      m_range(Distance(10000.0, Units::METERS)) {}

Viewpoint::Viewpoint(const char* name, double lon, double lat, double z, double heading, double pitch,
                     double range)
    : Viewpoint() {
    if (name) {
        m_name = std::string(name);
    }
    m_focalPoint = GeoPoint(SpatialReference::get("wgs84"), lon, lat, z, ALTMODE_ABSOLUTE);
    setHeading(heading);
    setPitch(pitch);
    setRange(range);
}

bool Viewpoint::isValid() const {
    return (m_focalPoint.isSet() && m_focalPoint->isValid()) || m_node.valid();
}

void Viewpoint::setNode(osg::Node* node) {
    m_node = node;
    m_nodeIsSet = node != nullptr;
}

bool Viewpoint::getNode(osg::ref_ptr<osg::Node>& node) const {
    return m_node.lock(node);
}

} // namespace osgEarth
