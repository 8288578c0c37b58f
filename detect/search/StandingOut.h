#pragma once

#include "detect/search/Component.h"
#include "detect/search/RestlessGround.h"

namespace detect {

/// Takes from components what does not stand out of restless ground: there, a change must reach several times the
/// scatter of dZ besides its level of detection, or hold a tile that stands out as a whole. Looks at a component's own cells only, each for itself, so that it
/// does not matter in which blocks, windows or parts the component was found. Belongs to one thread.
class StandingOut {
public:
    /// `edges`: those of a window behind which a component may go on.
    StandingOut(RestlessGround ground, const CellWindow& overlap, const CellLevel& level, float growRatio,
                const BlockEdges& edges);

    /// True when it took cells away or found them restless: the runs that are left, in row order and possibly none,
    /// have to be connected anew, gaps are marked. False when all of it lies on calm ground and was left as it is.
    Result<bool> reduce(Component& component);

    /// What |dZ| must reach, over the scatter. Plants and water cover tens of thousands of places that scatter for
    /// themselves, so that three or four would leave some.
    static constexpr float kSigmas = 4.5F;

private:
    /// A stretch of a row in which one scatter holds.
    struct Part {
        std::int32_t begin = 0;
        std::int32_t end = 0;
        RestlessTile tile; ///< with no scatter where it asks for no more than the level of detection
    };

    Status readBand(const CellWindow& box, int row);
    RestlessTile tileAt(int row, std::int32_t column) const;
    bool isCalm(const Run& run) const;
    CellLevel levelIn(float scatter) const;
    void reduceStretch(const Component& from, std::size_t first, std::size_t last, Component& left);
    const float* heightsOf(const Component& from, const Run& run, std::int32_t column) const;
    const float* measured(int row, std::int32_t column) const;
    int countOfNine(const Run& run, std::int32_t column, float needed) const;
    bool keeps(const Run& run, std::int32_t column, float dz, const CellLevel& level) const;
    void addPart(const Run& whole, const Part& part, const float* heights, Component& left) const;
    void addGap(const Run& whole, std::int32_t column, const float* height, Component& left) const;

    RestlessGround m_ground;
    CellWindow m_overlap;
    CellLevel m_level;
    float m_growRatio;
    BlockEdges m_edges;
    RestlessTiles m_tiles;   ///< of the component at hand
    CellWindow m_band;       ///< some rows of it, with the cells around
    std::vector<float> m_dz; ///< of the band
    std::vector<std::uint8_t> m_kept;
};

} // namespace detect
