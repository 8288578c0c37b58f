#include "tests/detect/TestRasters.h"

#include <gtest/gtest.h>
#include <ogr_geometry.h>
#include <ogr_spatialref.h>

#include <fstream>
#include <iterator>

namespace detect::test {

Point RasterPlan::centre(int column, int row) const {
    return Affine{toMap}(column + 0.5, row + 0.5);
}

void writeRaster(const std::string& path, const RasterPlan& plan, const std::vector<float>& heights) {
    GDALAllRegister();
    CPLStringList options;
    for (const std::string& option : plan.creationOptions) {
        options.AddString(option.c_str());
    }
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName("GTiff");
    GDALDatasetUniquePtr file(
        driver->Create(path.c_str(), plan.columns, plan.rows, 1, plan.type, options.List()));
    ASSERT_TRUE(file) << path;
    if (plan.epsg != 0) {
        OGRSpatialReference srs;
        ASSERT_EQ(srs.importFromEPSG(plan.epsg), OGRERR_NONE);
        srs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
        file->SetSpatialRef(&srs);
    }
    std::array<double, 6> toMap = plan.toMap;
    file->SetGeoTransform(toMap.data());
    if (plan.noData) {
        file->GetRasterBand(1)->SetNoDataValue(*plan.noData);
    }
    std::vector<float> copy = heights;
    ASSERT_EQ(file->GetRasterBand(1)->RasterIO(GF_Write, 0, 0, plan.columns, plan.rows, copy.data(),
                                               plan.columns, plan.rows, GDT_Float32, 0, 0, nullptr),
              CE_None);
}

void writeRaster(const std::string& path, const RasterPlan& plan, const Surface& surface) {
    std::vector<float> heights;
    for (int row = 0; row < plan.rows; ++row) {
        for (int column = 0; column < plan.columns; ++column) {
            heights.push_back(static_cast<float>(surface(plan.centre(column, row))));
        }
    }
    writeRaster(path, plan, heights);
}

std::vector<float> readRaster(const std::string& path) {
    const GDALDatasetUniquePtr file(GDALDataset::Open(path.c_str(), GDAL_OF_RASTER));
    EXPECT_TRUE(file) << path;
    if (!file) {
        return {};
    }
    const int columns = file->GetRasterXSize();
    const int rows = file->GetRasterYSize();
    std::vector<float> heights(static_cast<std::size_t>(columns) * static_cast<std::size_t>(rows));
    EXPECT_EQ(file->GetRasterBand(1)->RasterIO(GF_Read, 0, 0, columns, rows, heights.data(), columns, rows,
                                               GDT_Float32, 0, 0, nullptr),
              CE_None);
    return heights;
}

/// xorshift64* (Vigna 2016).
double Random::operator()() {
    m_state ^= m_state >> 12;
    m_state ^= m_state << 25;
    m_state ^= m_state >> 27;
    return static_cast<double>((m_state * 2685821657736338717ULL) >> 11) / static_cast<double>(1ULL << 53);
}

static Changes valueOrFail(Result<Changes> outcome) {
    EXPECT_TRUE(outcome) << outcome.error().message;
    return std::move(outcome).value_or(Changes());
}

Changes detectOrFail(const Request& request) {
    return valueOrFail(detectChanges(request));
}

Changes detectOrFail(const Request& request, const std::string& dzRaster) {
    return valueOrFail(detectChangesAndDz(request, dzRaster));
}

Failure detectExpectingFailure(const Request& request, const std::string& dzRaster,
                               const Progress& progress) {
    auto outcome = detectChangesAndDz(request, dzRaster, progress);
    if (!outcome) {
        return outcome.error();
    }
    ADD_FAILURE() << "succeeded with " << outcome->anomalies.size() << " anomalies";
    return {};
}

namespace {

OGRPolygon toOgr(const Anomaly& anomaly) {
    OGRPolygon polygon;
    const auto add = [&polygon](const Ring& ring) {
        OGRLinearRing line;
        for (const Point& p : ring) {
            line.addPoint(p.x, p.y);
        }
        line.closeRings();
        polygon.addRing(&line);
    };
    add(anomaly.outline);
    for (const Ring& hole : anomaly.holes) {
        add(hole);
    }
    return polygon;
}

} // namespace

bool isValidPolygon(const Anomaly& anomaly) {
    return toOgr(anomaly).IsValid() != 0;
}

double polygonArea(const Anomaly& anomaly) {
    return toOgr(anomaly).get_Area();
}

bool encloses(const Anomaly& anomaly, const Point& map) {
    bool inside = false;
    const auto cross = [&](const Ring& ring) {
        for (std::size_t i = 0, j = ring.size() - 1; i < ring.size(); j = i++) {
            if ((ring[i].y > map.y) != (ring[j].y > map.y) &&
                map.x < (ring[j].x - ring[i].x) * (map.y - ring[i].y) / (ring[j].y - ring[i].y) + ring[i].x) {
                inside = !inside;
            }
        }
    };
    cross(anomaly.outline);
    for (const Ring& hole : anomaly.holes) {
        cross(hole);
    }
    return inside;
}

std::string contentOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace detect::test
