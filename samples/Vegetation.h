#pragma once

#include "samples/Changes.h"

namespace samples {

/// One crown over its stem, site coordinates; its rim and top are rough by a noise of its own.
struct Tree {
    double x = 0.0;
    double y = 0.0;
    float radiusMetres = 2.0F;
    float baseMetres = 0.0F; ///< height of the ground at the stem
    float heightMetres = 8.0F;
    Material species = Material::Broadleaf;
    std::uint16_t ident = 0;
    std::uint32_t noiseSeed = 0;

    /// Height above sea level of the top of the crown over (px, py), or nothing beside it. Bumps of the rim
    /// reach 1.3 radii at the most.
    std::optional<float> crownMetres(double px, double py) const;
};

/// Forest, trees along roads, river, tracks and in yards, orchards. They are the same in both epochs.
/// In order of y, so that a band of rows finds its own ones fast.
std::vector<Tree> plantTrees(const Site& site, const Ground& ground, const LandCover& cover,
                             const std::vector<Building>& buildings, const std::vector<Change>& changes);

} // namespace samples
