// The mouse and key work of the anomaly tool; see CeditDiff.cpp for its activation, messages and menu.

#include "anomaly/CeditDiff.h"

#include "anomaly/Highlight.h"
#include "anomaly/StationScan.h"
#include "host/engine/IEngineContext.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/ParaSet.h"
#include "host/viewmanager/MessageBus.h"
#include "host/viewmanager/pick.h"
#include "plugin/ClickTest.h"
#include "plugin/Globe.h"
#include "plugin/Inspection.h"

#include <osgDB/ReadFile>
#include <osgEarth/ElevationQuery>
#include <osgEarth/GeoData>
#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarthFeatures/Feature>
#include <osgEarthSymbology/Geometry>
#include <osgEarthSymbology/TextSymbol>
#include <osgEarthUtil/EarthManipulator>
#include <osgViewer/View>

#include <algorithm>
#include <cmath>
#include <limits>

using osgEarth::Annotation::FeatureNode;
using osgEarth::Annotation::ImageOverlay;
using osgEarth::Annotation::PlaceNode;
using osgEarth::Symbology::TextSymbol;
using osgEarth::Util::EarthManipulator;
using osgGA::GUIEventAdapter;

namespace {

constexpr char kOverlayGroupName[] = "diffImageOverlay";
constexpr int kNothing = PickCallback::kNothing;

/// True when anomalies are picked by their bounds instead of by the hover picker.
bool isPickedByBounds() {
    const auto* parameters = dataSet<ParaSet>();
    return parameters && parameters->GetOverlayMode() == 1;
}

/// World to map coordinates, in place.
void WorldToMap(osg::Vec3d& point) {
    const osgEarth::MapNode* mapNode = globeMapNode();
    osgEarth::GeoPoint onMap;
    if (mapNode && onMap.fromWorld(mapNode->getMapSRS(), point))
        point = onMap.vec3d();
}

void bindLeftDrag(EarthManipulator::ActionType action) {
    if (EarthManipulator* manipulator = globeManipulator())
        manipulator->getSettings()->bindMouse(action, GUIEventAdapter::LEFT_MOUSE_BUTTON, 0,
                                              EarthManipulator::ActionOptions());
}

/// All anomaly overlays on the globe, in the order of the scene.
std::vector<osg::ref_ptr<ImageOverlay>> overlaysOnGlobe() {
    std::vector<osg::ref_ptr<ImageOverlay>> overlays;
    osgEarth::MapNode* mapNode = globeMapNode();
    for (unsigned child = 0; mapNode && child < mapNode->getNumChildren(); ++child) {
        osg::Group* group = mapNode->getChild(child)->asGroup();
        if (!group || group->getName() != kOverlayGroupName)
            continue;
        for (unsigned index = 0; index < group->getNumChildren(); ++index) {
            if (auto* overlay = dynamic_cast<ImageOverlay*>(group->getChild(index)))
                overlays.emplace_back(overlay);
        }
    }
    return overlays;
}

bool liesStrictlyInside(const osgEarth::Bounds& bounds, const osg::Vec2d& point) {
    return bounds.xMin() < point.x() && point.x() < bounds.xMax() && bounds.yMin() < point.y() &&
           point.y() < bounds.yMax();
}

bool containsInclusive(const osgEarth::Bounds& bounds, const osg::Vec2d& point) {
    return bounds.xMin() <= point.x() && point.x() <= bounds.xMax() && bounds.yMin() <= point.y() &&
           point.y() <= bounds.yMax();
}

} // namespace

bool CeditDiff::handle(const GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) {
    auto* view = dynamic_cast<osgViewer::View*>(&aa);
    if (!view || m_toolState != Active)
        return false;
    switch (ea.getEventType()) {
    case GUIEventAdapter::PUSH:
        if (ea.getButton() == GUIEventAdapter::LEFT_MOUSE_BUTTON)
            onPush(*view, ea);
        break;
    case GUIEventAdapter::RELEASE:
        onRelease(*view, ea);
        break;
    case GUIEventAdapter::DOUBLECLICK:
        if (ea.getButton() == GUIEventAdapter::LEFT_MOUSE_BUTTON && isClick(ea, m_pressX, m_pressY))
            onDoubleClick(*view, ea);
        break;
    case GUIEventAdapter::DRAG:
        if (m_leftDown && !isPickedByBounds())
            onFrameDrag(*view, ea);
        break;
    case GUIEventAdapter::MOVE:
        onMove(*view, ea);
        break;
    case GUIEventAdapter::KEYDOWN:
        onKeyDown(*view, ea);
        break;
    case GUIEventAdapter::KEYUP:
        onKeyUp(*view, ea);
        break;
    default:
        break;
    }
    return false;
}

