#include "tests/samples/SampleFixture.h"

#include "samples/Surface.h"

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <set>

namespace {
struct Truth {
    std::string name, kind, className;
    double volume = 0.0, dz = 0.0, area = 0.0;
    std::unique_ptr<OGRGeometry> outline;
};

std::vector<Truth> readTruth(const std::filesystem::path& folder) {
    std::vector<Truth> all;
    const DatasetPtr dataset = openVector(folder / "truth.gpkg");
    OGRLayer* layer = dataset ? dataset->GetLayerByName("changes") : nullptr;
    if (!layer) {
        return all;
    }
    while (const std::unique_ptr<OGRFeature> feature{layer->GetNextFeature()}) {
        Truth truth;
        truth.name = feature->GetFieldAsString("name");
        truth.kind = feature->GetFieldAsString("kind");
        truth.className = feature->GetFieldAsString("class");
        truth.volume = feature->GetFieldAsDouble("volume_m3");
        truth.dz = feature->GetFieldAsDouble("dz_m");
        truth.area = feature->GetFieldAsDouble("area_m2");
        truth.outline.reset(feature->StealGeometry());
        all.push_back(std::move(truth));
    }
    return all;
}

struct Difference {
    Raster raster;              ///< the older epoch
    std::vector<double> metres; ///< new minus old
};

Difference readDifference(const std::filesystem::path& folder) {
    Difference difference{readRaster(folder / "epochs/2024-05-18/dsm.tif"), {}};
    const Raster newer = readRaster(folder / "epochs/2025-05-20/dsm.tif");
    for (std::size_t i = 0; i < newer.values.size(); ++i) {
        difference.metres.push_back(static_cast<double>(newer.values[i]) -
                                    static_cast<double>(difference.raster.values[i]));
    }
    return difference;
}

/// Calls work(dz, inside) for the cells of the outline's bounds grown by `margin` metres.
template<class Work>
void forEachCell(const Difference& difference, const OGRGeometry& outline, double margin, const Work& work) {
    OGREnvelope bounds;
    outline.getEnvelope(&bounds);
    const Raster& raster = difference.raster;
    for (int row = 0; row < raster.rows; ++row) {
        if (raster.y(row) < bounds.MinY - margin || raster.y(row) > bounds.MaxY + margin) {
            continue;
        }
        for (int column = 0; column < raster.columns; ++column) {
            if (raster.x(column) < bounds.MinX - margin || raster.x(column) > bounds.MaxX + margin) {
                continue;
            }
            const OGRPoint centre(raster.x(column), raster.y(row));
            const auto index = static_cast<std::size_t>(row) * static_cast<std::size_t>(raster.columns) +
                               static_cast<std::size_t>(column);
            work(difference.metres[index], outline.Contains(&centre), index);
        }
    }
}
} // namespace

TEST(SampleChanges, ThereAreManyOfEveryClassAndSign) {
    const std::vector<Truth> truths = readTruth(sharedSample());
    EXPECT_GE(truths.size(), 24u);
    std::map<std::string, int> perClass;
    for (const Truth& truth : truths) {
        ++perClass[truth.className];
        const bool fill = truth.className == "建构筑物" || truth.className == "重物占压";
        EXPECT_EQ(truth.kind, fill ? "fill" : "cut") << truth.name;
        EXPECT_EQ(truth.dz > 0.0, fill) << truth.name;
        EXPECT_TRUE(truth.outline->IsValid()) << truth.name;
    }
    EXPECT_EQ(perClass.size(), 4u);
    for (const auto& [className, count] : perClass) {
        EXPECT_GE(count, 3) << className;
    }
}

