#include "detect/output/ResultFile.h"

#include "detect/FileEnding.h"
#include "detect/GdalErrors.h"
#include "detect/output/AnomalyLayer.h"

#include <algorithm>
#include <filesystem>

namespace detect {

namespace {

namespace fs = std::filesystem;

struct Format {
    const char* ending;
    const char* driver;
};

constexpr Format kFormats[] = {{".gpkg", "GPKG"}, {".geojson", "GeoJSON"}, {".shp", "ESRI Shapefile"}};

const Format* formatOf(const std::string& path) {
    const std::string ending = fileEnding(path);
    const auto* found = std::find_if(std::begin(kFormats), std::end(kFormats),
                                     [&](const Format& format) { return ending == format.ending; });
    return found != std::end(kFormats) ? found : nullptr;
}

bool holds(const std::string& path, std::int64_t anomalies) {
    const GDALDatasetUniquePtr written(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
    return written && written->GetLayerCount() == 1 && countReadable(*written->GetLayer(0)) == anomalies;
}

} // namespace

bool isResultPath(const std::string& path) {
    return formatOf(path) != nullptr;
}

Status ResultFile::begin(const std::string& srsWkt) {
    const Format* format = formatOf(m_path);
    if (!format) {
        return failureOf(m_path, "结果文件的扩展名必须是 .gpkg、.geojson 或 .shp");
    }
    if (auto done = m_file.create(format->driver); !done) {
        return failed(done);
    }
    const GdalErrors errors;
    OGRSpatialReference srs;
    srs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    if (srs.importFromWkt(srsWkt.c_str()) != OGRERR_NONE) {
        return failureOf(m_path, "坐标参考系统无效", errors.first());
    }
    if (!createLayer(format->driver, srs) || errors.any()) {
        return m_file.writeFailure(errors.first());
    }
    return {};
}

bool ResultFile::createLayer(const std::string& driver, OGRSpatialReference& srs) {
    const bool isShapefile = driver == "ESRI Shapefile";
    CPLStringList options;
    if (isShapefile) {
        options.SetNameValue("ENCODING", "UTF-8");
    } else if (driver == "GeoJSON") {
        options.SetNameValue("RFC7946", "YES");
        options.SetNameValue("COORDINATE_PRECISION", "8");
    }
    const std::string name = isShapefile ? fs::u8path(m_path).stem().u8string() : "anomalies";
    m_layer = m_file.dataset().CreateLayer(name.c_str(), &srs, wkbPolygon, options.List());
    return m_layer && createAnomalyFields(*m_layer, isShapefile);
}

Status ResultFile::write(const Anomaly& anomaly, const std::string& attribute) {
    const GdalErrors errors;
    const auto feature = featureOf(*m_layer, anomaly, attribute);
    if (m_layer->CreateFeature(feature.get()) != OGRERR_NONE || errors.any()) {
        return m_file.writeFailure(errors.first());
    }
    ++m_written;
    return {};
}

Status ResultFile::close() {
    return m_file.close([this](const std::string& path) { return holds(path, m_written); });
}

} // namespace detect
