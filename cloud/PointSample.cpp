#include "cloud/PointSample.h"

#include "cloud/PointStream.h"

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

/// The first points.
struct Places {
    std::vector<Place> all;
    bool hasGround = false;
};

Result<Places> firstPlaces(const Survey& survey) {
    constexpr int kGround = 2;
    PointStream stream(survey);
    Places places;
    std::vector<CloudPoint> points;
    while (places.all.size() < kEnoughPoints) {
        if (const auto done = stream.next(points); !done) {
            return detect::failed(done);
        }
        if (points.empty()) {
            break;
        }
        for (const CloudPoint& point : points) {
            places.all.push_back({point.x, point.y});
            places.hasGround = places.hasGround || point.classification == kGround;
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

/// `area` is that of the survey's bounds.
double densityOf(const std::vector<Place>& places, std::uint64_t points, double area) {
    // Not less than all points in all of the bounds: files that begin with a thinned picture of the whole, as COPC
    // may, have no ground that their first points cover as densely as all of them do. Patches on the border are
    // partly bare. They get finer, and weigh less, as the ground gets smaller.
    constexpr int kMostRounds = 6;
    const auto count = static_cast<double>(places.size());
    double density = static_cast<double>(points) / area;
    for (int round = 0; round < kMostRounds; ++round) {
        const double found = count / groundOf(places, std::sqrt(kPointsInPatch / density));
        const bool isSettled = found < density * 1.05;
        density = std::max(density, found);
        if (isSettled) {
            break;
        }
    }
    return density;
}

} // namespace

Result<PointSample> samplePoints(const Survey& survey) {
    const auto places = firstPlaces(survey);
    if (!places) {
        return detect::failed(places);
    }
    PointSample sample;
    sample.hasGround = places->hasGround;
    const double area = (survey.xMax - survey.xMin) * (survey.yMax - survey.yMin);
    if (area > 0.0) {
        sample.density = densityOf(places->all, survey.points, area);
    }
    return sample;
}

double cellFor(double pointsPerSquareUnit) {
    constexpr double kPointsInCell = 4.0;
    const double wanted = std::sqrt(kPointsInCell / pointsPerSquareUnit);
    const double power = std::pow(10.0, std::floor(std::log10(wanted)));
    constexpr double kRounding = 1.0 + 1e-9;
    for (const double step : {1.0, 2.0, 5.0}) {
        if (wanted <= step * power * kRounding) {
            return step * power;
        }
    }
    return 10.0 * power;
}

} // namespace cloud
