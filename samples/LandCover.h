#pragma once

#include "samples/Ground.h"
#include "samples/Material.h"
#include "samples/Parcels.h"

namespace samples {

/// What lies or grows on the ground of the first epoch, without trees and buildings.
struct Cover {
    SurfaceCell cell;
    float heightMetres = 0.0F; ///< above the ground
};

/// Immutable; safe to read from any thread.
class LandCover {
public:
    /// Both must outlive it.
    LandCover(const Site& site, const Ground& ground) : m_site(site), m_ground(ground), m_parcels(site) {}

    /// The first that claims the place: road, river, school, village, farmstead, lane, forest floor,
    /// fields. Site coordinates, metres.
    Cover at(double x, double y) const;
    /// Whose idents the cells of crops bear.
    const Parcels& parcels() const { return m_parcels; }

private:
    /// Each answers nothing where something else lies.
    std::optional<Cover> road(double x, double y) const;
    std::optional<Cover> lane(double x, double y) const;
    std::optional<Cover> river(double x, double y) const;
    std::optional<Cover> school(double x, double y) const;
    std::optional<Cover> village(double x, double y) const;
    std::optional<Cover> farmstead(double x, double y) const;
    std::optional<Cover> garden(double u, double inRow, int row) const;
    Cover yard(double x, double y) const;
    /// Uneven growth: scrub with bushes, otherwise tufts of grass.
    Cover wild(Material material, double x, double y) const;
    /// Crops in rows, their tracks, balks and terraces; scrub where it is too steep to farm.
    Cover field(double x, double y) const;

    const Site& m_site;
    const Ground& m_ground;
    Parcels m_parcels;
};

} // namespace samples
