#pragma once

#include "host/Export.h"

#include <array>
#include <memory>
#include <mutex>
#include <string>

class GDALDataset;

/// A station's raster of elevation differences. Cells are read from the file when they are asked for, so that
/// memory does not grow with the raster. Any thread, one at a time.
class INSPECTIONDATA_API KV_ElevationDifference {
public:
    /// Null when the file cannot be read. `file` is UTF-8.
    static std::shared_ptr<const KV_ElevationDifference> open(const std::string& file);
    ~KV_ElevationDifference();

    const std::string& file() const { return m_file; }

    /// new - old in metres at (x, y) of the raster's reference system, bilinear between cell centres. A
    /// neighbour without data counts like the point's own cell. False outside the raster or where the own
    /// cell has no data.
    bool at(double x, double y, double& dzMetres) const;

private:
    KV_ElevationDifference(std::string file, std::unique_ptr<GDALDataset> raster);
    /// False outside the raster or without data.
    bool cell(int column, int row, double& dzMetres) const;

    std::string m_file;
    std::unique_ptr<GDALDataset> m_raster;
    std::array<double, 6> m_fromPixel{};
    std::array<double, 6> m_toPixel{};
    double m_noData = 0.0;
    mutable std::mutex m_mutex;
};
