#include <osgEarth/Layer>

namespace osgEarth {

Layer::Layer(const Layer& rhs, const osg::CopyOp& op) : osg::Object(rhs, op), m_status(rhs.m_status) {}

} // namespace osgEarth
