#include "workbench/inspection/scene/PinClusters.h"

#include <QLineF>

#include <cmath>
#include <map>
#include <optional>
#include <utility>

namespace inspection {

namespace {

/// First places of clusters by the square of the screen in which they lie, so that few have to be compared.
class Leaders {
public:
    explicit Leaders(double distancePixels) : m_distance(distancePixels) {}

    void add(std::size_t cluster, const QPointF& place) {
        m_squares[squareOf(place)].push_back({cluster, place});
    }

    /// The cluster whose first place is nearest, within the distance.
    std::optional<std::size_t> nearest(const QPointF& place) const {
        std::optional<std::size_t> found;
        double least = m_distance;
        const auto [column, row] = squareOf(place);
        for (int i = 0; i < 9; ++i) {
            const auto square = m_squares.find({column + i % 3 - 1, row + i / 3 - 1});
            if (square == m_squares.end()) {
                continue;
            }
            for (const auto& [cluster, leader] : square->second) {
                const double distance = QLineF(place, leader).length();
                if (distance <= least && (!found || distance < least)) {
                    least = distance;
                    found = cluster;
                }
            }
        }
        return found;
    }

private:
    using Square = std::pair<long, long>;
    Square squareOf(const QPointF& place) const {
        return {std::lround(std::floor(place.x() / m_distance)),
                std::lround(std::floor(place.y() / m_distance))};
    }

    double m_distance;
    std::map<Square, std::vector<std::pair<std::size_t, QPointF>>> m_squares;
};

} // namespace

std::vector<PinCluster> clusterPins(const std::vector<QPointF>& places, double distancePixels) {
    std::vector<PinCluster> clusters;
    Leaders leaders(distancePixels);
    for (std::size_t i = 0; i < places.size(); ++i) {
        if (const auto cluster = leaders.nearest(places[i])) {
            clusters[*cluster].push_back(i);
        } else {
            leaders.add(clusters.size(), places[i]);
            clusters.push_back({i});
        }
    }
    return clusters;
}

} // namespace inspection
