#include "tests/support/VectorFile.h"

#include <gtest/gtest.h>

#include <QFile>

namespace {

/// Cut names in a Shapefile and infinite coordinates are meant.
class QuietGdal {
public:
    QuietGdal() { CPLPushErrorHandler(CPLQuietErrorHandler); }
    ~QuietGdal() { CPLPopErrorHandler(); }
    QuietGdal(const QuietGdal&) = delete;
    QuietGdal& operator=(const QuietGdal&) = delete;
};

void addColumns(OGRLayer& layer, const QStringList& columns) {
    for (const QString& column : columns) {
        OGRFieldDefn field(column.toUtf8().constData(), OFTString);
        ASSERT_EQ(layer.CreateField(&field), OGRERR_NONE);
    }
}

void addRow(OGRLayer& layer, const QStringList& row) {
    OGRFeature feature(layer.GetLayerDefn());
    if (!row[0].isEmpty()) {
        OGRGeometry* geometry = nullptr;
        ASSERT_EQ(OGRGeometryFactory::createFromWkt(row[0].toUtf8().constData(), nullptr, &geometry),
                  OGRERR_NONE)
            << row[0].toStdString();
        feature.SetGeometryDirectly(geometry);
    }
    for (int column = 1; column < row.size(); ++column) {
        if (!row[column].isNull()) {
            feature.SetField(column - 1, row[column].toUtf8().constData());
        }
    }
    ASSERT_EQ(layer.CreateFeature(&feature), OGRERR_NONE) << CPLGetLastErrorMsg();
}

void addLayer(GDALDataset& target, const VectorLayer& description) {
    OGRSpatialReference reference;
    if (description.epsg != 0) {
        ASSERT_EQ(reference.importFromEPSG(description.epsg), OGRERR_NONE);
        reference.SetAxisMappingStrategy(OAMS_TRADITIONAL_GIS_ORDER);
    }
    std::vector<const char*> options = description.options;
    options.push_back(nullptr);
    OGRLayer* layer = target.CreateLayer(description.name.toUtf8().constData(),
                                         description.epsg == 0 ? nullptr : &reference, description.type,
                                         const_cast<char**>(options.data()));
    ASSERT_NE(layer, nullptr) << CPLGetLastErrorMsg();
    addColumns(*layer, description.columns);
    EXPECT_EQ(layer->StartTransaction(), OGRERR_NONE);
    for (const QStringList& row : description.rows) {
        addRow(*layer, row);
    }
    EXPECT_EQ(layer->CommitTransaction(), OGRERR_NONE);
}

} // namespace

void writeVectorFile(const QString& file, const char* driver, const std::vector<VectorLayer>& layers) {
    GDALAllRegister();
    const QuietGdal quiet;
    GDALDriver* format = GetGDALDriverManager()->GetDriverByName(driver);
    ASSERT_NE(format, nullptr) << driver;
    const GDALDatasetUniquePtr target(
        format->Create(file.toUtf8().constData(), 0, 0, 0, GDT_Unknown, nullptr));
    ASSERT_TRUE(target != nullptr) << CPLGetLastErrorMsg();
    for (const VectorLayer& layer : layers) {
        addLayer(*target, layer);
    }
}

void writeBytes(const QString& file, const QByteArray& bytes) {
    QFile target(file);
    ASSERT_TRUE(target.open(QIODevice::WriteOnly));
    ASSERT_EQ(target.write(bytes), bytes.size());
}
