#include "samples/Site.h"

#include "samples/Noise.h"
#include "samples/Parallel.h"

namespace samples {

namespace {
constexpr double kMarginMetres = 24.0;

std::vector<Point> moved(std::vector<Point> controls, Random& random, double metres) {
    for (Point& control : controls) {
        control.x += random.between(-metres, metres);
        control.y += random.between(-metres, metres);
    }
    return controls;
}
} // namespace

Lattice Extent::lattice(double marginMetres, double stepMetres) {
    const auto nodes = [&](double metres) {
        return static_cast<int>((metres + 2 * marginMetres) / stepMetres) + 1;
    };
    return {-marginMetres, -marginMetres, stepMetres, nodes(kWidthMetres), nodes(kHeightMetres)};
}

TurnedFrame TurnedFrame::at(Point origin, double angleDegrees) {
    return {origin, cosineDegrees(angleDegrees), sineDegrees(angleDegrees)};
}

bool Village::contains(double x, double y, double margin) const {
    const Point place = frame.toFrame(x, y);
    return place.x > -margin && place.y > -margin && place.x < widthMetres + margin &&
           place.y < depthMetres + margin;
}

Site::Site(std::uint64_t theSeed)
    : seed(theSeed), m_noiseBase(static_cast<std::uint32_t>(mixBits(theSeed + 1) >> 32)) {
    Random random(seed, 1);
    drawRiverAndRoads(random);
    drawPipeline(random);
    placeGrounds(random);
    markLinesAndForest();
}

void Site::drawRiverAndRoads(Random& random) {
    river = smoothCurve(moved({{560, 900},
                               {548, 720},
                               {600, 560},
                               {688, 455},
                               {650, 330},
                               {640, 240},
                               {716, 150},
                               {700, 40},
                               {770, -80},
                               {760, -260},
                               {800, -420}},
                              random, 9.0),
                        6.0);
    road = smoothCurve(moved({{-160, 150},
                              {60, 112},
                              {260, 96},
                              {450, 132},
                              {640, 128},
                              {820, 158},
                              {960, 222},
                              {1130, 236},
                              {1290, 212},
                              {1450, 150},
                              {1620, 106},
                              {1800, 128},
                              {1990, 196},
                              {2200, 230}},
                             random, 6.0),
                       3.0);
    lane = smoothCurve({road.at(road.alongAtX(1560)),
                        {1590, 190},
                        {1570, 262},
                        {1640, 320},
                        {1730, 352},
                        {1790, 420},
                        {1880, 470},
                        {1930, 560}},
                       3.0);
}

void Site::drawPipeline(Random& random) {
    std::vector<Point> bends = moved({{2, 318},
                                      {190, 300},
                                      {360, 262},
                                      {545, 228},
                                      {760, 214},
                                      {905, 168},
                                      {1090, 150},
                                      {1270, 120},
                                      {1420, 196},
                                      {1600, 236},
                                      {1800, 262},
                                      {2046, 300}},
                                     random, 4.0);
    bends.front().x = 2.0;
    bends.back().x = 2046.0;
    pipeline = polygonalCurve(std::move(bends));
}

void Site::placeGrounds(Random& random) {
    village = {TurnedFrame::at({968 + random.between(-6, 6), 276 + random.between(-3, 3)},
                               2.0 + random.between(-2, 2)),
               330.0, 190.0, 38.0};
    const auto addGround = [&](BuildingUse use, Point corner, double angleDegrees, double width,
                               double depth) {
        buildingGrounds.push_back({use, TurnedFrame::at(corner, angleDegrees), width, depth});
    };
    addGround(BuildingUse::School, {1352, 246 + random.between(-2, 4)}, -12.0, 96.0, 74.0);
    addGround(BuildingUse::Greenhouses, {1060, 30}, -7.0, 74.0, 78.0);
    addGround(BuildingUse::Farmstead, {228, 352}, 14.0, 34.0, 36.0);
    addGround(BuildingUse::Farmstead, {266, 346}, 10.0, 34.0, 36.0);
    addGround(BuildingUse::Farmstead, {300, 378}, 6.0, 34.0, 36.0);
    addGround(BuildingUse::Farmstead, {1652, 140}, -20.0, 34.0, 36.0);
    addGround(BuildingUse::Farmstead, {1866, 196}, 16.0, 34.0, 36.0);
}

void Site::markLinesAndForest() {
    const Lattice lattice = Extent::lattice(kMarginMetres, 1.0);
    riverField = LineField(lattice, river, 150.0);
    roadField = LineField(lattice, road, 40.0);
    laneField = LineField(lattice, lane, 24.0);
    pipelineField = LineField(lattice, pipeline, 40.0);
    forest = Field(lattice);
    forEachNode(lattice, [&](int c, int r, double x, double y) { forest.at(c, r) = forestAt(x, y); });
}

float Site::waterLevelMetres(double y) {
    return 406.6F + 0.0026F * static_cast<float>(y);
}

float Site::riverHalfWidthMetres(float riverAlong) const {
    return 10.5F + 2.5F * gradientNoise(riverAlong / 90.0F, 0.5F, noiseSeed(2)) +
           0.8F * gradientNoise(riverAlong / 14.0F, 3.5F, noiseSeed(3));
}

float Site::forestAt(double x, double y) const {
    const auto fx = static_cast<float>(x);
    const auto fy = static_cast<float>(y);
    const float eastHill = smoothStep(1480.0F, 1760.0F, fx) * smoothStep(240.0F, 460.0F, fy);
    const float westHill = smoothStep(400.0F, 200.0F, fx) * smoothStep(120.0F, 0.0F, fy);
    const float northWest = smoothStep(520.0F, 340.0F, fx) * smoothStep(360.0F, 510.0F, fy);
    const float southEast = smoothStep(1660.0F, 1860.0F, fx) * smoothStep(120.0F, 0.0F, fy);
    const float region = std::max(std::max(eastHill, westHill), std::max(northWest, southEast));
    const float rim = 0.30F * fractalNoise(x, y, 80.0F, noiseSeed(4), 4);
    const float nearPipe = smoothStep(12.0F, 9.0F, pipelineField.distance(x, y));
    return smoothStep(0.47F, 0.53F, region + rim) * (1.0F - nearPipe);
}

} // namespace samples
