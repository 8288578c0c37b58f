#include "anomaly/Selection.h"

#include <cmath>

namespace anomaly {

bool liesStrictlyInside(const Box& box, const Place& place) {
    return box.xMin < place.x && place.x < box.xMax && box.yMin < place.y && place.y < box.yMax;
}

bool contains(const Box& box, const Place& place) {
    return box.xMin <= place.x && place.x <= box.xMax && box.yMin <= place.y && place.y <= box.yMax;
}

HoverPress pressHovered(int pickedId, int lastPickedId) {
    HoverPress press;
    press.isCleared = pickedId == kNothingPicked || pickedId != lastPickedId;
    press.lastPickedId = press.isCleared ? kNothingPicked : lastPickedId;
    press.takesPicked = pickedId != kNothingPicked && pickedId != press.lastPickedId;
    if (press.takesPicked) {
        press.lastPickedId = pickedId;
    }
    return press;
}

std::vector<std::size_t> hitByBounds(const std::vector<Box>& boxes, const Place& place) {
    std::vector<std::size_t> hits;
    for (std::size_t index = 0; index < boxes.size(); ++index) {
        if (liesStrictlyInside(boxes[index], place)) {
            hits.push_back(index);
        }
    }
    return hits;
}

std::optional<std::size_t> nearestCentre(const std::vector<Place>& centres, const Place& place) {
    std::optional<std::size_t> nearest;
    double least = 99999999999999.0;
    for (std::size_t index = 0; index < centres.size(); ++index) {
        const double distance = std::hypot(centres[index].x - place.x, centres[index].y - place.y);
        if (distance < least) {
            least = distance;
            nearest = index;
        }
    }
    return nearest;
}

FrameChange frameChange(const Box& frame, const Place& centre, bool isSelected) {
    if (contains(frame, centre) == isSelected) {
        return FrameChange::None;
    }
    return isSelected ? FrameChange::Leaves : FrameChange::Enters;
}

} // namespace anomaly
