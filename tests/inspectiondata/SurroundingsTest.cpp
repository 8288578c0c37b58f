#include "Opened.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/Outline.h"
#include "workbench/inspectiondata/pipeline/Surroundings.h"
#include "workbench/inspectiondata/project/Georeference.h"

#include <ogrsf_frmts.h>

#include <cmath>
#include <cstdio>
#include <random>
#include <thread>

namespace {

using namespace inspection;
using Points = std::vector<QPointF>;

constexpr double kPipeY = SmallProject::kTop - 40.0; ///< of the small project's straight line

std::string ringText(const Points& points) {
    std::string text = "(";
    for (std::size_t i = 0; i <= points.size(); ++i) {
        const QPointF& point = points[i % points.size()];
        std::array<char, 64> pair{};
        std::snprintf(pair.data(), pair.size(), "%s%.17g %.17g", i == 0 ? "" : ",", point.x(), point.y());
        text += pair.data();
    }
    return text + ')';
}

SdiffData anomalyOf(const std::vector<Points>& rings) {
    SdiffData anomaly;
    anomaly.outlineWkt = "POLYGON (";
    for (std::size_t i = 0; i < rings.size(); ++i) {
        anomaly.outlineWkt += (i == 0 ? "" : ",") + ringText(rings[i]);
    }
    anomaly.outlineWkt += ')';
    return anomaly;
}

Points box(double x, double y, double width, double height) {
    return {{x, y}, {x + width, y}, {x + width, y + height}, {x, y + height}};
}

class SurroundingsTest : public ::testing::Test {
protected:
    SurroundingsTest() : m_project(valueOf(Project::open(m_files.folder())).description()) {
        m_station.m_id = 1;
        m_station.m_srs = "EPSG:4547";
        m_station.m_xMin = SmallProject::kLeft;
        m_station.m_xMax = SmallProject::kLeft + 200.0;
        m_station.m_yMin = SmallProject::kTop - 80.0;
        m_station.m_yMax = SmallProject::kTop;
    }

    /// The same points in longitude and latitude.
    static std::vector<osg::Vec3d> toLonLat(const Points& points, const char* srs) {
        const auto transformation = transformationBetween(*referenceOf(srs), wgs84());
        std::vector<osg::Vec3d> places;
        for (const QPointF& point : points) {
            double x = point.x();
            double y = point.y();
            EXPECT_NE(transformation->Transform(1, &x, &y), 0);
            places.emplace_back(x, y, 0.0);
        }
        return places;
    }
    static Points inDegrees(const Points& points) {
        Points degrees;
        for (const osg::Vec3d& place : toLonLat(points, "EPSG:4547")) {
            degrees.emplace_back(place.x(), place.y());
        }
        return degrees;
    }
    void layStationOutInDegrees() {
        const Points corners =
            inDegrees({{m_station.m_xMin, m_station.m_yMin}, {m_station.m_xMax, m_station.m_yMax}});
        m_station.m_srs = "EPSG:4490";
        m_station.m_xMin = corners[0].x();
        m_station.m_yMin = corners[0].y();
        m_station.m_xMax = corners[1].x();
        m_station.m_yMax = corners[1].y();
    }
    void addArea(const char* name, const Points& points, const char* srs = "EPSG:4547") {
        Special_Polygon area(toGbk(name), {});
        area.m_vertices = toLonLat(points, srs);
        m_areas.push_back(area);
    }
    /// Takes the place of the project's own line.
    void writeLine(const Points& points, int epsg) {
        m_project.centerline = m_files.file("line.gpkg");
        GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GPKG");
        const GDALDatasetUniquePtr target(
            driver->Create(m_project.centerline.toUtf8().constData(), 0, 0, 0, GDT_Unknown, nullptr));
        OGRSpatialReference reference;
        reference.importFromEPSG(epsg);
        reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
        OGRLayer* layer = target->CreateLayer("centerline", &reference, wkbLineString, nullptr);
        OGRFeature feature(layer->GetLayerDefn());
        OGRLineString line;
        for (const QPointF& point : points) {
            line.addPoint(point.x(), point.y());
        }
        feature.SetGeometry(&line);
        EXPECT_EQ(layer->CreateFeature(&feature), OGRERR_NONE);
    }
    Surroundings of(const SdiffData& anomaly) const {
        return CorridorSurroundings(Pipeline::read(m_project), m_areas).around(m_station)->of(anomaly);
    }
    QString areasOf(const SdiffData& anomaly) const {
        return areaNamesText(of(anomaly).highConsequenceAreas);
    }

