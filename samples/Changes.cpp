#include "samples/Changes.h"

#include "samples/Noise.h"

namespace samples {

namespace {
/// A platform reaches this many half lengths from its shared edge.
constexpr double kPlatformStretch = 1.6;

/// What shall happen, and where about.
struct Plan {
    ChangeShape shape;
    double x;
    double fromPipeMetres; ///< wanted distance from the pipe, north positive
    double length, width;  ///< metres
    float sizeMetres;
    Material material;
    bool keepsX = false;      ///< it must lie across x (a station boundary)
    bool keepsOffset = false; ///< it must keep its distance from the pipe
    /// What lies on the other side of the shared edge.
    std::optional<ChangeShape> partner;
};

std::vector<Plan> plans() {
    using Shape = ChangeShape;
    using M = Material;
    return {
        // over the pipe
        {Shape::House, 140, 2, 14, 9, 4.2F, M::SteelRoof, false, true, {}},
        {Shape::Heap, 420, 0, 17, 13, 3.4F, M::EarthHeap, false, true, {}},
        {Shape::Bowl, 300, 1, 26, 22, 1.2F, M::SunkenGrass, false, true, {}},
        {Shape::Pit, 1140, 0, 46, 4.5, 2.2F, M::Pit, false, true, {}},
        {Shape::Pit, 1660, -2, 15, 11, 3.2F, M::Pit, false, true, {}},
        {Shape::House, 1905, -3, 18, 10, 5.0F, M::SteelRoof, false, true, {}},
        {Shape::Bowl, 1500, 2, 18, 18, 0.9F, M::SunkenGrass, false, true, {}},
        {Shape::Heap, 985, 3, 12, 10, 2.4F, M::StoneHeap, false, true, {}},
        // across station boundaries
        {Shape::Pit, 256, 24, 18, 12, 2.8F, M::Pit, true, false, {}},
        {Shape::House, 512, -38, 20, 11, 3.6F, M::FlatRoof, true, false, {}},
        {Shape::Heap, 1024, -34, 20, 14, 3.0F, M::EarthHeap, true, false, {}},
        {Shape::Bowl, 1280, -40, 30, 24, 1.4F, M::SunkenGrass, true, false, {}},
        {Shape::Pit, 1792, 30, 16, 13, 3.6F, M::Pit, true, false, {}},
        // cut beside fill
        {Shape::FillPlatform, 350, -58, 20, 22, 1.8F, M::BareSoil, false, false, Shape::CutPlatform},
        {Shape::FillPlatform, 1600, 62, 16, 18, 2.4F, M::BareSoil, false, false, Shape::CutPlatform},
        {Shape::Heap, 1225, -72, 15, 11, 2.6F, M::EarthHeap, false, false, Shape::Pit},
        // along the corridor
        {Shape::House, 70, -62, 12, 8, 3.2F, M::FlatRoof, false, false, {}},
        {Shape::Heap, 205, -34, 9, 8, 1.6F, M::StoneHeap, false, false, {}},
        {Shape::Heap, 470, 52, 22, 10, 2.2F, M::EarthHeap, false, false, {}},
        {Shape::Pit, 585, 38, 12, 10, 1.9F, M::Pit, false, false, {}},
        {Shape::Pit, 800, 46, 26, 18, 4.0F, M::Pit, false, false, {}},
        {Shape::Heap, 838, 78, 18, 15, 3.9F, M::StoneHeap, false, false, {}},
        {Shape::House, 905, -78, 24, 12, 6.0F, M::SteelRoof, false, false, {}},
        {Shape::House, 1335, 44, 16, 10, 3.4F, M::FlatRoof, false, false, {}},
        {Shape::House, 1452, -66, 13, 9, 5.6F, M::FlatRoof, false, false, {}},
        {Shape::Bowl, 1730, -44, 24, 20, 1.1F, M::SunkenGrass, false, false, {}},
        {Shape::House, 1850, 52, 15, 10, 4.6F, M::SteelRoof, false, false, {}},
        {Shape::Heap, 1960, 40, 14, 12, 3.0F, M::EarthHeap, false, false, {}},
        {Shape::Pit, 2000, -42, 14, 9, 2.4F, M::Pit, false, false, {}},
        {Shape::Bowl, 690, -64, 18, 16, 0.9F, M::SunkenGrass, false, false, {}},
        {Shape::Heap, 60, 40, 8, 7, 1.2F, M::EarthHeap, false, false, {}},
    };
}

class Planner {
public:
    Planner(const Site& site, const Ground& ground, const LandCover& cover,
            const std::vector<Building>& buildings)
        : m_site(site), m_ground(ground), m_cover(cover), m_buildings(buildings), m_random(site.seed, 60) {}

