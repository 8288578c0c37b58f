#include "samples/Surface.h"

#include "samples/Noise.h"
#include "samples/Parallel.h"

namespace samples {

namespace {
void layGround(const Scene& scene, Surface& surface, int firstRow, int endRow) {
    for (int r = firstRow; r < endRow; ++r) {
        const double y = surface.frame.y(r);
        float* heights = surface.height.row(r);
        SurfaceCell* cells = surface.cells.row(r);
        for (int c = 0; c < surface.frame.columns; ++c) {
            const double x = surface.frame.x(c);
            const Cover cover = scene.cover.at(x, y);
            cells[c] = cover.cell;
            heights[c] = scene.ground.heightMetres(x, y) + cover.heightMetres;
        }
    }
}

/// Where the road crosses the water its deck and the railings stand above the ground.
void layBridge(const Scene& scene, Surface& surface, int firstRow, int endRow) {
    constexpr double kDeckHalfWidthMetres = 4.6;
    const Site& site = scene.site;
    for (int r = firstRow; r < endRow; ++r) {
        for (int c = 0; c < surface.frame.columns; ++c) {
            const double x = surface.frame.x(c);
            const double y = surface.frame.y(r);
            if (site.roadField.distance(x, y) > kDeckHalfWidthMetres ||
                site.riverField.distance(x, y) > 40.0F) {
                continue;
            }
            const auto road = site.roadField.find(x, y);
            if (!road) {
                continue;
            }
            const bool railing =
                std::fabs(road->lateralMetres) > 4.2F && site.riverField.distance(x, y) < 22.0F;
            const float deck = scene.ground.roadHeightMetres(road->alongMetres) + (railing ? 0.9F : 0.0F);
            surface.height.at(c, r) = std::max(surface.height.at(c, r), deck);
            if (railing) {
                surface.cells.at(c, r) = {Material::Wall, 0, 0};
            }
        }
    }
}

void raise(Surface& surface, int column, int row, float height, SurfaceCell cell) {
    float& current = surface.height.at(column, row);
    if (height <= current) {
        return;
    }
    current = height;
    surface.cells.at(column, row) = cell;
}

/// Calls work(column, row) for the cells around a place within the band of rows.
template<class Work>
void forEachCellAround(const RasterFrame& frame, Point place, double reach, int firstRow, int endRow,
                       const Work& work) {
    const auto [top, bottom] = frame.rowRange(place.y - reach, place.y + reach);
    const auto [left, right] = frame.columnRange(place.x - reach, place.x + reach);
    for (int r = std::max(top, firstRow); r < std::min(bottom, endRow); ++r) {
        for (int c = left; c < right; ++c) {
            work(c, r);
        }
    }
}

void standBuildings(const Scene& scene, Surface& surface, int firstRow, int endRow) {
    std::uint16_t ident = 0;
    for (const Building& building : scene.buildings) {
        ++ident;
        forEachCellAround(
            surface.frame, building.frame.origin, building.reachMetres(), firstRow, endRow,
            [&](int c, int r) {
                const Point place = building.frame.toFrame(surface.frame.x(c), surface.frame.y(r));
                const auto roof = building.roofMetres(place);
                if (!roof) {
                    return;
                }
                const bool rim = building.shape == RoofShape::Flat &&
                                 building.material == Material::FlatRoof &&
                                 std::min(building.halfLengthMetres - std::fabs(place.x),
                                          building.halfWidthMetres - std::fabs(place.y)) < 0.35;
                const double acrossTiles =
                    building.material == Material::Greenhouse ? place.x / 3.0 : place.x / 1.1;
                raise(surface, c, r, *roof + (rim ? 0.4F : 0.0F),
                      {building.material,
                       rim ? std::uint8_t{255} : byteOf(0.9 * (acrossTiles - std::floor(acrossTiles))),
                       ident});
            });
    }
}

void standTrees(const Scene& scene, Surface& surface, int firstRow, int endRow) {
    constexpr double kWidestMetres = 6.0;
    const double yMin = surface.frame.y(endRow - 1) - kWidestMetres;
    const double yMax = surface.frame.y(firstRow) + kWidestMetres;
    auto tree = std::lower_bound(scene.trees.begin(), scene.trees.end(), yMin,
                                 [](const Tree& candidate, double y) { return candidate.y < y; });
    for (; tree != scene.trees.end() && tree->y <= yMax; ++tree) {
        forEachCellAround(surface.frame, {tree->x, tree->y}, static_cast<double>(tree->radiusMetres) * 1.3,
                          firstRow, endRow, [&](int c, int r) {
                              if (const auto crown =
                                      tree->crownMetres(surface.frame.x(c), surface.frame.y(r))) {
                                  raise(surface, c, r, *crown, {tree->species, 0, tree->ident});
                              }
                          });
    }
}

/// Yellow posts beside the pipe every hundred metres.
void standMarkers(const Scene& scene, Surface& surface) {
    const Curve& pipe = scene.site.pipeline;
    for (const double along : stepsFrom(50.0, pipe.length(), 100.0)) {
        const Point middle = pipe.at(along);
        const Point way = pipe.direction(along);
        const Point post{middle.x - way.y * 2.5, middle.y + way.x * 2.5};
        if (scene.site.roadField.distance(post.x, post.y) < 6.0F ||
            isNearChange(scene.changes, post.x, post.y, 0.0) ||
            scene.cover.at(post.x, post.y).cell.material == Material::Water) {
            continue;
        }
        const float ground = scene.ground.heightMetres(post.x, post.y);
        const double half = 0.5 * std::max(0.5, surface.frame.cellMetres);
        forEachCellAround(surface.frame, post, 1.0, 0, surface.frame.rows,
                          [&](int c, int r) { surface.cells.at(c, r) = {Material::Concrete, 0, 0}; });
        forEachCellAround(surface.frame, post, half, 0, surface.frame.rows, [&](int c, int r) {
            raise(surface, c, r, ground + 1.2F, {Material::MarkerPost, 0, 0});
        });
    }
}

SurfaceCell changedCell(const Change& change, std::size_t index, Point place) {
    const double tiles = change.frame.toFrame(place.x, place.y).x / 1.1;
    const auto ident = static_cast<std::uint16_t>(7000 + index);
    return {change.material, byteOf(0.9 * (tiles - std::floor(tiles))), ident};
}

/// Plants and soil, not pavement or roofs.
bool canWear(Material material) {
    return material == Material::Crop || material == Material::Baulk || material == Material::Grass ||
           material == Material::TerraceRiser || material == Material::Scrub ||
           material == Material::ForestFloor;
}

/// Where water gathers the plants are darker: most of the bowl with a frayed rim, and the tension cracks
/// around it.
bool isSunken(const Scene& scene, const Change& change, float depthShare, double x, double y) {
    if (depthShare <= 0.0F) {
        return false;
    }
    const float fray = fractalNoise(x, y, 4.0F, change.noiseSeed + 3, 3);
    const float crack = depthShare + 0.05F * gradientNoise(x, y, 2.0F, scene.site.noiseSeed(80));
    const bool isCrack = (crack > 0.16F && crack < 0.20F) || (crack > 0.055F && crack < 0.075F);
    return depthShare + 0.28F * fray > 0.42F || (isCrack && fray > -0.35F);
}

ChangeWindow applyChange(const Scene& scene, std::size_t index, Surface& surface) {
    const Change& change = scene.changes[index];
    constexpr double kWearMetres = 6.0;
    const RasterFrame& frame = surface.frame;
    const double reach = change.reachMetres() + kWearMetres;
    const auto [left, right] =
        frame.columnRange(change.frame.origin.x - reach, change.frame.origin.x + reach);
    const auto [top, bottom] = frame.rowRange(change.frame.origin.y - reach, change.frame.origin.y + reach);
    ChangeWindow window{left, top, Grid<float>(right - left, bottom - top)};
    for (int r = top; r < bottom; ++r) {
        for (int c = left; c < right; ++c) {
            const double x = frame.x(c);
            const double y = frame.y(r);
            float& height = surface.height.at(c, r);
            SurfaceCell& cell = surface.cells.at(c, r);
            const float dz = change.dzMetres(x, y, height, scene.ground.heightMetres(x, y));
            window.dz.at(c - left, r - top) = dz;
            height += dz;
            if (dz != 0.0F && change.shape != ChangeShape::Bowl) {
                cell = changedCell(change, index, {x, y});
            } else if (isSunken(scene, change, -dz / change.sizeMetres, x, y) && canWear(cell.material)) {
                cell = {Material::SunkenGrass, byteOf(static_cast<double>(-dz / change.sizeMetres)),
                        cell.ident};
            } else if (canWear(cell.material) && change.wear(x, y) > 0.5F) {
                cell = {Material::BareSoil, 0, 0};
            }
        }
    }
    return window;
}
} // namespace

std::pair<int, int> RasterFrame::columnRange(double xMin, double xMax) const {
    const int first = static_cast<int>(std::ceil(xMin / cellMetres - 0.5));
    const int end = static_cast<int>(std::floor(xMax / cellMetres - 0.5)) + 1;
    return {std::clamp(first, 0, columns), std::clamp(end, 0, columns)};
}

std::pair<int, int> RasterFrame::rowRange(double yMin, double yMax) const {
    const int first = static_cast<int>(std::ceil((Extent::kHeightMetres - yMax) / cellMetres - 0.5));
    const int end = static_cast<int>(std::floor((Extent::kHeightMetres - yMin) / cellMetres - 0.5)) + 1;
    return {std::clamp(first, 0, rows), std::clamp(end, 0, rows)};
}

Surface composeSurface(const Scene& scene, const RasterFrame& frame) {
    Surface surface(frame);
    forEachBand(frame.rows, [&](int first, int end) {
        layGround(scene, surface, first, end);
        layBridge(scene, surface, first, end);
        standBuildings(scene, surface, first, end);
        standTrees(scene, surface, first, end);
    });
    standMarkers(scene, surface);
    return surface;
}

std::vector<ChangeWindow> applyChanges(const Scene& scene, Surface& surface) {
    std::vector<ChangeWindow> windows;
    for (std::size_t i = 0; i < scene.changes.size(); ++i) {
        windows.push_back(applyChange(scene, i, surface));
    }
    return windows;
}

} // namespace samples