void CeditDiff::rememberPosition(const GUIEventAdapter& ea) {
    m_pressX = static_cast<int>(ea.getX());
    m_pressY = static_cast<int>(ea.getY());
}

void CeditDiff::onPush(osgViewer::View& view, const GUIEventAdapter& ea) {
    rememberPosition(ea);
    m_dragX = m_pressX;
    m_dragY = m_pressY;
    const osg::Vec3d world = pick(&view, ea);
    m_leftDown = true;
    if (!m_shiftHeld)
        ShowDiffLabel(world);
    if (isPickedByBounds())
        pickByBounds(world);
    else
        pickHovered(world);
}

void CeditDiff::onRelease(osgViewer::View& view, const GUIEventAdapter& ea) {
    if (ea.getButton() == GUIEventAdapter::LEFT_MOUSE_BUTTON) {
        rememberPosition(ea);
        osg::Vec3d point = pick(&view, ea);
        if (m_shiftHeld) {
            WorldToMap(point);
            m_frameStart = point;
            osgPush("RemoveFrameSelect");
        }
        m_leftDown = false;
    } else if (ea.getButton() == GUIEventAdapter::RIGHT_MOUSE_BUTTON && isClick(ea, m_pressX, m_pressY)) {
        rememberPosition(ea);
        m_rightClickPoint = pick(&view, ea);
        emit signal_eidtDff();
    }
}

void CeditDiff::onDoubleClick(osgViewer::View& view, const GUIEventAdapter& ea) {
    rememberPosition(ea);
    bool isHit = false;
    scanSelectedItems();
    visitItemsAtPoint(m_stationItems, pick(&view, ea),
                      [&](KV_StationItem& item, const KV_Station&, double x, double y) {
                          item.readdom();
                          m_doubleClickPoint = std::make_unique<osg::Vec2d>(x, y);
                          m_currentItem = &item;
                          isHit = true;
                          return false;
                      });
    if (isHit)
        emit signal_checkDff();
}

void CeditDiff::onMove(osgViewer::View& view, const GUIEventAdapter& ea) {
    rememberPosition(ea);
    osg::Vec3d point = pick(&view, ea);
    WorldToMap(point);
    if (point != kPickNoHit)
        m_frameStart = point;
}

void CeditDiff::onKeyDown(osgViewer::View& view, const GUIEventAdapter& ea) {
    if (EarthManipulator* manipulator = globeManipulator())
        manipulator->getSettings()->bindKey(EarthManipulator::ACTION_NULL, GUIEventAdapter::KEY_Control_L, 0,
                                            EarthManipulator::ActionOptions());
    if (ea.getKey() == GUIEventAdapter::KEY_Control_L) {
        m_ctrlHeld = true;
    } else if (ea.getKey() == GUIEventAdapter::KEY_Shift_L) {
        m_shiftHeld = true;
    } else if (ea.getKey() == GUIEventAdapter::KEY_Delete) {
        rememberPosition(ea);
        m_deletePoint = pick(&view, ea);
        m_deleteHeld = true;
        emit signal_deleteDff();
    }
}

void CeditDiff::onKeyUp(osgViewer::View& view, const GUIEventAdapter& ea) {
    if (ea.getKey() == GUIEventAdapter::KEY_Control_L) {
        m_ctrlHeld = false;
    } else if (ea.getKey() == GUIEventAdapter::KEY_Shift_L) {
        m_shiftHeld = false;
        rememberPosition(ea);
        osg::Vec3d point = pick(&view, ea);
        WorldToMap(point);
        m_frameStart = point;
        osgPush("RemoveFrameSelect");
    } else if (ea.getKey() == GUIEventAdapter::KEY_Delete) {
        m_deleteHeld = false;
    }
}

void CeditDiff::clearHoverPicks() {
    for (const auto& overlay : m_hoverPickList)
        ClearHighlight(*overlay);
    m_hoverPickList.clear();
}

