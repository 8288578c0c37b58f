#pragma once

#include "samples/Site.h"

namespace samples {

/// The bare ground of the first epoch as people use it: natural relief with river bed and banks, terraced
/// slopes, levelled building grounds and the graded road. Immutable after construction; safe to read from any
/// thread.
class Ground {
public:
    /// `site` is not needed afterwards. Uses all processors.
    explicit Ground(const Site& site);

    /// Height of the ground (over water: of the water) at site coordinates, metres above sea level.
    float heightMetres(double x, double y) const;
    /// Metres of rise per metre of the natural relief over some 30 m, without banks, terraces and road.
    float slope(double x, double y) const { return m_slope.sample(x, y); }
    /// Number of the terrace and the position across its tread, when the place is terraced.
    struct Terrace {
        int number;
        float share; ///< 0 at its lower edge, riser from riserShare on
    };
    /// Where the tread ends and the riser to the next terrace begins.
    static constexpr float kRiserShare = 0.86F;
    std::optional<Terrace> terrace(double x, double y) const;
    /// Height of the carriageway that far along the road, also where it crosses the river on the bridge.
    float roadHeightMetres(float roadAlong) const;

private:
    void shapeNaturalGround(const Site& site, const Field& relief);
    void carveRiver(const Site& site);
    void levelBuildingGrounds(const Site& site);
    void gradeRoad(const Site& site);
    void markTerraces(const Site& site);

    Field m_height; ///< without the terraces, whose edges are sharper than this lattice
    Field m_slope;
    Field m_terraceLevel;            ///< terrace number plus share
    Field m_terraced;                ///< 0 natural slope .. 1 terraced
    std::vector<float> m_roadHeight; ///< every roadStepMetres along the road
};

} // namespace samples
