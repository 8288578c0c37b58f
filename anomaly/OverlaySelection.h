#pragma once

#include "anomaly/GlobeOverlays.h"

#include <string>
#include <unordered_set>
#include <vector>

/// The anomaly overlays that are highlighted on the globe, and what presses and the rectangle do to them.
/// There are two lists: what the hover picker and the rectangle have selected, and what was picked by its
/// bounds. Thread of the frames.
class OverlaySelection {
public:
    const Overlays& hovered() const { return m_hovered; }
    const Overlays& inBounds() const { return m_inBounds; }

    void clearHovered();
    void clearInBounds();
    /// Lets go of the hovered ones and leaves them highlighted.
    void forgetHovered() { m_hovered.clear(); }

    /// A press without Ctrl over the overlay of that object id, or over none. True when it took the overlay.
    bool press(int pickedId);
    /// A press with Ctrl.
    void toggle(int pickedId);

    /// Gathers all overlays whose bounds contain the place (degrees); the others lose their highlight. With
    /// Ctrl the gathered ones join those of earlier presses and are all highlighted.
    void gatherInBounds(const anomaly::Place& lonLat, bool isCtrlHeld);
    /// Highlights that one of the gathered overlays whose centre is nearest; null when there are none.
    Overlay highlightNearest(const anomaly::Place& lonLat);

    /// The dragged rectangle (degrees) takes in the overlays whose centres it contains and lets go of the
    /// others. False when nothing changed.
    bool selectInFrame(const anomaly::Box& frame);

    /// Highlights the overlays of these names and no others, as picked by their bounds or as hovered.
    void replace(const std::unordered_set<std::string>& gbkNames, bool isPickedByBounds);

    /// The next press counts as one on something new.
    void forgetLastPicked() { m_lastPickedId = anomaly::kNothingPicked; }

private:
    Overlays m_hovered;
    Overlays m_inBounds;
    int m_lastPickedId = anomaly::kNothingPicked;
};

/// GBK.
std::vector<std::string> namesOf(const Overlays& overlays);
