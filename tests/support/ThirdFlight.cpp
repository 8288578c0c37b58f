#include "tests/support/ThirdFlight.h"

#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/database/StationTable.h"
#include "workbench/inspectiondata/project/Project.h"

#include <gdal_priv.h>
#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QRectF>

#include <array>

using namespace inspection;

namespace {

constexpr double kHeapMetres = 24.0;
constexpr float kHeapHeightMetres = 3.0F;
constexpr float kShiftMetres = 0.08F;

std::vector<QRectF> heapsIn(const ProjectDescription& project, const std::vector<std::uint32_t>& stations) {
    const auto database = PipelineDatabase::open(project, Project::Access::ReadOnly);
    EXPECT_TRUE(database);
    std::vector<QRectF> heaps;
    for (const KV_Station& station : readStations(*(*database)->GetMySQL())) {
        if (std::find(stations.begin(), stations.end(), station.m_id) != stations.end()) {
            heaps.emplace_back((station.m_xMin + station.m_xMax - kHeapMetres) / 2.0,
                               (station.m_yMin + station.m_yMax - kHeapMetres) / 2.0, kHeapMetres,
                               kHeapMetres);
        }
    }
    return heaps;
}

/// Raises the surface model, more so on the heaps.
void raise(const QString& file, const std::vector<QRectF>& heaps) {
    const GDALDatasetUniquePtr raster(
        GDALDataset::Open(file.toUtf8().constData(), GDAL_OF_RASTER | GDAL_OF_UPDATE));
    ASSERT_TRUE(raster);
    std::array<double, 6> transform{};
    ASSERT_EQ(raster->GetGeoTransform(transform.data()), CE_None);
    GDALRasterBand* band = raster->GetRasterBand(1);
    const auto noData = static_cast<float>(band->GetNoDataValue());
    const int columns = raster->GetRasterXSize();
    std::vector<float> heights(static_cast<std::size_t>(columns));
    const auto access = [&](GDALRWFlag direction, int row) {
        return band->RasterIO(direction, 0, row, columns, 1, heights.data(), columns, 1, GDT_Float32, 0, 0,
                              nullptr);
    };
    for (int row = 0; row < raster->GetRasterYSize(); ++row) {
        ASSERT_EQ(access(GF_Read, row), CE_None);
        for (int column = 0; column < columns; ++column) {
            const QPointF ground(transform[0] + (column + 0.5) * transform[1],
                                 transform[3] + (row + 0.5) * transform[5]);
            const bool isHeap = std::any_of(heaps.begin(), heaps.end(),
                                            [&](const QRectF& heap) { return heap.contains(ground); });
            float& height = heights[static_cast<std::size_t>(column)];
            height += height == noData ? 0.0F : isHeap ? kShiftMetres + kHeapHeightMetres : kShiftMetres;
        }
        ASSERT_EQ(access(GF_Write, row), CE_None);
    }
}

} // namespace

void addThirdFlight(const QString& folder, const std::vector<std::uint32_t>& stations) {
    auto project = Project::open(folder);
    ASSERT_TRUE(project) << project.error().message.toStdString();
    const QString surface = folder + "/epochs/" + kThirdPair.newer + "/dsm.tif";
    ASSERT_TRUE(QDir(folder).mkpath("epochs/" + kThirdPair.newer));
    ASSERT_TRUE(QFile::copy(project->description().epochs.back().dsm, surface));
    GDALAllRegister();
    raise(surface, heapsIn(project->description(), stations));
    const Status added = project->addEpoch({kThirdPair.newer, surface, {}});
    ASSERT_TRUE(added) << added.error().message.toStdString();
}

void computePair(const QString& folder, const EpochPair& pair, const std::vector<std::uint32_t>& stations) {
    const auto project = Project::open(folder);
    ASSERT_TRUE(project) << project.error().message.toStdString();
    const auto described = project->description().comparing(pair);
    ASSERT_TRUE(described) << described.error().message.toStdString();
    ComputationRequest request;
    request.project = *described;
    request.stationIds = stations;
    const auto computed = computeAnomalies(request);
    ASSERT_TRUE(computed) << computed.error().message.toStdString();
}
