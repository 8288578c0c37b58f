#include "workbench/inspectiondata/database/ElevationDifference.h"

#include <cmath>

std::shared_ptr<const KV_ElevationDifference> KV_ElevationDifference::open(const std::string& file) {
    auto raster = detect::SurfaceModel::open(file);
    if (!raster) {
        return nullptr;
    }
    return std::shared_ptr<const KV_ElevationDifference>(
        new KV_ElevationDifference(file, std::move(*raster)));
}

KV_ElevationDifference::KV_ElevationDifference(std::string file, detect::SurfaceModel raster)
    : m_file(std::move(file)), m_raster(std::move(raster)), m_toCell(m_raster.grid().cellToMap().inverse()) {}

bool KV_ElevationDifference::at(double x, double y, double& dzMetres) const {
    const std::lock_guard<std::mutex> guard(m_mutex);
    const double own = m_raster.at(detect::Point{x, y});
    if (std::isnan(own)) {
        return false;
    }
    const detect::Point cell = m_toCell(x, y);
    const int left = static_cast<int>(std::floor(cell.x - 0.5));
    const int top = static_cast<int>(std::floor(cell.y - 0.5));
    const double rightWeight = cell.x - 0.5 - left;
    const double lowerWeight = cell.y - 0.5 - top;
    double sum = 0.0;
    for (int i = 0; i < 4; ++i) {
        const int dx = i % 2;
        const int dy = i / 2;
        const double neighbour = m_raster.at(left + dx, top + dy);
        sum += (std::isnan(neighbour) ? own : neighbour) * (dx == 1 ? rightWeight : 1.0 - rightWeight) *
               (dy == 1 ? lowerWeight : 1.0 - lowerWeight);
    }
    dzMetres = sum;
    return true;
}
