#include "samples/Vegetation.h"

#include "samples/Noise.h"

namespace samples {

namespace {
class Forester {
public:
    Forester(const Site& site, const Ground& ground, const LandCover& cover,
             const std::vector<Building>& buildings, const std::vector<Change>& changes)
        : m_site(site), m_ground(ground), m_cover(cover), m_buildings(buildings), m_changes(changes),
          m_random(site.seed, 70) {}

    void forest();
    void openLand();
    void roadside();
    void orchards();
    std::vector<Tree> take();

private:
    void plant(Point place, double radius, double height, Material species);
    bool mayGrow(Point place, double radius) const;
    double densityOfOpenLand(Point place) const;

    const Site& m_site;
    const Ground& m_ground;
    const LandCover& m_cover;
    const std::vector<Building>& m_buildings;
    const std::vector<Change>& m_changes;
    Random m_random;
    std::vector<Tree> m_trees;
};

bool Forester::mayGrow(Point place, double radius) const {
    if (place.x < -8 || place.y < -8 || place.x > Extent::kWidthMetres + 8 ||
        place.y > Extent::kHeightMetres + 8) {
        return false;
    }
    return m_site.pipelineField.distance(place.x, place.y) > 5.0 + radius &&
           m_site.roadField.distance(place.x, place.y) > 5.0 + radius &&
           m_site.laneField.distance(place.x, place.y) > 1.5 + radius &&
           !isNearChange(m_changes, place.x, place.y, radius + 2.0) &&
           !isBuiltUp(m_buildings, place.x, place.y, radius * 0.8);
}

void Forester::plant(Point place, double radius, double height, Material species) {
    if (!mayGrow(place, radius)) {
        return;
    }
    Tree tree;
    tree.x = place.x;
    tree.y = place.y;
    tree.radiusMetres = static_cast<float>(radius);
    tree.heightMetres = static_cast<float>(height);
    tree.baseMetres = m_ground.heightMetres(place.x, place.y);
    tree.species = species;
    tree.noiseSeed = static_cast<std::uint32_t>(m_trees.size()) * 13u + m_site.noiseSeed(71);
    tree.ident =
        static_cast<std::uint16_t>(hashNode(static_cast<int>(m_trees.size()), 7, m_site.noiseSeed(72)));
    m_trees.push_back(tree);
}

void Forester::forest() {
    constexpr double kSpacing = 3.9;
    for (const double y : stepsFrom(-8, Extent::kHeightMetres + 8, kSpacing)) {
        for (const double x : stepsFrom(-8, Extent::kWidthMetres + 8, kSpacing)) {
            const Point place{x + m_random.between(-1.7, 1.7), y + m_random.between(-1.7, 1.7)};
            const double size = m_random.uniform();
            const double stand =
                static_cast<double>(gradientNoise(place.x, place.y, 60.0F, m_site.noiseSeed(73)));
            const bool conifer = m_random.chance(clampUnit(0.30 + 0.8 * stand));
            if (m_site.forestDensity(place.x, place.y) < 0.5F || m_random.chance(0.07)) {
                continue;
            }
            if (conifer) {
                plant(place, 1.5 + 1.0 * size, 8.0 + 4.5 * size, Material::Conifer);
            } else {
                plant(place, 1.9 + 1.8 * size, 7.0 + 5.5 * size + 2.0 * stand, Material::Broadleaf);
            }
        }
    }
}

/// Chance of a tree per sampled place outside the forest.
double Forester::densityOfOpenLand(Point place) const {
    const auto clump = static_cast<double>(fractalNoise(place.x, place.y, 32.0F, m_site.noiseSeed(74), 2));
    const auto river = m_site.riverField.find(place.x, place.y);
    if (river) {
        const double fromEdge =
            std::fabs(river->lateralMetres) - m_site.riverHalfWidthMetres(river->alongMetres);
        if (fromEdge > 3.0 && fromEdge < 17.0) {
            return 0.7 * smoothStep(-0.15, 0.5, clump);
        }
    }
    switch (m_cover.at(place.x, place.y).cell.material) {
    case Material::Scrub:
        return 0.02 + 0.35 * smoothStep(0.0, 0.6, clump);
    case Material::TerraceRiser:
        return 0.05 * smoothStep(0.0, 0.5, clump);
    case Material::Baulk:
        return m_cover.parcels().find(place.x, place.y).trackMetres < 3.2F
                   ? 0.55 * smoothStep(-0.05, 0.25, clump)
                   : 0.05 * smoothStep(0.1, 0.5, clump);
    case Material::Yard:
        return 0.05;
    case Material::Grass:
        return m_site.village.contains(place.x, place.y, 0.0) ? 0.20 : 0.03;
    default:
        return 0.0;
    }
}

void Forester::openLand() {
    constexpr double kSpacing = 3.4;
    for (const double y : stepsFrom(0, Extent::kHeightMetres, kSpacing)) {
        for (const double x : stepsFrom(0, Extent::kWidthMetres, kSpacing)) {
            const Point place{x + m_random.between(-1.6, 1.6), y + m_random.between(-1.6, 1.6)};
            const double lot = m_random.uniform();
            const double size = m_random.uniform();
            if (m_site.forestDensity(place.x, place.y) < 0.5F && lot < densityOfOpenLand(place)) {
                plant(place, 1.3 + 1.9 * size, 3.6 + 6.0 * size, Material::Broadleaf);
            }
        }
    }
}

/// Rows of poplars.
void Forester::roadside() {
    for (const double along : stepsFrom(0.0, m_site.road.length(), 7.5)) {
        const Point middle = m_site.road.at(along);
        const Point way = m_site.road.direction(along);
        const bool gap =
            gradientNoise(static_cast<float>(along) / 120.0F, 0.5F, m_site.noiseSeed(75)) < -0.25F;
        for (const double side : {-9.4, 9.4}) {
            const Point place{middle.x - way.y * side, middle.y + way.x * side};
            const double size = m_random.uniform();
            const auto river = m_site.riverField.find(place.x, place.y);
            const bool bridge = river && std::fabs(river->lateralMetres) < 26.0F;
            if (!gap && !bridge && !m_random.chance(0.1)) {
                plant(place, 1.7 + 0.8 * size, 8.0 + 3.5 * size, Material::Broadleaf);
            }
        }
    }
}

void Forester::orchards() {
    for (const TurnedFrame* bank : {&m_cover.parcels().westFrame(), &m_cover.parcels().eastFrame()}) {
        const TurnedFrame& frame = *bank;
        for (const double u : stepsFrom(-2300, 2300, 4.6)) {
            for (const double v : stepsFrom(-700, 900, 4.0)) {
                const Point place = frame.toSite(u, v);
                if (place.x < 0 || place.y < 0 || place.x > Extent::kWidthMetres ||
                    place.y > Extent::kHeightMetres ||
                    &m_cover.parcels().frameAt(place.x, place.y) != &frame) {
                    continue;
                }
                const SurfaceCell cell = m_cover.at(place.x, place.y).cell;
                if (cell.material == Material::Crop &&
                    m_cover.parcels().style(cell.ident).crop == Crop::Orchard &&
                    m_cover.parcels().find(place.x, place.y).edgeMetres > 1.6F && !m_random.chance(0.05)) {
                    plant(place, m_random.between(1.1, 1.6), m_random.between(2.4, 3.2), Material::FruitTree);
                }
            }
        }
    }
}

std::vector<Tree> Forester::take() {
    std::sort(m_trees.begin(), m_trees.end(), [](const Tree& a, const Tree& b) {
        return a.y != b.y ? a.y < b.y : a.x != b.x ? a.x < b.x : a.noiseSeed < b.noiseSeed;
    });
    return std::move(m_trees);
}
} // namespace

std::optional<float> Tree::crownMetres(double px, double py) const {
    const auto dx = static_cast<float>(px - x);
    const auto dy = static_cast<float>(py - y);
    const float bump = gradientNoise(dx / 0.95F + 0.5F, dy / 0.95F, noiseSeed);
    const float share2 = (dx * dx + dy * dy) / (radiusMetres * radiusMetres) * (1.0F + 0.35F * bump);
    if (share2 >= 1.0F) {
        return std::nullopt;
    }
    if (species == Material::Conifer) {
        return baseMetres + heightMetres * (1.0F - 0.62F * std::sqrt(share2)) + 0.2F * bump;
    }
    return baseMetres + heightMetres * (0.45F + 0.55F * std::sqrt(1.0F - share2)) + 0.3F * bump;
}

std::vector<Tree> plantTrees(const Site& site, const Ground& ground, const LandCover& cover,
                             const std::vector<Building>& buildings, const std::vector<Change>& changes) {
    Forester forester(site, ground, cover, buildings, changes);
    forester.forest();
    forester.openLand();
    forester.roadside();
    forester.orchards();
    return forester.take();
}

} // namespace samples
