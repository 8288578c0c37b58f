#include "anomaly/PickCallback.h"
#include "anomaly/Highlight.h"
#include "tests/plugin/PluginHost.h"

#include <osg/Uniform>
#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarth/VirtualProgram>
#include <osgEarthAnnotation/ImageOverlay>
#include <osgViewer/View>

namespace {

using osgEarth::Annotation::ImageOverlay;
using osgGA::GUIEventAdapter;

/// An overlay and another object in the index, and a callback.
class PickAnswers : public PluginTest {
protected:
    PickAnswers() {
        m_overlayId = osgEarth::Registry::objectIndex()->tagNode(m_overlay, m_overlay);
        m_groupId = osgEarth::Registry::objectIndex()->tagNode(m_group, m_group);
    }
    ~PickAnswers() override {
        osgEarth::Registry::objectIndex()->remove(m_overlayId);
        osgEarth::Registry::objectIndex()->remove(m_groupId);
    }
    int overlayId() const { return static_cast<int>(m_overlayId); }

    osg::ref_ptr<ImageOverlay> m_overlay = new ImageOverlay(m_host.globe->getMapNode());
    osg::ref_ptr<osg::Group> m_group = new osg::Group;
    osgEarth::ObjectID m_overlayId = 0;
    osgEarth::ObjectID m_groupId = 0;
    osg::ref_ptr<PickCallback> m_callback = new PickCallback;
};

TEST_F(PickAnswers, AHitOnAnOverlayIsKept) {
    EXPECT_EQ(m_callback->m_pickedId, -999);
    m_callback->onHit(m_overlayId);
    EXPECT_EQ(m_callback->m_pickedId, overlayId());
}

TEST_F(PickAnswers, AHitOnAnythingElseLeavesTheIdAsItWas) {
    m_callback->onHit(m_groupId);
    EXPECT_EQ(m_callback->m_pickedId, -999);
    m_callback->onHit(m_overlayId);
    m_callback->onHit(m_groupId);
    EXPECT_EQ(m_callback->m_pickedId, overlayId()) << "a node of another kind";
    m_callback->onHit(987654321);
    EXPECT_EQ(m_callback->m_pickedId, overlayId()) << "an id that nobody has";
    osgEarth::Registry::objectIndex()->remove(m_overlayId);
    m_callback->onMiss();
    m_callback->onHit(m_overlayId);
    EXPECT_EQ(m_callback->m_pickedId, -999) << "an overlay that was taken away";
}

TEST_F(PickAnswers, AMissForgets) {
    m_callback->onHit(m_overlayId);
    m_callback->onMiss();
    EXPECT_EQ(m_callback->m_pickedId, -999);
}

TEST_F(PickAnswers, WhileItHoldsHitsChangeNothingButAMissDoes) {
    m_callback->m_hold = 1;
    m_callback->onHit(m_overlayId);
    EXPECT_EQ(m_callback->m_pickedId, -999);
    m_callback->m_hold = 0;
    m_callback->onHit(m_overlayId);
    m_callback->m_hold = 1;
    m_callback->onMiss();
    EXPECT_EQ(m_callback->m_pickedId, -999);
}

TEST_F(PickAnswers, OnlyMovementPicks) {
    auto& view = *dynamic_cast<osgGA::GUIActionAdapter*>(m_host.globe->getViewer());
    for (const auto type :
         {GUIEventAdapter::PUSH, GUIEventAdapter::RELEASE, GUIEventAdapter::DOUBLECLICK,
          GUIEventAdapter::DRAG, GUIEventAdapter::MOVE, GUIEventAdapter::KEYDOWN, GUIEventAdapter::KEYUP,
          GUIEventAdapter::FRAME, GUIEventAdapter::SCROLL, GUIEventAdapter::RESIZE}) {
        const osg::ref_ptr<GUIEventAdapter> event = new GUIEventAdapter;
        event->setEventType(type);
        EXPECT_EQ(m_callback->accept(*event, view), type == GUIEventAdapter::MOVE) << type;
    }
}

TEST_F(PickAnswers, TheMetaObjectCastReachesBothParts) {
    EXPECT_EQ(m_callback->qt_metacast("PickCallback"), m_callback.get());
    EXPECT_EQ(m_callback->qt_metacast("osgEarth::Util::RTTPicker::Callback"),
              static_cast<osgEarth::Util::RTTPicker::Callback*>(m_callback.get()));
    EXPECT_EQ(m_callback->qt_metacast("QWidget"), static_cast<QWidget*>(m_callback.get()));
    EXPECT_EQ(m_callback->qt_metacast("osgEarth::Picker"), nullptr);
    EXPECT_EQ(m_callback->metaObject()->methodCount(), QWidget::staticMetaObject.methodCount());
    EXPECT_EQ(m_callback->parentWidget(), nullptr);
}

osg::Vec4 tintOf(const osg::Node& node) {
    osg::Vec4 value;
    const osg::Uniform* uniform = node.getStateSet()->getUniform("oe_anno_highlight_color");
    EXPECT_NE(uniform, nullptr);
    if (uniform) {
        EXPECT_EQ(uniform->getType(), osg::Uniform::FLOAT_VEC4);
        EXPECT_EQ(static_cast<int>(uniform->getType()), 35666);
        EXPECT_EQ(uniform->getNumElements(), 1U);
        uniform->get(value);
    }
    return value;
}

constexpr char kFunction[] = "uniform vec4 oe_anno_highlight_color; \nvoid oe_anno_highlight_frag(inout vec4 "
                             "color) {\n    color.rgb = "
                             "mix(color.rgb, oe_anno_highlight_color.rgb, oe_anno_highlight_color.a); \n}\n";

/// A program of that one function. Programs of equal functions compare equal.
osg::ref_ptr<osgEarth::VirtualProgram>
programOf(const std::string& source, osgEarth::ShaderComp::FunctionLocation location, float order) {
    osg::ref_ptr<osgEarth::VirtualProgram> program = new osgEarth::VirtualProgram;
    program->setFunction("oe_anno_highlight_frag", source, location, order);
    return program;
}

TEST(Highlight, PutsTheFunctionAndTheColourOnTheNode) {
    const osg::ref_ptr<osg::Group> node = new osg::Group;
    EXPECT_EQ(static_cast<int>(osgEarth::ShaderComp::LOCATION_FRAGMENT_LIGHTING), 7);
    HighlightOverlay(*node);
    EXPECT_EQ(tintOf(*node), osg::Vec4(255, 255, 0, 1));
    const osg::Uniform* first = node->getStateSet()->getUniform("oe_anno_highlight_color");

    const osgEarth::VirtualProgram* program = osgEarth::VirtualProgram::get(node->getStateSet());
    ASSERT_NE(program, nullptr);
    EXPECT_EQ(program->compare(*programOf(kFunction, osgEarth::ShaderComp::LOCATION_FRAGMENT_LIGHTING, 0.6F)),
              0);
    EXPECT_NE(program->compare(*programOf(kFunction, osgEarth::ShaderComp::LOCATION_FRAGMENT_LIGHTING, 0.5F)),
              0);
    EXPECT_NE(program->compare(*programOf(kFunction, osgEarth::ShaderComp::LOCATION_FRAGMENT_COLORING, 0.6F)),
              0);
    EXPECT_NE(program->compare(*programOf(std::string(kFunction) + " ",
                                          osgEarth::ShaderComp::LOCATION_FRAGMENT_LIGHTING, 0.6F)),
              0);

    HighlightOverlay(*node);
    EXPECT_EQ(node->getStateSet()->getUniformList().size(), 1U);
    EXPECT_NE(node->getStateSet()->getUniform("oe_anno_highlight_color"), first) << "a new one in its place";
}

TEST(Highlight, ClearingANodeThatNeverWasInstallsTheFunctionAndAColourThatChangesNothing) {
    const osg::ref_ptr<osg::Group> node = new osg::Group;
    ClearHighlight(*node);
    EXPECT_EQ(tintOf(*node), osg::Vec4(1, 1, 1, 0));
    const osgEarth::VirtualProgram* program = osgEarth::VirtualProgram::get(node->getStateSet());
    ASSERT_NE(program, nullptr);
    EXPECT_EQ(program->compare(*programOf(kFunction, osgEarth::ShaderComp::LOCATION_FRAGMENT_LIGHTING, 0.6F)),
              0);
    HighlightOverlay(*node);
    ClearHighlight(*node);
    EXPECT_EQ(tintOf(*node), osg::Vec4(1, 1, 1, 0));
}

} // namespace
