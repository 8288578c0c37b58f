#include "samples/Ground.h"

#include "samples/Noise.h"
#include "samples/Parallel.h"
#include "samples/Relief.h"

namespace samples {

namespace {
constexpr double kMarginMetres = 16.0;
constexpr double kRoadStepMetres = 2.0;
constexpr float kTerraceStepMetres = 2.0F;
constexpr float kBridgeClearanceMetres = 3.6F;

/// Distance from a rectangle that begins at the origin of its frame; 0 inside.
float outsideMetres(const TurnedFrame& frame, double width, double depth, double x, double y) {
    const Point place = frame.toFrame(x, y);
    const double du = std::max({-place.x, place.x - width, 0.0});
    const double dv = std::max({-place.y, place.y - depth, 0.0});
    return static_cast<float>(std::sqrt(du * du + dv * dv));
}

std::vector<float> movingMean(const std::vector<float>& values, int reach) {
    std::vector<float> means(values.size());
    const int count = static_cast<int>(values.size());
    for (int i = 0; i < count; ++i) {
        const int first = std::max(0, i - reach);
        const int last = std::min(count - 1, i + reach);
        float sum = 0.0F;
        for (int k = first; k <= last; ++k) {
            sum += values[static_cast<std::size_t>(k)];
        }
        means[static_cast<std::size_t>(i)] = sum / static_cast<float>(last - first + 1);
    }
    return means;
}
} // namespace

Ground::Ground(const Site& site)
    : m_height(Extent::lattice(kMarginMetres, 1.0)), m_slope(m_height.lattice()),
      m_terraceLevel(m_height.lattice()), m_terraced(m_height.lattice()) {
    shapeNaturalGround(site, growRelief(site));
    carveRiver(site);
    levelBuildingGrounds(site);
    gradeRoad(site);
    markTerraces(site);
}

void Ground::shapeNaturalGround(const Site& site, const Field& relief) {
    Field smooth(m_height.lattice());
    forEachNode(smooth.lattice(),
                [&](int c, int r, double x, double y) { smooth.at(c, r) = relief.smoothSample(x, y); });
    forEachNode(smooth.lattice(), [&](int c, int r, double x, double y) {
        constexpr int kReach = 16; // nodes, so metres
        const float dx = smooth.clamped(c + kReach, r) - smooth.clamped(c - kReach, r);
        const float dy = smooth.clamped(c, r + kReach) - smooth.clamped(c, r - kReach);
        const float slope = std::sqrt(dx * dx + dy * dy) / (2 * kReach);
        const float roughness = 0.25F + smoothStep(0.04F, 0.2F, slope);
        m_slope.at(c, r) = slope;
        m_height.at(c, r) =
            smooth.at(c, r) + roughness * (0.8F * fractalNoise(x, y, 48.0F, site.noiseSeed(20), 3) +
                                           0.05F * gradientNoise(x, y, 4.0F, site.noiseSeed(21)));
    });
}

void Ground::carveRiver(const Site& site) {
    forEachNode(m_height.lattice(), [&](int c, int r, double x, double y) {
        const auto place = site.riverField.find(x, y);
        if (!place) {
            return;
        }
        const float fromMiddle = std::fabs(place->lateralMetres);
        const float half = site.riverHalfWidthMetres(place->alongMetres);
        const float water = Site::waterLevelMetres(y);
        float& height = m_height.at(c, r);
        const float relative = fromMiddle - half;
        const float plain =
            water + 2.1F + 0.011F * relative + 0.35F * fractalNoise(x, y, 40.0F, site.noiseSeed(22), 3);
        height = mix(std::max(plain, water + 1.5F), height, smoothStep(45.0F, 138.0F, fromMiddle));
        // The inner bank of a bend is a flat beach, the outer one steep: which is which follows from the
        // noise.
        const float bankMetres =
            6.0F + 3.5F * gradientNoise(place->alongMetres / 70.0F, place->lateralMetres < 0 ? 8.5F : 1.5F,
                                        site.noiseSeed(23));
        height = mix(water, height, smoothStep(0.0F, bankMetres, relative));
    });
}

/// The village keeps its slope but loses its bumps; smaller grounds become level.
void Ground::levelBuildingGrounds(const Site& site) {
    const Field before = m_height;
    const Village& village = site.village;
    const auto smoothed = [&](double x, double y) {
        constexpr int kReach = 3;
        float sum = 0.0F;
        for (int dy = -kReach; dy <= kReach; ++dy) {
            for (int dx = -kReach; dx <= kReach; ++dx) {
                sum += before.sample(x + 12 * dx, y + 12 * dy);
            }
        }
        return sum / ((2 * kReach + 1) * (2 * kReach + 1));
    };
    forEachNode(m_height.lattice(), [&](int c, int r, double x, double y) {
        float& height = m_height.at(c, r);
        const float outside = outsideMetres(village.frame, village.widthMetres, village.depthMetres, x, y);
        if (outside < 30.0F) {
            height = mix(smoothed(x, y), height, smoothStep(0.0F, 30.0F, outside));
        }
        for (const BuildingGround& ground : site.buildingGrounds) {
            const float apart = outsideMetres(ground.frame, ground.widthMetres, ground.depthMetres, x, y);
            if (apart >= 16.0F) {
                continue;
            }
            const Point middle = ground.frame.toSite(ground.widthMetres / 2, ground.depthMetres / 2);
            height = mix(before.sample(middle.x, middle.y), height, smoothStep(2.0F, 16.0F, apart));
        }
    });
}

/// Farmers terrace what is neither flat nor steep.
void Ground::markTerraces(const Site& site) {
    forEachNode(m_height.lattice(), [&](int c, int r, double x, double y) {
        const float slope = m_slope.at(c, r);
        // Not every slope is worth the work.
        const float belt = 0.09F * gradientNoise(x, y, 130.0F, site.noiseSeed(25)) - 0.005F;
        float suitable = smoothStep(0.055F, 0.07F, slope + belt) * smoothStep(0.26F, 0.22F, slope - belt) *
                         (1.0F - site.forestDensity(x, y)) *
                         smoothStep(118.0F, 146.0F, site.riverField.distance(x, y)) *
                         smoothStep(9.0F, 20.0F, site.roadField.distance(x, y)) *
                         smoothStep(8.0F, 24.0F,
                                    outsideMetres(site.village.frame, site.village.widthMetres,
                                                  site.village.depthMetres, x, y));
        for (const BuildingGround& ground : site.buildingGrounds) {
            suitable *= smoothStep(6.0F, 18.0F,
                                   outsideMetres(ground.frame, ground.widthMetres, ground.depthMetres, x, y));
        }
        const float wobble = 0.2F * gradientNoise(x, y, 40.0F, site.noiseSeed(24));
        m_terraced.at(c, r) = suitable;
        m_terraceLevel.at(c, r) = (m_height.at(c, r) - 400.0F) / kTerraceStepMetres + wobble;
    });
}

void Ground::gradeRoad(const Site& site) {
    std::vector<float> profile;
    for (const double along : stepsFrom(0.0, site.road.length(), kRoadStepMetres)) {
        const Point place = site.road.at(along);
        float height = m_height.sample(place.x, place.y);
        if (const auto river = site.riverField.find(place.x, place.y)) {
            height = std::max(height, Site::waterLevelMetres(place.y) +
                                          kBridgeClearanceMetres *
                                              smoothStep(90.0F, 20.0F, std::fabs(river->lateralMetres)));
        }
        profile.push_back(height);
    }
    m_roadHeight = movingMean(movingMean(profile, 22), 14);
    forEachNode(m_height.lattice(), [&](int c, int r, double x, double y) {
        const auto place = site.roadField.find(x, y);
        if (!place) {
            return;
        }
        const auto river = site.riverField.find(x, y);
        if (river && std::fabs(river->lateralMetres) < site.riverHalfWidthMetres(river->alongMetres) + 2.5F) {
            return; // under the bridge
        }
        const float lateral = std::fabs(place->lateralMetres);
        const float crown = roadHeightMetres(place->alongMetres) - 0.02F * std::min(lateral, 6.0F);
        const float ditch = 0.35F * smoothStep(5.5F, 6.6F, lateral) * smoothStep(8.6F, 7.4F, lateral);
        float& height = m_height.at(c, r);
        height = mix(crown, height, smoothStep(5.6F, 15.0F, lateral)) - ditch;
    });
}

float Ground::heightMetres(double x, double y) const {
    const float height = m_height.sample(x, y);
    const float terraced = m_terraced.sample(x, y);
    if (terraced < 0.01F) {
        return height;
    }
    const float level = m_terraceLevel.sample(x, y);
    const float number = std::floor(level);
    const float share = level - number;
    const float tread = 0.16F * std::min(share, kRiserShare) / kRiserShare;
    const float stepped = number + tread + 0.84F * smoothStep(kRiserShare, 1.0F, share);
    return height + terraced * (stepped - level + 0.45F) * kTerraceStepMetres;
}

std::optional<Ground::Terrace> Ground::terrace(double x, double y) const {
    if (m_terraced.sample(x, y) < 0.5F) {
        return std::nullopt;
    }
    const float level = m_terraceLevel.sample(x, y);
    const float number = std::floor(level);
    return Terrace{static_cast<int>(number), level - number};
}

float Ground::roadHeightMetres(float roadAlong) const {
    const float position = std::clamp(roadAlong / static_cast<float>(kRoadStepMetres), 0.0F,
                                      static_cast<float>(m_roadHeight.size()) - 1.001F);
    const auto i = static_cast<std::size_t>(position);
    return mix(m_roadHeight[i], m_roadHeight[i + 1], position - static_cast<float>(i));
}

} // namespace samples
