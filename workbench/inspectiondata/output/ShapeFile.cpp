#include "workbench/inspectiondata/output/ShapeFile.h"

#include "detect/GdalErrors.h"

#include <ogrsf_frmts.h>

#include <algorithm>
#include <array>
#include <utility>

namespace inspection {

ShapeFile::ShapeFile(const char* driver, QString path, QString target)
    : m_isShapefile(std::string(driver) == "ESRI Shapefile"), m_path(std::move(path)),
      m_target(std::move(target)) {
    GDALAllRegister();
    const detect::GdalErrors errors;
    GDALDriver* const known = GetGDALDriverManager()->GetDriverByName(driver);
    m_dataset.reset(!known ? nullptr
                           : known->Create(m_path.toUtf8().constData(), 0, 0, 0, GDT_Unknown, nullptr));
}

Status ShapeFile::failed(const std::string& gdalWords) const {
    const QString cause = gdalWords.empty() ? QStringLiteral("disk full") : QString::fromStdString(gdalWords);
    return fileFailure(m_target, "cannot be written: " + cause, "无法写入：" + cause);
}

Status ShapeFile::begin(const ShapeLayer& layer) {
    const detect::GdalErrors errors;
    m_written.push_back({layer.name});
    const bool good = m_dataset && createLayer(layer) && m_layer->StartTransaction() == OGRERR_NONE;
    return good && !errors.any() ? Status() : failed(errors.first());
}

bool ShapeFile::createLayer(const ShapeLayer& source) {
    std::array<const char*, 2> options{m_isShapefile ? "ENCODING=UTF-8" : nullptr, nullptr};
    OGRSpatialReference reference(source.reference);
    m_layer = m_dataset->CreateLayer(source.name.c_str(), &reference, source.type,
                                     const_cast<char**>(options.data()));
    const auto create = [this](const ShapeLayer::Field& field) {
        OGRFieldDefn definition(field.name.c_str(), field.number ? OFTReal : OFTString);
        if (field.number) {
            definition.SetWidth(m_isShapefile ? 20 : 0);
            definition.SetPrecision(m_isShapefile ? 7 : 0);
        } else {
            definition.SetWidth(m_isShapefile ? 254 : 0);
        }
        return m_layer->CreateField(&definition) == OGRERR_NONE;
    };
    return m_layer && std::all_of(source.fields.begin(), source.fields.end(), create);
}

Status ShapeFile::add(const ShapeLayer::Feature& source) {
    const detect::GdalErrors errors;
    OGRFeature feature(m_layer->GetLayerDefn());
    for (std::size_t i = 0; i < source.values.size(); ++i) {
        const int field = static_cast<int>(i);
        if (const auto* text = std::get_if<std::string>(&source.values[i])) {
            feature.SetField(field, text->c_str());
        } else if (const auto* number = std::get_if<double>(&source.values[i])) {
            feature.SetField(field, *number);
        } else {
            feature.SetFieldNull(field);
        }
    }
    feature.SetGeometry(source.geometry.get());
    ++m_written.back().features;
    m_written.back().geometries += source.geometry ? 1 : 0;
    const bool good = m_layer->CreateFeature(&feature) == OGRERR_NONE;
    return good && !errors.any() ? Status() : failed(errors.first());
}

Status ShapeFile::end() {
    const detect::GdalErrors errors;
    const bool good = m_layer->CommitTransaction() == OGRERR_NONE;
    return good && !errors.any() ? Status() : failed(errors.first());
}

Status ShapeFile::close() {
    const detect::GdalErrors errors;
    m_dataset.reset();
    return !errors.any() && isComplete() && !errors.any() ? Status() : failed(errors.first());
}

std::int64_t ShapeFile::lackingGeometries(const ShapeLayer& layer) const {
    const auto written = std::find_if(m_written.begin(), m_written.end(),
                                      [&layer](const Written& each) { return each.name == layer.name; });
    return written == m_written.end() ? 0 : written->features - written->geometries;
}

// A full disk may only show when buffers go out, so each feature is read back.
bool ShapeFile::isComplete() const {
    const GDALDatasetUniquePtr dataset(GDALDataset::Open(m_path.toUtf8().constData(), GDAL_OF_VECTOR));
    for (const Written& expected : m_written) {
        OGRLayer* layer = dataset ? dataset->GetLayerByName(expected.name.c_str()) : nullptr;
        if (!layer || layer->GetFeatureCount() != expected.features) {
            return false;
        }
        std::int64_t read = 0;
        for (const auto& feature : *layer) {
            read += feature->GetGeometryRef() ? 1 : 0;
        }
        if (read != expected.geometries) {
            return false;
        }
    }
    return true;
}

} // namespace inspection
