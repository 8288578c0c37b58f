#pragma once

#include <cstdint>

namespace samples {

/// What one sees from above.
enum class Material : std::uint8_t {
    // Water, roads and what else is not grown.
    Water,
    Gravel,
    Asphalt,
    RoadMarking,
    CentreMarking,
    Shoulder,
    Concrete,
    DirtTrack,
    // What grows low; a baulk is the strip of grass between two parcels.
    Grass,
    Scrub,
    ForestFloor,
    Crop,
    Baulk,
    TerraceRiser,
    // Around houses and on the school's ground.
    Yard,
    RunningTrack,
    PlayingField,
    // What is built.
    TiledRoof,
    FlatRoof,
    SteelRoof,
    Greenhouse,
    Wall,
    // Crowns of trees.
    Broadleaf,
    Conifer,
    FruitTree,
    // Beside the pipe every hundred metres.
    MarkerPost,
    // What the works and the subsidence between the epochs left; only in the second one.
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
