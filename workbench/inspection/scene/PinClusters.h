#pragma once

#include <QPointF>

#include <cstddef>
#include <vector>

namespace inspection {

/// Places that stand so near together on the screen that one pin stands for them all; as indices of the places.
using PinCluster = std::vector<std::size_t>;

/// Every place in one cluster: each within that distance of the first place of its cluster, the first places farther
/// than that from each other. The same places in the same order give the same clusters. Pixels.
std::vector<PinCluster> clusterPins(const std::vector<QPointF>& places, double distancePixels);

} // namespace inspection
