#include "samples/Orthophoto.h"

#include "samples/Noise.h"
#include "samples/Parallel.h"

namespace samples {

namespace {
/// The light of one survey flight.
struct Daylight {
    double sunAzimuthDegrees; ///< clockwise from north
    double sunElevationDegrees;
    Colour sun;
    Colour sky;
};

constexpr Daylight kDaylight[] = {{318.0, 50.0, {1.06F, 1.02F, 0.94F}, {0.40F, 0.43F, 0.48F}},
                                  {304.0, 44.0, {1.10F, 1.03F, 0.90F}, {0.41F, 0.43F, 0.47F}}};

struct Vector {
    float east, north, up;
};

Vector towardsSun(const Daylight& light) {
    const double flat = cosineDegrees(light.sunElevationDegrees);
    return {static_cast<float>(flat * sineDegrees(light.sunAzimuthDegrees)),
            static_cast<float>(flat * cosineDegrees(light.sunAzimuthDegrees)),
            static_cast<float>(sineDegrees(light.sunElevationDegrees))};
}

/// Share of the sun light that falls on a cell, from the slope of the surface (central differences).
float sunShare(const Surface& surface, const Vector& sun, int column, int row) {
    const auto doubleCell = static_cast<float>(2.0 * surface.frame.cellMetres);
    const float east =
        (surface.height.clamped(column + 1, row) - surface.height.clamped(column - 1, row)) / doubleCell;
    const float north =
        (surface.height.clamped(column, row - 1) - surface.height.clamped(column, row + 1)) / doubleCell;
    const float length = std::sqrt(east * east + north * north + 1.0F);
    return std::max(0.0F, (sun.up - east * sun.east - north * sun.north) / length);
}

/// Where the surface is hollow less of the sky is seen.
float skyShare(const Surface& surface, int column, int row) {
    const int reach = std::max(1, static_cast<int>(1.0 / surface.frame.cellMetres));
    const float around =
        surface.height.clamped(column - reach, row) + surface.height.clamped(column + reach, row) +
        surface.height.clamped(column, row - reach) + surface.height.clamped(column, row + reach);
    const float hollow = 0.25F * around - surface.height.at(column, row);
    return std::clamp(1.0F - 0.22F * hollow, 0.55F, 1.12F);
}

std::uint8_t exposed(float value) {
    // A gentle shoulder keeps white roofs from burning out.
    const float bounded = value < 0.75F ? value : 0.75F + 0.25F * (1.0F - 0.25F / (value - 0.5F));
    return static_cast<std::uint8_t>(std::floor(255.99F * clampUnit(bounded)));
}

float receives(Material material) {
    return material == Material::Water ? 0.35F : 1.0F;
}

/// 0 in the sun .. 255 in the shadow of something, with a soft rim. The sun must stand in the north half of the
/// sky.
Grid<std::uint8_t> castShadows(const Surface& surface, const Vector& sun) {
    const RasterFrame& frame = surface.frame;
    // One row to the south the light has come this far to the east, and sunk by this much.
    const float shift = -sun.east / sun.north;
    const float horizontal = std::sqrt(1.0F + shift * shift) * static_cast<float>(frame.cellMetres);
    const float drop = horizontal * sun.up / std::sqrt(sun.east * sun.east + sun.north * sun.north);
    constexpr float kPenumbraMetres = 0.35F;
    Grid<std::uint8_t> shadow(frame.columns, frame.rows);
    std::vector<float> ray(static_cast<std::size_t>(frame.columns), -1.0e6F);
    std::vector<float> previous = ray;
    for (int r = 1; r < frame.rows; ++r) {
        ray.swap(previous);
        const float* above = surface.height.row(r - 1);
        const float* here = surface.height.row(r);
        for (int c = 0; c < frame.columns; ++c) {
            const float from =
                std::clamp(static_cast<float>(c) - shift, 0.0F, static_cast<float>(frame.columns) - 1.001F);
            const auto i = static_cast<std::size_t>(from);
            const float share = from - static_cast<float>(i);
            const float west = std::max(above[i], previous[i]);
            const float east = std::max(above[i + 1], previous[i + 1]);
            const float level = west + (east - west) * share - drop;
            ray[static_cast<std::size_t>(c)] = level;
            shadow.at(c, r) =
                static_cast<std::uint8_t>(255.0F * clampUnit((level - here[c]) / kPenumbraMetres));
        }
    }
    return shadow;
}
} // namespace

std::vector<std::uint8_t> renderOrthophoto(const Scene& scene, const Surface& surface, int epoch) {
    const RasterFrame& frame = surface.frame;
    const Daylight& light = kDaylight[epoch];
    const Vector sun = towardsSun(light);
    const Grid<std::uint8_t> shadow = castShadows(surface, sun);
    const Palette palette(scene, epoch);
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(frame.columns) *
                                     static_cast<std::size_t>(frame.rows) * 3);
    forEachBand(frame.rows, [&](int first, int end) {
        for (int r = first; r < end; ++r) {
            std::uint8_t* pixel =
                pixels.data() + static_cast<std::size_t>(r) * static_cast<std::size_t>(frame.columns) * 3;
            for (int c = 0; c < frame.columns; ++c, pixel += 3) {
                const SurfaceCell cell = surface.cells.at(c, r);
                const Colour colour = palette.at(cell, frame.x(c), frame.y(r));
                const float shaded =
                    1.0F - static_cast<float>(shadow.at(c, r)) / 255.0F * receives(cell.material);
                const float direct = sunShare(surface, sun, c, r) / sun.up * shaded * 0.66F;
                const float sky = skyShare(surface, c, r);
                pixel[0] = exposed(colour.red * (direct * light.sun.red + sky * light.sky.red));
                pixel[1] = exposed(colour.green * (direct * light.sun.green + sky * light.sky.green));
                pixel[2] = exposed(colour.blue * (direct * light.sun.blue + sky * light.sky.blue));
            }
        }
    });
    return pixels;
}

} // namespace samples
