#include "cloud/Density.h"

#include "cloud/PointStream.h"
#include "detect/GdalErrors.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace cloud {

namespace {

constexpr std::size_t kEnoughPoints = 1000000;
constexpr double kPointsInPatch = 16.0; ///< so many that a patch of surveyed ground hardly ever stays empty

struct Place {
    double x;
    double y;
};

Result<std::vector<Place>> firstPlaces(const Survey& survey) {
    PointStream stream(survey);
    std::vector<Place> places;
    std::vector<CloudPoint> points;
    while (places.size() < kEnoughPoints) {
        if (const auto done = stream.next(points); !done) {
            return detect::failed(done);
        }
        if (points.empty()) {
            break;
        }
        for (const CloudPoint& point : points) {
            places.push_back({point.x, point.y});
        }
    }
    return places;
}

/// Ground in patches of that side on which points lie.
double groundOf(const std::vector<Place>& places, double side) {
    std::vector<std::pair<std::int64_t, std::int64_t>> patches;
    patches.reserve(places.size());
    for (const Place& place : places) {
        patches.emplace_back(static_cast<std::int64_t>(std::floor(place.x / side)),
                             static_cast<std::int64_t>(std::floor(place.y / side)));
    }
    std::sort(patches.begin(), patches.end());
    const auto end = std::unique(patches.begin(), patches.end());
    return static_cast<double>(end - patches.begin()) * side * side;
}

} // namespace

Result<double> densityOf(const Survey& survey) {
    const double area = (survey.xMax - survey.xMin) * (survey.yMax - survey.yMin);
    const auto places = firstPlaces(survey);
    if (!places) {
        return detect::failed(places);
    }
    if (!(area > 0.0)) {
        return detect::failureOf(survey.files.front().path, "点云没有面积，请用 --cell 指定格网间距");
    }
    // Patches on the border are partly bare. They get finer, and weigh less, as the ground gets smaller.
    constexpr int kMostRounds = 6;
    const auto count = static_cast<double>(places->size());
    double density = count / area;
    for (int round = 0; round < kMostRounds; ++round) {
        const double found = count / groundOf(*places, std::sqrt(kPointsInPatch / density));
        const bool isSettled = found < density * 1.05;
        density = std::max(density, found);
        if (isSettled) {
            break;
        }
    }
    return density;
}

} // namespace cloud
