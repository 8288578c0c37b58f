// Whole scenes with known changes, as a survey would meet them.

#include "tests/detect/TestRasters.h"

#include <gtest/gtest.h>
#include <ogr_geometry.h>
#include <ogr_spatialref.h>

#include <cmath>
#include <limits>
#include <memory>

namespace detect::test {
namespace {

constexpr double kWest = 500000.0;
constexpr double kNorth = 3400000.0;

/// Rolling ground, a few metres up and down over a hundred.
double ground(const Point& map) {
    const double x = map.x - kWest;
    const double y = kNorth - map.y;
    return 120.0 + 6.0 * std::sin(x / 23.0) + 4.0 * std::cos(y / 17.0) + 1.5 * std::sin((x + y) / 7.0);
}

struct Change {
    Box box;
    double dz;

    double cubicMetres() const { return (box.xMax - box.xMin) * (box.yMax - box.yMin) * std::abs(dz); }
};

/// Given in metres east and south of the scene's corner.
Change boxChange(double left, double top, double right, double bottom, double dz) {
    return {{kWest + left, kNorth - bottom, kWest + right, kNorth - top}, dz};
}

double changeAt(const std::vector<Change>& changes, const Point& map) {
    double dz = 0.0;
    for (const Change& change : changes) {
        if (map.x > change.box.xMin && map.x < change.box.xMax && map.y > change.box.yMin &&
            map.y < change.box.yMax) {
            dz += change.dz;
        }
    }
    return dz;
}

const std::vector<Change> kSceneChanges = {boxChange(20, 20, 32, 30, 3.0), boxChange(60, 25, 75, 33, -2.0),
                                           boxChange(100, 60, 110, 80, 1.2), boxChange(30, 70, 45, 85, -1.5)};

/// 140 m x 110 m in cells of half a metre.
RasterPlan scenePlan() {
    RasterPlan plan;
    plan.columns = 280;
    plan.rows = 220;
    return plan;
}

class Scene : public testing::Test {
protected:
    void writeOld(const RasterPlan& plan = scenePlan()) {
        m_request.oldRaster = "/vsimem/scene-old.tif";
        writeRaster(m_request.oldRaster, plan, ground);
    }
    void writeNew(const RasterPlan& plan, const Surface& surface) {
        m_request.newRaster = "/vsimem/scene-new.tif";
        writeRaster(m_request.newRaster, plan, surface);
    }

    /// One anomaly for each change, of its sign, at its place, with its volume.
    static void expectChanges(const Changes& result, const std::vector<Change>& changes,
                              double tolerance = 0.05) {
        EXPECT_EQ(result.anomalies.size(), changes.size());
        for (const Change& change : changes) {
            const Anomaly* match = nullptr;
            for (const Anomaly& anomaly : result.anomalies) {
                if (anomaly.centroid.x > change.box.xMin && anomaly.centroid.x < change.box.xMax &&
                    anomaly.centroid.y > change.box.yMin && anomaly.centroid.y < change.box.yMax) {
                    match = &anomaly;
                }
            }
            ASSERT_NE(match, nullptr) << "nothing found at " << change.box.xMin << ", " << change.box.yMin;
            EXPECT_EQ(match->kind, change.dz > 0.0 ? Kind::Fill : Kind::Cut);
            EXPECT_NEAR(match->volumeCubicMetres(), change.cubicMetres(), tolerance * change.cubicMetres());
            EXPECT_TRUE(isValidPolygon(*match));
        }
    }

