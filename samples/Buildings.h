#pragma once

#include "samples/LandCover.h"

namespace samples {

enum class RoofShape : std::uint8_t { Gable, Flat, Barrel };

/// A box with a roof; yard walls are narrow boxes. The frame's origin is its centre, u along the ridge.
struct Building {
    TurnedFrame frame;
    double halfLengthMetres = 0.0;
    double halfWidthMetres = 0.0;
    float floorMetres = 0.0F; ///< height above sea level
    float eavesMetres = 0.0F; ///< above the floor
    float ridgeMetres = 0.0F; ///< above the floor
    RoofShape shape = RoofShape::Flat;
    Material material = Material::FlatRoof;

    /// From the centre to the corners, metres.
    double reachMetres() const;
    /// Height of the roof above sea level at a place of the frame, or nothing outside the walls.
    std::optional<float> roofMetres(Point inFrame) const;
};

/// Houses, yards, school and greenhouses of the first epoch, which stay as they are in the second.
std::vector<Building> placeBuildings(const Site& site, const Ground& ground);

/// Whether (x, y) lies inside or nearer than `marginMetres` to one of the buildings.
bool isBuiltUp(const std::vector<Building>& buildings, double x, double y, double marginMetres);

} // namespace samples
