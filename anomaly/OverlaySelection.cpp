#include "anomaly/OverlaySelection.h"

#include "anomaly/Highlight.h"

#include <algorithm>

namespace {

void clearAll(Overlays& overlays) {
    for (const Overlay& overlay : overlays) {
        ClearHighlight(*overlay);
    }
    overlays.clear();
}

} // namespace

void OverlaySelection::clearHovered() {
    clearAll(m_hovered);
}

void OverlaySelection::clearInBounds() {
    clearAll(m_inBounds);
}

bool OverlaySelection::press(int pickedId) {
    const anomaly::HoverPress press = anomaly::pressHovered(pickedId, m_lastPickedId);
    m_lastPickedId = press.lastPickedId;
    if (press.isCleared) {
        clearHovered();
    }
    if (!press.takesPicked) {
        return false;
    }
    if (const Overlay overlay = overlayOfId(pickedId)) {
        HighlightOverlay(*overlay);
        m_hovered.push_back(overlay);
    }
    return true;
}

void OverlaySelection::toggle(int pickedId) {
    const Overlay overlay = pickedId == anomaly::kNothingPicked ? nullptr : overlayOfId(pickedId);
    if (!overlay) {
        return;
    }
    const auto known = std::find(m_hovered.begin(), m_hovered.end(), overlay);
    if (known == m_hovered.end()) {
        HighlightOverlay(*overlay);
        m_hovered.push_back(overlay);
    } else {
        m_hovered.erase(known);
        ClearHighlight(*overlay);
    }
}

void OverlaySelection::gatherInBounds(const anomaly::Place& lonLat, bool isCtrlHeld) {
    const Overlays overlays = overlaysOnGlobe();
    std::vector<anomaly::Box> bounds;
    for (const Overlay& overlay : overlays) {
        bounds.push_back(boundsOf(*overlay));
    }
    const std::vector<std::size_t> hits = anomaly::hitByBounds(bounds, lonLat);
    auto nextHit = hits.begin();
    for (std::size_t index = 0; index < overlays.size(); ++index) {
        if (nextHit != hits.end() && *nextHit == index) {
            m_inBounds.push_back(overlays[index]);
            ++nextHit;
        } else {
            ClearHighlight(*overlays[index]);
        }
    }
    if (!isCtrlHeld) {
        return;
    }
    for (const Overlay& overlay : m_inBounds) {
        HighlightOverlay(*overlay);
    }
}

Overlay OverlaySelection::highlightNearest(const anomaly::Place& lonLat) {
    std::vector<anomaly::Place> centres;
    for (const Overlay& overlay : m_inBounds) {
        centres.push_back(centreOf(*overlay));
    }
    const auto nearest = anomaly::nearestCentre(centres, lonLat);
    if (!nearest) {
        return nullptr;
    }
    HighlightOverlay(*m_inBounds[*nearest]);
    return m_inBounds[*nearest];
}

bool OverlaySelection::selectInFrame(const anomaly::Box& frame) {
    const std::unordered_set<const osg::Node*> selected(m_hovered.begin(), m_hovered.end());
    std::unordered_set<const osg::Node*> leaving;
    Overlays entering;
    for (const Overlay& overlay : overlaysOnGlobe()) {
        const bool isSelected = selected.count(overlay) != 0;
        const auto change = anomaly::frameChange(frame, centreOf(*overlay), isSelected);
        if (change == anomaly::FrameChange::Enters) {
            HighlightOverlay(*overlay);
            entering.push_back(overlay);
        } else if (change == anomaly::FrameChange::Leaves) {
            ClearHighlight(*overlay);
            leaving.insert(overlay);
        }
    }
    const auto isLeaving = [&](const Overlay& overlay) { return leaving.count(overlay) != 0; };
    m_hovered.erase(std::remove_if(m_hovered.begin(), m_hovered.end(), isLeaving), m_hovered.end());
    m_hovered.insert(m_hovered.end(), entering.begin(), entering.end());
    return !leaving.empty() || !entering.empty();
}

void OverlaySelection::replace(const std::unordered_set<std::string>& gbkNames, bool isPickedByBounds) {
    clearHovered();
    clearInBounds();
    forgetLastPicked();
    Overlays& selected = isPickedByBounds ? m_inBounds : m_hovered;
    for (const Overlay& overlay : overlaysOnGlobe()) {
        if (gbkNames.count(overlay->getName()) != 0) {
            HighlightOverlay(*overlay);
            selected.push_back(overlay);
        }
    }
}

std::vector<std::string> namesOf(const Overlays& overlays) {
    std::vector<std::string> names;
    names.reserve(overlays.size());
    for (const Overlay& overlay : overlays) {
        names.push_back(overlay->getName());
    }
    return names;
}
