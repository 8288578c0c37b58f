#pragma once

#include "samples/Surface.h"

namespace samples {

/// Light or its reflection in three bands; 1 is white, more is brighter than the screen can show.
struct Colour {
    float red = 0.0F;
    float green = 0.0F;
    float blue = 0.0F;
};

/// Brighter or darker by a factor; `mix` is linear, component by component.
inline Colour operator*(Colour colour, float factor) {
    return {colour.red * factor, colour.green * factor, colour.blue * factor};
}
inline Colour mix(Colour from, Colour to, float share) {
    return {from.red + (to.red - from.red) * share, from.green + (to.green - from.green) * share,
            from.blue + (to.blue - from.blue) * share};
}

/// What colour things have in even light, 0 .. 1 as on the screen (sRGB). Immutable; safe from any thread.
class Palette {
public:
    /// `epoch` 0 or 1: one year later some parcels bear another crop and everything is a little riper. `scene`
    /// must outlive it.
    Palette(const Scene& scene, int epoch) : m_scene(scene), m_epoch(epoch) {}

    /// The colour of what `cell` says at (x, y), site coordinates in metres: the same material varies from
    /// place to place. Shadows and relief come later, in the orthophoto.
    Colour at(SurfaceCell cell, double x, double y) const;

private:
    /// `dryness` 0 is fresh, 1 straw.
    Colour grass(float x, float y, float dryness) const;
    Colour crop(SurfaceCell cell, float x, float y) const;
    Colour soil(float x, float y) const;
    Colour roof(SurfaceCell cell, float x, float y) const;
    Colour tree(SurfaceCell cell, float x, float y) const;
    Colour water(SurfaceCell cell, float x, float y) const;
    Colour paved(SurfaceCell cell, float x, float y) const;
    Colour material(SurfaceCell cell, float x, float y) const;
    /// Gradient noise with lattice cells of `metres`; `use` tells the patterns apart.
    float noise(float x, float y, float metres, std::uint32_t use) const;

    const Scene& m_scene;
    int m_epoch;
};

} // namespace samples
