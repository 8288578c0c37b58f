#include <osgEarth/Layer>
#include <osgEarth/Registry>

namespace osgEarth {

Layer::Layer(const Layer& rhs, const osg::CopyOp& op)
    : osg::Object(rhs, op), _status(rhs._status), _enabled(rhs._enabled) {}

UID Layer::createUID() {
    return Registry::instance()->createUID();
}

} // namespace osgEarth
