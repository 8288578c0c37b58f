#include "samples/LandCover.h"

#include "samples/Noise.h"

namespace samples {

namespace {
Cover plain(Material material, float heightMetres = 0.0F, std::uint8_t detail = 0, std::uint16_t ident = 0) {
    return {{material, detail, ident}, heightMetres};
}
} // namespace

Cover LandCover::at(double x, double y) const {
    if (const auto cover = road(x, y)) {
        return *cover;
    }
    if (const auto cover = river(x, y)) {
        return *cover;
    }
    if (const auto cover = school(x, y)) {
        return *cover;
    }
    if (const auto cover = village(x, y)) {
        return *cover;
    }
    if (const auto cover = farmstead(x, y)) {
        return *cover;
    }
    if (const auto cover = lane(x, y)) {
        return *cover;
    }
    if (m_site.forestDensity(x, y) > 0.5F) {
        return wild(Material::ForestFloor, x, y);
    }
    return field(x, y);
}

std::optional<Cover> LandCover::road(double x, double y) const {
    const auto place = m_site.roadField.find(x, y);
    if (!place || std::fabs(place->lateralMetres) > 8.0F) {
        return std::nullopt;
    }
    const float lateral = std::fabs(place->lateralMetres);
    const float dash = place->alongMetres - 15.0F * std::floor(place->alongMetres / 15.0F);
    if (lateral < 0.15F && dash < 6.0F) {
        return plain(Material::CentreMarking);
    }
    if (lateral > 3.1F && lateral < 3.4F) {
        return plain(Material::RoadMarking);
    }
    if (lateral < 3.8F) {
        return plain(Material::Asphalt, 0.0F, byteOf(lateral / 4.0F));
    }
    if (lateral < 4.6F) {
        return plain(Material::Shoulder);
    }
    const auto river = m_site.riverField.find(x, y);
    if (river && std::fabs(river->lateralMetres) < m_site.riverHalfWidthMetres(river->alongMetres) + 3.0F) {
        return std::nullopt; // no verge on the bridge
    }
    return wild(Material::Grass, x, y);
}

std::optional<Cover> LandCover::lane(double x, double y) const {
    const auto place = m_site.laneField.find(x, y);
    if (!place || std::fabs(place->lateralMetres) > 2.9F) {
        return std::nullopt;
    }
    const float lateral = std::fabs(place->lateralMetres);
    return lateral < 2.0F ? plain(Material::DirtTrack, 0.0F, byteOf(lateral / 2.0F))
                          : wild(Material::Grass, x, y);
}

std::optional<Cover> LandCover::river(double x, double y) const {
    const auto place = m_site.riverField.find(x, y);
    if (!place) {
        return std::nullopt;
    }
    const float half = m_site.riverHalfWidthMetres(place->alongMetres);
    const float fromEdge = std::fabs(place->lateralMetres) - half;
    if (fromEdge < 0.0F) {
        return plain(Material::Water, 0.0F, byteOf(-fromEdge / half));
    }
    const float noise = fractalNoise(x, y, 18.0F, m_site.noiseSeed(40), 3);
    if (fromEdge < 2.2F + 2.8F * noise) {
        return plain(Material::Gravel, 0.05F * clampUnit(noise));
    }
    if (fromEdge < 12.0F + 7.0F * noise) {
        return wild(noise > 0.15F ? Material::Scrub : Material::Grass, x, y);
    }
    return std::nullopt;
}

std::optional<Cover> LandCover::school(double x, double y) const {
    const BuildingGround& ground = m_site.school();
    const Point place = ground.frame.toFrame(x, y);
    if (place.x < 0 || place.y < 0 || place.x > ground.widthMetres || place.y > ground.depthMetres) {
        return std::nullopt;
    }
    // A running track: two half circles joined by straights, six lanes of 1.2 m.
    const double straight = std::max(0.0, std::fabs(place.x - 48.0) - 22.0);
    const double radius = std::sqrt(straight * straight + (place.y - 24.0) * (place.y - 24.0));
    if (radius < 13.0) {
        return plain(Material::PlayingField, 0.0F,
                     static_cast<std::uint8_t>(static_cast<int>(place.x / 6.0) % 2 * 255));
    }
    if (radius < 20.5) {
        const double lanePosition = (radius - 13.0) / 1.25;
        const bool line = lanePosition - std::floor(lanePosition) < 0.16;
        return plain(Material::RunningTrack, 0.0F, line ? 255 : 0);
    }
    return plain(Material::Concrete, 0.0F, 0, 1);
}

std::optional<Cover> LandCover::village(double x, double y) const {
    const Village& village = m_site.village;
    const Point place = village.frame.toFrame(x, y);
    const double crossLane = std::min(std::fabs(place.x - 112.0), std::fabs(place.x - 232.0));
    const bool reachesRoad = place.y > -70.0 && place.y <= 0.0 && crossLane < 2.4;
    if (reachesRoad && y > m_site.road.at(m_site.road.alongAtX(x)).y) {
        return plain(Material::Concrete);
    }
    const double inRow =
        place.y - village.laneSpacingMetres * std::floor(place.y / village.laneSpacingMetres);
    if (village.contains(x, y, 0.0) && (inRow < 3.6 || crossLane < 2.4)) {
        return plain(Material::Concrete);
    }
    const int row = static_cast<int>(std::floor(place.y / village.laneSpacingMetres));
    if (village.contains(x, y, -2.0)) {
        if (const auto cover = garden(place.x, inRow, row)) {
            return cover;
        }
    }
    const double fray = 9.0 * static_cast<double>(gradientNoise(x, y, 22.0F, m_site.noiseSeed(44)));
    if (!village.contains(x, y, fray - 3.0)) {
        return std::nullopt;
    }
    return yard(x, y);
}

/// Kitchen gardens between the lane and the yards.
std::optional<Cover> LandCover::garden(double u, double inRow, int row) const {
    constexpr double kWidthMetres = 7.8;
    constexpr double kNearMetres = 4.8;
    constexpr double kFarMetres = 14.5;
    const double number = std::floor(u / kWidthMetres);
    const double inPlot = u - kWidthMetres * number;
    const auto plot = static_cast<int>(number);
    const bool isBed = unitOf(hashNode(plot, row, m_site.noiseSeed(46))) < 0.6F;
    if (!isBed || inRow < kNearMetres || inRow > kFarMetres || inPlot < 0.6 || inPlot > kWidthMetres - 0.6) {
        return std::nullopt;
    }
    const std::uint16_t ident = Parcels::terraceIdent(static_cast<std::uint16_t>(2 * plot + 400), row);
    const float beds = static_cast<float>(inPlot) / 1.1F;
    const float phase = beds - std::floor(beds);
    return plain(Material::Crop, 0.2F + 0.12F * (1.0F - std::fabs(2.0F * phase - 1.0F)), byteOf(phase),
                 ident);
}

std::optional<Cover> LandCover::farmstead(double x, double y) const {
    const bool isYard = std::any_of(
        m_site.buildingGrounds.begin(), m_site.buildingGrounds.end(), [&](const BuildingGround& ground) {
            const Point place = ground.frame.toFrame(x, y);
            return ground.use == BuildingUse::Farmstead && place.x > 0 && place.y > 4 &&
                   place.x < ground.widthMetres && place.y < ground.depthMetres;
        });
    return isYard ? std::optional<Cover>(yard(x, y)) : std::nullopt;
}

/// Trodden soil with patches of grass.
Cover LandCover::yard(double x, double y) const {
    const float noise = fractalNoise(x, y, 14.0F, m_site.noiseSeed(41), 3);
    return noise > 0.12F ? wild(Material::Grass, x, y) : plain(Material::Yard);
}

Cover LandCover::wild(Material material, double x, double y) const {
    if (material == Material::Scrub) {
        const float bush = fractalNoise(x, y, 3.6F, m_site.noiseSeed(42), 2) +
                           0.45F * gradientNoise(x, y, 19.0F, m_site.noiseSeed(45));
        return plain(material, 1.3F * smoothStep(0.15F, 0.95F, bush), byteOf(0.5F + 0.5F * bush));
    }
    const float tuft = gradientNoise(x, y, 1.7F, m_site.noiseSeed(43));
    return plain(material, 0.06F + 0.05F * tuft, byteOf(0.5F + 0.5F * tuft));
}

Cover LandCover::field(double x, double y) const {
    Parcels::Place place = m_parcels.find(x, y);
    const auto terrace = m_ground.terrace(x, y);
    if (!terrace && m_ground.slope(x, y) > 0.24F) {
        return wild(Material::Scrub, x, y);
    }
    if (place.trackMetres < 1.7F) {
        return plain(Material::DirtTrack, 0.0F, byteOf(place.trackMetres / 1.7F));
    }
    if (terrace && terrace->share > Ground::kRiserShare - 0.02F) {
        return wild(Material::TerraceRiser, x, y);
    }
    if (place.edgeMetres < 0.45F || place.trackMetres < 2.5F) {
        return wild(Material::Baulk, x, y);
    }
    if (terrace) {
        place.ident = Parcels::terraceIdent(place.ident, terrace->number);
    }
    const CropStyle& style = m_parcels.style(place.ident);
    const float across = style.rowsAlongV ? place.u : place.v;
    const float rows =
        terrace ? terrace->share * 24.0F / style.rowSpacingMetres : across / style.rowSpacingMetres;
    const float phase = rows - std::floor(rows);
    const float ridge = 1.0F - std::fabs(2.0F * phase - 1.0F);
    const float rim = smoothStep(0.45F, 1.1F, place.edgeMetres);
    const float height = rim * (style.heightMetres + style.rowHeightMetres * ridge);
    return plain(Material::Crop, height, byteOf(phase), place.ident);
}

} // namespace samples
