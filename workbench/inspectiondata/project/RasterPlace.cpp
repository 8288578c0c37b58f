#include "workbench/inspectiondata/project/RasterPlace.h"

#include "workbench/inspectiondata/project/ReferredFiles.h"

#include <QDir>
#include <QFileInfo>
#include <QRegularExpression>

#include <cpl_conv.h>
#include <gdal_priv.h>

#include <algorithm>

namespace inspection {

namespace {

bool isWebAddress(const QString& raster) {
    return raster.startsWith(QLatin1String("http://"), Qt::CaseInsensitive) ||
           raster.startsWith(QLatin1String("https://"), Qt::CaseInsensitive);
}

void setUnlessGiven(const char* option, const char* value) {
    if (!CPLGetConfigOption(option, nullptr)) {
        CPLSetConfigOption(option, value);
    }
}

} // namespace

bool isOnServer(const QString& raster) {
    static const QRegularExpression server(
        QStringLiteral("^/vsi(?:.*/vsi)?(curl|s3|gs|az|adls|oss|swift|hdfs|webhdfs)(_streaming)?[/?]"));
    return server.match(raster).hasMatch();
}

bool leadsToServer(const QString& raster) {
    if (isOnServer(raster) || !QFileInfo::exists(raster)) {
        return isOnServer(raster);
    }
    GDALAllRegister();
    const Referred referred = referredBy(raster, OpenedAs::Raster);
    const QStringList names = referred.files + referred.unclear;
    return std::any_of(names.begin(), names.end(), [](const QString& name) { return isOnServer(name); });
}

QString gdalName(const QString& raster) {
    return isWebAddress(raster) ? QStringLiteral("/vsicurl/") + raster : raster;
}

QString absoluteRaster(const QString& folder, const QString& raster) {
    const QString name = gdalName(raster);
    return name.isEmpty() || isOnServer(name) ? name : QDir::cleanPath(QDir(folder).absoluteFilePath(name));
}

QString absoluteRaster(const QString& raster) {
    return absoluteRaster(QDir::currentPath(), raster);
}

bool rasterExists(const QString& raster) {
    return isOnServer(raster) || QFileInfo::exists(raster);
}

bool bearsPassword(const QString& raster) {
    static const QRegularExpression password(QStringLiteral("://[^/@]*:[^/@]*@"));
    return password.match(raster).hasMatch();
}

void limitPatienceWithServers() {
    setUnlessGiven("GDAL_HTTP_CONNECTTIMEOUT", "10");
    setUnlessGiven("GDAL_HTTP_LOW_SPEED_TIME", "30");
    setUnlessGiven("GDAL_HTTP_LOW_SPEED_LIMIT", "1");
}

} // namespace inspection
