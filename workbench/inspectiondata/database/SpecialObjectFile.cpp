#include "workbench/inspectiondata/database/SpecialObjectFile.h"

#include "detect/GdalErrors.h"
#include "host/Gbk.h"
#include "workbench/inspectiondata/database/LayerReference.h"
#include "workbench/inspectiondata/database/LayerText.h"
#include "workbench/inspectiondata/database/SheetColumns.h"
#include "workbench/inspectiondata/database/SpecialObjectColumns.h"
#include "workbench/inspectiondata/database/SpecialObjectShapes.h"
#include "workbench/inspectiondata/project/Georeference.h"

#include <ogrsf_frmts.h>

#include <QFileInfo>
#include <QRegularExpression>

#include <algorithm>

namespace inspection {

namespace {

using Cause = std::optional<QString>;

ShapeKind kindOf(KV_ObjectType type) {
    return type == KV_SPECIAL_POINT ? ShapeKind::Point : ShapeKind::Polygon;
}

/// Where GDAL looks, which knows other places than folders.
bool exists(const QString& path) {
    VSIStatBufL status;
    return VSIStatExL(path.toUtf8().constData(), &status, VSI_STAT_EXISTS_FLAG) == 0;
}

CPLStringList columnsFor(KV_ObjectType type) {
    return sheetColumns(kindOf(type) == ShapeKind::Point ? SheetPlaces::PointsToo
                                                         : SheetPlaces::OutlinesOnly);
}

bool canHold(OGRwkbGeometryType declared, ShapeKind kind) {
    const OGRwkbGeometryType type = wkbFlatten(declared);
    if (type == wkbUnknown || type == wkbGeometryCollection) {
        return true;
    }
    if (kind == ShapeKind::Point) {
        return type == wkbPoint || type == wkbMultiPoint;
    }
    return type == wkbPolygon || type == wkbMultiPolygon || type == wkbCurvePolygon ||
           type == wkbMultiSurface || type == wkbSurface;
}

/// The declared one, or that of the first row where the layer declares none.
OGRwkbGeometryType geometryTypeOf(OGRLayer& layer) {
    const OGRFeatureUniquePtr row(wkbFlatten(layer.GetGeomType()) == wkbUnknown ? layer.GetNextFeature()
                                                                                : nullptr);
    return wkbFlatten(row && row->GetGeometryRef() ? row->GetGeometryRef()->getGeometryType()
                                                   : layer.GetGeomType());
}

std::unique_ptr<KV_BasicNode> makePoint(const SpecialObjectShape& shape) {
    return std::make_unique<Special_Point>(std::string(), shape.centre);
}

/// With the look that areas of its type have unless the file says otherwise.
Special_Polygon regionOf(KV_ObjectType type) {
    Special_Polygon region;
    region.m_type = type;
    if (type == KV_HIGH_CONSEQUENCE_AREA) {
        region.m_fillColor = {1.0F, 0.55F, 0.0F};
        region.m_borderColor = {1.0F, 0.85F, 0.4F};
        region.m_opacity = 0.3F;
        region.m_level = 0;
    }
    return region;
}

std::unique_ptr<KV_BasicNode> makeRegion(const Special_Polygon& look, const SpecialObjectShape& shape) {
    auto region = std::make_unique<Special_Polygon>(look);
    region->SetCoor(shape.centre);
    region->m_vertices = shape.vertices;
    return region;
}

/// A layer with what its rows are read by.
struct ReadableLayer {
    OGRLayer& layer;
    GIntBig rowCount; ///< as the format tells it, negative when it cannot
    SpecialObjectColumns columns;
    Transformation toGeographic;
};

/// One reading of one file.
class Reading {
public:
    Reading(const SpecialObjectFile& file, SpecialObjectNames names, const SpecialObjectProgress& progress)
        : m_file(file), m_names(std::move(names)), m_progress(progress) {}

    Result<SpecialObjectRows> run();

private:
    Status open();
    Status chooseLayers();
    Status readLayer(OGRLayer& layer, GIntBig rowCount);
    Status readRows(ReadableLayer& readable);
    Status endOfRows(const ReadableLayer& readable, GIntBig rowsRead) const;
    void readRow(const OGRFeature& row, ReadableLayer& readable);
    Cause takeRow(const OGRFeature& row, ReadableLayer& readable);
    Cause nameParts(const QString& name, std::vector<std::unique_ptr<KV_BasicNode>>& parts);
    void nameTheNameless();
    Transformation transformationOf(OGRLayer& layer);
    Unexpected failure(const QString& cause, const QString& userCause) const;
    QString placeOf(OGRLayer& layer) const;
    QString placeOf(OGRLayer& layer, const OGRFeature& row) const;