    Request m_request;
};

TEST_F(Scene, BiasOfFortyCentimetresIsRemoved) {
    writeOld();
    Random random(3);
    writeNew(scenePlan(), [&](const Point& p) {
        return ground(p) + changeAt(kSceneChanges, p) + 0.4 + 0.05 * (random() - 0.5);
    });
    const Changes result = detectOrFail(m_request);
    expectChanges(result, kSceneChanges);
    EXPECT_NEAR(result.coregistration.dzMetres, -0.4, 0.005);
    EXPECT_EQ(result.coregistration.dxMetres, 0.0);
    EXPECT_EQ(result.cells, 280 * 220);
}

TEST_F(Scene, BiasIsRemovedUnderAFillThatCoversAThirdOfTheGround) {
    writeOld();
    const std::vector<Change> large = {boxChange(10, 10, 90, 74, 2.0)};
    Random random(4);
    writeNew(scenePlan(),
             [&](const Point& p) { return ground(p) + changeAt(large, p) + 0.4 + 0.05 * (random() - 0.5); });
    const Changes result = detectOrFail(m_request);
    EXPECT_NEAR(result.coregistration.dzMetres, -0.4, 0.005);
    expectChanges(result, large);
}

TEST_F(Scene, WithoutCoregistrationTheBiasStays) {
    writeOld();
    writeNew(scenePlan(), [](const Point& p) { return ground(p) + 0.6; });
    m_request.parameters.coregistration = CoregistrationMethod::None;
    const Changes result = detectOrFail(m_request);
    ASSERT_EQ(result.anomalies.size(), 1U);
    EXPECT_EQ(result.anomalies[0].cells, 280 * 220);
    EXPECT_EQ(result.coregistration.dzMetres, 0.0);
}

TEST_F(Scene, HolesOfDifferentNoDataValuesAreNoChanges) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const float infinite = std::numeric_limits<float>::infinity();
    const Box oldHole = boxChange(5, 90, 25, 105, 0).box;
    const Box newHole = boxChange(80, 90, 100, 105, 0).box;
    const auto inside = [](const Box& box, const Point& p) {
        return p.x > box.xMin && p.x < box.xMax && p.y > box.yMin && p.y < box.yMax;
    };
    for (const float hole : {-9999.0F, -3.4028235e38F, nan, infinite, -infinite, -32768.0F, 0.0F}) {
        SCOPED_TRACE(hole);
        RasterPlan oldPlan = scenePlan();
        oldPlan.noData = static_cast<double>(nan);
        m_request.oldRaster = "/vsimem/scene-old.tif";
        writeRaster(m_request.oldRaster, oldPlan, [&](const Point& p) {
            return inside(oldHole, p) ? static_cast<double>(nan) : ground(p);
        });
        RasterPlan newPlan = scenePlan();
        // Declared only where the figure could be a height; the others must be known without.
        if (hole == 0.0F) {
            newPlan.noData = 0.0;
        }
        writeNew(newPlan, [&](const Point& p) {
            return inside(newHole, p) ? static_cast<double>(hole) : ground(p) + changeAt(kSceneChanges, p);
        });
        const Changes result = detectOrFail(m_request);
        expectChanges(result, kSceneChanges);
        EXPECT_EQ(result.cells, 280 * 220 - 2 * 40 * 30);
    }
}

TEST_F(Scene, CutBesideFillStaysApart) {
    writeOld();
    const std::vector<Change> touching = {boxChange(40, 40, 52, 55, 2.0), boxChange(52, 40, 64, 55, -2.0)};
    writeNew(scenePlan(), [&](const Point& p) { return ground(p) + changeAt(touching, p); });
    expectChanges(detectOrFail(m_request), touching, 1e-3);
}

TEST_F(Scene, FinerNewRasterOfOtherExtentIsBroughtOntoTheOldGrid) {
    writeOld();
    RasterPlan plan = scenePlan();
    plan.columns = 500;
    plan.rows = 420;
    plan.toMap = {kWest - 3.37, 0.31, 0.0, kNorth + 5.11, 0.0, -0.31};
    writeNew(plan, [](const Point& p) { return ground(p) + changeAt(kSceneChanges, p) + 0.4; });
    const Changes result = detectOrFail(m_request);
    expectChanges(result, kSceneChanges);
    EXPECT_LT(result.coregistration.nmadAfterMetres, 0.02);
}

TEST_F(Scene, MuchFinerAndMuchCoarserNewRastersWork) {
    writeOld();
    for (const double cell : {0.1, 1.0}) {
        SCOPED_TRACE(cell);
        RasterPlan plan = scenePlan();
        plan.columns = static_cast<int>(140.0 / cell);
        plan.rows = static_cast<int>(110.0 / cell);
        plan.toMap = {kWest, cell, 0.0, kNorth, 0.0, -cell};
        writeNew(plan, [](const Point& p) { return ground(p) + changeAt(kSceneChanges, p); });
        expectChanges(detectOrFail(m_request), kSceneChanges, 0.06);
    }
}

TEST_F(Scene, BlurredWallsOfACoarserNewRasterAreNoChanges) {
    const auto built = [](const Point& p) {
        const double x = p.x - kWest;
        const double y = kNorth - p.y;
        double height = ground(p);
        for (const auto& [left, top] : {std::pair{10.0, 45.0}, {50.0, 50.0}, {90.0, 10.0}, {115.0, 30.0}}) {
            if (x > left && x < left + 12.0 && y > top && y < top + 9.0) {
                height += 9.0;
            }
        }
        return height;
    };
    m_request.oldRaster = "/vsimem/scene-old.tif";
    writeRaster(m_request.oldRaster, scenePlan(), built);
    for (const double cell : {0.9, 1.6, 2.1}) {
        SCOPED_TRACE(cell);
        RasterPlan plan = scenePlan();
        plan.columns = static_cast<int>(140.0 / cell);
        plan.rows = static_cast<int>(110.0 / cell);
        plan.toMap = {kWest, cell, 0.0, kNorth, 0.0, -cell};
        writeNew(plan, built);
        EXPECT_TRUE(detectOrFail(m_request).anomalies.empty());
        // One house falls, the others stay.
        const std::vector<Change> fallen = {boxChange(50, 50, 62, 59, -9.0)};
        writeNew(plan, [&](const Point& p) { return built(p) + changeAt(fallen, p); });
        expectChanges(detectOrFail(m_request), fallen, 0.06);
    }
}

TEST_F(Scene, SouthUpRasterWorks) {
    RasterPlan plan = scenePlan();
    plan.toMap = {kWest, 0.5, 0.0, kNorth - 110.0, 0.0, 0.5};
    writeOld(plan);
    writeNew(scenePlan(), [](const Point& p) { return ground(p) + changeAt(kSceneChanges, p); });
    const Changes result = detectOrFail(m_request);
    expectChanges(result, kSceneChanges, 1e-3);
    for (const Anomaly& anomaly : result.anomalies) {
        double twice = 0.0;
        for (std::size_t i = 0, j = anomaly.outline.size() - 1; i < anomaly.outline.size(); j = i++) {
            twice +=
                anomaly.outline[j].x * anomaly.outline[i].y - anomaly.outline[i].x * anomaly.outline[j].y;
        }
        EXPECT_GT(twice, 0.0) << "outer rings run counter-clockwise";
    }
}

TEST_F(Scene, AlignedRasterOfOtherExtentGivesUntouchedDifferences) {
    writeOld();
    RasterPlan plan = scenePlan();
    plan.toMap[0] += 5.0;
    plan.toMap[3] -= 4.0;
    writeNew(plan, [](const Point& p) { return ground(p) + changeAt(kSceneChanges, p); });
    const TemporaryFolder folder;
    m_request.parameters.coregistration = CoregistrationMethod::None;
    const Changes result = detectOrFail(m_request, folder.file("dz.tif"));
    expectChanges(result, kSceneChanges, 1e-3);
    EXPECT_EQ(result.cells, (280 - 10) * (220 - 8));
    const std::vector<float> dz = readRaster(folder.file("dz.tif"));
    ASSERT_EQ(dz.size(), static_cast<std::size_t>((280 - 10) * (220 - 8)));
    for (std::size_t i = 0; i < dz.size(); ++i) {
        const Point map = plan.centre(static_cast<int>(i % 270), static_cast<int>(i / 270));
        ASSERT_NEAR(static_cast<double>(dz[i]), changeAt(kSceneChanges, map), 1e-4);
    }
    EXPECT_EQ(folder.names(), std::vector<std::string>{"dz.tif"});
}

TEST_F(Scene, WindowLimitsTheComparison) {
    writeOld();
    writeNew(scenePlan(), [](const Point& p) { return ground(p) + changeAt(kSceneChanges, p); });
    m_request.window = boxChange(10, 10, 40, 40, 0).box;
    const Changes result = detectOrFail(m_request);
    EXPECT_EQ(result.cells, 60 * 60);
    expectChanges(result, {kSceneChanges[0]}, 1e-3);
}

/// Carries points from one reference system to another, x east.
class Carrier {
public:
    Carrier(int fromEpsg, int toEpsg) {
        OGRSpatialReference from;
        OGRSpatialReference to;
        from.importFromEPSG(fromEpsg);
        to.importFromEPSG(toEpsg);
        from.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
        to.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
        m_transformation.reset(OGRCreateCoordinateTransformation(&from, &to));
    }
    Point operator()(Point p) const {
        EXPECT_TRUE(m_transformation->Transform(1, &p.x, &p.y));
        return p;
    }

private:
    std::unique_ptr<OGRCoordinateTransformation> m_transformation;
};

TEST_F(Scene, NewRasterInTheNextZoneIsBroughtOntoTheOldGrid) {
    writeOld();
    const Carrier toNext(4547, 4548);
    const Carrier back(4548, 4547);
    const Point corner = toNext({kWest, kNorth});
    RasterPlan plan = scenePlan();
    plan.epsg = 4548;
    plan.columns = 420;
    plan.rows = 340;
    plan.toMap = {corner.x - 8.0, 0.4, 0.0, corner.y + 8.0, 0.0, -0.4};
    writeNew(plan, [&](const Point& p) {
        const Point old = back(p);
        return ground(old) + changeAt(kSceneChanges, old);
    });
    const Changes result = detectOrFail(m_request);
    expectChanges(result, kSceneChanges);
    EXPECT_LT(result.coregistration.nmadAfterMetres, 0.02);
    EXPECT_GT(result.cells, 270 * 210);
}

TEST_F(Scene, LongitudeAndLatitudeAreMeasuredOnTheEllipsoid) {
    RasterPlan plan;
    plan.epsg = 4490;
    plan.columns = 200;
    plan.rows = 160;
    plan.toMap = {114.0, 1e-5, 0.0, 40.0, 0.0, -1e-5};
    const auto level = [](const Point& p) { return 50.0 + 1e4 * (p.x - 114.0) + 5e3 * (p.y - 40.0); };
    m_request.oldRaster = "/vsimem/scene-old.tif";
    writeRaster(m_request.oldRaster, plan, level);
    const Box box{114.0 + 50e-5, 40.0 - 90e-5, 114.0 + 100e-5, 40.0 - 40e-5};
    writeNew(plan, [&](const Point& p) {
        const bool inside = p.x > box.xMin && p.x < box.xMax && p.y > box.yMin && p.y < box.yMax;
        return level(p) + (inside ? 2.0 : 0.0);
    });
    const Changes result = detectOrFail(m_request);
    ASSERT_EQ(result.anomalies.size(), 1U);
    // The same polygon in an equal-area projection, computed by PROJ.
    OGRSpatialReference geographic;
    OGRSpatialReference equalArea;
    geographic.importFromEPSG(4490);
    geographic.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    equalArea.importFromProj4("+proj=laea +lat_0=40 +lon_0=114 +ellps=GRS80 +units=m");
    const std::unique_ptr<OGRCoordinateTransformation> project(
        OGRCreateCoordinateTransformation(&geographic, &equalArea));
    OGRLinearRing ring;
    for (const Point& p :
         {Point{box.xMin, box.yMin}, {box.xMax, box.yMin}, {box.xMax, box.yMax}, {box.xMin, box.yMax}}) {
        ring.addPoint(p.x, p.y);
    }
    ring.closeRings();
    ASSERT_EQ(ring.transform(project.get()), OGRERR_NONE);
    EXPECT_NEAR(result.anomalies[0].areaSquareMetres, ring.get_Area(), 1e-4 * ring.get_Area());
    EXPECT_NEAR(result.anomalies[0].volumeCubicMetres(), 2.0 * ring.get_Area(), 1e-3 * ring.get_Area());
}

TEST_F(Scene, SliversSmallAndWeakComponentsAreDropped) {
    writeOld();
    const std::vector<Change> changes = {boxChange(10, 10, 60, 11, 3.0), // two cells wide: no core of 3 x 3
                                         boxChange(10, 30, 11.5, 31.5, 3.0), // 2.25 square metres
                                         boxChange(10, 50, 30, 60, 0.4), // reaches the grow threshold only
                                         boxChange(60, 60, 63, 63, 3.0)};
    writeNew(scenePlan(), [&](const Point& p) { return ground(p) + changeAt(changes, p); });
    expectChanges(detectOrFail(m_request), {changes[3]}, 1e-3);
}

TEST_F(Scene, AnomalyGrowsOverItsWeakerRim) {
    writeOld();
    const std::vector<Change> steps = {boxChange(20, 20, 40, 40, 0.3), boxChange(26, 26, 34, 34, 0.9)};
    writeNew(scenePlan(), [&](const Point& p) { return ground(p) + changeAt(steps, p); });
    const Changes result = detectOrFail(m_request);
    ASSERT_EQ(result.anomalies.size(), 1U);
    EXPECT_EQ(result.anomalies[0].cells, 40 * 40);
    EXPECT_EQ(result.anomalies[0].name, "A0001");
}

TEST_F(Scene, SuggestedClassesFollowShape) {
    writeOld();
    const auto bowl = [](const Point& p, double left, double top, double radius, double depth) {
        const double r = std::hypot(p.x - kWest - left, kNorth - top - p.y) / radius;
        return r < 1.0 ? depth * (0.5 + 0.5 * std::cos(3.141592653589793 * r)) : 0.0;
    };
    const auto cone = [](const Point& p, double left, double top, double radius, double height) {
        return std::max(0.0, height * (1.0 - std::hypot(p.x - kWest - left, kNorth - top - p.y) / radius));
    };
    const std::vector<Change> boxes = {boxChange(10, 10, 22, 20, 4.0), boxChange(60, 10, 75, 16, -2.5)};
    writeNew(scenePlan(), [&](const Point& p) {
        return ground(p) + changeAt(boxes, p) + cone(p, 30, 60, 9, 3.0) + bowl(p, 90, 70, 14, -1.2);
    });
    const Changes result = detectOrFail(m_request);
    ASSERT_EQ(result.anomalies.size(), 4U);
    EXPECT_EQ(result.anomalies[0].suggested, "建构筑物");
    EXPECT_EQ(result.anomalies[1].suggested, "深挖");
    EXPECT_EQ(result.anomalies[2].suggested, "重物占压");
    EXPECT_EQ(result.anomalies[3].suggested, "塌陷");
}

TEST_F(Scene, HeightsInFeetAndScaledIntegersBecomeMetres) {
    writeOld();
    RasterPlan plan = scenePlan();
    writeNew(plan, [](const Point& p) { return (ground(p) + changeAt(kSceneChanges, p)) / 0.3048; });
    {
        const GDALDatasetUniquePtr file(GDALDataset::Open(m_request.newRaster.c_str(), GDAL_OF_UPDATE));
        file->GetRasterBand(1)->SetUnitType("ft");
    }
    expectChanges(detectOrFail(m_request), kSceneChanges, 1e-3);
    plan.type = GDT_Int32;
    writeNew(plan, [](const Point& p) {
        return std::round((ground(p) + changeAt(kSceneChanges, p) - 100.0) * 1000.0);
    });
    {
        const GDALDatasetUniquePtr file(GDALDataset::Open(m_request.newRaster.c_str(), GDAL_OF_UPDATE));
        file->GetRasterBand(1)->SetScale(0.001);
        file->GetRasterBand(1)->SetOffset(100.0);
    }
    expectChanges(detectOrFail(m_request), kSceneChanges, 1e-2);
}

TEST_F(Scene, GivenCoregistrationIsUsedAsItIs) {
    writeOld();
    writeNew(scenePlan(), [](const Point& p) { return ground({p.x + 1.0, p.y}) - 7.0; });
    Coregistration known;
    known.method = CoregistrationMethod::Full;
    known.dxMetres = 1.0;
    known.dzMetres = 7.0;
    m_request.coregistration = known;
    const Changes result = detectOrFail(m_request);
    EXPECT_TRUE(result.anomalies.empty());
    EXPECT_EQ(result.coregistration.dxMetres, 1.0);
}

} // namespace
} // namespace detect::test
