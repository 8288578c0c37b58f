#include "detect/output/ResultFile.h"

#include "detect/GdalErrors.h"
#include "detect/output/AnomalyLayer.h"

#include <algorithm>
#include <cctype>
#include <filesystem>

namespace detect {

namespace {

namespace fs = std::filesystem;

const char* const writeFailed = "写入失败，磁盘可能已满";
const char* const cannotWrite = "写入失败";

struct Format {
    const char* ending;
    const char* driver;
};

constexpr Format formats[] = {{".gpkg", "GPKG"}, {".geojson", "GeoJSON"}, {".shp", "ESRI Shapefile"}};

const Format* formatOf(const std::string& path) {
    std::string ending = fs::u8path(path).extension().u8string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    const auto* found = std::find_if(std::begin(formats), std::end(formats),
                                     [&](const Format& format) { return ending == format.ending; });
    return found != std::end(formats) ? found : nullptr;
}

bool holds(const std::string& path, std::int64_t anomalies) {
    const GDALDatasetUniquePtr written(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
    return written && written->GetLayerCount() == 1 && countReadable(*written->GetLayer(0)) == anomalies;
}

} // namespace

bool isResultPath(const std::string& path) {
    return formatOf(path) != nullptr;
}

ResultFile::~ResultFile() {
    const GdalErrors quiet; // whatever goes wrong with a file that nobody wants any more
    m_dataset.reset();
}

std::optional<Failure> ResultFile::begin(const std::string& srsWkt) {
    GDALAllRegister();
    const Format* format = formatOf(m_path);
    if (format == nullptr)
        return failureOf(m_path, "结果文件的扩展名必须是 .gpkg、.geojson 或 .shp");
    auto staged = StagedOutput::beside(m_path);
    if (auto* failure = std::get_if<Failure>(&staged))
        return *failure;
    m_output.emplace(std::get<StagedOutput>(std::move(staged)));

    const GdalErrors errors;
    OGRSpatialReference srs;
    srs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    if (srs.importFromWkt(srsWkt.c_str()) != OGRERR_NONE)
        return failureOf(m_path, "坐标参考系统无效", errors.first());
    if (!create(format->driver, srs) || errors.any())
        return failureOf(m_path, cannotWrite, errors.first());
    return std::nullopt;
}

bool ResultFile::create(const char* driverName, OGRSpatialReference& srs) {
    GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(driverName);
    if (driver == nullptr)
        return false;
    const auto isNamed = [driverName](const char* name) { return std::string(driverName) == name; };
    const std::string path = m_output->path();
    m_dataset.reset(driver->Create(path.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    if (!m_dataset)
        return false;
    const bool isShapefile = isNamed("ESRI Shapefile");
    CPLStringList options;
    if (isShapefile)
        options.SetNameValue("ENCODING", "UTF-8");
    else if (isNamed("GeoJSON")) {
        options.SetNameValue("RFC7946", "YES");
        options.SetNameValue("COORDINATE_PRECISION", "8");
    }
    const std::string layer = isShapefile ? fs::u8path(path).stem().u8string() : "anomalies";
    m_layer = m_dataset->CreateLayer(layer.c_str(), &srs, wkbPolygon, options.List());
    if (m_layer == nullptr || !createAnomalyFields(*m_layer, isShapefile))
        return false;
    m_inTransaction = m_dataset->TestCapability(ODsCTransactions) != 0;
    return !m_inTransaction || m_dataset->StartTransaction() == OGRERR_NONE;
}

std::optional<Failure> ResultFile::write(const Anomaly& anomaly, const std::string& attribute) {
    const GdalErrors errors;
    if (!addAnomaly(*m_layer, anomaly, attribute) || errors.any())
        return failureOf(m_path, cannotWrite, errors.first());
    ++m_written;
    return std::nullopt;
}

std::optional<Failure> ResultFile::commit() {
    const GdalErrors errors;
    const bool written = !m_inTransaction || m_dataset->CommitTransaction() == OGRERR_NONE;
    m_layer = nullptr;
    m_dataset.reset();
    if (!written || errors.any())
        return failureOf(m_path, cannotWrite, errors.first());
    if (!holds(m_output->path(), m_written))
        return failureOf(m_path, writeFailed, errors.first());
    return m_output->commit();
}

std::optional<Failure> writeAnomalies(const std::vector<Anomaly>& anomalies, const std::string& srsWkt,
                                      const std::string& path, const std::vector<std::string>& attributes) {
    ResultFile file(path);
    if (auto failure = file.begin(srsWkt))
        return failure;
    for (std::size_t i = 0; i < anomalies.size(); ++i)
        if (auto failure = file.write(anomalies[i], i < attributes.size() ? attributes[i] : std::string()))
            return failure;
    return file.commit();
}

} // namespace detect
