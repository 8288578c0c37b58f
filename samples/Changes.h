#pragma once

#include "samples/Buildings.h"

#include <string>

namespace samples {

enum class ChangeShape : std::uint8_t { House, Heap, Pit, Bowl, FillPlatform, CutPlatform };

/// One thing that happened between the epochs, in its own turned frame (origin: centre, or the shared edge of
/// a platform). It adds dZ to the surface of the first epoch; outside its reach it adds nothing.
struct Change {
    std::string name;
    ChangeShape shape = ChangeShape::Heap;
    TurnedFrame frame;
    double halfLengthMetres = 0.0;
    double halfWidthMetres = 0.0;
    float sizeMetres = 0.0F; ///< height of what was added or depth of what was taken away
    float roofMetres = 0.0F; ///< House: height of its flat roof above sea level
    Material material = Material::EarthHeap;
    std::uint32_t noiseSeed = 0;

    bool isFill() const;
    /// 建构筑物, 重物占压, 深挖 or 塌陷.
    const char* className() const;
    /// No dZ farther than this from the origin.
    double reachMetres() const;
    /// New minus old surface at (x, y), metres, where the old surface has the height `oldMetres` and the bare
    /// ground `groundMetres`; 0 outside.
    float dzMetres(double x, double y, float oldMetres, float groundMetres) const;
    /// How much of the ground around it is worn by the works (only seen, not measured), 0 .. 1.
    float wear(double x, double y) const;
};

/// Draws the changes between the epochs: houses, heaps, pits, subsidence bowls, cuts beside fills; some over
/// the pipe, some across station boundaries; never on roads, water, old buildings or in the forest, and never
/// overlapping.
std::vector<Change> planChanges(const Site& site, const Ground& ground, const LandCover& cover,
                                const std::vector<Building>& buildings);

/// Whether (x, y) is nearer than `marginMetres` to the reach of a change: nothing tall may grow there.
bool isNearChange(const std::vector<Change>& changes, double x, double y, double marginMetres);

} // namespace samples
