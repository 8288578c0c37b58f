#include "tests/detect/TruthScore.h"

#include <ogrsf_frmts.h>

#include <algorithm>
#include <cmath>
#include <memory>

namespace detect::test {

namespace {

constexpr double kLeastOverlap = 0.3;
constexpr double kLeastShare = 0.25;

struct Shape {
    std::string name;
    std::string kind;
    std::string className;
    double volume = 0.0;
    std::unique_ptr<OGRGeometry> outline;
};

struct Pair {
    std::size_t change = 0;
    std::size_t anomaly = 0;
    double overlap = 0.0;
};

double areaOf(const OGRGeometry* geometry) {
    if (!geometry) {
        return 0.0;
    }
    if (wkbFlatten(geometry->getGeometryType()) == wkbPolygon) {
        return geometry->toPolygon()->get_Area();
    }
    double area = 0.0;
    if (OGR_GT_IsSubClassOf(wkbFlatten(geometry->getGeometryType()), wkbGeometryCollection)) {
        for (const OGRGeometry* part : *geometry->toGeometryCollection()) {
            area += areaOf(part);
        }
    }
    return area;
}

std::string text(OGRFeature& feature, const char* field) {
    const int index = feature.GetFieldIndex(field);
    return index >= 0 ? feature.GetFieldAsString(index) : "";
}

std::optional<std::vector<Shape>> readShapes(const std::string& path, const char* classField,
                                             std::unique_ptr<OGRSpatialReference>& srs) {
    const GDALDatasetUniquePtr file(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_VERBOSE_ERROR));
    if (!file || file->GetLayerCount() < 1 || !file->GetLayer(0)->GetSpatialRef()) {
        return std::nullopt;
    }
    OGRLayer* layer = file->GetLayer(0);
    if (!srs) {
        srs.reset(layer->GetSpatialRef()->Clone());
    }
    std::vector<Shape> shapes;
    for (const auto& feature : layer) {
        Shape shape;
        shape.name = text(*feature, "name");
        shape.kind = text(*feature, "kind");
        shape.className = text(*feature, classField);
        shape.volume = feature->GetFieldAsDouble("volume_m3");
        shape.outline.reset(feature->StealGeometry());
        if (!shape.outline || shape.outline->transformTo(srs.get()) != OGRERR_NONE) {
            return std::nullopt;
        }
        shapes.push_back(std::move(shape));
    }
    return shapes;
}

bool holdsCentroidOf(const OGRGeometry& outer, const OGRGeometry& inner) {
    OGRPoint centroid;
    return inner.Centroid(&centroid) == OGRERR_NONE && outer.Contains(&centroid);
}

/// Intersection over union when the two match, otherwise nothing.
std::optional<double> match(const Shape& change, const Shape& anomaly) {
    if (change.kind != anomaly.kind || !change.outline->Intersects(anomaly.outline.get())) {
        return std::nullopt;
    }
    const std::unique_ptr<OGRGeometry> common(change.outline->Intersection(anomaly.outline.get()));
    const double a = areaOf(change.outline.get());
    const double b = areaOf(anomaly.outline.get());
    const double both = areaOf(common.get());
    const double overlap = both / (a + b - both);
    const bool centred = holdsCentroidOf(*change.outline, *anomaly.outline) ||
                         holdsCentroidOf(*anomaly.outline, *change.outline);
    if (overlap >= kLeastOverlap || (centred && std::min(a, b) >= kLeastShare * std::max(a, b))) {
        return overlap;
    }
    return std::nullopt;
}

std::vector<Pair> matchedPairs(const std::vector<Shape>& changes, const std::vector<Shape>& anomalies) {
    std::vector<Pair> pairs;
    for (std::size_t c = 0; c < changes.size(); ++c) {
        for (std::size_t a = 0; a < anomalies.size(); ++a) {
            if (const auto overlap = match(changes[c], anomalies[a])) {
                pairs.push_back({c, a, *overlap});
            }
        }
    }
    std::stable_sort(pairs.begin(), pairs.end(),
                     [](const Pair& p, const Pair& q) { return p.overlap > q.overlap; });
    std::vector<bool> changeTaken(changes.size(), false);
    std::vector<bool> anomalyTaken(anomalies.size(), false);
    std::vector<Pair> matched;
    for (const Pair& pair : pairs) {
        if (changeTaken[pair.change] || anomalyTaken[pair.anomaly]) {
            continue;
        }
        changeTaken[pair.change] = anomalyTaken[pair.anomaly] = true;
        matched.push_back(pair);
    }
    return matched;
}

double relativeError(double found, double known) {
    return known > 0.0 ? std::abs(found - known) / known : 0.0;
}

} // namespace

std::optional<TruthScore> scoreAgainstTruth(const std::string& truthPath, const std::string& resultPath) {
    GDALAllRegister();
    std::unique_ptr<OGRSpatialReference> srs;
    const auto changes = readShapes(truthPath, "class", srs);
    const auto anomalies = readShapes(resultPath, "suggested", srs);
    if (!changes || !anomalies) {
        return std::nullopt;
    }

    TruthScore score;
    for (const Shape& change : *changes) {
        ScoredChange scored;
        scored.name = change.name;
        scored.volumeCubicMetres = change.volume;
        scored.knownClass = change.className;
        score.changes.push_back(std::move(scored));
    }
    std::vector<bool> isTrue(anomalies->size(), false);
    double known = 0.0;
    double found = 0.0;
    const std::vector<Pair> pairs = matchedPairs(*changes, *anomalies);
    for (const Pair& pair : pairs) {
        const Shape& anomaly = (*anomalies)[pair.anomaly];
        ScoredChange& scored = score.changes[pair.change];
        isTrue[pair.anomaly] = true;
        scored.match = anomaly.name;
        scored.overlap = pair.overlap;
        scored.foundCubicMetres = anomaly.volume;
        scored.suggestedClass = anomaly.className;
        known += scored.volumeCubicMetres;
        found += anomaly.volume;
        score.worstVolumeError =
            std::max(score.worstVolumeError, relativeError(anomaly.volume, scored.volumeCubicMetres));
    }
    for (std::size_t a = 0; a < anomalies->size(); ++a) {
        if (!isTrue[a]) {
            score.falseAnomalies.push_back((*anomalies)[a].name);
        }
    }
    const auto matched = static_cast<double>(pairs.size());
    score.recall = changes->empty() ? 1.0 : matched / static_cast<double>(changes->size());
    score.precision = anomalies->empty() ? 1.0 : matched / static_cast<double>(anomalies->size());
    score.volumeError = relativeError(found, known);
    return score;
}

} // namespace detect::test
