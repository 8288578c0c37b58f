#include "detect/output/PieceFile.h"

#include "detect/GdalErrors.h"
#include "detect/PieceCheck.h"
#include "detect/output/AnomalyLayer.h"
#include "detect/output/PieceFrameText.h"

#include <ogr_spatialref.h>

#include <cstring>

namespace detect {

namespace {

const char* const kDamaged = "窗口结果已损坏";

struct Field {
    const char* name;
    OGRFieldType type;
};

constexpr Field kPlaceFields[] = {
    {"first_row", OFTInteger}, {"first_col", OFTInteger}, {"x", OFTReal}, {"y", OFTReal}};

constexpr Field kRunFields[] = {
    {"row", OFTInteger},      {"begin", OFTInteger},       {"end", OFTInteger},
    {"sign", OFTInteger},     {"gap", OFTInteger},         {"lowest", OFTReal},
    {"highest", OFTReal},     {"strongest", OFTReal},      {"raised", OFTInteger64},
    {"sunk", OFTInteger64},   {"variance", OFTInteger64},  {"explained", OFTInteger},
    {"cores", OFTInteger},    {"cores_begin", OFTInteger}, {"cores_end", OFTInteger},
    {"restless", OFTInteger}, {"heights", OFTBinary}};

template<std::size_t count>
bool createFields(OGRLayer& layer, const Field (&fields)[count]) {
    for (const Field& field : fields) {
        OGRFieldDefn definition(field.name, field.type);
        if (layer.CreateField(&definition) != OGRERR_NONE) {
            return false;
        }
    }
    return true;
}

OGRLayer* createAnomalyLayer(GDALDataset& file, const std::string& srsWkt) {
    OGRSpatialReference srs;
    srs.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    if (srs.importFromWkt(srsWkt.c_str()) != OGRERR_NONE) {
        return nullptr;
    }
    OGRLayer* layer = file.CreateLayer("anomalies", &srs, wkbPolygon, nullptr);
    const bool created = layer && createAnomalyFields(*layer, false) && createFields(*layer, kPlaceFields);
    return created ? layer : nullptr;
}

bool writeSeamRuns(GDALDataset& file, const MeasuredRuns& seamRuns) {
    OGRLayer* layer = file.CreateLayer("seam_runs", nullptr, wkbNone, nullptr);
    if (!layer || !createFields(*layer, kRunFields)) {
        return false;
    }
    for (const Run& run : seamRuns.runs) {
        OGRFeature feature(layer->GetLayerDefn());
        int i = 0;
        for (const int figure : {run.row, run.begin, run.end, int{run.sign}, run.gap ? 1 : 0}) {
            feature.SetField(i++, figure);
        }
        for (const float metres : {run.lowest, run.highest, run.strongest}) {
            feature.SetField(i++, static_cast<double>(metres));
        }
        for (const std::int64_t sum : {run.raised, run.sunk, run.variance}) {
            feature.SetField(i++, static_cast<GIntBig>(sum));
        }
        for (const int figure :
             {run.explainedByShift, run.cores, run.coresBegin, run.coresEnd, run.restless ? 1 : 0}) {
            feature.SetField(i++, figure);
        }
        if (const float* heights = seamRuns.heightsOf(run)) {
            feature.SetField(i, run.cells() * static_cast<int>(sizeof(float)),
                             static_cast<const void*>(heights));
        }
        if (layer->CreateFeature(&feature) != OGRERR_NONE) {
            return false;
        }
    }
    return true;
}

bool writeDescription(GDALDataset& file, const Piece& piece) {
    OGRLayer* layer = file.CreateLayer("piece", nullptr, wkbNone, nullptr);
    if (!layer) {
        return false;
    }
    OGRFieldDefn field("description", OFTString);
    if (layer->CreateField(&field) != OGRERR_NONE) {
        return false;
    }
    OGRFeature feature(layer->GetLayerDefn());
    feature.SetField(0, describePiece(piece).c_str());
    return layer->CreateFeature(&feature) == OGRERR_NONE;
}

/// Without a description the file is no piece.
bool readDescription(GDALDataset& file, Piece& piece) {
    OGRLayer* layer = file.GetLayerByName("piece");
    if (!layer) {
        return false;
    }
    const OGRFeatureUniquePtr row(layer->GetNextFeature());
    return row && parsePiece(row->GetFieldAsString("description"), piece);
}

bool readAnomalyLayer(GDALDataset& file, std::vector<Anomaly>& anomalies) {
    OGRLayer* layer = file.GetLayerByName("anomalies");
    if (!layer) {
        return false;
    }
    for (const auto& feature : *layer) {
        auto anomaly = anomalyOf(*feature);
        if (!anomaly) {
            return false;
        }
        anomaly->centroid = {feature->GetFieldAsDouble("x"), feature->GetFieldAsDouble("y")};
        anomaly->first = {feature->GetFieldAsInteger("first_row"), feature->GetFieldAsInteger("first_col")};
        anomalies.push_back(std::move(*anomaly));
    }
    return true;
}

Run runOf(const OGRFeature& feature) {
    Run run;
    run.row = feature.GetFieldAsInteger("row");
    run.begin = feature.GetFieldAsInteger("begin");
    run.end = feature.GetFieldAsInteger("end");
    run.sign = static_cast<std::int8_t>(feature.GetFieldAsInteger("sign"));
    run.gap = feature.GetFieldAsInteger("gap") != 0;
    run.lowest = static_cast<float>(feature.GetFieldAsDouble("lowest"));
    run.highest = static_cast<float>(feature.GetFieldAsDouble("highest"));
    run.strongest = static_cast<float>(feature.GetFieldAsDouble("strongest"));
    run.raised = feature.GetFieldAsInteger64("raised");
    run.sunk = feature.GetFieldAsInteger64("sunk");
    run.variance = feature.GetFieldAsInteger64("variance");
    run.explainedByShift = feature.GetFieldAsInteger("explained");
    run.cores = feature.GetFieldAsInteger("cores");
    run.coresBegin = feature.GetFieldAsInteger("cores_begin");
    run.coresEnd = feature.GetFieldAsInteger("cores_end");
    run.restless = feature.GetFieldAsInteger("restless") != 0;
    return run;
}

/// Into a piece whose window is known.
bool readSeamRuns(GDALDataset& file, Piece& piece) {
    OGRLayer* layer = file.GetLayerByName("seam_runs");
    const int heightsField = layer ? layer->GetLayerDefn()->GetFieldIndex("heights") : -1;
    if (heightsField < 0) {
        return false;
    }
    std::vector<float> heights;
    for (const auto& feature : *layer) {
        const Run run = runOf(*feature);
        int bytes = 0;
        const GByte* blob = feature->GetFieldAsBinary(heightsField, &bytes);
        const bool known = feature->IsFieldSetAndNotNull(heightsField);
        if (!isRunOf(piece, run) || (known && bytes / static_cast<int>(sizeof(float)) != run.cells())) {
            return false;
        }
        if (known) {
            heights.resize(static_cast<std::size_t>(run.cells()));
            std::memcpy(heights.data(), blob, heights.size() * sizeof(float));
        }
        piece.seamRuns.append(run, known ? heights.data() : nullptr);
    }
    return true;
}

GDALDatasetUniquePtr openPiece(const std::string& path) {
    return GDALDatasetUniquePtr(GDALDataset::Open(path.c_str(), GDAL_OF_VECTOR | GDAL_OF_READONLY));
}

bool holds(const std::string& path, const Piece& piece) {
    const auto read = readPieceSeams(path);
    const auto file = openPiece(path);
    OGRLayer* anomalies = file ? file->GetLayerByName("anomalies") : nullptr;
    return read && read->seamRuns.runs.size() == piece.seamRuns.runs.size() && anomalies &&
           countReadable(*anomalies) == piece.found;
}

} // namespace

Status PieceFile::begin(const std::string& srsWkt) {
    if (auto done = m_file.create("GPKG"); !done) {
        return failed(done);
    }
    const GdalErrors errors;
    m_layer = createAnomalyLayer(m_file.dataset(), srsWkt);
    if (!m_layer || errors.any()) {
        return m_file.writeFailure(errors.first());
    }
    return {};
}

Status PieceFile::take(Anomaly anomaly) {
    const GdalErrors errors;
    const auto feature = featureOf(*m_layer, anomaly, {});
    feature->SetField("first_row", anomaly.first.row);
    feature->SetField("first_col", anomaly.first.column);
    feature->SetField("x", anomaly.centroid.x);
    feature->SetField("y", anomaly.centroid.y);
    if (m_layer->CreateFeature(feature.get()) != OGRERR_NONE || errors.any()) {
        return m_file.writeFailure(errors.first());
    }
    return {};
}

Status PieceFile::close(const Piece& piece) {
    const GdalErrors errors;
    if (!writePieceSeams(m_file.dataset(), piece) || errors.any()) {
        return m_file.writeFailure(errors.first());
    }
    return m_file.close([&piece](const std::string& path) { return holds(path, piece); });
}

bool writePieceSeams(GDALDataset& file, const Piece& piece) {
    return writeSeamRuns(file, piece.seamRuns) && writeDescription(file, piece);
}

Result<Piece> readPieceSeams(const std::string& path) {
    GDALAllRegister();
    const GdalErrors errors;
    const auto file = openPiece(path);
    if (!file) {
        return failureOf(path, "无法打开", errors.first());
    }
    auto piece = readPieceSeams(*file, path);
    return piece && errors.any() ? failureOf(path, kDamaged, errors.first()) : std::move(piece);
}

Result<Piece> readPieceSeams(GDALDataset& file, const std::string& path) {
    const GdalErrors errors;
    Piece piece;
    if (!readDescription(file, piece)) {
        return failureOf(path, "不是 corridor detect --window 的结果");
    }
    if (!areWindowsSound(piece) || !readSeamRuns(file, piece) || !isSound(piece) || errors.any()) {
        return failureOf(path, kDamaged, errors.first());
    }
    return piece;
}

Result<std::vector<Anomaly>> readPieceAnomalies(const std::string& path) {
    GDALAllRegister();
    GdalErrors errors;
    const auto file = openPiece(path);
    std::vector<Anomaly> anomalies;
    if (!file || !readAnomalyLayer(*file, anomalies) || errors.any()) {
        return failureOf(path, kDamaged, errors.first());
    }
    return anomalies;
}

} // namespace detect
