#pragma once

#include "workbench/inspectiondata/project/Georeference.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QString>
#include <QStringList>

#include <functional>
#include <memory>
#include <vector>

class GDALDataset;
class OGRFeature;
class OGRGeometry;
class OGRLayer;

/// Vector files of any format, row by row in one reference system.
namespace inspection {

class LayerText;
class VectorSource;

/// A row with a geometry.
class VectorRow {
public:
    VectorRow(const OGRFeature& feature, const OGRGeometry& geometry, const LayerText& text)
        : m_feature(feature), m_geometry(geometry), m_text(text) {}

    const OGRGeometry& geometry() const { return m_geometry; } ///< in the source's target system
    /// The first of these columns that has a value, as text; empty when none has. Case does not count.
    QString text(const QStringList& columns) const;

private:
    const OGRFeature& m_feature;
    const OGRGeometry& m_geometry;
    const LayerText& m_text;
};

class VectorLayer {
public:
    VectorLayer(const VectorSource& source, OGRLayer& layer) : m_source(source), m_layer(layer) {}

    QString name() const;
    /// Hands out the rows that have a geometry, in the order of the file, until one is answered with false. Fails when
    /// the layer cannot be read to its end or brought into the target system.
    Status forEach(const std::function<bool(const VectorRow&)>& take) const;

private:
    const VectorSource& m_source;
    OGRLayer& m_layer;
};

/// An open file. Rows come in the target system. Layers that name no system are in `crs`, or where it is empty in the target
/// system, but for those of longitudes and latitudes (LayerReference.h).
class VectorSource {
public:
    /// `layer` chooses one; empty means all.
    static Result<VectorSource> open(const QString& file, const QString& layer, const QString& crs,
                                     const OGRSpatialReference& target);
    VectorSource(VectorSource&&) noexcept;
    ~VectorSource();

    std::vector<VectorLayer> layers() const;
    Unexpected failure(const QString& cause, const QString& userCause) const;

private:
    friend class VectorLayer;
    VectorSource();
    Result<Transformation> transformationOf(OGRLayer& layer) const;

    QString m_file;
    QString m_layer;
    QString m_crs;
    OGRSpatialReference m_target;
    std::unique_ptr<GDALDataset> m_dataset;
};

} // namespace inspection
