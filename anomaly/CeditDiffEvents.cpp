// The mouse and key work of the anomaly tool, on the thread of the frames; see CeditDiff.cpp for its
// activation and messages, CeditDiffItems.cpp for what is stored.

#include "anomaly/CeditDiff.h"

#include "anomaly/DifferenceLabel.h"
#include "anomaly/FrameRectangle.h"
#include "anomaly/OverlayMode.h"
#include "host/engine/IEngineContext.h"
#include "host/viewmanager/MessageBus.h"
#include "host/viewmanager/pick.h"
#include "plugin/ClickTest.h"
#include "plugin/Globe.h"

#include <osgEarth/GeoData>
#include <osgEarthUtil/EarthManipulator>
#include <osgViewer/View>

#include <cmath>
#include <utility>

using osgEarth::Util::EarthManipulator;
using osgGA::GUIEventAdapter;

namespace {

/// World to map coordinates, in place.
void WorldToMap(osg::Vec3d& point) {
    const osgEarth::MapNode* mapNode = globeMapNode();
    osgEarth::GeoPoint onMap;
    if (mapNode && onMap.fromWorld(mapNode->getMapSRS(), point)) {
        point = onMap.vec3d();
    }
}

void bindLeftDrag(EarthManipulator::ActionType action) {
    if (EarthManipulator* manipulator = globeManipulator()) {
        manipulator->getSettings()->bindMouse(action, GUIEventAdapter::LEFT_MOUSE_BUTTON, 0,
                                              EarthManipulator::ActionOptions());
    }
}

} // namespace

