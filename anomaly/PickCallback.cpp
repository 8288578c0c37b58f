#include "anomaly/PickCallback.h"

#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarthAnnotation/ImageOverlay>
#include <osgGA/GUIEventAdapter>

using osgEarth::Annotation::ImageOverlay;

void PickCallback::onHit(osgEarth::ObjectID id) {
    const osg::ref_ptr<ImageOverlay> overlay = osgEarth::Registry::objectIndex()->get<ImageOverlay>(id);
    if (overlay && m_hold == 0) {
        m_pickedId = static_cast<int>(id);
    }
}

void PickCallback::onMiss() {
    m_pickedId = kNothing;
}

bool PickCallback::accept(const osgGA::GUIEventAdapter& ea, const osgGA::GUIActionAdapter& /*aa*/) {
    return ea.getEventType() == osgGA::GUIEventAdapter::MOVE;
}
