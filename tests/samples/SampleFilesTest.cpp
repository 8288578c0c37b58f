#include "tests/samples/SampleFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <sstream>

namespace fs = std::filesystem;

namespace {
const char* const kEpochs[] = {"2024-05-18", "2025-05-20"};

std::string bytesOf(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    std::stringstream content;
    content << file.rdbuf();
    return content.str();
}

fs::path dsmOf(const fs::path& folder, const char* epoch) {
    return folder / "epochs" / epoch / "dsm.tif";
}
fs::path domOf(const fs::path& folder, const char* epoch) {
    return folder / "epochs" / epoch / "dom.tif";
}
} // namespace

TEST(SampleFiles, SameSeedGivesTheSameBytes) {
    const TemporaryFolder home;
    const fs::path again = home.path() / "again";
    ASSERT_EQ(makeSmallSample(again, 1), "");
    int compared = 0;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(sharedSample())) {
        if (!entry.is_regular_file()) {
            continue;
        }
        const fs::path relative = fs::relative(entry.path(), sharedSample());
        EXPECT_TRUE(bytesOf(entry.path()) == bytesOf(again / relative)) << relative;
        ++compared;
    }
    EXPECT_EQ(compared, 8);
}

TEST(SampleFiles, AnotherSeedGivesAnotherPlace) {
    const TemporaryFolder home;
    const fs::path other = home.path() / "other";
    ASSERT_EQ(makeSmallSample(other, 2), "");
    const Raster first = readRaster(dsmOf(sharedSample(), kEpochs[0]));
    const Raster second = readRaster(dsmOf(other, kEpochs[0]));
    ASSERT_EQ(first.values.size(), second.values.size());
    std::size_t different = 0;
    for (std::size_t i = 0; i < first.values.size(); ++i) {
        different += std::fabs(first.values[i] - second.values[i]) > 0.5F ? 1u : 0u;
    }
    EXPECT_GT(different, first.values.size() / 4);
}

TEST(SampleFiles, RastersHaveSizeReferenceSystemAndOverviews) {
    for (const char* epoch : kEpochs) {
        for (const fs::path& path : {dsmOf(sharedSample(), epoch), domOf(sharedSample(), epoch)}) {
            const Raster raster = readRaster(path);
            EXPECT_EQ(raster.columns, 1024) << path;
            EXPECT_EQ(raster.rows, 256) << path;
            EXPECT_EQ(raster.authorityCode, "4545") << path;
            EXPECT_DOUBLE_EQ(raster.transform[1], 2.0);
            EXPECT_DOUBLE_EQ(raster.transform[5], -2.0);
            const DatasetPtr dataset(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
            ASSERT_TRUE(dataset);
            EXPECT_GE(dataset->GetRasterBand(1)->GetOverviewCount(), 2) << path;
            int blockColumns = 0;
            int blockRows = 0;
            dataset->GetRasterBand(1)->GetBlockSize(&blockColumns, &blockRows);
            EXPECT_EQ(blockColumns, 512);
            EXPECT_EQ(blockRows, 512);
        }
    }
}

TEST(SampleFiles, HeightsAreThoseOfTheRegion) {
    for (const char* epoch : kEpochs) {
        const Raster raster = readRaster(dsmOf(sharedSample(), epoch));
        const auto [low, high] = std::minmax_element(raster.values.begin(), raster.values.end());
        EXPECT_GT(*low, 400.0F);
        EXPECT_LT(*high, 480.0F);
        EXPECT_GT(*high - *low, 40.0F);
    }
}

TEST(SampleFiles, PhotosAreColourfulAndLitDifferently) {
    double means[2] = {};
    for (int i = 0; i < 2; ++i) {
        const fs::path path = domOf(sharedSample(), kEpochs[i]);
        const DatasetPtr dataset(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER | GDAL_OF_READONLY));
        ASSERT_TRUE(dataset);
        ASSERT_EQ(dataset->GetRasterCount(), 3);
        double low = 0.0, high = 0.0, deviation = 0.0;
        ASSERT_EQ(dataset->GetRasterBand(1)->ComputeStatistics(FALSE, &low, &high, &means[i], &deviation,
                                                               nullptr, nullptr),
                  CE_None);
        EXPECT_LT(low, 40.0);
        EXPECT_GT(high, 200.0);
        EXPECT_GT(deviation, 20.0);
    }
    EXPECT_NE(means[0], means[1]);
}