bool CeditDiff::handle(const GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) {
    auto* view = dynamic_cast<osgViewer::View*>(&aa);
    m_threads.enterFrame();
    if (!view || m_toolState != Active) {
        return false;
    }
    m_isByBounds = isPickedByBounds();
    switch (ea.getEventType()) {
    case GUIEventAdapter::PUSH:
        if (ea.getButton() == GUIEventAdapter::LEFT_MOUSE_BUTTON) {
            onPush(*view, ea);
        }
        break;
    case GUIEventAdapter::RELEASE:
        onRelease(*view, ea);
        break;
    case GUIEventAdapter::DOUBLECLICK:
        if (ea.getButton() == GUIEventAdapter::LEFT_MOUSE_BUTTON && isClick(ea, m_pressX, m_pressY)) {
            onDoubleClick(*view, ea);
        }
        break;
    case GUIEventAdapter::DRAG:
        if (m_leftDown && !m_isByBounds) {
            onFrameDrag(*view, ea);
        }
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
    if (!m_shiftHeld) {
        ShowDiffLabel(world);
    }
    if (m_isByBounds) {
        pickByBounds(world);
    } else {
        pickHovered(world);
    }
}

void CeditDiff::onRelease(osgViewer::View& view, const GUIEventAdapter& ea) {
    if (ea.getButton() == GUIEventAdapter::LEFT_MOUSE_BUTTON) {
        rememberPosition(ea);
        const osg::Vec3d world = pick(&view, ea);
        if (m_shiftHeld) {
            startFrameAt(world);
        }
        m_leftDown = false;
    } else if (ea.getButton() == GUIEventAdapter::RIGHT_MOUSE_BUTTON && isClick(ea, m_pressX, m_pressY)) {
        rememberPosition(ea);
        m_threads.onGui([this, world = pick(&view, ea)] {
            m_rightClickPoint = world;
            emit signal_eidtDff();
        });
    }
}

void CeditDiff::startFrameAt(const osg::Vec3d& world) {
    m_frameStart = world;
    WorldToMap(m_frameStart);
    osgPush("RemoveFrameSelect");
}

void CeditDiff::onDoubleClick(osgViewer::View& view, const GUIEventAdapter& ea) {
    rememberPosition(ea);
    m_threads.onGui([this, world = pick(&view, ea)] { showItemAt(world); });
}

void CeditDiff::onMove(osgViewer::View& view, const GUIEventAdapter& ea) {
    rememberPosition(ea);
    osg::Vec3d point = pick(&view, ea);
    if (point == kPickNoHit) { // beside the globe there is no corner to start from
        return;
    }
    WorldToMap(point);
    m_frameStart = point;
}

void CeditDiff::onKeyDown(osgViewer::View& view, const GUIEventAdapter& ea) {
    if (EarthManipulator* manipulator = globeManipulator()) {
        manipulator->getSettings()->bindKey(EarthManipulator::ACTION_NULL, GUIEventAdapter::KEY_Control_L, 0,
                                            EarthManipulator::ActionOptions());
    }
    if (ea.getKey() == GUIEventAdapter::KEY_Control_L) {
        m_ctrlHeld = true;
    } else if (ea.getKey() == GUIEventAdapter::KEY_Shift_L) {
        m_shiftHeld = true;
    } else if (ea.getKey() == GUIEventAdapter::KEY_Delete) {
        rememberPosition(ea);
        m_deleteHeld = true;
        m_threads.onGui([this, world = pick(&view, ea)] {
            m_deletePoint = world;
            emit signal_deleteDff();
        });
    }
}

void CeditDiff::onKeyUp(osgViewer::View& view, const GUIEventAdapter& ea) {
    if (ea.getKey() == GUIEventAdapter::KEY_Control_L) {
        m_ctrlHeld = false;
    } else if (ea.getKey() == GUIEventAdapter::KEY_Shift_L) {
        m_shiftHeld = false;
        rememberPosition(ea);
        startFrameAt(pick(&view, ea));
    } else if (ea.getKey() == GUIEventAdapter::KEY_Delete) {
        m_deleteHeld = false;
    }
}

void CeditDiff::leaveGlobe() {
    bindLeftDrag(EarthManipulator::ACTION_EARTH_DRAG);
    removeFromGlobe(m_valueLabel);
    m_valueLabel = nullptr;
    if (!m_selection.hovered().empty()) {
        m_selection.clearHovered();
        announce({});
    }
    m_selection.forgetLastPicked();
}

void CeditDiff::askToDelete() {
    m_threads.onGui([this] { OnDeleteItem(); });
}

void CeditDiff::announce(const Overlays& highlighted) {
    m_threads.onGui([this, hovered = namesOf(m_selection.hovered()), names = namesOf(highlighted),
                     seen = m_tableSelectionsSeen] {
        // The user has selected other rows since; the globe follows them, and this is over.
        if (seen != m_tableSelections) {
            return;
        }
        m_hoveredNames = hovered;
        m_table.select(names);
    });
}

void CeditDiff::pickHovered(const osg::Vec3d& world) {
    m_selection.clearInBounds();
    // Once more on purpose: this label takes the place of the one that the press just made.
    if (!m_shiftHeld) {
        ShowDiffLabel(world);
    }
    const PickCallback* callback = m_picker.callback();
    if (!callback) {
        return;
    }
    if (m_ctrlHeld) {
        m_selection.toggle(callback->m_pickedId);
        announce(m_selection.hovered());
        return;
    }
    const bool isTaken = m_selection.press(callback->m_pickedId);
    announce(m_selection.hovered());
    if (isTaken && m_deleteHeld) {
        askToDelete();
    }
}

void CeditDiff::pickByBounds(const osg::Vec3d& world) {
    m_selection.forgetHovered();
    if (!m_ctrlHeld) {
        m_selection.clearInBounds();
    }
    Overlays highlighted = m_selection.inBounds();
    const zeo::IEngineContext* engine = zeo::IEngineContext::Instance();
    const osgEarth::SpatialReference* mapSrs = engine ? engine->GetMapSRS() : nullptr;
    osgEarth::GeoPoint point;
    if (mapSrs && point.fromWorld(mapSrs, world) && point.makeGeographic()) {
        const anomaly::Place lonLat{point.x(), point.y()};
        m_selection.gatherInBounds(lonLat, m_ctrlHeld);
        highlighted = m_selection.inBounds();
        if (!m_ctrlHeld) {
            const Overlay nearest = m_selection.highlightNearest(lonLat);
            if (!nearest) {
                announce({});
                return;
            }
            highlighted = {nearest};
        }
    }
    announce(highlighted);
    if (m_deleteHeld) {
        askToDelete();
    }
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
    if (point == kPickNoHit) {
        return;
    }
    WorldToMap(point);
    UpdateFrameRect(point);
    if (std::hypot(x - m_dragX, y - m_dragY) > 0.1 && m_frameFeatureNode) {
        const osgEarth::Bounds frame = m_frameFeatureNode->getFeature()->getGeometry()->getBounds();
        if (m_selection.selectInFrame({frame.xMin(), frame.yMin(), frame.xMax(), frame.yMax()})) {
            announce(m_selection.hovered());
        }
        m_dragX = x;
        m_dragY = y;
    }
    if (m_deleteHeld) {
        askToDelete();
    }
}

void CeditDiff::UpdateFrameRect(const osg::Vec3d& onMap) {
    osgEarth::MapNode* mapNode = globeMapNode();
    if (!mapNode || !m_frameGroup) {
        return;
    }
    if (!m_frameFeatureNode) {
        m_frameFeatureNode = makeFrame(*mapNode, m_frameStyle);
        m_frameGroup->addChild(m_frameFeatureNode);
    }
    drawFrame(*m_frameFeatureNode, m_frameStyle, m_frameStart, onMap);
}

void CeditDiff::ShowDiffLabel(const osg::Vec3d& world) {
    m_threads.onGui([this, world] {
        m_threads.onFrame([this, world, difference = differenceAt(world)] { putLabel(world, difference); });
    });
}

void CeditDiff::putLabel(const osg::Vec3d& world, double difference) {
    removeFromGlobe(m_valueLabel);
    m_valueLabel = nullptr;
    if (m_toolState != Active) {
        return; // the value came when the tool had been left
    }
    m_valueLabel = makeDifferenceLabel(world, difference);
    if (m_valueLabel) {
        globeMapNode()->addChild(m_valueLabel);
    }
}
