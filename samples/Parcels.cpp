#include "samples/Parcels.h"

#include "samples/Noise.h"

namespace samples {

namespace {
/// How often a crop is grown: up to which lot in 0 .. 1, and what it looks like.
struct CropLot {
    double upTo;
    CropStyle style;
};

constexpr CropLot kCropLots[] = {
    {0.35, {Crop::Wheat, 0.55F, 3.0F, 0.03F}},   {0.48, {Crop::Rape, 0.60F, 2.0F, 0.05F}},
    {0.64, {Crop::Maize, 0.12F, 1.4F, 0.10F}},   {0.76, {Crop::Vegetables, 0.25F, 1.9F, 0.18F}},
    {0.85, {Crop::Fallow, 0.03F, 1.2F, 0.10F}},  {0.88, {Crop::Mulched, 0.05F, 2.2F, 0.16F}},
    {0.95, {Crop::Orchard, 0.10F, 4.6F, 0.05F}}, {1.00, {Crop::Meadow, 0.15F, 4.0F, 0.02F}}};

CropStyle drawStyle(Random& random) {
    const auto tone = static_cast<float>(random.between(-1.0, 1.0));
    const bool rowsAlongV = random.chance(0.3);
    const double lot = random.uniform();
    const auto* drawn = std::find_if(std::begin(kCropLots), std::end(kCropLots),
                                     [&](const CropLot& candidate) { return lot < candidate.upTo; });
    CropStyle style = drawn->style;
    style.tone = tone;
    style.rowsAlongV = rowsAlongV;
    return style;
}
} // namespace

Parcels::Parcels(const Site& site) : m_site(site) {
    Random random(site.seed, 30);
    m_west = {TurnedFrame::at({0.0, 0.0}, 9.0), {-120.0, -360.0, 900.0, 680.0}, 0};
    m_east = {TurnedFrame::at({Extent::kWidthMetres, 0.0}, -7.0), {-1700.0, -420.0, 220.0, 740.0}, 0};
    m_west.root = split(m_west.bounds, random);
    m_east.root = split(m_east.bounds, random);
    for (CropStyle& style : m_styles) {
        style = drawStyle(random);
    }
}

int Parcels::split(const Rectangle& bounds, Random& random) {
    const double width = bounds.uMax - bounds.uMin;
    const double depth = bounds.vMax - bounds.vMin;
    const double area = width * depth;
    if (area < random.between(1500.0, 7000.0) || std::min(width, depth) < 16.0) {
        return -1 - static_cast<int>(m_parcelCount++);
    }
    // Long narrow parcels are common; only very long ones must be cut across.
    const double aspect = width / depth;
    const bool splitsU = aspect > 3.2 || (aspect > 0.4 && random.chance(clampUnit(0.25 + 0.3 * aspect)));
    const double share = random.between(0.36, 0.64);
    const std::size_t own = m_nodes.size();
    m_nodes.push_back({splitsU, area > 26000.0, 0.0F, 0, 0});
    Rectangle low = bounds;
    Rectangle high = bounds;
    double& position = splitsU ? low.uMax : low.vMax;
    position = splitsU ? bounds.uMin + share * width : bounds.vMin + share * depth;
    (splitsU ? high.uMin : high.vMin) = position;
    m_nodes[own].position = static_cast<float>(position);
    const int lowChild = split(low, random);
    const int highChild = split(high, random);
    m_nodes[own].low = lowChild;
    m_nodes[own].high = highChild;
    return static_cast<int>(own);
}

const Parcels::Bank& Parcels::bankAt(double x, double y) const {
    constexpr double kValleyMetres = 665.0;
    if (const auto river = m_site.riverField.find(x, y)) {
        return river->lateralMetres < 0.0F ? m_west : m_east;
    }
    return x < kValleyMetres ? m_west : m_east;
}

Parcels::Place Parcels::find(double x, double y) const {
    const Bank& bank = bankAt(x, y);
    const Point inFrame = bank.frame.toFrame(x, y);
    Place place{0, 1000.0F, 1000.0F, static_cast<float>(inFrame.x), static_cast<float>(inFrame.y)};
    int node = bank.root;
    while (node >= 0) {
        const Node& cut = m_nodes[static_cast<std::size_t>(node)];
        const float offset = (cut.splitsU ? place.u : place.v) - cut.position;
        place.edgeMetres = std::min(place.edgeMetres, std::fabs(offset));
        if (cut.isTrack) {
            place.trackMetres = std::min(place.trackMetres, std::fabs(offset));
        }
        node = offset < 0.0F ? cut.low : cut.high;
    }
    place.ident = static_cast<std::uint16_t>(-1 - node);
    return place;
}

std::uint16_t Parcels::terraceIdent(std::uint16_t parcel, int terraceNumber) {
    return static_cast<std::uint16_t>(hashNode(parcel / 2, terraceNumber, 31) % kStyleCount);
}

} // namespace samples
