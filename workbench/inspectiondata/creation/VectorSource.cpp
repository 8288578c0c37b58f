#include "workbench/inspectiondata/creation/VectorSource.h"

#include "detect/GdalErrors.h"
#include "host/Gbk.h"
#include "workbench/inspectiondata/database/LayerReference.h"
#include "workbench/inspectiondata/database/LayerText.h"
#include "workbench/inspectiondata/database/SheetColumns.h"

#include <ogrsf_frmts.h>

#include <QFileInfo>

namespace inspection {

QString VectorRow::text(const QStringList& columns) const {
    for (const QString& column : columns) {
        const std::string name = column.toStdString();
        const int index = m_feature.GetFieldIndex((m_text.isGbk() ? toGbk(column) : name).c_str());
        if (index >= 0 && m_feature.IsFieldSetAndNotNull(index)) {
            const QString value = m_text(m_feature.GetFieldAsString(index)).trimmed();
            if (!value.isEmpty()) {
                return value;
            }
        }
    }
    return {};
}

QString VectorLayer::name() const {
    return QString::fromUtf8(m_layer.GetName());
}

Status VectorLayer::forEach(const std::function<bool(const VectorRow&)>& take) const {
    const detect::GdalErrors errors;
    const auto transformation = m_source.transformationOf(m_layer);
    if (!transformation) {
        return failed(transformation);
    }
    const LayerText text(m_layer);
    for (const auto& feature : m_layer) {
        OGRGeometry* geometry = feature->GetGeometryRef();
        if (!geometry || geometry->IsEmpty() != 0) {
            continue;
        }
        if (geometry->transform(transformation->get()) != OGRERR_NONE) {
            return m_source.failure("cannot be brought into the project's reference system",
                                    "无法转换到项目坐标系");
        }
        if (!take(VectorRow(*feature, *geometry, text))) {
            return {};
        }
    }
    if (errors.any()) {
        const QString words = QString::fromStdString(errors.first()).simplified();
        return m_source.failure("cannot be read to its end: " + words, "文件无法完整读取：" + words);
    }
    return {};
}

VectorSource::VectorSource() = default;
VectorSource::VectorSource(VectorSource&&) noexcept = default;
VectorSource::~VectorSource() = default;

Result<VectorSource> VectorSource::open(const QString& file, const QString& layer, const QString& crs,
                                        const OGRSpatialReference& target) {
    GDALAllRegister();
    VectorSource source;
    source.m_file = file;
    source.m_layer = layer;
    source.m_crs = crs;
    source.m_target = target;
    if (!QFileInfo::exists(file)) {
        return source.failure("no such file", "文件不存在");
    }
    const detect::GdalErrors errors;
    source.m_dataset.reset(GDALDataset::Open(file.toUtf8().constData(), GDAL_OF_VECTOR | GDAL_OF_READONLY,
                                             nullptr, sheetColumns(SheetPlaces::PointsToo).List(), nullptr));
    if (!source.m_dataset) {
        return source.failure("not a readable vector file: " + QString::fromStdString(errors.first()),
                              "无法作为矢量文件读取");
    }
    if (source.layers().empty()) {
        return source.failure(layer.isEmpty() ? "holds no layer" : "holds no layer " + layer,
                              layer.isEmpty() ? "没有图层" : "没有图层“" + layer + "”");
    }
    return source;
}

std::vector<VectorLayer> VectorSource::layers() const {
    std::vector<VectorLayer> chosen;
    for (OGRLayer* layer : m_dataset->GetLayers()) {
        if (m_layer.isEmpty() || m_layer == QString::fromUtf8(layer->GetName())) {
            chosen.emplace_back(*this, *layer);
        }
    }
    return chosen;
}

Unexpected VectorSource::failure(const QString& cause, const QString& userCause) const {
    return fileFailure(m_file, cause, userCause);
}

Result<Transformation> VectorSource::transformationOf(OGRLayer& layer) const {
    const auto otherwise = m_crs.isEmpty() ? std::optional(m_target) : referenceOf(m_crs);
    auto transformation =
        otherwise ? transformationBetween(referenceOfLayer(layer, *otherwise), m_target) : Transformation();
    if (!transformation) {
        return failure("its reference system does not go with the project's", "坐标系无法转换到项目坐标系");
    }
    return transformation;
}

} // namespace inspection