    SmallProject m_files;
    ProjectDescription m_project;
    KV_Station m_station;
    std::vector<Special_Polygon> m_areas;
};

TEST_F(SurroundingsTest, TheDistanceIsFromTheOutlineNotFromItsCentre) {
    const SdiffData beside = anomalyOf({box(500050.0, kPipeY + 12.5, 10.0, 20.0)});
    EXPECT_NEAR(of(beside).pipeMetres.value(), 12.5, 1e-6);
    const SdiffData behindTheEnd = anomalyOf({box(500203.0, kPipeY + 4.0, 5.0, 5.0)});
    EXPECT_NEAR(of(behindTheEnd).pipeMetres.value(), 5.0, 1e-6);
}

TEST_F(SurroundingsTest, TheDistanceIsZeroWhereTheLinePassesThroughOrTouches) {
    EXPECT_EQ(of(anomalyOf({box(500050.0, kPipeY - 3.0, 10.0, 20.0)})).pipeMetres, 0.0);
    EXPECT_EQ(of(anomalyOf({box(499990.0, kPipeY - 50.0, 300.0, 100.0)})).pipeMetres, 0.0) << "encloses it";
    EXPECT_EQ(
        of(anomalyOf({{{500050.0, kPipeY}, {500060.0, kPipeY + 5.0}, {500040.0, kPipeY + 5.0}}})).pipeMetres,
        0.0);
}

TEST_F(SurroundingsTest, ALineWithinAHoleIsAsFarAsTheHolesEdge) {
    const Points outer = box(499900.0, kPipeY - 60.0, 400.0, 120.0);
    const Points hole = box(499950.0, kPipeY - 30.0, 300.0, 45.0);
    EXPECT_NEAR(of(anomalyOf({outer, hole})).pipeMetres.value(), 15.0, 1e-6);
}

TEST_F(SurroundingsTest, ALongLineGivesTheSameDistanceAsTheWholeOfIt) {
    Points points;
    OGRLineString whole;
    for (int i = 0; i < 2000; ++i) {
        points.emplace_back(500000.0 + 0.1 * i, kPipeY + 25.0 * std::sin(i / 40.0));
        whole.addPoint(points.back().x(), points.back().y());
    }
    writeLine(points, 4547);
    const auto surroundings = CorridorSurroundings(Pipeline::read(m_project), {}).around(m_station);
    for (int i = 0; i < 300; ++i) {
        const SdiffData anomaly =
            anomalyOf({box(499990.0 + 0.7 * i, SmallProject::kTop - (i * 37) % 80, 3.0, 2.0)});
        OGRGeometry* outline = nullptr;
        OGRGeometryFactory::createFromWkt(anomaly.outlineWkt.c_str(), nullptr, &outline);
        const std::unique_ptr<OGRGeometry> owned(outline);
        EXPECT_NEAR(surroundings->of(anomaly).pipeMetres.value(), owned->Distance(&whole), 1e-9) << i;
    }
}

TEST_F(SurroundingsTest, RandomLinesAndOutlinesAreAsFarApartAsTheLibrarySays) {
    std::mt19937 dice(7);
    std::uniform_real_distribution<double> way(-30.0, 30.0);
    std::uniform_real_distribution<double> place(-400.0, 400.0);
    for (int round = 0; round < 10; ++round) {
        Points points = {{500000.0, kPipeY}};
        OGRLineString whole;
        for (int i = 0; i < 40 + 30 * round; ++i) {
            whole.addPoint(points.back().x(), points.back().y());
            points.push_back(points.back() + QPointF(way(dice), way(dice)));
        }
        points.pop_back();
        writeLine(points, 4547);
        const auto surroundings = CorridorSurroundings(Pipeline::read(m_project), {}).around(m_station);
        for (int i = 0; i < 100; ++i) {
            const Points around = box(500000.0 + place(dice), kPipeY + place(dice), 8.0, 5.0);
            const SdiffData anomaly = anomalyOf({{around[0], around[1] + QPointF(way(dice), 0.0), around[2],
                                                  around[3] + QPointF(0.0, 0.1 * way(dice))}});
            const auto outline = outlineGeometry(anomaly.outlineWkt);
            EXPECT_NEAR(surroundings->pipeMetres(anomaly).value(), outline->Distance(&whole), 1e-9);
            EXPECT_EQ(surroundings->of(anomaly).pipeMetres, surroundings->pipeMetres(anomaly));
        }
    }
}

TEST_F(SurroundingsTest, ManyThreadsMeasureAsOneDoes) {
    addArea("李庄", box(500055.0, kPipeY + 15.0, 40.0, 40.0));
    layStationOutInDegrees(); // outlines have to be transformed
    const auto surroundings = CorridorSurroundings(Pipeline::read(m_project), m_areas).around(m_station);
    std::vector<SdiffData> anomalies;
    std::vector<Surroundings> expected;
    for (int i = 0; i < 400; ++i) {
        anomalies.push_back(anomalyOf({inDegrees(box(500000.0 + 0.4 * i, kPipeY + 12.5, 3.0, 5.0))}));
        expected.push_back(surroundings->of(anomalies.back()));
    }
    std::vector<Surroundings> found(anomalies.size());
    std::vector<std::thread> threads;
    for (std::size_t first = 0; first < 4; ++first) {
        threads.emplace_back([&, first] {
            for (std::size_t i = first; i < anomalies.size(); i += 4) {
                found[i] = surroundings->of(anomalies[i]);
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (std::size_t i = 0; i < found.size(); ++i) {
        EXPECT_EQ(found[i].pipeMetres, expected[i].pipeMetres) << i;
        EXPECT_EQ(found[i].highConsequenceAreas, expected[i].highConsequenceAreas) << i;
    }
}

TEST_F(SurroundingsTest, ALineInDegreesIsMeasuredInMetres) {
    writeLine(inDegrees({{500000.0, kPipeY}, {500200.0, kPipeY}}), 4326);
    EXPECT_NEAR(of(anomalyOf({box(500050.0, kPipeY + 12.5, 10.0, 20.0)})).pipeMetres.value(), 12.5, 1e-3);
}

TEST_F(SurroundingsTest, OutlinesInDegreesAreMeasuredInMetres) {
    layStationOutInDegrees();
    addArea("李庄", box(500055.0, kPipeY + 15.0, 40.0, 40.0));
    const Surroundings found = of(anomalyOf({inDegrees(box(500050.0, kPipeY + 12.5, 10.0, 20.0))}));
    EXPECT_NEAR(found.pipeMetres.value(), 12.5, 1e-3);
    EXPECT_EQ(areaNamesText(found.highConsequenceAreas), "李庄");
}

TEST_F(SurroundingsTest, AReferenceSystemInFeetGivesMetres) {
    constexpr double kFeet = 0.3048006096012192; // US survey foot
    m_station.m_srs = "EPSG:2229";               // California zone 5
    writeLine({{6500000.0, 1850000.0}, {6501000.0, 1850000.0}}, 2229);
    m_project.crs = "EPSG:2229";
    EXPECT_NEAR(of(anomalyOf({box(6500100.0, 1850100.0, 30.0, 30.0)})).pipeMetres.value(), 100.0 * kFeet,
                1e-6);
}

TEST_F(SurroundingsTest, WithoutLineAreasOrOutlineNothingIsKnown) {
    const SdiffData anomaly = anomalyOf({box(500050.0, kPipeY + 12.5, 10.0, 20.0)});
    EXPECT_TRUE(of(anomaly).pipeMetres.has_value());
    EXPECT_TRUE(of(SdiffData()).highConsequenceAreas.empty());
    EXPECT_FALSE(of(SdiffData()).pipeMetres.has_value());
    m_project.centerline = m_files.file("missing.gpkg");
    EXPECT_FALSE(of(anomaly).pipeMetres.has_value());
    EXPECT_TRUE(of(anomaly).highConsequenceAreas.empty());
    addArea("李庄", box(500000.0, kPipeY, 200.0, 40.0));
    EXPECT_EQ(areasOf(anomaly), "李庄") << "areas are known without a line";
    m_station.m_srs.clear();
    EXPECT_TRUE(areasOf(anomaly).isEmpty());
}

TEST_F(SurroundingsTest, AllAreasThatAnOutlineTouchesOrOverlapsAreNamed) {
    addArea("东关村", box(500000.0, kPipeY, 55.0, 80.0));
    addArea("远处", box(501000.0, kPipeY, 55.0, 80.0));
    addArea("李庄", box(499000.0, kPipeY - 500.0, 2000.0, 1000.0));
    EXPECT_EQ(areasOf(anomalyOf({box(500050.0, kPipeY + 12.5, 10.0, 20.0)})), "东关村、李庄");
    EXPECT_EQ(areasOf(anomalyOf({box(500060.0, kPipeY + 12.5, 10.0, 20.0)})), "李庄");
}

TEST_F(SurroundingsTest, AnAreaTouchedInOnePointCounts) {
    addArea("三角", {{500100.0, kPipeY + 10.0}, {500120.0, kPipeY + 30.0}, {500120.0, kPipeY + 10.0}});
    // The corner as the area's own comes back from longitude and latitude.
    const auto toPlane = transformationBetween(wgs84(), *referenceOf("EPSG:4547"));
    double x = m_areas.front().m_vertices.front().x();
    double y = m_areas.front().m_vertices.front().y();
    ASSERT_NE(toPlane->Transform(1, &x, &y), 0);
    EXPECT_EQ(areasOf(anomalyOf({{{x, y}, {x - 10.0, y + 3.0}, {x - 10.0, y - 3.0}}})), "三角");
    EXPECT_EQ(areasOf(anomalyOf({{{x - 0.01, y}, {x - 10.0, y + 3.0}, {x - 10.0, y - 3.0}}})), "");
}

TEST_F(SurroundingsTest, AnAreaWithinAHoleIsNotTouched) {
    addArea("院内", box(500090.0, kPipeY - 5.0, 10.0, 10.0));
    const Points outer = box(500050.0, kPipeY - 40.0, 100.0, 80.0);
    EXPECT_EQ(areasOf(anomalyOf({outer})), "院内");
    EXPECT_EQ(areasOf(anomalyOf({outer, box(500080.0, kPipeY - 20.0, 40.0, 40.0)})), "");
}

TEST_F(SurroundingsTest, AnAreaThatCrossesItselfOrHasTooFewPointsDoesNoHarm) {
    addArea("蝴蝶结",
            {{500000.0, kPipeY}, {500040.0, kPipeY + 40.0}, {500040.0, kPipeY}, {500000.0, kPipeY + 40.0}});
    addArea("线", {{500000.0, kPipeY}, {500040.0, kPipeY}});
    EXPECT_EQ(areasOf(anomalyOf({box(500001.0, kPipeY + 10.0, 3.0, 3.0)})), "蝴蝶结");
    EXPECT_EQ(areasOf(anomalyOf({box(500018.0, kPipeY + 35.0, 3.0, 3.0)})), "") << "between its wings";
}

} // namespace