TEST(SampleFiles, StationsCoverTheRastersWithoutGaps) {
    const DatasetPtr dataset = openVector(sharedSample() / "centerline.gpkg");
    ASSERT_TRUE(dataset);
    OGRLayer* layer = dataset->GetLayerByName("stations");
    ASSERT_NE(layer, nullptr);
    EXPECT_STREQ(layer->GetSpatialRef()->GetAuthorityCode(nullptr), "4545");
    const Raster raster = readRaster(dsmOf(sharedSample(), kEpochs[0]));
    double west = raster.transform[0];
    double chainage = 0.0;
    int count = 0;
    for (const auto& feature : *layer) {
        OGREnvelope box;
        feature->GetGeometryRef()->getEnvelope(&box);
        EXPECT_DOUBLE_EQ(box.MinX, west);
        EXPECT_DOUBLE_EQ(box.MaxX - box.MinX, 256.0);
        EXPECT_DOUBLE_EQ(box.MaxY, raster.transform[3]);
        EXPECT_DOUBLE_EQ(box.MinY, raster.transform[3] - raster.rows * raster.transform[1]);
        EXPECT_EQ(feature->GetFieldAsInteger("id"), ++count);
        EXPECT_NEAR(feature->GetFieldAsDouble("start_m"), chainage, 1e-9);
        chainage = feature->GetFieldAsDouble("end_m");
        EXPECT_EQ(std::string(feature->GetFieldAsString("name")).find("K"), 0u);
        west = box.MaxX;
    }
    EXPECT_EQ(count, 8);
    EXPECT_DOUBLE_EQ(west, raster.x(raster.columns - 1) + raster.transform[1] / 2);
    const std::unique_ptr<OGRFeature> pipe(dataset->GetLayerByName("centerline")->GetNextFeature());
    EXPECT_NEAR(pipe->GetGeometryRef()->toLineString()->get_Length(), chainage, 0.01);
    EXPECT_GT(chainage, 2000.0);
}

TEST(SampleFiles, NodesStandOnTheGroundBesideThePipe) {
    const DatasetPtr dataset = openVector(sharedSample() / "centerline.gpkg");
    ASSERT_TRUE(dataset);
    OGRLayer* layer = dataset->GetLayerByName("nodes");
    ASSERT_NE(layer, nullptr);
    EXPECT_GE(layer->GetFeatureCount(), 21);
    const std::unique_ptr<OGRFeature> pipe(dataset->GetLayerByName("centerline")->GetNextFeature());
    const Raster raster = readRaster(dsmOf(sharedSample(), kEpochs[0]));
    for (const auto& feature : *layer) {
        const OGRPoint& point = *feature->GetGeometryRef()->toPoint();
        EXPECT_DOUBLE_EQ(point.getX(), feature->GetFieldAsDouble("x"));
        EXPECT_DOUBLE_EQ(point.getY(), feature->GetFieldAsDouble("y"));
        EXPECT_DOUBLE_EQ(point.getZ(), feature->GetFieldAsDouble("z"));
        EXPECT_LT(pipe->GetGeometryRef()->Distance(&point), 0.05);
        const auto column =
            static_cast<std::size_t>((point.getX() - raster.transform[0]) / raster.transform[1]);
        const auto row = static_cast<std::size_t>((raster.transform[3] - point.getY()) / raster.transform[1]);
        const auto surface =
            static_cast<double>(raster.values[row * static_cast<std::size_t>(raster.columns) + column]);
        EXPECT_NEAR(point.getZ(), surface, 2.5) << feature->GetFieldAsString("name");
    }
}

TEST(SampleFiles, SpecialAreasHaveNameLevelAndAttribute) {
    const DatasetPtr dataset = openVector(sharedSample() / "special.gpkg");
    ASSERT_TRUE(dataset);
    OGRLayer* layer = dataset->GetLayerByName("high_consequence");
    ASSERT_NE(layer, nullptr);
    EXPECT_GE(layer->GetFeatureCount(), 3);
    for (const auto& feature : *layer) {
        EXPECT_STRNE(feature->GetFieldAsString("name"), "");
        EXPECT_STRNE(feature->GetFieldAsString("attribute"), "");
        EXPECT_GE(feature->GetFieldAsInteger("level"), 1);
        EXPECT_LE(feature->GetFieldAsInteger("level"), 3);
    }
}

TEST(SampleFiles, ProjectFileNamesWhatIsThere) {
    const std::string text = bytesOf(sharedSample() / "project.json");
    for (const char* part : {"\"format\": \"corridor-project\"", "\"version\": 1", "\"crs\": \"EPSG:4545\"",
                             "\"name\": \"示例管道\"", "\"centerline\": \"centerline.gpkg\""}) {
        EXPECT_NE(text.find(part), std::string::npos) << part;
    }
    for (const char* epoch : kEpochs) {
        for (const char* file : {"dsm.tif", "dom.tif"}) {
            const std::string path = std::string("epochs/") + epoch + "/" + file;
            EXPECT_NE(text.find('"' + path + '"'), std::string::npos) << path;
            EXPECT_TRUE(fs::exists(sharedSample() / path)) << path;
        }
    }
}
