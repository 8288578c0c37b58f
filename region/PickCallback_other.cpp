#include "region/PickCallback_other.h"

#include <osg/Group>
#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgGA/GUIEventAdapter>

void PickCallback_other::onHit(osgEarth::ObjectID id) {
    const osg::ref_ptr<osg::Group> region = osgEarth::Registry::objectIndex()->get<osg::Group>(id);
    if (region && m_locked == 0) {
        m_pickedId = static_cast<int>(id);
    }
}

void PickCallback_other::onMiss() {
    m_pickedId = kNothing;
}

bool PickCallback_other::accept(const osgGA::GUIEventAdapter& ea, const osgGA::GUIActionAdapter& /*aa*/) {
    return ea.getEventType() == osgGA::GUIEventAdapter::MOVE;
}
