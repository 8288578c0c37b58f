#include "samples/Buildings.h"

#include "samples/Noise.h"

namespace samples {

namespace {
/// Puts buildings on the ground one after the other.
class Builder {
public:
    Builder(const Site& site, const Ground& ground)
        : m_site(site), m_ground(ground), m_random(site.seed, 50) {}

    void village();
    void grounds();
    std::vector<Building> take() { return std::move(m_buildings); }

private:
    void add(const TurnedFrame& plot, Point centre, double length, double width, float eaves, float ridge,
             RoofShape shape, Material material);
    void school(const TurnedFrame& ground);
    void greenhouses(const TurnedFrame& ground);
    void farmstead(const TurnedFrame& ground);
    void homestead(const TurnedFrame& plot);
    void wall(const TurnedFrame& plot, Point from, Point to);

    const Site& m_site;
    const Ground& m_ground;
    Random m_random;
    std::vector<Building> m_buildings;
};

void Builder::add(const TurnedFrame& plot, Point centre, double length, double width, float eaves,
                  float ridge, RoofShape shape, Material material) {
    Building building;
    building.frame = plot;
    building.frame.origin = plot.toSite(centre.x, centre.y);
    building.halfLengthMetres = length / 2;
    building.halfWidthMetres = width / 2;
    building.eavesMetres = eaves;
    building.ridgeMetres = ridge;
    building.shape = shape;
    building.material = material;
    building.floorMetres = m_ground.heightMetres(building.frame.origin.x, building.frame.origin.y);
    m_buildings.push_back(building);
}

void Builder::wall(const TurnedFrame& plot, Point from, Point to) {
    const Point middle{(from.x + to.x) / 2, (from.y + to.y) / 2};
    add(plot, middle, std::fabs(to.x - from.x) + 0.4, std::fabs(to.y - from.y) + 0.4, 2.0F, 2.0F,
        RoofShape::Flat, Material::Wall);
}

/// A plot 16 m wide: main house at the back (north), walled yard with a side wing in front of it.
void Builder::homestead(const TurnedFrame& plot) {
    const double width = m_random.between(10.5, 13.5);
    const double depth = m_random.between(7.5, 9.5);
    const double back = 32.0 - m_random.between(0.0, 2.0);
    const bool twoStoreys = m_random.chance(0.35);
    const float eaves = twoStoreys ? 6.2F : 3.4F;
    const bool flat = m_random.chance(0.24);
    const Material roof = flat ? Material::FlatRoof : Material::TiledRoof;
    add(plot, {8.0, back - depth / 2}, width, depth, eaves,
        flat ? eaves : eaves + static_cast<float>(depth) * 0.24F, flat ? RoofShape::Flat : RoofShape::Gable,
        roof);
    const double front = back - depth - m_random.between(9.0, 12.0);
    const double left = 8.0 - width / 2;
    const double right = 8.0 + width / 2;
    if (m_random.chance(0.7)) {
        const bool onLeft = m_random.chance(0.5);
        const double x = onLeft ? left + 2.0 : right - 2.0;
        add(plot, {x, front + 4.2}, 4.0, 7.5, 2.7F, 2.7F, RoofShape::Flat,
            m_random.chance(0.25) ? Material::SteelRoof : Material::FlatRoof);
    }
    wall(plot, {left, front}, {left, back - depth});
    wall(plot, {right, front}, {right, back - depth});
    wall(plot, {left, front}, {right - 4.0, front});
}

void Builder::village() {
    const Village& village = m_site.village;
    const int rows = static_cast<int>(village.depthMetres / village.laneSpacingMetres);
    const int plots = static_cast<int>(village.widthMetres / 15.6);
    for (int row = 0; row < rows; ++row) {
        for (int plot = 0; plot < plots; ++plot) {
            const double u = 1.0 + plot * 15.6;
            const bool crossesLane = (u < 115.0 && u + 16.0 > 109.0) || (u < 235.0 && u + 16.0 > 229.0);
            const double fromMiddle = std::fabs(u - village.widthMetres / 2) / village.widthMetres;
            const bool empty =
                m_random.chance(0.10 + 0.5 * fromMiddle * (row == 0 || row == rows - 1 ? 1.0 : 0.35));
            if (crossesLane || empty) {
                continue;
            }
            TurnedFrame frame = village.frame;
            frame.origin =
                village.frame.toSite(u, row * village.laneSpacingMetres + 3.8 + m_random.between(-0.5, 0.5));
            homestead(frame);
        }
    }
}

void Builder::school(const TurnedFrame& ground) {
    add(ground, {30.0, 60.0}, 46.0, 11.0, 11.4F, 11.4F, RoofShape::Flat, Material::FlatRoof);
    add(ground, {71.0, 61.0}, 12.0, 18.0, 7.6F, 7.6F, RoofShape::Flat, Material::FlatRoof);
    add(ground, {86.0, 62.0}, 16.0, 9.0, 3.6F, 5.6F, RoofShape::Gable, Material::TiledRoof);
    wall(ground, {0.0, 0.0}, {0.0, 74.0});
    wall(ground, {96.0, 0.0}, {96.0, 74.0});
    wall(ground, {0.0, 74.0}, {96.0, 74.0});
    wall(ground, {0.0, 0.0}, {40.0, 0.0});
    wall(ground, {48.0, 0.0}, {96.0, 0.0});
}

void Builder::greenhouses(const TurnedFrame& ground) {
    for (int i = 0; i < 7; ++i) {
        add(ground, {38.0, 4.0 + i * 11.0}, 66.0, 8.0, 0.6F, 3.0F, RoofShape::Barrel, Material::Greenhouse);
    }
}

void Builder::farmstead(const TurnedFrame& ground) {
    homestead(ground);
    add(ground, {25.0, 26.0}, 14.0, 9.0, 3.8F, 5.4F, RoofShape::Gable, Material::SteelRoof);
}

void Builder::grounds() {
    for (const BuildingGround& ground : m_site.buildingGrounds) {
        switch (ground.use) {
        case BuildingUse::School:
            school(ground.frame);
            break;
        case BuildingUse::Greenhouses:
            greenhouses(ground.frame);
            break;
        case BuildingUse::Farmstead:
            farmstead(ground.frame);
            break;
        }
    }
}
} // namespace

double Building::reachMetres() const {
    return std::sqrt(halfLengthMetres * halfLengthMetres + halfWidthMetres * halfWidthMetres);
}

std::optional<float> Building::roofMetres(Point inFrame) const {
    if (std::fabs(inFrame.x) > halfLengthMetres || std::fabs(inFrame.y) > halfWidthMetres) {
        return std::nullopt;
    }
    const auto across = static_cast<float>(std::fabs(inFrame.y) / halfWidthMetres);
    float above = eavesMetres;
    if (shape == RoofShape::Gable) {
        above = mix(ridgeMetres, eavesMetres, across);
    } else if (shape == RoofShape::Barrel) {
        above = eavesMetres + (ridgeMetres - eavesMetres) * std::sqrt(clampUnit(1.0F - across * across));
    }
    return floorMetres + above;
}

std::vector<Building> placeBuildings(const Site& site, const Ground& ground) {
    Builder builder(site, ground);
    builder.village();
    builder.grounds();
    return builder.take();
}

bool isBuiltUp(const std::vector<Building>& buildings, double x, double y, double marginMetres) {
    return std::any_of(buildings.begin(), buildings.end(), [&](const Building& building) {
        const Point place = building.frame.toFrame(x, y);
        return std::fabs(place.x) < building.halfLengthMetres + marginMetres &&
               std::fabs(place.y) < building.halfWidthMetres + marginMetres;
    });
}

} // namespace samples
