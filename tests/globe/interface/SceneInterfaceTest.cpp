#include "Offers.h"

#include <gtest/gtest.h>

#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthAnnotation/ImageOverlay>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthUtil/EarthManipulator>
#include <osgEarthUtil/LogarithmicDepthBuffer>
#include <osgEarthUtil/RTTPicker>

#include <cfloat>

namespace globetest {
namespace {

using namespace osgEarth;
using namespace osgEarth::Annotation;
using namespace osgEarth::Util;
using Symbology::Style;
using Text = const std::string&;

TEST(SceneInterface, AnnotationNode) {
    using Node = AnnotationNode;
    static_assert(std::is_base_of_v<osg::Group, Node> && std::is_base_of_v<MapNodeObserver, Node>);
    offers<Text (Node::*)() const>(&Node::getName);
    offers<void (Node::*)(bool)>(&Node::setDynamic);
    offersProperty<Node, float>(&Node::getPriority, &Node::setPriority);
    offersProperty<Node, bool>(&Node::getHorizonCulling, &Node::setHorizonCulling);
    offers<void (Node::*)(MapNode*)>(&Node::setMapNode);
    offers<MapNode* (Node::*)()>(&Node::getMapNode);
    offersProperty<Node, const Style&>(&Node::getStyle, &Node::setStyle);
    offers<Text (Node::*)() const>(&Node::getText);
}

TEST(SceneInterface, GeoPositionNode) {
    using Node = GeoPositionNode;
    static_assert(std::is_base_of_v<AnnotationNode, Node>);
    offersProperty<Node, const GeoPoint&>(&Node::getPosition, &Node::setPosition);
    offers<void (Node::*)(const osg::Vec3d&)>(&Node::setLocalOffset);
    offers<void (Node::*)(const osg::Quat&)>(&Node::setLocalRotation);
    offers<void (Node::*)(const osg::Vec3f&)>(&Node::setScale);
    offers<GeoTransform* (Node::*)() const>(&Node::getGeoTransform);
    offers<osg::PositionAttitudeTransform* (Node::*)() const>(&Node::getPositionAttitudeTransform);
    offers<void (Node::*)(bool)>(&Node::setOcclusionCulling);
}

TEST(SceneInterface, PlaceNode) {
    using Node = PlaceNode;
    static_assert(std::is_base_of_v<GeoPositionNode, Node>);
    static_assert(kMakes<Node> && kMakes<Node, Text> && kMakes<Node, Text, const Style&> &&
                  kMakes<Node, Text, const Style&, osg::Image*> && kMakes<Node, const GeoPoint&> &&
                  kMakes<Node, const GeoPoint&, Text> && kMakes<Node, const GeoPoint&, Text, const Style&> &&
                  kMakes<Node, const GeoPoint&, Text, const Style&, osg::Image*>);
    offersProperty<Node, Text>(&Node::getText, &Node::setText);
    offersProperty<Node, osg::Image*>(&Node::getIconImage, &Node::setIconImage);
    offersProperty<Node, const Style&>(&Node::getStyle, &Node::setStyle);
    offers<void (Node::*)(bool)>(&Node::setDynamic);
    offers<void (Node::*)(float)>(&Node::setPriority);
}

TEST(SceneInterface, FeatureNode) {
    using Node = FeatureNode;
    using Features::Feature;
    using Features::FeatureList;
    using Options = const Features::GeometryCompilerOptions&;
    using Sheet = Symbology::StyleSheet*;
    static_assert(std::is_base_of_v<AnnotationNode, Node>);
    static_assert(kMakes<Node, Feature*> && kMakes<Node, Feature*, const Style&> &&
                  kMakes<Node, Feature*, const Style&, Options> &&
                  kMakes<Node, Feature*, const Style&, Options, Sheet>);
    static_assert(kMakes<Node, const FeatureList&> && kMakes<Node, const FeatureList&, const Style&> &&
                  kMakes<Node, const FeatureList&, const Style&, Options> &&
                  kMakes<Node, const FeatureList&, const Style&, Options, Sheet>);
    offers<Feature* (Node::*)()>(&Node::getFeature);
    offers<void (Node::*)(Feature*)>(&Node::setFeature);
    offers<FeatureList& (Node::*)()>(&Node::getFeatures);
    offersProperty<Node, const Style&>(&Node::getStyle, &Node::setStyle);
    offers<void (Node::*)(MapNode*)>(&Node::setMapNode);
    offers<void (Node::*)()>(&Node::dirty);
    offers<void (Node::*)()>(&Node::init);
}

TEST(SceneInterface, ImageOverlay) {
    using Overlay = ImageOverlay;
    static_assert(std::is_base_of_v<AnnotationNode, Overlay>);
    static_assert(kMakes<Overlay, MapNode*> && kMakes<Overlay, MapNode*, osg::Image*>);
    static_assert(Overlay::CONTROLPOINT_CENTER == 0 && Overlay::CONTROLPOINT_LOWER_LEFT == 1 &&
                  Overlay::CONTROLPOINT_LOWER_RIGHT == 2 && Overlay::CONTROLPOINT_UPPER_LEFT == 3 &&
                  Overlay::CONTROLPOINT_UPPER_RIGHT == 4);
    using Corner = const osg::Vec2d&;
    offers<void (Overlay::*)(Corner, Corner, Corner, Corner)>(&Overlay::setCorners);
    for (void (Overlay::* const set)(double, double) :
         {&Overlay::setLowerLeft, &Overlay::setLowerRight, &Overlay::setUpperLeft, &Overlay::setUpperRight,
          &Overlay::setCenter}) {
        offers(set);
    }
    for (Corner (Overlay::* const corner)() const :
         {&Overlay::getLowerLeft, &Overlay::getLowerRight, &Overlay::getUpperLeft, &Overlay::getUpperRight}) {
        offers(corner);
    }
    offers<osg::Vec2d (Overlay::*)() const>(&Overlay::getCenter);
    offers<Bounds (Overlay::*)() const>(&Overlay::getBounds);
    offers<void (Overlay::*)(const Bounds&)>(&Overlay::setBounds);
    offers<void (Overlay::*)(const Bounds&, const Angular&)>(&Overlay::setBoundsAndRotation);
    for (void (Overlay::* const side)(double) :
         {&Overlay::setNorth, &Overlay::setSouth, &Overlay::setEast, &Overlay::setWest}) {
        offers(side);
    }
    offersProperty<Overlay, osg::Image*>(&Overlay::getImage, &Overlay::setImage);
    offersProperty<Overlay, float>(&Overlay::getAlpha, &Overlay::setAlpha);
    offersProperty<Overlay, bool>(&Overlay::getDraped, &Overlay::setDraped);
    offers<void (Overlay::*)()>(&Overlay::dirty);
}

TEST(SceneInterface, RTTPicker) {
    using Callback = Picker::Callback;
    static_assert(std::is_base_of_v<Picker, RTTPicker> && kMakes<RTTPicker> && kMakes<RTTPicker, int>);
    offersProperty<RTTPicker, int>(&RTTPicker::getBuffer, &RTTPicker::setBuffer);
    offers<void (RTTPicker::*)(Callback*)>(&RTTPicker::setDefaultCallback);
    offers<bool (RTTPicker::*)(osg::View*, float, float)>(&RTTPicker::pick);
    offers<bool (RTTPicker::*)(osg::View*, float, float, Callback*)>(&RTTPicker::pick);
    offers<bool (RTTPicker::*)(const osgGA::GUIEventAdapter&, osgGA::GUIActionAdapter&)>(&RTTPicker::handle);
    offers<bool (RTTPicker::*)(osg::Node*)>(&RTTPicker::addChild);
    offers<bool (RTTPicker::*)(osg::Node*)>(&RTTPicker::removeChild);
    offers<bool (RTTPicker::*)(unsigned, osg::Node*)>(&RTTPicker::insertChild);
    offers<bool (RTTPicker::*)(osg::Node*, osg::Node*)>(&RTTPicker::replaceChild);
    offers<void (RTTPicker::*)(osg::Node::NodeMask)>(&RTTPicker::setCullMask);
}

TEST(SceneInterface, ManipulatorActions) {
    using M = EarthManipulator;
    static_assert(M::ACTION_NULL == 0 && M::ACTION_HOME == 1 && M::ACTION_GOTO == 2 && M::ACTION_PAN == 3 &&
                  M::ACTION_PAN_LEFT == 4 && M::ACTION_PAN_RIGHT == 5 && M::ACTION_PAN_UP == 6 &&
                  M::ACTION_PAN_DOWN == 7 && M::ACTION_ROTATE == 8 && M::ACTION_ROTATE_LEFT == 9 &&
                  M::ACTION_ROTATE_RIGHT == 10 && M::ACTION_ROTATE_UP == 11 && M::ACTION_ROTATE_DOWN == 12 &&
                  M::ACTION_ZOOM == 13 && M::ACTION_ZOOM_IN == 14 && M::ACTION_ZOOM_OUT == 15 &&
                  M::ACTION_EARTH_DRAG == 16);
    static_assert(M::OPTION_SCALE_X < M::OPTION_SCALE_Y && M::OPTION_SCALE_Y < M::OPTION_CONTINUOUS &&
                  M::OPTION_CONTINUOUS < M::OPTION_SINGLE_AXIS &&
                  M::OPTION_SINGLE_AXIS < M::OPTION_GOTO_RANGE_FACTOR &&
                  M::OPTION_GOTO_RANGE_FACTOR < M::OPTION_DURATION);
    static_assert(kMakes<M::ActionOption, int, bool> && kMakes<M::ActionOption, int, int> &&
                  kMakes<M::ActionOption, int, double>);
    using Options = M::ActionOptions;
    static_assert(std::is_base_of_v<std::vector<M::ActionOption>, Options> && kMakes<Options>);
    offers<void (Options::*)(int, bool)>(&Options::add);
    offers<void (Options::*)(int, int)>(&Options::add);
    offers<void (Options::*)(int, double)>(&Options::add);
}

TEST(SceneInterface, ManipulatorSettings) {
    using M = EarthManipulator;
    using Settings = M::Settings;
    static_assert(std::is_base_of_v<osg::Referenced, Settings>);
    const osg::ref_ptr<M> manipulator = new M;
    for (void (Settings::* const bind)(M::ActionType, int, int, const M::ActionOptions&) :
         {&Settings::bindMouse, &Settings::bindMouseClick, &Settings::bindMouseDoubleClick,
          &Settings::bindKey, &Settings::bindScroll}) {
        offers(bind);
    }
    Settings& settings = *manipulator->getSettings();
    settings.bindMouse(M::ACTION_EARTH_DRAG, osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
    settings.bindMouseClick(M::ACTION_NULL, osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
    settings.bindMouseDoubleClick(M::ACTION_NULL, osgGA::GUIEventAdapter::LEFT_MOUSE_BUTTON);
    settings.bindKey(M::ACTION_NULL, osgGA::GUIEventAdapter::KEY_Control_L);
    settings.bindScroll(M::ACTION_NULL, osgGA::GUIEventAdapter::SCROLL_UP);
    for (void (Settings::* const set)(double) :
         {&Settings::setMouseSensitivity, &Settings::setKeyboardSensitivity,
          &Settings::setScrollSensitivity}) {
        offers(set);
    }
    for (void (Settings::* const limit)(double, double) :
         {&Settings::setMinMaxPitch, &Settings::setMinMaxDistance}) {
        offers(limit);
    }
    for (double (Settings::* const limit)() const : {&Settings::getMinPitch, &Settings::getMaxPitch,
                                                     &Settings::getMinDistance, &Settings::getMaxDistance}) {
        offers(limit);
    }
    for (void (Settings::* const enable)(bool) :
         {&Settings::setArcViewpointTransitions, &Settings::setAutoViewpointDurationEnabled,
          &Settings::setTerrainAvoidanceEnabled, &Settings::setThrowingEnabled,
          &Settings::setLockAzimuthWhilePanning}) {
        offers(enable);
    }
}

TEST(SceneInterface, EarthManipulator) {
    using M = EarthManipulator;
    static_assert(std::is_base_of_v<osgGA::CameraManipulator, M> && kMakes<M>);
    offers<M::Settings* (M::*)() const>(&M::getSettings);
    offers<void (M::*)(M::Settings*)>(&M::applySettings);
    offers<Viewpoint (M::*)() const>(&M::getViewpoint);
    offers<void (M::*)(const Viewpoint&, double)>(&M::setViewpoint);
    offers<void (M::*)(const Viewpoint&, double)>(&M::setHomeViewpoint);
    offers<bool (M::*)() const>(&M::isSettingViewpoint);
    offers<bool (M::*)(float, float, osg::View*, osg::Vec3d&) const>(&M::screenToWorld);
    offers<void (M::*)(double, double)>(&M::pan);
    offers<void (M::*)(double, double)>(&M::rotate);
    offersProperty<M, double>(&M::getDistance, &M::setDistance);
    offers<void (M::*)(double)>(&M::home);
    const osg::ref_ptr<M> manipulator = new M;
    manipulator->setViewpoint(Viewpoint());
    manipulator->setHomeViewpoint(Viewpoint());
}

TEST(SceneInterface, LogarithmicDepthBuffer) {
    using Buffer = LogarithmicDepthBuffer;
    static_assert(kMakes<Buffer>);
    offers<void (Buffer::*)(osg::Camera*)>(&Buffer::install);
    offers<void (Buffer::*)(osg::Camera*)>(&Buffer::uninstall);
    offers<bool (Buffer::*)() const>(&Buffer::supported);
}

} // namespace
} // namespace globetest