    void realise(const Plan& plan);
    std::vector<Change> take() { return std::move(m_changes); }

private:
    std::optional<Point> findPlace(const Plan& plan, double reachMetres) const;
    bool isFree(Point centre, double reachMetres, bool isHouse) const;
    bool isOpen(Point place, bool isHouse) const;
    Point besidePipe(double x, double offset) const;
    void add(const Plan& plan, const TurnedFrame& frame);

    const Site& m_site;
    const Ground& m_ground;
    const LandCover& m_cover;
    const std::vector<Building>& m_buildings;
    Random m_random;
    std::vector<Change> m_changes;
};

Point Planner::besidePipe(double x, double offset) const {
    return {x, m_site.pipeline.at(m_site.pipeline.alongAtX(x)).y + offset};
}

bool Planner::isOpen(Point place, bool isHouse) const {
    switch (m_cover.at(place.x, place.y).cell.material) {
    case Material::Crop:
    case Material::Baulk:
    case Material::Grass:
        break;
    case Material::TerraceRiser:
        if (isHouse) {
            return false;
        }
        break;
    default:
        return false;
    }
    const float steepest = isHouse ? 0.12F : 0.2F;
    return m_ground.slope(place.x, place.y) < steepest &&
           m_site.roadField.distance(place.x, place.y) > 11.0F &&
           m_site.forestDensity(place.x, place.y) < 0.2F;
}

bool Planner::isFree(Point centre, double reachMetres, bool isHouse) const {
    constexpr double kSpacing = 1.5;
    constexpr double kRim = 14.0;
    if (centre.x < reachMetres + kRim || centre.y < reachMetres + kRim ||
        centre.x > Extent::kWidthMetres - reachMetres - kRim ||
        centre.y > Extent::kHeightMetres - reachMetres - kRim) {
        return false;
    }
    for (const Change& other : m_changes) {
        const double dx = other.frame.origin.x - centre.x;
        const double dy = other.frame.origin.y - centre.y;
        const double apart = other.reachMetres() + reachMetres + 6.0;
        if (dx * dx + dy * dy < apart * apart) {
            return false;
        }
    }
    if (isBuiltUp(m_buildings, centre.x, centre.y, reachMetres + 3.0)) {
        return false;
    }
    const double checked = reachMetres + 1.0;
    const std::vector<double> offsets = stepsFrom(-checked, checked, kSpacing);
    for (const double dy : offsets) {
        for (const double dx : offsets) {
            if (dx * dx + dy * dy <= checked * checked && !isOpen({centre.x + dx, centre.y + dy}, isHouse)) {
                return false;
            }
        }
    }
    return true;
}

/// The free place nearest to the wanted one.
std::optional<Point> Planner::findPlace(const Plan& plan, double reachMetres) const {
    constexpr int kRings = 60;
    constexpr double kStepMetres = 2.5;
    const bool isHouse = plan.shape == ChangeShape::House;
    for (int ring = 0; ring <= kRings; ++ring) {
        for (int dx = -ring; dx <= ring; ++dx) {
            for (int dy = -ring; dy <= ring; ++dy) {
                if (std::max(std::abs(dx), std::abs(dy)) != ring || (plan.keepsX && dx != 0) ||
                    (plan.keepsOffset && dy != 0)) {
                    continue;
                }
                const double side = plan.fromPipeMetres < 0 ? -1.0 : 1.0;
                const Point centre =
                    besidePipe(plan.x + dx * kStepMetres, plan.fromPipeMetres + side * dy * kStepMetres);
                if (isFree(centre, reachMetres, isHouse)) {
                    return centre;
                }
            }
        }
    }
    return std::nullopt;
}

void Planner::add(const Plan& plan, const TurnedFrame& frame) {
    Change change;
    change.shape = plan.shape;
    change.frame = frame;
    change.halfLengthMetres = plan.length / 2;
    change.halfWidthMetres = plan.width / 2;
    change.sizeMetres = plan.sizeMetres;
    change.material = plan.material;
    change.noiseSeed = m_site.noiseSeed(600 + static_cast<std::uint32_t>(m_changes.size()));
    if (plan.shape == ChangeShape::House) {
        float highest = 0.0F;
        for (const double u : {-1.0, 0.0, 1.0}) {
            for (const double v : {-1.0, 0.0, 1.0}) {
                const Point corner = frame.toSite(u * change.halfLengthMetres, v * change.halfWidthMetres);
                highest = std::max(highest, m_ground.heightMetres(corner.x, corner.y));
            }
        }
        change.roofMetres = highest + plan.sizeMetres;
    }
    m_changes.push_back(change);
}

void Planner::realise(const Plan& plan) {
    const double reach = plan.partner
                             ? plan.length + 2.0
                             : 0.5 * std::sqrt(plan.length * plan.length + plan.width * plan.width) + 2.0;
    const auto centre = findPlace(plan, reach);
    if (!centre) {
        return;
    }
    const Point along = m_site.pipeline.direction(m_site.pipeline.alongAtX(centre->x));
    TurnedFrame frame{*centre, along.x, along.y};
    if (!plan.keepsOffset) {
        const TurnedFrame turn = TurnedFrame::at({0, 0}, m_random.between(-25.0, 25.0));
        const Point turned = turn.toSite(along.x, along.y);
        frame.cosine = turned.x;
        frame.sine = turned.y;
    }
    if (!plan.partner) {
        return add(plan, frame);
    }
    Plan partner = plan;
    partner.shape = *plan.partner;
    partner.partner.reset();
    if (partner.shape == ChangeShape::Pit) { // the heap of what was dug lies at the edge of the pit
        partner.material = Material::Pit;
        TurnedFrame east = frame;
        east.origin = frame.toSite(plan.length / 2 - 0.3, 0.0);
        TurnedFrame west = frame;
        west.origin = frame.toSite(-plan.length / 2, 0.0);
        add(plan, east);
        return add(partner, west);
    }
    add(plan, frame);
    add(partner, frame);
}

/// How far inside a rounded rectangle, metres; negative outside. `wobble` moves its rim.
float insideMetres(Point place, double halfLength, double halfWidth, float wobble) {
    const double du = halfLength - std::fabs(place.x);
    const double dv = halfWidth - std::fabs(place.y);
    constexpr double kCorner = 1.5;
    if (du < kCorner && dv < kCorner) {
        const double cu = kCorner - du;
        const double cv = kCorner - dv;
        return static_cast<float>(kCorner - std::sqrt(cu * cu + cv * cv)) + wobble;
    }
    return static_cast<float>(std::min(du, dv)) + wobble;
}

float heapMetres(const Change& change, Point place) {
    const auto u = static_cast<float>(place.x / change.halfLengthMetres);
    const auto v = static_cast<float>(place.y / change.halfWidthMetres);
    const float radius = std::sqrt(u * u + v * v) *
                         (1.0F + 0.10F * gradientNoise(u * 1.3F + 5.0F, v * 1.3F, change.noiseSeed));
    if (radius >= 1.0F) {
        return 0.0F;
    }
    const float cone = std::min(1.35F * (1.0F - radius), 1.0F - 0.5F * radius * radius);
    const float lumps = 0.14F * gradientNoise(place.x, place.y, 1.6F, change.noiseSeed + 1);
    return change.sizeMetres * (cone + lumps * std::min(cone, 0.5F));
}

float pitMetres(const Change& change, Point place) {
    const float wobble = 0.35F * (gradientNoise(place.x, place.y, 3.0F, change.noiseSeed) - 1.0F);
    const float inside = insideMetres(place, change.halfLengthMetres, change.halfWidthMetres, wobble);
    if (inside <= 0.0F) {
        return 0.0F;
    }
    const float depth = std::min(1.0F, inside / (0.55F * change.sizeMetres));
    const float floor = 0.10F * gradientNoise(place.x, place.y, 2.2F, change.noiseSeed + 1);
    return -depth * (change.sizeMetres + floor);
}

float bowlMetres(const Change& change, Point place) {
    const auto u = static_cast<float>(place.x / change.halfLengthMetres);
    const auto v = static_cast<float>(place.y / change.halfWidthMetres);
    const float radius2 = (u * u + v * v) * (1.0F + 0.10F * gradientNoise(u + 3.0F, v, change.noiseSeed));
    const float share = clampUnit(1.0F - radius2);
    return -change.sizeMetres * share * share;
}

/// Half of a levelled building ground: vertical at the edge it shares with the other half (u = 0), sloped
/// elsewhere.
float platformMetres(const Change& change, Point place) {
    const bool fill = change.shape == ChangeShape::FillPlatform;
    const double u = fill ? place.x : -place.x;
    if (u < 0.0 || (u == 0.0 && !fill)) {
        return 0.0F;
    }
    const double inside =
        std::min(kPlatformStretch * change.halfLengthMetres - u, change.halfWidthMetres - std::fabs(place.y));
    if (inside <= 0.0) {
        return 0.0F;
    }
    const float share = std::min(1.0F, static_cast<float>(inside) / (1.2F * change.sizeMetres));
    return (fill ? share : -share) * change.sizeMetres;
}

/// What grew there is gone where the earth was moved by more than half a metre or so.
float buried(float dz, float coverMetres) {
    return dz - coverMetres * smoothStep(0.6F, 1.4F, std::fabs(dz));
}
} // namespace

bool Change::isFill() const {
    return shape == ChangeShape::House || shape == ChangeShape::Heap || shape == ChangeShape::FillPlatform;
}

const char* Change::className() const {
    switch (shape) {
    case ChangeShape::House:
        return "建构筑物";
    case ChangeShape::Heap:
    case ChangeShape::FillPlatform:
        return "重物占压";
    case ChangeShape::Pit:
    case ChangeShape::CutPlatform:
        return "深挖";
    case ChangeShape::Bowl:
        break;
    }
    return "塌陷";
}

double Change::reachMetres() const {
    const double length = shape == ChangeShape::FillPlatform || shape == ChangeShape::CutPlatform
                              ? kPlatformStretch * halfLengthMetres
                              : halfLengthMetres;
    return std::sqrt(length * length + halfWidthMetres * halfWidthMetres) * 1.15;
}

float Change::dzMetres(double x, double y, float oldMetres, float groundMetres) const {
    const Point place = frame.toFrame(x, y);
    switch (shape) {
    case ChangeShape::House:
        return std::fabs(place.x) < halfLengthMetres && std::fabs(place.y) < halfWidthMetres
                   ? roofMetres - oldMetres
                   : 0.0F;
    case ChangeShape::Heap:
        return buried(heapMetres(*this, place), oldMetres - groundMetres);
    case ChangeShape::Pit:
        return buried(pitMetres(*this, place), oldMetres - groundMetres);
    case ChangeShape::Bowl:
        return bowlMetres(*this, place);
    case ChangeShape::FillPlatform:
    case ChangeShape::CutPlatform:
        break;
    }
    return buried(platformMetres(*this, place), oldMetres - groundMetres);
}

float Change::wear(double x, double y) const {
    if (shape == ChangeShape::Bowl) {
        return 0.0F;
    }
    const Point place = frame.toFrame(x, y);
    const float outside = -insideMetres(place, halfLengthMetres, halfWidthMetres, 0.0F);
    const float noise = fractalNoise(x, y, 5.0F, noiseSeed + 2, 3);
    return smoothStep(4.5F, 1.0F, outside + 2.5F * noise);
}

std::vector<Change> planChanges(const Site& site, const Ground& ground, const LandCover& cover,
                                const std::vector<Building>& buildings) {
    Planner planner(site, ground, cover, buildings);
    for (const Plan& plan : plans()) {
        planner.realise(plan);
    }
    std::vector<Change> changes = planner.take();
    int number = 0;
    for (Change& change : changes) {
        ++number;
        change.name = (number < 10 ? "C0" : "C") + std::to_string(number);
    }
    return changes;
}

bool isNearChange(const std::vector<Change>& changes, double x, double y, double marginMetres) {
    return std::any_of(changes.begin(), changes.end(), [&](const Change& change) {
        const double dx = x - change.frame.origin.x;
        const double dy = y - change.frame.origin.y;
        const double reach = change.reachMetres() + marginMetres;
        return dx * dx + dy * dy < reach * reach;
    });
}

} // namespace samples