    const SpecialObjectFile& m_file;
    SpecialObjectNames m_names;
    const SpecialObjectProgress& m_progress;
    detect::GdalErrors m_errors;
    GDALDatasetUniquePtr m_source;
    std::vector<std::pair<OGRLayer*, GIntBig>> m_layers; ///< those to read, and how many rows they have
    GIntBig m_rowCount = 0;
    GIntBig m_rowsRead = 0;
    SpecialObjectRows m_rows;
};

Unexpected Reading::failure(const QString& cause, const QString& userCause) const {
    const QString words = QString::fromStdString(m_errors.first()).simplified();
    return words.isEmpty()
               ? fileFailure(m_file.path, cause, userCause)
               : fileFailure(m_file.path, cause + ": " + words, userCause + QStringLiteral("：") + words);
}

QString Reading::placeOf(OGRLayer& layer) const {
    return QStringLiteral("%1：图层“%2”").arg(m_file.path, QString::fromUtf8(layer.GetName()));
}

QString Reading::placeOf(OGRLayer& layer, const OGRFeature& row) const {
    return placeOf(layer) + QStringLiteral("，FID %1").arg(row.GetFID());
}

Status Reading::open() {
    if (!exists(m_file.path)) {
        return failure("no such file", "文件不存在");
    }
    GDALAllRegister();
    m_source.reset(GDALDataset::Open(m_file.path.toUtf8().constData(), GDAL_OF_VECTOR | GDAL_OF_READONLY,
                                     nullptr, columnsFor(m_file.type).List(), nullptr));
    if (!m_source) {
        return failure("not a readable vector file", "无法作为矢量文件读取");
    }
    m_errors.clear();
    return {};
}

Status Reading::chooseLayers() {
    const QString title = kindOf(m_file.type) == ShapeKind::Point ? "点" : "面";
    QStringList others;
    for (OGRLayer* layer : m_source->GetLayers()) {
        if (!m_file.layer.isEmpty() && m_file.layer != QString::fromUtf8(layer->GetName())) {
            continue;
        }
        if (canHold(layer->GetGeomType(), kindOf(m_file.type))) {
            m_layers.emplace_back(layer, layer->GetFeatureCount());
            m_rowCount += std::max<GIntBig>(m_layers.back().second, 0);
        } else {
            others << placeOf(*layer) + QStringLiteral("没有%1，已跳过").arg(title);
        }
    }
    if (m_errors.any()) {
        return failure("cannot be read to its end", "文件无法完整读取");
    }
    if (m_layers.empty()) {
        return failure("no layer that fits", QStringLiteral("没有%1图层").arg(title));
    }
    m_rows.notes << others;
    return {};
}

Transformation Reading::transformationOf(OGRLayer& layer) {
    const auto otherwise = referenceOf(m_file.crs);
    if (!otherwise && !namedReference(layer)) {
        return {};
    }
    if (!namedReference(layer) && !isInDegrees(layer)) {
        m_rows.notes << placeOf(layer) + QStringLiteral("没有坐标系，按项目的 %1 处理").arg(m_file.crs);
    }
    return transformationBetween(referenceOfLayer(layer, otherwise.value_or(wgs84())), wgs84());
}

Status Reading::readLayer(OGRLayer& layer, GIntBig rowCount) {
    const LayerText text(layer);
    if (text.isGbk()) {
        m_rows.notes << placeOf(layer) + QStringLiteral("的文字不是 UTF-8，按 GBK 读取");
    }
    ReadableLayer readable{layer, rowCount, {*layer.GetLayerDefn(), text}, transformationOf(layer)};
    if (!readable.toGeographic) {
        return failure("no transformation to WGS 84",
                       QStringLiteral("图层“%1”的坐标系无法转换为经纬度").arg(layer.GetName()));
    }
    return readRows(readable);
}

Status Reading::readRows(ReadableLayer& readable) {
    const GIntBig rowsBefore = m_rowsRead;
    readable.layer.ResetReading();
    for (;; ++m_rowsRead) {
        if (m_progress && !m_progress(double(m_rowsRead) / double(std::max<GIntBig>(m_rowCount, 1)))) {
            return cancelled();
        }
        m_errors.clear();
        const OGRFeatureUniquePtr row(readable.layer.GetNextFeature());
        if (!row) {
            return endOfRows(readable, m_rowsRead - rowsBefore);
        }
        readRow(*row, readable);
    }
}

/// A file that was cut off may end without an error.
Status Reading::endOfRows(const ReadableLayer& readable, GIntBig rowsRead) const {
    if (m_errors.any()) {
        return failure("cannot be read to its end", "文件无法完整读取");
    }
    if (rowsRead < readable.rowCount) {
        return failure(
            QStringLiteral("ends after %1 of %2 rows").arg(rowsRead).arg(readable.rowCount),
            QStringLiteral("文件不完整，%1 行中只能读到 %2 行").arg(readable.rowCount).arg(rowsRead));
    }
    return {};
}

void Reading::readRow(const OGRFeature& row, ReadableLayer& readable) {
    if (const Cause cause = takeRow(row, readable)) {
        m_rows.refusals << placeOf(readable.layer, row) + QStringLiteral("：") + cause->simplified();
    }
}

/// Enters the row's parts, or gives the cause why not.
Cause Reading::takeRow(const OGRFeature& row, ReadableLayer& readable) {
    const auto read = shapesOf(row.GetGeometryRef(), kindOf(m_file.type), *readable.toGeographic);
    if (const auto* cause = std::get_if<QString>(&read)) {
        return *cause;
    }
    const auto& shapes = std::get<SpecialObjectShapes>(read);
    Special_Polygon look = regionOf(m_file.type);
    if (kindOf(m_file.type) == ShapeKind::Polygon) {
        if (auto cause = readable.columns.takeLook(row, look)) {
            return cause;
        }
    }
    std::vector<std::unique_ptr<KV_BasicNode>> parts;
    for (const SpecialObjectShape& shape : shapes.parts) {
        parts.push_back(kindOf(m_file.type) == ShapeKind::Point ? makePoint(shape) : makeRegion(look, shape));
        parts.back()->m_attribute = toGbk(readable.columns.attribute(row));
    }
    if (auto cause = nameParts(readable.columns.name(row), parts)) {
        return cause;
    }
    std::move(parts.begin(), parts.end(), std::back_inserter(m_rows.records));
    if (shapes.holes > 0) {
        m_rows.notes << placeOf(readable.layer, row) +
                            QStringLiteral("：面有 %1 个洞，只保留外边界").arg(shapes.holes);
    }
    return std::nullopt;
}

/// "NAME", "NAME-2", "NAME-3", …; nothing yet for a row without a name.
Cause Reading::nameParts(const QString& name, std::vector<std::unique_ptr<KV_BasicNode>>& parts) {
    if (name.isEmpty()) {
        return std::nullopt;
    }
    QStringList names{name};
    for (std::size_t part = 2; part <= parts.size(); ++part) {
        names << name + '-' + QString::number(part);
    }
    for (const QString& partName : names) {
        if (auto cause = m_names.refusal(partName)) {
            return cause;
        }
    }
    for (std::size_t part = 0; part < parts.size(); ++part) {
        const QString& partName = names[static_cast<qsizetype>(part)];
        m_names.take(partName);
        parts[part]->SetName(toGbk(partName));
    }
    return std::nullopt;
}

void Reading::nameTheNameless() {
    int count = 0;
    QString first;
    for (const auto& record : m_rows.records) {
        if (record->GetName().empty()) {
            const QString name = m_names.takeNext(specialObjectTitle(m_file.type));
            record->SetName(toGbk(name));
            first = count++ == 0 ? name : first;
        }
    }
    if (count > 0) {
        m_rows.notes << m_file.path +
                            QStringLiteral("：%1 个对象没有名称，从“%2”起自动命名").arg(count).arg(first);
    }
}

Result<SpecialObjectRows> Reading::run() {
    if (auto done = open(); !done) {
        return failed(done);
    }
    if (auto done = chooseLayers(); !done) {
        return failed(done);
    }
    for (const auto& [layer, rowCount] : m_layers) {
        if (auto done = readLayer(*layer, rowCount); !done) {
            return failed(done);
        }
    }
    nameTheNameless();
    return std::move(m_rows);
}

} // namespace

QString specialObjectTitle(KV_ObjectType type) {
    switch (type) {
    case KV_HIGH_CONSEQUENCE_AREA:
        return QStringLiteral("高后果区");
    case KV_SPECIAL_POINT:
        return QStringLiteral("特殊点");
    default:
        return QStringLiteral("特殊面");
    }
}

KV_ObjectType likelyType(const QString& file) {
    GDALAllRegister();
    const detect::GdalErrors errors;
    const auto columns = columnsFor(KV_SPECIAL_POINT);
    const GDALDatasetUniquePtr source(GDALDataset::Open(
        file.toUtf8().constData(), GDAL_OF_VECTOR | GDAL_OF_READONLY, nullptr, columns.List(), nullptr));
    static const QRegularExpression kConsequence(QStringLiteral("高后果|consequence|(?<![a-z])hca(?![a-z])"),
                                                 QRegularExpression::CaseInsensitiveOption);
    const QString name = QFileInfo(file).fileName();
    bool isPoint = source && source->GetLayerCount() > 0;
    for (int i = 0; source && i < source->GetLayerCount(); ++i) {
        const OGRwkbGeometryType type = geometryTypeOf(*source->GetLayer(i));
        isPoint = isPoint && (type == wkbPoint || type == wkbMultiPoint);
    }
    return isPoint                       ? KV_SPECIAL_POINT
           : name.contains(kConsequence) ? KV_HIGH_CONSEQUENCE_AREA
                                         : KV_SPECIAL_AREA;
}

Result<SpecialObjectRows> readSpecialObjects(const SpecialObjectFile& file, SpecialObjectNames names,
                                             const SpecialObjectProgress& progress) {
    return Reading(file, std::move(names), progress).run();
}

} // namespace inspection
