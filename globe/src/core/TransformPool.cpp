#include "TransformPool.h"

#include <osgEarth/SpatialReference>

#include <ogr_spatialref.h>
#include <proj.h>

#include <cmath>
#include <string>

namespace osgEarth {
namespace {

bool sameDefinition(const SpatialReference& a, const SpatialReference& b) {
    static const char* const options[] = {"IGNORE_DATA_AXIS_TO_SRS_AXIS_MAPPING=YES", nullptr};
    return a.getWKT() == b.getWKT() || a.ogr().IsSame(&b.ogr(), options) != 0;
}

struct ProjDeleter {
    void operator()(PJ* object) const { proj_destroy(object); }
    void operator()(PJ_CONTEXT* context) const { proj_context_destroy(context); }
};
using ProjObject = std::unique_ptr<PJ, ProjDeleter>;

// In the form that loses nothing of the definition.
ProjObject definitionIn(PJ_CONTEXT* context, const SpatialReference& srs) {
    static const char* const options[] = {"FORMAT=WKT2_2019", nullptr};
    char* text = nullptr;
    srs.ogr().exportToWkt(&text, options);
    ProjObject definition(text ? proj_create(context, text) : nullptr);
    CPLFree(text);
    return definition;
}

} // namespace

/// A conversion with a PROJ context of its own, so that any one thread at a time may use it.
class TransformPool::Transformation {
public:
    Transformation(const SpatialReference& from, const SpatialReference& to)
        : m_context(proj_context_create()) {
        // A point outside a projection's reach is an answer, not an error.
        proj_log_level(m_context.get(), PJ_LOG_NONE);
        const ProjObject source = definitionIn(m_context.get(), from);
        const ProjObject target = definitionIn(m_context.get(), to);
        if (!source || !target) {
            return;
        }
        const ProjObject byAuthority(
            proj_create_crs_to_crs_from_pj(m_context.get(), source.get(), target.get(), nullptr, nullptr));
        if (byAuthority) {
            m_eastFirst.reset(proj_normalize_for_visualization(m_context.get(), byAuthority.get()));
        }
    }

    bool convert(std::size_t count, osg::Vec3d* points) {
        if (!m_eastFirst) {
            return false;
        }
        constexpr std::size_t kStride = sizeof(osg::Vec3d);
        double noEpoch = HUGE_VAL;
        proj_trans_generic(m_eastFirst.get(), PJ_FWD, &points->x(), kStride, count, &points->y(), kStride,
                           count, &points->z(), kStride, count, &noEpoch, 0, 1);
        for (std::size_t i = 0; i < count; ++i) {
            if (!std::isfinite(points[i].x()) || !std::isfinite(points[i].y())) {
                return false;
            }
        }
        return true;
    }

private:
    std::unique_ptr<PJ_CONTEXT, ProjDeleter> m_context;
    ProjObject m_eastFirst;
};

TransformPool::TransformPool() = default;
TransformPool::~TransformPool() = default;

TransformPool& TransformPool::instance() {
    static auto* pool = new TransformPool(); // outlives every thread that may still convert at exit
    return *pool;
}

TransformPool::Entry& TransformPool::entryFor(const SpatialReference& from, const SpatialReference& to) {
    const auto [position, isNew] = m_entries.try_emplace(Pair(&from, &to));
    if (isNew) {
        position->second.equivalent = sameDefinition(from, to);
    }
    return position->second;
}

bool TransformPool::areEquivalent(const SpatialReference& from, const SpatialReference& to) {
    const std::lock_guard lock(m_mutex);
    return entryFor(from, to).equivalent;
}

bool TransformPool::transform(const SpatialReference& from, const SpatialReference& to, std::size_t count,
                              osg::Vec3d* points) {
    std::unique_ptr<Transformation> transformation;
    Entry* entry = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        entry = &entryFor(from, to);
        if (entry->equivalent) {
            return true;
        }
        if (!entry->idle.empty()) {
            transformation = std::move(entry->idle.back());
            entry->idle.pop_back();
        }
    }
    if (!transformation) {
        transformation = std::make_unique<Transformation>(from, to);
    }
    const bool converted = transformation->convert(count, points);
    const std::lock_guard lock(m_mutex);
    entry->idle.push_back(std::move(transformation));
    return converted;
}

} // namespace osgEarth
