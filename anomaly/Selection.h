#pragma once

#include <cstddef>
#include <optional>
#include <vector>

/// What the anomaly tool decides about its selection, on plain values: neither the window nor the scene takes
/// part. Coordinates of one call are in one system, whichever it is.
namespace anomaly {

/// The object id that stands for no object.
constexpr int kNothingPicked = -999;

struct Place {
    double x = 0.0;
    double y = 0.0;
};

struct Box {
    double xMin = 0.0;
    double yMin = 0.0;
    double xMax = 0.0;
    double yMax = 0.0;
};

/// Without the edges.
bool liesStrictlyInside(const Box& box, const Place& place);
/// With the edges.
bool contains(const Box& box, const Place& place);

/// What a left press without Ctrl does to the hover selection.
struct HoverPress {
    bool isCleared = false;   ///< everything selected so far is let go of
    bool takesPicked = false; ///< the picked object joins the selection
    int lastPickedId = kNothingPicked;
};
/// `pickedId` is what lies under the pointer, `lastPickedId` what the press before took.
HoverPress pressHovered(int pickedId, int lastPickedId);

/// Indices of the boxes that the place lies strictly inside, in order.
std::vector<std::size_t> hitByBounds(const std::vector<Box>& boxes, const Place& place);

/// Index of the centre nearest to the place by plain Euclidean distance; of equally near ones the first.
/// Nothing without centres.
std::optional<std::size_t> nearestCentre(const std::vector<Place>& centres, const Place& place);

/// What a dragged rectangle does to one overlay.
enum class FrameChange { None, Enters, Leaves };
FrameChange frameChange(const Box& frame, const Place& centre, bool isSelected);

} // namespace anomaly