void CeditDiff::pickHovered(const osg::Vec3d& world) {
    if (!m_boundsPickList.empty()) {
        for (const auto& overlay : m_boundsPickList)
            ClearHighlight(*overlay);
        m_boundsPickList.clear();
        // Once more on purpose: this label takes the place of the one just made.
        if (!m_shiftHeld)
            ShowDiffLabel(world);
    }
    if (!m_pickCallback)
        return;
    const int pickedId = m_pickCallback->m_pickedId;
    if (m_ctrlHeld) {
        toggleHovered(pickedId);
        return;
    }
    if (pickedId == kNothing || pickedId != m_lastPickedId) {
        clearHoverPicks();
        m_lastPickedId = kNothing;
    }
    if (pickedId == kNothing || pickedId == m_lastPickedId)
        return;
    m_lastPickedId = pickedId;
    const auto overlay =
        osgEarth::Registry::objectIndex()->get<ImageOverlay>(static_cast<osgEarth::ObjectID>(pickedId));
    if (!overlay)
        return;
    HighlightOverlay(*overlay);
    m_hoverPickList.push_back(overlay);
    if (m_deleteHeld)
        OnDeleteItem();
}

void CeditDiff::toggleHovered(int pickedId) {
    if (pickedId == kNothing)
        return;
    const auto overlay =
        osgEarth::Registry::objectIndex()->get<ImageOverlay>(static_cast<osgEarth::ObjectID>(pickedId));
    if (!overlay)
        return;
    const auto known = std::find(m_hoverPickList.begin(), m_hoverPickList.end(), overlay);
    if (known == m_hoverPickList.end()) {
        HighlightOverlay(*overlay);
        m_hoverPickList.push_back(overlay);
    } else {
        m_hoverPickList.erase(known);
        ClearHighlight(*overlay);
    }
}

void CeditDiff::pickByBounds(const osg::Vec3d& world) {
    m_hoverPickList.clear();
    if (!m_ctrlHeld) {
        for (const auto& overlay : m_boundsPickList)
            ClearHighlight(*overlay);
        m_boundsPickList.clear();
    }
    const osgEarth::SpatialReference* mapSrs = zeo::IEngineContext::Instance()->GetMapSRS();
    osgEarth::GeoPoint point;
    if (mapSrs && point.fromWorld(mapSrs, world) && point.makeGeographic()) {
        const osg::Vec2d lonLat(point.x(), point.y());
        highlightByBounds(lonLat);
        if (!m_ctrlHeld) {
            if (m_boundsPickList.empty())
                return;
            highlightNearest(lonLat);
        }
    }
    if (m_deleteHeld)
        OnDeleteItem();
}

void CeditDiff::highlightByBounds(const osg::Vec2d& lonLat) {
    for (const auto& overlay : overlaysOnGlobe()) {
        if (liesStrictlyInside(overlay->getBounds(), lonLat))
            m_boundsPickList.push_back(overlay);
        else
            ClearHighlight(*overlay);
    }
    if (!m_ctrlHeld)
        return;
    for (const auto& overlay : m_boundsPickList)
        HighlightOverlay(*overlay);
}

// Of overlapping overlays the one whose centre is nearest, in degrees; the first of equally near ones.
void CeditDiff::highlightNearest(const osg::Vec2d& lonLat) {
    const auto nearest = std::min_element(
        m_boundsPickList.begin(), m_boundsPickList.end(), [&](const auto& first, const auto& second) {
            return (first->getCenter() - lonLat).length() < (second->getCenter() - lonLat).length();
        });
    HighlightOverlay(**nearest);
}

void CeditDiff::onFrameDrag(osgViewer::View& view, const GUIEventAdapter& ea) {
    if (!m_shiftHeld) {
        bindLeftDrag(EarthManipulator::ACTION_EARTH_DRAG);
        return;
    }
    const int x = static_cast<int>(ea.getX());
    const int y = static_cast<int>(ea.getY());
    // The globe stands still while the rectangle is drawn.
    bindLeftDrag(EarthManipulator::ACTION_NULL);
    m_pressX = x;
    osg::Vec3d point = pick(&view, ea);
    if (point == kPickNoHit)
        return;
    WorldToMap(point);
    UpdateFrameRect(point);
    if (std::hypot(x - m_dragX, y - m_dragY) > 0.1 && m_frameFeatureNode) {
        selectInFrame(m_frameFeatureNode->getFeature()->getGeometry()->getBounds());
        m_dragX = x;
        m_dragY = y;
    }
    if (m_deleteHeld)
        OnDeleteItem();
}

