#include "detect/output/ResultWriter.h"

#include "detect/GdalErrors.h"
#include "detect/StagedOutput.h"
#include "detect/output/AnomalyLayer.h"
#include "detect/output/ParameterText.h"

#include <cpl_json.h>
#include <ogrsf_frmts.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <memory>

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

/// One result file while it is written.
class AnomalyFile {
public:
    AnomalyFile(const Format& format, const std::string& path) : m_format(format), m_path(path) {}

    bool create(OGRSpatialReference& srs) {
        GDALDriver* driver = GetGDALDriverManager()->GetDriverByName(m_format.driver);
        if (driver == nullptr)
            return false;
        m_dataset.reset(driver->Create(m_path.c_str(), 0, 0, 0, GDT_Unknown, nullptr));
        if (!m_dataset)
            return false;
        CPLStringList options;
        if (isShapefile())
            options.SetNameValue("ENCODING", "UTF-8");
        else if (isGeoJson()) {
            options.SetNameValue("RFC7946", "YES");
            options.SetNameValue("COORDINATE_PRECISION", "8");
        }
        const std::string layer = isShapefile() ? fs::u8path(m_path).stem().u8string() : "anomalies";
        m_layer = m_dataset->CreateLayer(layer.c_str(), &srs, wkbPolygon, options.List());
        return m_layer != nullptr && createAnomalyFields(*m_layer, isShapefile());
    }

    bool write(const std::vector<Anomaly>& anomalies, const std::vector<std::string>& attributes) {
        const bool inTransaction = m_dataset->TestCapability(ODsCTransactions) != 0;
        if (inTransaction && m_dataset->StartTransaction() != OGRERR_NONE)
            return false;
        for (std::size_t i = 0; i < anomalies.size(); ++i)
            if (!addAnomaly(*m_layer, anomalies[i], i < attributes.size() ? attributes[i] : std::string()))
                return false;
        return !inTransaction || m_dataset->CommitTransaction() == OGRERR_NONE;
    }

    void close() { m_dataset.reset(); }

private:
    bool isShapefile() const { return m_format.driver == std::string("ESRI Shapefile"); }
    bool isGeoJson() const { return m_format.driver == std::string("GeoJSON"); }

    const Format& m_format;
    std::string m_path;
    GDALDatasetUniquePtr m_dataset;
    OGRLayer* m_layer = nullptr;
};

/// Says whether the closed file can be read and holds every anomaly: closing does not report every failed
/// write.
bool holds(const std::string& path, std::size_t anomalies) {
    const GDALDatasetUniquePtr written(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
    if (!written || written->GetLayerCount() != 1)
        return false;
    std::size_t read = 0;
    for (const auto& feature : written->GetLayer(0))
        read += feature->GetGeometryRef() != nullptr ? 1 : 0;
    return read == anomalies;
}

CPLJSONObject ruleObject(bool isOn, std::int64_t rejected) {
    CPLJSONObject rule;
    rule.Add("on", isOn);
    rule.Add("rejected", static_cast<GInt64>(rejected));
    return rule;
}

CPLJSONObject rulesObject(const Parameters& parameters, const Rejections& rejections) {
    CPLJSONObject rules;
    CPLJSONObject area = ruleObject(parameters.minAreaSquareMetres > 0.0, rejections.area);
    area.Add("least_m2", parameters.minAreaSquareMetres);
    rules.Add("area", area);
    rules.Add("core", ruleObject(parameters.rules.core, rejections.core));
    rules.Add("sliver", ruleObject(parameters.rules.sliver, rejections.sliver));
    rules.Add("speckle", ruleObject(parameters.rules.speckle, rejections.speckle));
    return rules;
}

std::string summaryText(const Result& result, const Parameters& parameters) {
    CPLJSONObject summary;
    summary.Add("anomalies", static_cast<GInt64>(result.anomalies.size()));
    summary.Add("cells", static_cast<GInt64>(result.cells));
    summary.Add("seconds", result.seconds);
    summary.Add("threads", result.threads);
    summary.Add("threshold_m", parameters.thresholdMetres);
    summary.Add("grow_ratio", parameters.growRatio);
    summary.Add("split_bodies", parameters.splitBodies);
    addSignificance(parameters.significance, summary);
    summary.Add("rules", rulesObject(parameters, result.rejections));
    summary.Add("coregistration", describe(result.coregistration));
    return summary.Format(CPLJSONObject::PrettyFormat::Pretty) + "\n";
}

} // namespace

bool isResultPath(const std::string& path) {
    return formatOf(path) != nullptr;
}

std::optional<Failure> writeAnomalies(const std::vector<Anomaly>& anomalies, const std::string& srsWkt,
                                      const std::string& path, const std::vector<std::string>& attributes) {
    GDALAllRegister();
    const Format* format = formatOf(path);
    if (format == nullptr)
        return failureOf(path, "结果文件的扩展名必须是 .gpkg、.geojson 或 .shp");
    auto staged = StagedOutput::beside(path);
    if (auto* failure = std::get_if<Failure>(&staged))
        return *failure;
    StagedOutput& output = std::get<StagedOutput>(staged);

    GdalErrors errors;
    OGRSpatialReference srs;
    srs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    if (srs.importFromWkt(srsWkt.c_str()) != OGRERR_NONE)
        return failureOf(path, "坐标参考系统无效", errors.first());
    AnomalyFile file(*format, output.path());
    const bool written = file.create(srs) && file.write(anomalies, attributes);
    file.close();
    if (!written || errors.any())
        return failureOf(path, cannotWrite, errors.first());
    if (!holds(output.path(), anomalies.size()))
        return failureOf(path, writeFailed, errors.first());
    return output.commit();
}

std::optional<Failure> writeSummary(const Result& result, const Parameters& parameters,
                                    const std::string& path) {
    auto staged = StagedOutput::beside(path);
    if (auto* failure = std::get_if<Failure>(&staged))
        return *failure;
    StagedOutput& output = std::get<StagedOutput>(staged);
    std::ofstream file(fs::u8path(output.path()), std::ios::binary);
    file << summaryText(result, parameters);
    file.close();
    if (!file)
        return failureOf(path, writeFailed);
    return output.commit();
}

const char* methodName(CoregistrationMethod method) {
    switch (method) {
    case CoregistrationMethod::None:
        return "none";
    case CoregistrationMethod::Bias:
        return "bias";
    case CoregistrationMethod::Full:
        break;
    }
    return "full";
}

std::optional<CoregistrationMethod> methodNamed(const std::string& name) {
    using Method = CoregistrationMethod;
    for (const Method method : {Method::None, Method::Bias, Method::Full})
        if (name == methodName(method))
            return method;
    return std::nullopt;
}

} // namespace detect
