// The tiles that are in the scene now.
#pragma once
#include "TileMesh.h"

#include <osg/ref_ptr>

#include <array>
#include <atomic>
#include <cstdint>
#include <mutex>
#include <unordered_map>
#include <vector>

namespace osgEarth {

/// Finds the finest loaded tile at a position. Thread safe.
class TileIndex {
public:
    void insert(TileMesh* mesh);
    /// Removes the mesh unless another one has taken its key since.
    void remove(const TileMesh* mesh);
    /// Null where nothing is loaded.
    osg::ref_ptr<TileMesh> finestAt(const Profile& profile, double x, double y) const;
    std::vector<osg::ref_ptr<TileMesh>> all() const;
    /// Counts insertions.
    unsigned revision() const { return m_revision; }

private:
    static std::uint64_t indexOf(unsigned lod, unsigned x, unsigned y) {
        return (static_cast<std::uint64_t>(lod) << 58U) | (static_cast<std::uint64_t>(x) << 29U) | y;
    }

    mutable std::mutex m_mutex;
    std::unordered_map<std::uint64_t, osg::ref_ptr<TileMesh>> m_meshes;
    std::array<int, 32> m_countAtLevel{};
    std::atomic<unsigned> m_revision{0};
};

} // namespace osgEarth
