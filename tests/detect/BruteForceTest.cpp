// Detection against a reference that looks at every cell of the whole raster at once.

#include "tests/detect/RandomRasters.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>

namespace detect::test {
namespace {

struct Component {
    int sign = 0;
    std::vector<int> cells; ///< in row order
};

/// dZ of a whole raster, cell by cell.
class Reference {
public:
    Reference(const std::vector<float>& oldHeights, const std::vector<float>& newHeights, int columns,
              const Parameters& parameters, double noiseMetres)
        : m_columns(columns), m_rows(static_cast<int>(oldHeights.size()) / columns),
          m_parameters(parameters) {
        for (std::size_t i = 0; i < oldHeights.size(); ++i) {
            m_dz.push_back(newHeights[i] - oldHeights[i]);
        }
        const auto grow = static_cast<float>(parameters.thresholdMetres * parameters.growRatio);
        for (const float dz : m_dz) {
            m_measured.push_back(dz >= grow ? 1 : dz <= -grow ? -1 : 0);
        }
        const auto ratio = static_cast<float>(parameters.growRatio);
        const float rim = std::max(ratio * ratio * static_cast<float>(parameters.thresholdMetres),
                                   1.3F * static_cast<float>(noiseMetres));
        if (rim < grow) {
            addRims(rim);
        }
    }

    float dz(int cell) const { return m_dz[static_cast<std::size_t>(cell)]; }

    std::vector<Component> components(double cellArea) const {
        std::vector<int> members = filled();
        std::vector<Component> found;
        for (int cell = 0; cell < m_columns * m_rows; ++cell) {
            if (members[static_cast<std::size_t>(cell)] == 0) {
                continue;
            }
            Component component = flood(members, cell);
            if (accepted(component, cellArea)) {
                found.push_back(std::move(component));
            }
        }
        return found;
    }

private:
    /// The median of nine cells, all of them measured, may make a weak cell a member.
    void addRims(float least) {
        for (int row = 1; row + 1 < m_rows; ++row) {
            for (int column = 1; column + 1 < m_columns; ++column) {
                std::vector<float> nine;
                for (int k = 0; k < 9; ++k) {
                    nine.push_back(dz((row + k / 3 - 1) * m_columns + column + k % 3 - 1));
                }
                int& member = m_measured[static_cast<std::size_t>(row * m_columns + column)];
                if (member == 0 &&
                    std::none_of(nine.begin(), nine.end(), [](float v) { return std::isnan(v); })) {
                    std::sort(nine.begin(), nine.end());
                    member = nine[4] >= least ? 1 : nine[4] <= -least ? -1 : 0;
                }
            }
        }
    }

    int sign(const std::vector<int>& signs, int row, int column) const {
        const bool inside = row >= 0 && column >= 0 && row < m_rows && column < m_columns;
        return inside ? signs[static_cast<std::size_t>(row * m_columns + column)] : 0;
    }

    std::vector<int> filled() const {
        std::vector<int> members = m_measured;
        for (int row = 0; row < m_rows; ++row) {
            for (int column = 0; column < m_columns; ++column) {
                const int cell = row * m_columns + column;
                const int around = sign(m_measured, row, column - 1);
                if (sign(m_measured, row, column) == 0 && !std::isnan(dz(cell)) && around != 0 &&
                    around == sign(m_measured, row, column + 1) &&
                    around == sign(m_measured, row - 1, column) &&
                    around == sign(m_measured, row + 1, column)) {
                    members[static_cast<std::size_t>(cell)] = around;
                }
            }
        }
        return members;
    }

    Component flood(std::vector<int>& members, int start) const {
        Component component;
        component.sign = members[static_cast<std::size_t>(start)];
        std::vector<std::pair<int, int>> open{{start / m_columns, start % m_columns}};
        while (!open.empty()) {
            const auto [row, column] = open.back();
            open.pop_back();
            if (sign(members, row, column) != component.sign) {
                continue;
            }
            members[static_cast<std::size_t>(row * m_columns + column)] = 0;
            component.cells.push_back(row * m_columns + column);
            open.insert(open.end(),
                        {{row + 1, column}, {row - 1, column}, {row, column + 1}, {row, column - 1}});
        }
        std::sort(component.cells.begin(), component.cells.end());
        return component;
    }

