#include <osg/LineStipple>
#include <osg/LineWidth>
#include <osg/Point>
#include <osg/Uniform>
#include <osgEarth/GLUtils>

namespace osgEarth {

void GLUtils::setGlobalDefaults(osg::StateSet* stateSet) {
    setLineWidth(stateSet, 1.0f, osg::StateAttribute::ON);
    setLineStipple(stateSet, 1, 0xFFFF, osg::StateAttribute::ON);
    setPointSize(stateSet, 1.0f, osg::StateAttribute::ON);
}

void GLUtils::setLighting(osg::StateSet* stateSet, osg::StateAttribute::OverrideValue value) {
    stateSet->setMode(GL_LIGHTING, value);
    stateSet->addUniform(new osg::Uniform("oe_GL_Lighting", (value & osg::StateAttribute::ON) != 0), value);
}

void GLUtils::setLineWidth(osg::StateSet* stateSet, float pixels, osg::StateAttribute::OverrideValue value) {
    stateSet->setAttributeAndModes(new osg::LineWidth(pixels), value);
    stateSet->addUniform(new osg::Uniform("oe_GL_LineWidth", pixels), value);
}

// Solid lines need no stippling mode: the plain path is the quicker one.
void GLUtils::setLineStipple(osg::StateSet* stateSet, int factor, unsigned short pattern,
                             osg::StateAttribute::OverrideValue value) {
    osg::ref_ptr<osg::LineStipple> stipple = new osg::LineStipple(factor, pattern);
    if (pattern == 0xFFFF) {
        stateSet->setAttribute(stipple, value);
        stateSet->setMode(GL_LINE_STIPPLE, value & ~static_cast<unsigned>(osg::StateAttribute::ON));
    } else {
        stateSet->setAttributeAndModes(stipple, value);
    }
    stateSet->addUniform(new osg::Uniform("oe_GL_LineStippleFactor", factor), value);
    stateSet->addUniform(new osg::Uniform("oe_GL_LineStipplePattern", static_cast<int>(pattern)), value);
}

void GLUtils::setPointSize(osg::StateSet* stateSet, float pixels, osg::StateAttribute::OverrideValue value) {
    stateSet->setAttributeAndModes(new osg::Point(pixels), value);
    stateSet->addUniform(new osg::Uniform("oe_GL_PointSize", pixels), value);
}

} // namespace osgEarth
