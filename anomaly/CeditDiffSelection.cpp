// What the anomaly tool has selected and highlighted; see CeditDiffEvents.cpp for the events that ask for it.

#include "anomaly/CeditDiff.h"

#include "anomaly/Highlight.h"
#include "anomaly/OverlayMode.h"
#include "host/engine/IEngineContext.h"
#include "host/inspection/AVWindow.h"
#include "plugin/Globe.h"

#include <osgEarth/GeoData>

#include <algorithm>
#include <string>
#include <unordered_set>

void CeditDiff::clearHoverPicks() {
    for (const Overlay& overlay : m_hoverPickList)
        ClearHighlight(*overlay);
    m_hoverPickList.clear();
}

void CeditDiff::clearBoundsPicks() {
    for (const Overlay& overlay : m_boundsPickList)
        ClearHighlight(*overlay);
    m_boundsPickList.clear();
}

void CeditDiff::pickHovered(const osg::Vec3d& world) {
    clearBoundsPicks();
    // Once more on purpose: this label takes the place of the one that the press just made.
    if (!m_shiftHeld)
        ShowDiffLabel(world);
    if (!m_pickCallback)
        return;
    const int pickedId = m_pickCallback->m_pickedId;
    if (m_ctrlHeld) {
        toggleHovered(pickedId);
        return;
    }
    const anomaly::HoverPress press = anomaly::pressHovered(pickedId, m_lastPickedId);
    m_lastPickedId = press.lastPickedId;
    if (press.isCleared)
        clearHoverPicks();
    if (press.takesPicked) {
        if (const Overlay overlay = overlayOfId(pickedId)) {
            HighlightOverlay(*overlay);
            m_hoverPickList.push_back(overlay);
        }
    }
    tellTable(m_hoverPickList);
    if (press.takesPicked && m_deleteHeld)
        OnDeleteItem();
}

void CeditDiff::toggleHovered(int pickedId) {
    const Overlay overlay = pickedId == PickCallback::kNothing ? nullptr : overlayOfId(pickedId);
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
    tellTable(m_hoverPickList);
}

void CeditDiff::pickByBounds(const osg::Vec3d& world) {
    m_hoverPickList.clear();
    if (!m_ctrlHeld)
        clearBoundsPicks();
    const osgEarth::SpatialReference* mapSrs = zeo::IEngineContext::Instance()->GetMapSRS();
    osgEarth::GeoPoint point;
    if (mapSrs && point.fromWorld(mapSrs, world) && point.makeGeographic()) {
        const anomaly::Place lonLat{point.x(), point.y()};
        highlightByBounds(lonLat);
        if (m_ctrlHeld) {
            tellTable(m_boundsPickList);
        } else if (m_boundsPickList.empty()) {
            tellTable({});
            return;
        } else {
            highlightNearest(lonLat);
        }
    }
    if (m_deleteHeld)
        OnDeleteItem();
}

void CeditDiff::highlightByBounds(const anomaly::Place& lonLat) {
    const Overlays overlays = overlaysOnGlobe();
    std::vector<anomaly::Box> bounds;
    for (const Overlay& overlay : overlays)
        bounds.push_back(boundsOf(*overlay));
    const std::vector<std::size_t> hits = anomaly::hitByBounds(bounds, lonLat);
    auto nextHit = hits.begin();
    for (std::size_t index = 0; index < overlays.size(); ++index) {
        if (nextHit != hits.end() && *nextHit == index) {
            m_boundsPickList.push_back(overlays[index]);
            ++nextHit;
        } else {
            ClearHighlight(*overlays[index]);
        }
    }
    if (!m_ctrlHeld)
        return;
    for (const Overlay& overlay : m_boundsPickList)
        HighlightOverlay(*overlay);
}

void CeditDiff::highlightNearest(const anomaly::Place& lonLat) {
    std::vector<anomaly::Place> centres;
    for (const Overlay& overlay : m_boundsPickList)
        centres.push_back(centreOf(*overlay));
    if (const auto nearest = anomaly::nearestCentre(centres, lonLat)) {
        HighlightOverlay(*m_boundsPickList[*nearest]);
        tellTable({m_boundsPickList[*nearest]});
    }
}

void CeditDiff::selectInFrame(const anomaly::Box& frame) {
    m_overlayCentres.update();
    const Overlays& overlays = m_overlayCentres.overlays();
    std::vector<char> isSelected = m_overlayCentres.membership(m_hoverPickList);
    bool isChanged = false;
    for (std::size_t index = 0; index < overlays.size(); ++index) {
        const auto change =
            anomaly::frameChange(frame, m_overlayCentres.centres()[index], isSelected[index] != 0);
        if (change == anomaly::FrameChange::None)
            continue;
        isChanged = true;
        isSelected[index] = change == anomaly::FrameChange::Enters;
        if (isSelected[index])
            HighlightOverlay(*overlays[index]);
        else
            ClearHighlight(*overlays[index]);
    }
    if (!isChanged)
        return;
    // In the order of the scene, in which the next event of the drag finds them at once.
    m_hoverPickList.clear();
    for (std::size_t index = 0; index < overlays.size(); ++index) {
        if (isSelected[index])
            m_hoverPickList.push_back(overlays[index]);
    }
    tellTable(m_hoverPickList);
}

void CeditDiff::tellTable(const Overlays& highlighted) {
    std::vector<std::string> names;
    names.reserve(highlighted.size());
    for (const Overlay& overlay : highlighted)
        names.push_back(overlay->getName());
    IORVAContext::Instance()->GetAVWindow()->SetSelectedbyname(names);
}

void CeditDiff::adoptTableSelection(const std::vector<std::string>& names) {
    if (names.empty() && m_hoverPickList.empty() && m_boundsPickList.empty())
        return;
    clearHoverPicks();
    clearBoundsPicks();
    m_lastPickedId = PickCallback::kNothing;
    const std::unordered_set<std::string> wanted(names.begin(), names.end());
    Overlays& selected = isPickedByBounds() ? m_boundsPickList : m_hoverPickList;
    for (const Overlay& overlay : overlaysOnGlobe()) {
        if (wanted.count(overlay->getName()) == 0)
            continue;
        HighlightOverlay(*overlay);
        selected.push_back(overlay);
    }
    if (g_pCXviewer)
        g_pCXviewer->requestRedraw();
}