TEST(SampleChanges, VolumeAreaAndMeanAgreeWithTheSurveyedDifference) {
    const Difference difference = readDifference(sharedSample());
    const double cellArea = difference.raster.transform[1] * difference.raster.transform[1];
    for (const Truth& truth : readTruth(sharedSample())) {
        double volume = 0.0;
        int cells = 0;
        forEachCell(difference, *truth.outline, 0.0, [&](double dz, bool inside, std::size_t) {
            volume += inside ? dz * cellArea : 0.0;
            cells += inside ? 1 : 0;
        });
        EXPECT_NEAR(cells * cellArea, truth.area, 1e-6) << truth.name;
        // The noise of two surveys, 3.5 cm in each cell, mostly averages out.
        EXPECT_NEAR(std::fabs(volume), truth.volume, 0.03 * truth.area + 0.01 * truth.volume) << truth.name;
        EXPECT_NEAR(truth.dz * truth.area, truth.kind == "fill" ? truth.volume : -truth.volume, 1e-6);
    }
}

TEST(SampleChanges, NothingElseMovedByMoreThanThreeDecimetres) {
    const Difference difference = readDifference(sharedSample());
    std::vector<char> explained(difference.metres.size(), 0);
    for (const Truth& truth : readTruth(sharedSample())) {
        forEachCell(difference, *truth.outline, 0.0, [&](double, bool inside, std::size_t index) {
            explained[index] = static_cast<char>(explained[index] | static_cast<char>(inside));
        });
    }
    double largest = 0.0;
    double sumOfSquares = 0.0;
    int quiet = 0;
    for (std::size_t i = 0; i < difference.metres.size(); ++i) {
        const double dz = std::fabs(difference.metres[i]);
        // Cells at the foot of a heap changed by less than 0.25 m and the noise.
        EXPECT_TRUE(explained[i] || dz < 0.25 + 0.2) << i;
        if (!explained[i] && dz < 0.25) {
            largest = std::max(largest, dz);
            sumOfSquares += dz * dz;
            ++quiet;
        }
    }
    const double deviation = std::sqrt(sumOfSquares / quiet);
    EXPECT_GT(deviation, 0.02);
    EXPECT_LT(deviation, 0.05);
}

TEST(SampleChanges, SomeLieOverThePipeAndSomeAcrossStationBoundaries) {
    const DatasetPtr dataset = openVector(sharedSample() / "centerline.gpkg");
    ASSERT_TRUE(dataset);
    const std::unique_ptr<OGRFeature> pipe(dataset->GetLayerByName("centerline")->GetNextFeature());
    ASSERT_TRUE(pipe);
    int overPipe = 0;
    int acrossBoundary = 0;
    for (const Truth& truth : readTruth(sharedSample())) {
        overPipe += truth.outline->Intersects(pipe->GetGeometryRef()) ? 1 : 0;
        int stations = 0;
        for (const auto& station : *dataset->GetLayerByName("stations")) {
            stations += station->GetGeometryRef()->Intersects(truth.outline.get()) ? 1 : 0;
        }
        acrossBoundary += stations == 2 ? 1 : 0;
    }
    EXPECT_GE(overPipe, 5);
    EXPECT_GE(acrossBoundary, 3);
}

TEST(SampleChanges, ACutTouchesAFill) {
    const std::vector<Truth> truths = readTruth(sharedSample());
    double nearest = 1e9;
    for (const Truth& fill : truths) {
        for (const Truth& cut : truths) {
            if (fill.kind == "fill" && cut.kind == "cut") {
                nearest = std::min(nearest, fill.outline->Distance(cut.outline.get()));
            }
        }
    }
    EXPECT_LT(nearest, 1.0);
}

TEST(SampleChanges, EverySeedHasAtLeastTwentyFour) {
    for (const std::uint64_t seed : {3u, 2025u}) {
        const samples::Scene scene(seed);
        EXPECT_GE(scene.changes.size(), 24u) << "seed " << seed;
        for (const samples::Change& change : scene.changes) {
            EXPECT_FALSE(
                samples::isBuiltUp(scene.buildings, change.frame.origin.x, change.frame.origin.y, 1.0));
            EXPECT_GT(scene.site.roadField.distance(change.frame.origin.x, change.frame.origin.y), 10.0F);
        }
    }
}
