#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>

#include <ogrsf_frmts.h>

#include <vector>

/// A layer of a vector file that a test writes with GDAL.
struct VectorLayer {
    QString name = QStringLiteral("layer");
    int epsg = 0; ///< 0: no reference system
    OGRwkbGeometryType type = wkbUnknown;
    QStringList columns; ///< texts
    /// Well-known text of the geometry, empty for none, then a text for each column, null for none.
    std::vector<QStringList> rows;
    std::vector<const char*> options; ///< of the format
};

/// Writes a file of one or several layers in a format of GDAL's.
void writeVectorFile(const QString& file, const char* driver, const std::vector<VectorLayer>& layers);

/// Writes the bytes as they are.
void writeBytes(const QString& file, const QByteArray& bytes);
