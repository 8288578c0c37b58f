#pragma once

#include "detect/Detection.h"
#include "detect/heights/Grid.h"
#include "tests/support/TemporaryFolder.h"

#include <gdal_priv.h>

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace detect::test {

/// A small elevation raster in the making.
struct RasterPlan {
    int columns = 100;
    int rows = 100;
    int epsg = 4547; ///< CGCS2000 / 3-degree Gauss-Krüger CM 114E, metres; 0 for none
    std::array<double, 6> toMap{500000.0, 0.5, 0.0, 3400000.0, 0.0, -0.5};
    std::optional<double> noData;
    GDALDataType type = GDT_Float32;
    std::vector<std::string> creationOptions;

    Point centre(int column, int row) const;
};

/// Height at a map position of the plan's reference system.
using Surface = std::function<double(const Point& map)>;

/// Writes heights (packed rows) or a surface sampled at the cell centres as a GeoTIFF.
void writeRaster(const std::string& path, const RasterPlan& plan, const std::vector<float>& heights);
void writeRaster(const std::string& path, const RasterPlan& plan, const Surface& surface);

/// Reads the whole first band.
std::vector<float> readRaster(const std::string& path);

/// Even figures in 0 .. 1, the same on every machine.
class Random {
public:
    explicit Random(std::uint64_t seed) : m_state(seed * 2654435761U + 88172645463325252U) {}
    double operator()();

private:
    std::uint64_t m_state;
};

/// The result, or a test failure with the message and an empty result.
Changes detectOrFail(const Request& request);
/// The same with dZ in a file.
Changes detectOrFail(const Request& request, const std::string& dzRaster);
/// The failure; a test failure when the work succeeds. `dzRaster` is a file to write.
Failure detectExpectingFailure(const Request& request, const std::string& dzRaster,
                               const Progress& progress = {});

/// Whether the outline with its holes is a valid simple feature (GEOS).
bool isValidPolygon(const Anomaly& anomaly);
/// Area enclosed by the outline less the holes, in squared map units.
double polygonArea(const Anomaly& anomaly);
/// Even-odd test over all rings.
bool encloses(const Anomaly& anomaly, const Point& map);

std::string contentOf(const std::string& path);

} // namespace detect::test
