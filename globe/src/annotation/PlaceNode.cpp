#include "LabelBin.h"
#include "PlaceContent.h"
#include "ScreenSpace.h"
#include "SharedState.h"

#include <osg/Depth>
#include <osgEarth/VirtualProgram>
#include <osgEarthAnnotation/PlaceNode>

namespace osgEarth {
namespace Annotation {
namespace {

constexpr int kLabelBinNumber = 10; // within the annotations' bin: after everything else

osg::ref_ptr<osg::StateSet> makePlaceState() {
    osg::ref_ptr<osg::StateSet> stateSet = new osg::StateSet;
    stateSet->setAttributeAndModes(new osg::Depth(osg::Depth::ALWAYS, 0.0, 1.0, false));
    stateSet->setMode(GL_DEPTH_TEST, osg::StateAttribute::OFF);
    stateSet->setMode(GL_LIGHTING, osg::StateAttribute::OFF);
    stateSet->setMode(GL_CULL_FACE, osg::StateAttribute::OFF);
    LabelBin::install(stateSet, kLabelBinNumber);
    return stateSet;
}

osg::ref_ptr<osg::StateSet> placeState() {
    static SharedState shared;
    return shared.get(makePlaceState);
}

} // namespace

PlaceNode::PlaceNode() : PlaceNode(GeoPoint()) {}

PlaceNode::PlaceNode(const std::string& text, const Style& style, osg::Image* image)
    : PlaceNode(GeoPoint(), text, style, image) {}

PlaceNode::PlaceNode(const GeoPoint& position, const std::string& text, const Style& style, osg::Image* image)
    : m_text(text), m_image(image), m_screenContent(new ScreenSpace), m_label(new Label) {
    m_screenContent->setStateSet(placeState());
    getPositionAttitudeTransform()->addChild(m_screenContent);
    AnnotationNode::setStyle(style);
    if (text.empty() && style.has<TextSymbol>() && style.get<TextSymbol>()->content().isSet()) {
        m_text = style.get<TextSymbol>()->content()->eval();
    }
    rebuild();
    setPosition(position);
}

PlaceNode::~PlaceNode() = default;

void PlaceNode::setText(const std::string& text) {
    m_text = text;
    rebuild();
}

void PlaceNode::setIconImage(osg::Image* image) {
    m_image = image;
    rebuild();
}

void PlaceNode::setStyle(const Style& style) {
    AnnotationNode::setStyle(style);
    rebuild();
}

void PlaceNode::setDynamic(bool value) {
    AnnotationNode::setDynamic(value);
    for (osg::Drawable* drawable : drawablesOf(*m_screenContent)) {
        drawable->setDataVariance(value ? osg::Object::DYNAMIC : osg::Object::STATIC);
    }
}

void PlaceNode::setPriority(float value) {
    AnnotationNode::setPriority(value);
    m_label->priority = value;
}

osg::BoundingSphere PlaceNode::computeBound() const {
    return getPosition().isValid() ? osg::BoundingSphere(osg::Vec3(worldPosition()), 1.0f)
                                   : osg::BoundingSphere();
}

osg::ref_ptr<osg::Image> PlaceNode::iconImage() const {
    const IconSymbol* symbol = getStyle().get<IconSymbol>();
    return m_image.valid() || !symbol ? m_image : osg::ref_ptr<osg::Image>(symbol->getImage());
}

void PlaceNode::rebuild() {
    m_screenContent->removeChildren(0, m_screenContent->getNumChildren());
    osg::ref_ptr<osg::Geometry> icon;
    const osg::ref_ptr<osg::Image> image = iconImage();
    if (image.valid() && image->s() > 0 && image->t() > 0) {
        icon = iconDrawable(*image, getStyle().get<IconSymbol>());
        m_screenContent->addChild(icon);
    }
    if (!m_text.empty()) {
        m_screenContent->addChild(textContent(m_text, getStyle().get<TextSymbol>(), icon.get()));
    }
    for (osg::Drawable* drawable : drawablesOf(*m_screenContent)) {
        drawable->setUserData(m_label);
    }
    const TextSymbol* text = getStyle().get<TextSymbol>();
    m_label->competes = !text || text->declutter().get();
    setOcclusionCulling(!text || !text->occlusionCull().isSet() || text->occlusionCull().get());
    setDynamic(getDynamic());
}

} // namespace Annotation
} // namespace osgEarth