void CeditDiff::selectInFrame(const osgEarth::Bounds& frame) {
    for (const auto& overlay : overlaysOnGlobe()) {
        const auto known = std::find(m_hoverPickList.rbegin(), m_hoverPickList.rend(), overlay);
        const bool isKnown = known != m_hoverPickList.rend();
        const bool isInside = containsInclusive(frame, overlay->getCenter());
        if (isInside && !isKnown) {
            HighlightOverlay(*overlay);
            m_hoverPickList.push_back(overlay);
        } else if (!isInside && isKnown) {
            ClearHighlight(*overlay);
            m_hoverPickList.erase(std::next(known).base());
        }
    }
}

void CeditDiff::UpdateFrameRect(const osg::Vec3d& onMap) {
    osgEarth::MapNode* mapNode = globeMapNode();
    if (!m_frameFeatureNode) {
        const osg::ref_ptr<osgEarth::Features::Feature> feature = new osgEarth::Features::Feature(
            new osgEarth::Symbology::LineString, mapNode->getMapSRS(), m_frameStyle);
        m_frameFeatureNode = new FeatureNode(feature.get());
        m_frameFeatureNode->setMapNode(mapNode);
        m_frameFeatureNode->setName("FrameSelect");
        m_frameGroup->addChild(m_frameFeatureNode);
    }
    osgEarth::Symbology::Geometry* line = m_frameFeatureNode->getFeature()->getGeometry();
    line->clear();
    m_frameFeatureNode->setStyle(m_frameStyle);
    line->push_back(m_frameStart);
    line->push_back(osg::Vec3d(m_frameStart.x(), onMap.y(), 0));
    line->push_back(onMap);
    line->push_back(osg::Vec3d(onMap.x(), m_frameStart.y(), 0));
    line->push_back(m_frameStart);
    m_frameFeatureNode->dirty();
}

double CeditDiff::differenceAt(const osg::Vec3d& world) {
    double difference = 0.0;
    scanSelectedItems();
    visitItemsAtPoint(m_stationItems, world,
                      [&](KV_StationItem& item, const KV_Station&, double x, double y) {
                          m_doubleClickPoint = std::make_unique<osg::Vec2d>(x, y);
                          item.readdiffvz();
                          return !item.m_diffData.GetdZ(x, y, difference);
                      });
    return difference;
}

void CeditDiff::ShowDiffLabel(const osg::Vec3d& world) {
    osgEarth::MapNode* mapNode = globeMapNode();
    osgEarth::GeoPoint point;
    if (!mapNode || !point.fromWorld(mapNode->getMapSRS(), world) || !point.makeGeographic())
        return;
    constexpr double kResolution = 0.1;
    constexpr float kLowestElevationMetres = -9999.0F;
    float elevationMetres = osgEarth::ElevationQuery(mapNode->getMap()).getElevation(point, kResolution);
    if (elevationMetres < kLowestElevationMetres)
        elevationMetres = 0.0F;
    const osgEarth::GeoPoint position(mapNode->getMapSRS(), point.x(), point.y(),
                                      static_cast<double>(elevationMetres) + 0.2, osgEarth::ALTMODE_ABSOLUTE);

    osgEarth::Symbology::Style style;
    auto* text = style.getOrCreate<TextSymbol>();
    text->size() = 14.0;
    text->font() = "simhei.ttf";
    text->encoding() = TextSymbol::ENCODING_UTF8;
    text->fill()->color() = osgEarth::Symbology::Color(1, 1, 1, 1);
    const std::string difference = QString::number(differenceAt(world), 'g', 6).toStdString();
    const osg::ref_ptr<osg::Image> icon = osgDB::readRefImageFile("icon/PlacePoint.png");

    removeFromGlobe(m_valueLabel);
    m_valueLabel = new PlaceNode(position, difference, style, icon.get());
    m_valueLabel->setPriority(1.0F); // it was just asked for, so labels around it give way
    mapNode->addChild(m_valueLabel);
}
