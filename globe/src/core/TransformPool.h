// Ready-made coordinate transformations between pairs of reference systems.
#pragma once
#include <osg/Vec3d>

#include <cstddef>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace osgEarth {
class SpatialReference;

/// Keeps transformations, because setting one up costs a thousand times what it takes to convert a point. A
/// transformation serves one thread at a time: it is borrowed and handed back. Thread safe.
class TransformPool {
public:
    static TransformPool& instance();

    /// Converts in place between two systems that are geographic or projected (or both geocentric). False
    /// when no conversion exists or a point fails; the points are then undefined.
    bool transform(const SpatialReference& from, const SpatialReference& to, std::size_t count,
                   osg::Vec3d* points);
    /// Same horizontal definition, names apart.
    bool areEquivalent(const SpatialReference& from, const SpatialReference& to);

private:
    TransformPool();
    ~TransformPool();

    using Pair = std::pair<const SpatialReference*, const SpatialReference*>;
    class Transformation;
    struct Entry {
        bool equivalent = false;
        std::vector<std::unique_ptr<Transformation>> idle;
    };

    Entry& entryFor(const SpatialReference& from, const SpatialReference& to);

    std::mutex m_mutex;
    std::map<Pair, Entry> m_entries; // entries stay where they are, so references hold
};

} // namespace osgEarth
