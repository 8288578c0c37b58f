#include "detect/shape/AnomalyBuilder.h"

#include "detect/search/StandingOut.h"
#include "detect/shape/Classification.h"
#include "detect/shape/OutlineSimplifier.h"

#include <algorithm>
#include <cmath>

namespace detect {

namespace {

constexpr std::int64_t kLeastBodyCells = 16;
/// Bands of less than these widths may be slivers or speckle, cells.
constexpr double kSliverCells = 4.0;
constexpr double kSpeckleCells = 3.0;
constexpr double kRoughestInNoise = 0.15;
/// Departures of a cell from the line between its neighbours, over the standard deviation on stable ground, where
/// they are 0.8 when the cells' errors hang together as those of matched points do, 1 when they do not.
constexpr double kRoughestSigmas = 1.4;
constexpr double kMostExplained = 0.6;
constexpr double kLeastCompact = 0.7;
constexpr double kRoughestRagged = 0.25;
constexpr double kRoughestCompact = 0.4;

bool reachesLevelOfDetection(const std::vector<Run>& runs) {
    return std::any_of(runs.begin(), runs.end(), [](const Run& run) { return run.strongest >= 1.0F; });
}

bool hasCore(const std::vector<Run>& runs) {
    return std::any_of(runs.begin(), runs.end(), [](const Run& run) { return run.cores > 0; });
}

bool isOneRow(const std::vector<Run>& runs) {
    return std::all_of(runs.begin(), runs.end(), [&](const Run& run) { return run.row == runs.front().row; });
}

bool isSliver(const Traits& traits) {
    return traits.widthCells < kSliverCells && traits.explainedByShift > kMostExplained;
}

/// A heap of a few cells is rough, but compact. Ragged patches need not be as rough where their cells scatter more
/// than those of stable ground do.
bool isSpeckle(const Traits& traits, double sigmaMetres) {
    const bool ragged = traits.rectangularity < kLeastCompact;
    const bool rough = traits.roughness > (ragged ? kRoughestRagged : kRoughestCompact);
    const bool rougherThanGround = ragged && traits.roughness > kRoughestInNoise &&
                                   traits.roughness * traits.meanMetres > kRoughestSigmas * sigmaMetres;
    return traits.widthCells < kSpeckleCells && (rough || rougherThanGround);
}

double signedArea(const Ring& ring) {
    double twice = 0.0;
    for (std::size_t i = 0, before = ring.size() - 1; i < ring.size(); before = i++) {
        twice += (ring[before].x - ring[0].x) * (ring[i].y - ring[0].y) -
                 (ring[i].x - ring[0].x) * (ring[before].y - ring[0].y);
    }
    return twice / 2.0;
}

} // namespace

AnomalyBuilder::AnomalyBuilder(const Grid& grid, const Parameters& parameters,
                               const Coregistration& coregistration, AnomalyOrder& found)
    : m_grid(grid), m_parameters(parameters), m_level(parameters, coregistration, grid),
      m_correlatedCells(std::max(1.0, coregistration.correlatedCells)),
      m_sigmaMetres(coregistration.sigmaMetres), m_found(found) {}

bool AnomalyBuilder::mayPass(const Component& component) const {
    return reachesLevelOfDetection(component.runs) && (!m_parameters.rules.core || hasCore(component.runs));
}

void AnomalyBuilder::consider(Component& component) {
    if (!reachesLevelOfDetection(component.runs)) {
        return;
    }
    // What lies in one row was perhaps left out on the way; it does not count as turned away.
    if (m_parameters.rules.core && isOneRow(component.runs)) {
        return;
    }
    if (m_parameters.rules.core && !hasCore(component.runs)) {
        ++m_rejections.core;
        return;
    }
    component.putInRowOrder();
    std::vector<Component> bodies;
    if (m_parameters.splitBodies) {
        bodies = splitBodies(component, bodyLimits(component.runs.front().row));
    }
    if (bodies.empty()) {
        judge(component);
    }
    for (const Component& body : bodies) {
        judge(body);
    }
}

void AnomalyBuilder::judge(const Component& body) {
    const std::vector<Run>& runs = body.runs;
    if (!reachesLevelOfDetection(runs)) {
        return;
    }
    if (m_parameters.rules.core && !hasCore(runs)) {
        ++m_rejections.core;
        return;
    }
    Anomaly anomaly = measure(runs);
    if (anomaly.areaSquareMetres < m_parameters.minAreaSquareMetres) {
        ++m_rejections.area;
        return;
    }
    const Polygon cellOutline = traceOutline(runs);
    const Traits traits = measureTraits(body, cellOutline);
    if (!passes(traits)) {
        return;
    }
    measureUncertainty(runs, anomaly);
    outline(m_parameters.simplifyOutlines ? simplified(cellOutline) : cellOutline, anomaly);
    Suggestion suggestion = suggestClass(traits);
    anomaly.suggested = std::move(suggestion.name);
    anomaly.suggestionConfidence = suggestion.confidence;
    m_found.add(std::move(anomaly));
}

bool AnomalyBuilder::passes(const Traits& traits) {
    if (m_parameters.rules.sliver && isSliver(traits)) {
        ++m_rejections.sliver;
        return false;
    }
    if (m_parameters.rules.speckle && isSpeckle(traits, m_sigmaMetres)) {
        ++m_rejections.speckle;
        return false;
    }
    return true;
}

BodyLimits AnomalyBuilder::bodyLimits(std::int32_t row) const {
    const double cells = m_parameters.minAreaSquareMetres / m_grid.cellAreaSquareMetres(row);
    BodyLimits limits;
    limits.depthMetres = m_level.level();
    limits.leastCells = std::max(kLeastBodyCells, static_cast<std::int64_t>(std::ceil(cells)));
    return limits;
}

/// Sums in row order, so that no rounding depends on how the runs were found.
Anomaly AnomalyBuilder::measure(const std::vector<Run>& runs) const {
    Anomaly anomaly;
    anomaly.first = {runs.front().row, runs.front().begin};
    anomaly.kind = runs.front().sign > 0 ? Kind::Fill : Kind::Cut;
    float lowest = runs.front().lowest;
    float highest = runs.front().highest;
    double dzSum = 0.0;
    double columnSum = 0.0;
    double rowSum = 0.0;
    for (const Run& run : runs) {
        const double cellArea = m_grid.cellAreaSquareMetres(run.row);
        anomaly.cells += run.cells();
        anomaly.areaSquareMetres += cellArea * run.cells();
        const double raised = static_cast<double>(run.raised) * kSumUnitMetres;
        const double sunk = static_cast<double>(run.sunk) * kSumUnitMetres;
        anomaly.fillCubicMetres += cellArea * raised;
        anomaly.cutCubicMetres -= cellArea * sunk;
        dzSum += raised + sunk;
        columnSum += run.cells() * (run.begin + run.end) / 2.0;
        rowSum += run.cells() * (run.row + 0.5);
        lowest = std::min(lowest, run.lowest);
        highest = std::max(highest, run.highest);
    }
    const auto cells = static_cast<double>(anomaly.cells);
    anomaly.dzMeanMetres = dzSum / cells;
    anomaly.dzMinMetres = static_cast<double>(lowest);
    anomaly.dzMaxMetres = static_cast<double>(highest);
    anomaly.centroid = m_grid.cellToMap()(columnSum / cells, rowSum / cells);
    return anomaly;
}

/// The errors of the cells are taken for one error within what is correlated, and for independent beyond
/// (Rolstad et al. 2009).
void AnomalyBuilder::measureUncertainty(const std::vector<Run>& runs, Anomaly& anomaly) const {
    double variance = 0.0;
    double weighted = 0.0;
    double strongest = 0.0;
    for (const Run& run : runs) {
        const double cellArea = m_grid.cellAreaSquareMetres(run.row);
        const double ofRun = static_cast<double>(run.variance) * kVarianceUnitSquareMetres;
        variance += ofRun;
        weighted += cellArea * cellArea * ofRun;
        strongest = std::max(strongest, static_cast<double>(run.strongest));
    }
    const auto cells = static_cast<double>(anomaly.cells);
    anomaly.sigmaMetres = std::sqrt(variance / cells);
    anomaly.levelOfDetectionMetres = m_level.levelFor(anomaly.sigmaMetres);
    if (std::any_of(runs.begin(), runs.end(), [](const Run& run) { return run.restless; })) {
        anomaly.levelOfDetectionMetres = std::max(
            anomaly.levelOfDetectionMetres, static_cast<double>(StandingOut::kSigmas) * anomaly.sigmaMetres);
    }
    anomaly.significance = strongest;
    anomaly.volumeSigmaCubicMetres = std::sqrt(weighted * std::min(cells, m_correlatedCells));
}

void AnomalyBuilder::outline(const Polygon& cellOutline, Anomaly& anomaly) const {
    anomaly.outline = toMap(cellOutline.outer);
    for (const Ring& hole : cellOutline.holes) {
        anomaly.holes.push_back(toMap(hole));
    }
    if (signedArea(anomaly.outline) < 0.0) { // the grid is mirrored against the map
        std::reverse(anomaly.outline.begin(), anomaly.outline.end());
        for (Ring& hole : anomaly.holes) {
            std::reverse(hole.begin(), hole.end());
        }
    }
    const Point first = anomaly.outline.front();
    Box& box = anomaly.bounds = {first.x, first.y, first.x, first.y};
    for (const Point& p : anomaly.outline) {
        box = {std::min(box.xMin, p.x), std::min(box.yMin, p.y), std::max(box.xMax, p.x),
               std::max(box.yMax, p.y)};
    }
}

Ring AnomalyBuilder::toMap(const Ring& cells) const {
    Ring ring;
    ring.reserve(cells.size());
    for (const Point& corner : cells) {
        ring.push_back(m_grid.cellToMap()(corner.x, corner.y));
    }
    return ring;
}

} // namespace detect
