#pragma once

#include <cstdint>

namespace samples {

/// What one sees from above.
enum class Material : std::uint8_t {
    Water,
    Gravel,
    Asphalt,
    RoadMarking,
    CentreMarking,
    Shoulder,
    Concrete,
    DirtTrack,
    Grass,
    Scrub,
    ForestFloor,
    Crop,
    Baulk,
    TerraceRiser,
    Yard,
    RunningTrack,
    PlayingField,
    TiledRoof,
    FlatRoof,
    SteelRoof,
    Greenhouse,
    Wall,
    Broadleaf,
    Conifer,
    FruitTree,
    MarkerPost,
    EarthHeap,
    StoneHeap,
    Pit,
    BareSoil,
    SunkenGrass,
};

/// One cell of the surface. `ident` tells parcels, houses and trees apart; the meaning of `detail` depends on
/// the material: phase across the crop rows, share of the water depth, position across a roof.
struct SurfaceCell {
    Material material = Material::Grass;
    /// 0 .. 255 over the figure's range.
    std::uint8_t detail = 0;
    /// Chooses tone and crop; 0 where things do not differ.
    std::uint16_t ident = 0;
};

} // namespace samples
