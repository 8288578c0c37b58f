#include "TransformPool.h"

#include <osgEarth/SpatialReference>

#include <cpl_error.h>
#include <ogr_spatialref.h>

#include <cmath>

namespace osgEarth {
namespace {

bool sameDefinition(const SpatialReference& a, const SpatialReference& b) {
    static const char* const options[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", nullptr};
    return a.getWKT() == b.getWKT() || a.ogr().IsSame(&b.ogr(), options) != 0;
}

} // namespace

TransformPool& TransformPool::instance() {
    static auto* pool = new TransformPool(); // outlives every thread that may still convert at exit
    return *pool;
}

TransformPool::Entry& TransformPool::entryFor(const SpatialReference& from, const SpatialReference& to) {
    const auto [position, isNew] = _entries.try_emplace(Pair(&from, &to));
    if (isNew) {
        position->second.equivalent = sameDefinition(from, to);
    }
    return position->second;
}

bool TransformPool::areEquivalent(const SpatialReference& from, const SpatialReference& to) {
    const std::lock_guard lock(_mutex);
    return entryFor(from, to).equivalent;
}

bool TransformPool::transform(const SpatialReference& from, const SpatialReference& to, std::size_t count,
                              double* x, double* y, double* z) {
    Transformation transformation;
    Entry* entry = nullptr;
    {
        const std::lock_guard lock(_mutex);
        entry = &entryFor(from, to);
        if (entry->equivalent) {
            return true;
        }
        if (!entry->idle.empty()) {
            transformation = std::move(entry->idle.back());
            entry->idle.pop_back();
        }
    }

    CPLPushErrorHandler(
        CPLQuietErrorHandler); // a point outside a projection's reach is an answer, not an error
    if (transformation == nullptr) {
        transformation.reset(OGRCreateCoordinateTransformation(&from.ogr(), &to.ogr()));
    }
    bool converted =
        transformation != nullptr && transformation->Transform(static_cast<int>(count), x, y, z) != 0;
    CPLPopErrorHandler();
    for (std::size_t i = 0; converted && i < count; ++i) {
        converted = std::isfinite(x[i]) && std::isfinite(y[i]);
    }

    if (transformation != nullptr) {
        const std::lock_guard lock(_mutex);
        entry->idle.push_back(std::move(transformation));
    }
    return converted;
}

} // namespace osgEarth
