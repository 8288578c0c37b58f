#include <osgEarth/Layer>
#include <osgEarth/Registry>

namespace osgEarth {

Layer::Layer(const Layer& rhs, const osg::CopyOp& op)
    : osg::Object(rhs, op), m_status(rhs.m_status), m_enabled(rhs.m_enabled) {}

UID Layer::createUID() {
    return Registry::instance()->createUID();
}

} // namespace osgEarth
