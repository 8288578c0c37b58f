#include "detect/output/ResultFile.h"

#include "tests/detect/TestRasters.h"
#include "tests/detect/WholeResult.h"

#include <gtest/gtest.h>
#include <ogrsf_frmts.h>

#include <cmath>
#include <fstream>
#include <set>

namespace detect::test {
namespace {

const std::vector<std::string> kFieldNames = {
    "name",  "kind",      "area_m2",   "volume_m3", "fill_m3", "cut_m3", "dz_mean_m", "dz_max_m", "dz_min_m",
    "cells", "suggested", "attribute", "vol_sd_m3", "sigma_m", "lod_m",  "signif",    "sugg_conf"};

/// Two changes near 114 E, 30.7 N, one of them a ring with a hole.
const Changes& sampleResult() {
    static const Changes result = [] {
        Request request;
        request.oldRaster = "/vsimem/writer-old.tif";
        request.newRaster = "/vsimem/writer-new.tif";
        writeRaster(request.oldRaster, RasterPlan(), [](const Point&) { return 20.0; });
        const auto inside = [](const Point& p, double left, double top, double right, double bottom) {
            const double x = p.x - 500000.0;
            const double y = 3400000.0 - p.y;
            return x > left && x < right && y > top && y < bottom;
        };
        writeRaster(request.newRaster, RasterPlan(), [&](const Point& p) {
            const bool ring = inside(p, 5, 5, 20, 20) && !inside(p, 10, 10, 15, 15);
            return 20.0 + (ring ? 3.0 : 0.0) - (inside(p, 30, 30, 36, 40) ? 1.25 : 0.0);
        });
        return detectOrFail(request);
    }();
    return result;
}

GDALDatasetUniquePtr openVector(const std::string& path) {
    return GDALDatasetUniquePtr(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_VERBOSE_ERROR));
}

void expectFields(OGRLayer& layer) {
    const OGRFeatureDefn* definition = layer.GetLayerDefn();
    ASSERT_EQ(definition->GetFieldCount(), static_cast<int>(kFieldNames.size()));
    for (int i = 0; i < definition->GetFieldCount(); ++i) {
        EXPECT_EQ(definition->GetFieldDefn(i)->GetNameRef(), kFieldNames[static_cast<std::size_t>(i)]);
    }
}

void expectSampleFeatures(OGRLayer& layer) {
    ASSERT_EQ(layer.GetFeatureCount(), 2);
    std::size_t i = 0;
    for (const auto& feature : layer) {
        const Anomaly& a = sampleResult().anomalies[i++];
        EXPECT_EQ((*feature)["name"].GetString(), a.name);
        EXPECT_STREQ((*feature)["kind"].GetString(), a.kind == Kind::Fill ? "fill" : "cut");
        EXPECT_NEAR((*feature)["area_m2"].GetDouble(), a.areaSquareMetres, 1e-3);
        EXPECT_NEAR((*feature)["volume_m3"].GetDouble(), a.volumeCubicMetres(), 1e-3);
        EXPECT_NEAR((*feature)["fill_m3"].GetDouble(), a.fillCubicMetres, 1e-3);
        EXPECT_NEAR((*feature)["cut_m3"].GetDouble(), a.cutCubicMetres, 1e-3);
        EXPECT_NEAR((*feature)["dz_min_m"].GetDouble(), a.dzMinMetres, 1e-4);
        EXPECT_EQ(feature->GetFieldAsInteger64("cells"), a.cells);
        EXPECT_EQ((*feature)["suggested"].GetString(), a.suggested);
        ASSERT_NE(feature->GetGeometryRef(), nullptr);
        EXPECT_TRUE(feature->GetGeometryRef()->IsValid());
        EXPECT_EQ(wkbFlatten(feature->GetGeometryRef()->getGeometryType()), wkbPolygon);
        EXPECT_EQ(feature->GetGeometryRef()->toPolygon()->getNumInteriorRings(),
                  static_cast<int>(a.holes.size()));
    }
}

TEST(ResultFile, SampleHasARingWithAHoleAndACut) {
    ASSERT_EQ(sampleResult().anomalies.size(), 2U);
    EXPECT_EQ(sampleResult().anomalies[0].holes.size(), 1U);
    EXPECT_EQ(sampleResult().anomalies[1].kind, Kind::Cut);
}

TEST(ResultFile, GeoPackageIsInTheOldRastersReferenceSystem) {
    const TemporaryFolder folder;
    const std::string path = folder.file("result.gpkg");
    ASSERT_TRUE(writeAnomalies(sampleResult().anomalies, sampleResult().srsWkt, path));
    EXPECT_EQ(folder.names(), std::vector<std::string>{"result.gpkg"});
    const auto file = openVector(path);
    ASSERT_TRUE(file);
    ASSERT_EQ(file->GetLayerCount(), 1);
    OGRLayer& layer = *file->GetLayer(0);
    EXPECT_STREQ(layer.GetName(), "anomalies");
    EXPECT_STREQ(layer.GetSpatialRef()->GetAuthorityCode(nullptr), "4547");
    expectFields(layer);
    expectSampleFeatures(layer);
}

TEST(ResultFile, ShapefileHasProjectionAndCodePageAndTheSameFieldNames) {
    const TemporaryFolder folder;
    ASSERT_TRUE(writeAnomalies(sampleResult().anomalies, sampleResult().srsWkt, folder.file("变化.shp")));
    EXPECT_EQ(folder.names(),
              (std::vector<std::string>{"变化.cpg", "变化.dbf", "变化.prj", "变化.shp", "变化.shx"}));
    EXPECT_EQ(contentOf(folder.file("变化.cpg")), "UTF-8");
    EXPECT_NE(contentOf(folder.file("变化.prj")).find("CGCS"), std::string::npos);
    const auto file = openVector(folder.file("变化.shp"));
    ASSERT_TRUE(file);
    expectFields(*file->GetLayer(0));
    expectSampleFeatures(*file->GetLayer(0));
}

TEST(ResultFile, GeoJsonIsWgs84WithRightHandRings) {
    const TemporaryFolder folder;
    const std::string path = folder.file("result.geojson");
    ASSERT_TRUE(writeAnomalies(sampleResult().anomalies, sampleResult().srsWkt, path));
    const auto file = openVector(path);
    ASSERT_TRUE(file);
    OGRLayer& layer = *file->GetLayer(0);
    EXPECT_STREQ(layer.GetName(), "anomalies");
    expectFields(layer);
    expectSampleFeatures(layer);
    layer.ResetReading();
    for (const auto& feature : layer) {
        const OGRPolygon* polygon = feature->GetGeometryRef()->toPolygon();
        EXPECT_FALSE(polygon->getExteriorRing()->isClockwise());
        for (int i = 0; i < polygon->getNumInteriorRings(); ++i) {
            EXPECT_TRUE(polygon->getInteriorRing(i)->isClockwise());
        }
        OGREnvelope box;
        polygon->getEnvelope(&box);
        EXPECT_GT(box.MinX, 113.99);
        EXPECT_LT(box.MaxX, 114.01);
        EXPECT_GT(box.MinY, 30.7);
        EXPECT_LT(box.MaxY, 30.73);
    }
    EXPECT_EQ(contentOf(path).find("\"crs\""), std::string::npos) << "RFC 7946 knows no crs member";
}

TEST(ResultFile, NoAnomaliesStillMakeAReadableFile) {
    for (const char* name : {"result.gpkg", "result.shp", "result.geojson"}) {
        const TemporaryFolder folder;
        const auto written = writeAnomalies({}, sampleResult().srsWkt, folder.file(name));
        ASSERT_TRUE(written) << written.error().message;
        const auto file = openVector(folder.file(name));
        ASSERT_TRUE(file) << name;
        EXPECT_EQ(file->GetLayer(0)->GetFeatureCount(), 0);
    }
}

TEST(ResultFile, EarlierResultIsReplaced) {
    const TemporaryFolder folder;
    for (const char* name : {"result.gpkg", "result.shp", "result.geojson"}) {
        ASSERT_TRUE(writeAnomalies(sampleResult().anomalies, sampleResult().srsWkt, folder.file(name)));
        ASSERT_TRUE(writeAnomalies({}, sampleResult().srsWkt, folder.file(name)));
        EXPECT_EQ(openVector(folder.file(name))->GetLayer(0)->GetFeatureCount(), 0);
    }
}

TEST(ResultFile, AttributesOfTheInspectorAreWritten) {
    const TemporaryFolder folder;
    const std::string path = folder.file("result.gpkg");
    ASSERT_TRUE(writeAnomalies(sampleResult().anomalies, sampleResult().srsWkt, path, {"塌陷"}));
    const auto file = openVector(path);
    std::multiset<std::string> attributes;
    for (const auto& feature : file->GetLayer(0)) {
        attributes.insert((*feature)["attribute"].GetString());
    }
    EXPECT_EQ(attributes, (std::multiset<std::string>{"", "塌陷"}));
}

TEST(ResultFile, UnknownEndingAndFolderAsTargetAreRefused) {
    const TemporaryFolder folder;
    EXPECT_FALSE(writeAnomalies({}, sampleResult().srsWkt, folder.file("result.txt")));
    std::filesystem::create_directory(folder.file("result.gpkg"));
    EXPECT_FALSE(writeAnomalies({}, sampleResult().srsWkt, folder.file("result.gpkg")));
    EXPECT_EQ(folder.names(), std::vector<std::string>{"result.gpkg"});
    EXPECT_FALSE(isResultPath("result.tif"));
    EXPECT_TRUE(isResultPath("RESULT.GPKG"));
}

} // namespace
} // namespace detect::test