    bool accepted(const Component& component, double cellArea) const {
        const auto has = [&](int cell) {
            return std::binary_search(component.cells.begin(), component.cells.end(), cell);
        };
        const auto isStrong = [&](int cell) {
            // Only a member lies on the raster for certain: the square of nine may hang over its rim.
            return has(cell) && static_cast<float>(component.sign) * dz(cell) >=
                                    static_cast<float>(m_parameters.thresholdMetres);
        };
        bool core = false;
        for (const int cell : component.cells) {
            bool whole = cell % m_columns + 2 < m_columns;
            for (int k = 0; k < 9; ++k) {
                whole = whole && isStrong(cell + k / 3 * m_columns + k % 3);
            }
            core = core || whole;
        }
        return core &&
               static_cast<double>(component.cells.size()) * cellArea >= m_parameters.minAreaSquareMetres;
    }

    int m_columns;
    int m_rows;
    Parameters m_parameters;
    std::vector<float> m_dz;
    std::vector<int> m_measured;
};

void expectSame(const Anomaly& found, const Component& expected, const Reference& reference,
                const RasterPlan& plan) {
    const double cellArea = std::abs(plan.toMap[1] * plan.toMap[5]);
    EXPECT_EQ(found.kind, expected.sign > 0 ? Kind::Fill : Kind::Cut);
    ASSERT_EQ(found.cells, static_cast<std::int64_t>(expected.cells.size()));
    double raised = 0.0;
    double sunk = 0.0;
    double lowest = 1e9;
    double highest = -1e9;
    Point centroid;
    for (const int cell : expected.cells) {
        const auto dz = static_cast<double>(reference.dz(cell));
        (dz > 0.0 ? raised : sunk) += dz;
        lowest = std::min(lowest, dz);
        highest = std::max(highest, dz);
        const Point centre = plan.centre(cell % plan.columns, cell / plan.columns);
        centroid.x += centre.x / static_cast<double>(expected.cells.size());
        centroid.y += centre.y / static_cast<double>(expected.cells.size());
        EXPECT_TRUE(encloses(found, centre));
    }
    const auto cells = static_cast<double>(found.cells);
    EXPECT_NEAR(found.areaSquareMetres, cells * cellArea, 1e-9);
    EXPECT_NEAR(polygonArea(found), cells * cellArea, 1e-6);
    EXPECT_NEAR(found.fillCubicMetres, raised * cellArea, 1e-6);
    EXPECT_NEAR(found.cutCubicMetres, -sunk * cellArea, 1e-6);
    EXPECT_NEAR(found.dzMeanMetres, (raised + sunk) / cells, 1e-9);
    EXPECT_EQ(found.dzMinMetres, lowest);
    EXPECT_EQ(found.dzMaxMetres, highest);
    EXPECT_NEAR(found.centroid.x, centroid.x, 1e-6);
    EXPECT_NEAR(found.centroid.y, centroid.y, 1e-6);
    EXPECT_TRUE(isValidPolygon(found));
}

TEST(BruteForce, RandomRastersGiveTheReferenceWhateverBlocksAndThreads) {
    std::size_t compared = 0;
    for (std::uint64_t seed = 1; seed <= 60; ++seed) {
        Random random(seed);
        RasterPlan plan;
        plan.columns = 20 + static_cast<int>(random() * 50);
        plan.rows = 15 + static_cast<int>(random() * 60);
        if (seed % 3 == 0) {
            plan.creationOptions = {"TILED=YES", "BLOCKXSIZE=16", "BLOCKYSIZE=16", "COMPRESS=DEFLATE"};
        }
        const double roughness = 0.2 + 1.6 * random();
        const std::vector<float> oldHeights = randomHeights(random, plan.columns, plan.rows, roughness);
        const std::vector<float> newHeights = randomHeights(random, plan.columns, plan.rows, roughness);
        Request request;
        request.oldRaster = "/vsimem/brute-old.tif";
        request.newRaster = "/vsimem/brute-new.tif";
        writeRaster(request.oldRaster, plan, oldHeights);
        writeRaster(request.newRaster, plan, newHeights);
        request.parameters.coregistration = CoregistrationMethod::None;
        request.parameters.minAreaSquareMetres = random() * 6.0;
        request.parameters.growRatio = 0.3 + 0.7 * random();
        request.parameters.rules.sliver = request.parameters.rules.speckle = false;
        request.parameters.splitBodies = false;
        request.parameters.simplifyOutlines = false;

        const double noise = detectOrFail(request).coregistration.nmadAfterMetres;
        const Reference reference(oldHeights, newHeights, plan.columns, request.parameters, noise);
        const std::vector<Component> expected = reference.components(0.25);
        const int blockRows[] = {0, 1, 2, 3, 7, 16, 1000};
        for (std::size_t i = 0; i < std::size(blockRows); ++i) {
            SCOPED_TRACE("seed " + std::to_string(seed) + ", block rows " + std::to_string(blockRows[i]) +
                         ", turn " + std::to_string(i));
            request.parameters.blockRows = blockRows[i];
            request.parameters.blockColumns = blockRows[(i * 3 + seed) % std::size(blockRows)];
            request.parameters.threads = 1 + static_cast<int>((i + seed) % 4);
            const Changes found = detectOrFail(request);
            ASSERT_EQ(found.anomalies.size(), expected.size());
            for (std::size_t k = 0; k < expected.size(); ++k) {
                expectSame(found.anomalies[k], expected[k], reference, plan);
            }
            compared += expected.size();
        }
    }
    EXPECT_GT(compared, 1000U) << "the random rasters hold too little to compare";
}

TEST(BruteForce, ResampledRunsAreIdenticalWhateverBlocksAndThreads) {
    Random random(99);
    RasterPlan oldPlan;
    oldPlan.columns = 150;
    oldPlan.rows = 130;
    RasterPlan newPlan = oldPlan;
    newPlan.epsg = 4548;
    newPlan.columns = 300;
    newPlan.rows = 260;
    // About the same place, seen from the next zone.
    const auto moved = [] {
        OGRSpatialReference from;
        OGRSpatialReference to;
        from.importFromEPSG(4547);
        to.importFromEPSG(4548);
        from.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
        to.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
        double x = 500000.0;
        double y = 3400000.0;
        const std::unique_ptr<OGRCoordinateTransformation> transformation(
            OGRCreateCoordinateTransformation(&from, &to));
        transformation->Transform(1, &x, &y);
        return Point{x, y};
    }();
    newPlan.toMap = {moved.x - 5.0, 0.3, 0.0, moved.y + 5.0, 0.0, -0.3};
    Request request;
    request.oldRaster = "/vsimem/resampled-old.tif";
    request.newRaster = "/vsimem/resampled-new.tif";
    writeRaster(request.oldRaster, oldPlan, randomHeights(random, oldPlan.columns, oldPlan.rows, 0.2));
    writeRaster(request.newRaster, newPlan, randomHeights(random, newPlan.columns, newPlan.rows, 0.2));
    for (const auto method : {CoregistrationMethod::Bias, CoregistrationMethod::Full}) {
        request.parameters.coregistration = method;
        request.parameters.threads = 1;
        request.parameters.blockRows = 0;
        const TemporaryFolder folder;
        const Changes first = detectOrFail(request, folder.file("a.tif"));
        EXPECT_GT(first.anomalies.size(), 10U);
        const std::vector<float> dz = readRaster(folder.file("a.tif"));
        for (const int blockRows : {1, 9, 50}) {
            request.parameters.threads = 3;
            request.parameters.blockRows = blockRows;
            request.parameters.blockColumns = 2 * blockRows + 1;
            expectIdentical(first, detectOrFail(request, folder.file("b.tif")));
            const std::vector<float> again = readRaster(folder.file("b.tif"));
            ASSERT_EQ(dz.size(), again.size());
            EXPECT_TRUE(std::equal(dz.begin(), dz.end(), again.begin(), [](float a, float b) {
                return a == b || (std::isnan(a) && std::isnan(b));
            }));
        }
    }
}

} // namespace
} // namespace detect::test
