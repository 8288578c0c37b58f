#include "samples/Palette.h"

#include "samples/Noise.h"

namespace samples {

namespace {
constexpr Colour bytes(int red, int green, int blue) {
    return {static_cast<float>(red) / 255.0F, static_cast<float>(green) / 255.0F,
            static_cast<float>(blue) / 255.0F};
}

/// -1 .. 1, fixed for an ident.
float toneOf(std::uint16_t ident, std::uint32_t use) {
    return 2.0F * unitOf(hashNode(ident, 3, use)) - 1.0F;
}

/// 1 on the middle of a row, 0 between rows.
float rowShare(std::uint8_t phase) {
    return 1.0F - std::fabs(2.0F * static_cast<float>(phase) / 255.0F - 1.0F);
}
} // namespace

float Palette::noise(float x, float y, float metres, std::uint32_t use) const {
    return gradientNoise(x / metres, y / metres, m_scene.site.noiseSeed(use));
}

Colour Palette::at(SurfaceCell cell, double x, double y) const {
    const auto fx = static_cast<float>(x);
    const auto fy = static_cast<float>(y);
    Colour colour = material(cell, fx, fy);
    const float fromPipe = m_scene.site.pipelineField.distance(x, y);
    if (fromPipe < 7.0F && (cell.material == Material::Crop || cell.material == Material::Baulk ||
                            cell.material == Material::Grass || cell.material == Material::Scrub)) {
        // The right of way: disturbed soil, thinner growth, a faint line over the trench.
        const float strip = smoothStep(6.5F, 5.0F, fromPipe + 0.7F * noise(fx, fy, 6.0F, 130));
        colour = mix(colour, mix(soil(fx, fy), grass(fx, fy, 0.6F), 0.45F), 0.42F * strip);
        colour = colour * (1.0F - 0.10F * smoothStep(1.3F, 0.6F, fromPipe));
    }
    return colour * (1.0F + 0.035F * noise(fx, fy, 0.6F, 131));
}

Colour Palette::material(SurfaceCell cell, float x, float y) const {
    switch (cell.material) {
    case Material::Water:
        return water(cell, x, y);
    case Material::Crop:
        return crop(cell, x, y);
    case Material::Grass:
        return grass(x, y, 0.15F);
    case Material::Baulk:
        return grass(x, y, 0.35F);
    case Material::TerraceRiser:
        return mix(grass(x, y, 0.45F), soil(x, y), 0.25F + 0.25F * noise(x, y, 5.0F, 100));
    case Material::Scrub:
        return mix(grass(x, y, 0.5F), bytes(70, 84, 44),
                   smoothStep(0.5F, 0.8F, static_cast<float>(cell.detail) / 255.0F));
    case Material::ForestFloor:
        return mix(bytes(72, 74, 44), bytes(96, 86, 58), 0.5F + 0.5F * noise(x, y, 3.0F, 101));
    case Material::SunkenGrass:
        return mix(bytes(84, 96, 46), bytes(54, 60, 34),
                   clampUnit(static_cast<float>(cell.detail) / 255.0F + 0.3F * noise(x, y, 1.6F, 105)));
    case Material::BareSoil:
        return soil(x, y);
    case Material::EarthHeap:
        return mix(bytes(176, 142, 98), bytes(142, 108, 70), 0.5F + 0.6F * noise(x, y, 1.3F, 102));
    case Material::StoneHeap:
        return mix(bytes(150, 150, 148), bytes(112, 112, 114), 0.5F + 0.9F * noise(x, y, 0.7F, 103));
    case Material::Pit:
        return mix(bytes(150, 112, 68), bytes(118, 84, 50), 0.5F + 0.6F * noise(x, y, 2.0F, 104));
    case Material::TiledRoof:
    case Material::FlatRoof:
    case Material::SteelRoof:
    case Material::Greenhouse:
    case Material::Wall:
    case Material::MarkerPost:
        return roof(cell, x, y);
    case Material::Broadleaf:
    case Material::Conifer:
    case Material::FruitTree:
        return tree(cell, x, y);
    default:
        return paved(cell, x, y);
    }
}

Colour Palette::grass(float x, float y, float dryness) const {
    const float patch = 0.5F + 0.35F * noise(x, y, 9.0F, 110) + 0.25F * noise(x, y, 2.3F, 111);
    const Colour fresh = m_epoch == 0 ? bytes(106, 124, 68) : bytes(114, 125, 68);
    const Colour lush = bytes(84, 104, 54);
    return mix(mix(lush, fresh, clampUnit(patch)), bytes(158, 148, 96),
               clampUnit(dryness + 0.3F * noise(x, y, 14.0F, 112)));
}

Colour Palette::soil(float x, float y) const {
    const float patch = 0.5F + 0.4F * noise(x, y, 11.0F, 115) + 0.25F * noise(x, y, 1.8F, 116);
    return mix(bytes(166, 142, 106), bytes(142, 118, 86), clampUnit(patch));
}

Colour Palette::crop(SurfaceCell cell, float x, float y) const {
    const CropStyle& style = m_scene.cover.parcels().style(cell.ident);
    const float row = rowShare(cell.detail);
    const float patch = 0.6F * noise(x, y, 16.0F, 120) + 0.4F * noise(x, y, 4.0F, 121);
    const float tone = style.tone + (m_epoch == 0 ? 0.0F : 0.45F * toneOf(cell.ident, 5));
    Colour plants = bytes(120, 132, 60);
    float closed = 1.0F; // share of the ground the plants cover
    switch (style.crop) {
    case Crop::Wheat:
        plants =
            mix(bytes(122, 134, 70), bytes(178, 164, 102), clampUnit(0.42F + 0.45F * tone + 0.25F * patch));
        closed = 0.86F + 0.14F * smoothStep(0.06F, 0.16F, row);
        break;
    case Crop::Rape:
        plants = mix(bytes(108, 122, 70), bytes(140, 144, 80), clampUnit(0.5F + 0.5F * tone + 0.3F * patch));
        closed = 0.8F + 0.2F * row;
        break;
    case Crop::Maize:
        plants = mix(bytes(98, 122, 56), bytes(120, 136, 70), clampUnit(0.5F + 0.4F * tone));
        closed = 0.18F + 0.60F * smoothStep(0.3F, 0.8F, row);
        break;
    case Crop::Vegetables:
        plants = mix(bytes(66, 110, 50), bytes(108, 142, 66), clampUnit(0.5F + 0.5F * tone + 0.2F * patch));
        closed = smoothStep(0.12F, 0.5F, row);
        break;
    case Crop::Fallow:
        plants = bytes(154, 132, 100);
        closed = 0.4F * row;
        break;
    case Crop::Mulched:
        plants = bytes(176, 178, 170);
        closed = 0.85F * smoothStep(0.35F, 0.5F, row);
        break;
    case Crop::Orchard:
        plants = grass(x, y, 0.35F);
        closed = 0.65F + 0.35F * row;
        break;
    case Crop::Meadow:
        plants = grass(x, y, 0.1F);
        break;
    }
    const Colour colour = mix(soil(x, y), plants, clampUnit(closed + 0.12F * patch));
    return colour * (1.0F + 0.06F * tone + 0.05F * patch);
}

Colour Palette::roof(SurfaceCell cell, float x, float y) const {
    const float joint = cell.detail > 205 ? 0.9F : 1.0F;
    const float stain = 1.0F + 0.08F * noise(x, y, 2.5F, 140);
    const float tone = toneOf(cell.ident, 6);
    switch (cell.material) {
    case Material::TiledRoof: {
        const Colour tiles =
            tone < -0.2F
                ? mix(bytes(104, 104, 108), bytes(128, 124, 122), 0.5F + 0.5F * toneOf(cell.ident, 7))
            : tone < 0.6F ? mix(bytes(150, 88, 66), bytes(168, 108, 80), 0.5F + 0.5F * toneOf(cell.ident, 7))
                          : bytes(132, 70, 56);
        return tiles * joint * stain;
    }
    case Material::FlatRoof:
        if (cell.detail == 255) {
            return bytes(182, 178, 170);
        }
        return mix(bytes(146, 142, 134), bytes(176, 172, 164), 0.5F + 0.5F * tone) * stain;
    case Material::SteelRoof:
        return (tone < 0.5F ? bytes(70, 118, 184) : bytes(176, 66, 58)) * (cell.detail > 190 ? 0.84F : 1.0F);
    case Material::Greenhouse:
        return bytes(214, 220, 222) * (cell.detail > 190 ? 0.86F : 1.0F) * stain;
    case Material::MarkerPost:
        return bytes(244, 206, 60);
    default:
        return bytes(172, 160, 148);
    }
}

Colour Palette::tree(SurfaceCell cell, float x, float y) const {
    const float tone = toneOf(cell.ident, 8);
    const float leaves = 1.0F + 0.18F * noise(x, y, 0.8F, 150);
    Colour crown = mix(bytes(66, 90, 38), bytes(98, 116, 52), 0.5F + 0.5F * tone);
    if (cell.material == Material::Conifer) {
        crown = mix(bytes(44, 66, 40), bytes(60, 82, 48), 0.5F + 0.5F * tone);
    } else if (cell.material == Material::FruitTree) {
        crown = mix(bytes(80, 110, 52), bytes(104, 128, 66), 0.5F + 0.5F * tone);
    }
    const Colour season = m_epoch == 0 ? Colour{1.0F, 1.0F, 1.0F} : Colour{1.05F, 0.98F, 0.94F};
    return {crown.red * leaves * season.red, crown.green * leaves * season.green,
            crown.blue * leaves * season.blue};
}

Colour Palette::water(SurfaceCell cell, float x, float y) const {
    const float depth = static_cast<float>(cell.detail) / 255.0F + 0.15F * noise(x, y, 12.0F, 160);
    const Colour shallow = bytes(132, 132, 92);
    const Colour deep = m_epoch == 0 ? bytes(62, 88, 78) : bytes(74, 92, 74);
    const float ripple = 1.0F + 0.05F * noise(x * 0.7F, y, 1.1F, 161) + 0.04F * noise(x, y, 5.0F, 162);
    return mix(shallow, deep, smoothStep(0.0F, 0.55F, depth)) * ripple;
}

Colour Palette::paved(SurfaceCell cell, float x, float y) const {
    const float share = static_cast<float>(cell.detail) / 255.0F;
    switch (cell.material) {
    case Material::Gravel:
        return mix(bytes(178, 168, 144), bytes(148, 138, 116), 0.5F + 0.7F * noise(x, y, 1.4F, 170));
    case Material::Asphalt: {
        // Wheels polish two lines in each lane.
        const float wheels = smoothStep(0.12F, 0.02F, std::fabs(std::fabs(share - 0.42F) - 0.19F));
        return mix(bytes(98, 99, 102), bytes(116, 116, 116), wheels) *
               (1.0F + 0.05F * noise(x, y, 7.0F, 171));
    }
    case Material::RoadMarking:
        return bytes(222, 222, 216);
    case Material::CentreMarking:
        return bytes(226, 190, 90);
    case Material::Shoulder:
        return mix(bytes(150, 140, 120), grass(x, y, 0.5F), clampUnit(0.25F + 0.4F * noise(x, y, 2.0F, 172)));
    case Material::Concrete:
        return bytes(182, 178, 168) * (1.0F + 0.06F * noise(x, y, 3.0F, 173));
    case Material::DirtTrack: {
        const float wheels = smoothStep(0.30F, 0.12F, std::fabs(share - 0.5F));
        return mix(mix(grass(x, y, 0.5F), bytes(168, 146, 110), 0.35F), bytes(186, 162, 122), wheels);
    }
    case Material::Yard:
        return mix(bytes(166, 150, 122), bytes(140, 128, 100),
                   clampUnit(0.5F + 0.5F * noise(x, y, 4.0F, 174)));
    case Material::RunningTrack:
        return cell.detail == 255 ? bytes(226, 214, 208) : bytes(176, 74, 60);
    default: // PlayingField
        return cell.detail == 255 ? bytes(84, 134, 62) : bytes(96, 148, 70);
    }
}

} // namespace samples
