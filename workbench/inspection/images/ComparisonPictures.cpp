#include "workbench/inspection/images/ComparisonPictures.h"

#include "workbench/inspectiondata/database/ElevationDifference.h"
#include "workbench/inspectiondata/pictures/ElevationLine.h"

#include <QCoreApplication>
#include <QPainter>
#include <QStringList>

#include <algorithm>
#include <cmath>
#include <limits>

namespace inspection {

namespace {

constexpr int kProfileSteps = 400;

QString tr(const char* text) {
    return QCoreApplication::translate("inspection::ComparisonPictures", text);
}

QString epochTitle(const QString& which, const Epoch& epoch, const QString& what) {
    QStringList parts{which, epoch.date, what};
    parts.removeAll(QString());
    return parts.join(' ');
}

/// True when the raster has nothing there.
bool isBlank(const QImage& image) {
    for (int row = 0; row < image.height(); ++row) {
        const auto* line = reinterpret_cast<const QRgb*>(image.constScanLine(row));
        if (std::any_of(line, line + image.width(), [](QRgb pixel) { return qAlpha(pixel) != 0; })) {
            return false;
        }
    }
    return true;
}

/// The orthophoto, or empty with the reason why there is none; without a reason when the epoch has none.
GroundPicture orthophoto(const Epoch& epoch, const PictureWindow& window) {
    GroundPicture result;
    if (epoch.dom.isEmpty()) {
        return result;
    }
    const auto photo = orthophotoPicture(epoch.dom, window);
    if (!photo) {
        result.reason = tr("影像无法读取");
    } else if (isBlank(*photo)) {
        result.reason = tr("此处无影像");
    } else {
        result.image = *photo;
    }
    return result;
}

GroundPicture relief(const Epoch& epoch, const PictureWindow& window) {
    GroundPicture result;
    const auto shaded = reliefPicture(epoch.dsm, window);
    if (!shaded) {
        result.reason = shaded.error().userMessage;
    } else if (isBlank(*shaded)) {
        result.reason = tr("此处没有该期数据");
    } else {
        result.image = *shaded;
    }
    return result;
}

GroundPicture epochPicture(const Epoch& epoch, const QString& which, const PictureWindow& window) {
    GroundPicture photo = orthophoto(epoch, window);
    if (!photo.image.isNull()) {
        photo.title = epochTitle(which, epoch, tr("正射影像"));
        return photo;
    }
    GroundPicture instead = relief(epoch, window);
    QString what;
    if (!instead.image.isNull()) {
        what = photo.reason.isEmpty() ? tr("山体阴影") : tr("山体阴影（%1）").arg(photo.reason);
    }
    instead.title = epochTitle(which, epoch, what);
    return instead;
}

QImage paleRelief(const QString& surfaceModel, const PictureWindow& window) {
    QImage picture(window.width, window.height, QImage::Format_ARGB32_Premultiplied);
    picture.fill(QColor(236, 236, 236));
    const auto relief = reliefPicture(surfaceModel, window);
    if (relief) {
        QPainter painter(&picture);
        painter.setOpacity(0.55);
        painter.drawImage(0, 0, *relief);
    }
    return picture;
}

GroundPicture differencePictureOf(const ComparisonSource& source, const PictureWindow& window) {
    GroundPicture result;
    result.title = tr("高程变化 dZ");
    if (source.dzRaster.isEmpty()) {
        result.reason = tr("该站段尚未计算异常");
        return result;
    }
    const auto colours = differencePicture(source.dzRaster, window, source.ramp);
    if (!colours) {
        result.reason = colours.error().userMessage;
        return result;
    }
    result.image = paleRelief(source.newEpoch.dsm, window);
    QPainter painter(&result.image);
    painter.drawImage(0, 0, *colours);
    return result;
}

} // namespace

ComparisonPictures readComparison(const ComparisonSource& source, const QRectF& ground, const QSize& pixels) {
    const PictureWindow window{source.srs,      ground.left(),  ground.top(),   ground.right(),
                               ground.bottom(), pixels.width(), pixels.height()};
    ComparisonPictures pictures{epochPicture(source.oldEpoch, tr("前期"), window),
                                epochPicture(source.newEpoch, tr("后期"), window),
                                differencePictureOf(source, window)};
    for (GroundPicture* picture : {&pictures.oldEpoch, &pictures.newEpoch, &pictures.difference}) {
        picture->ground = ground;
    }
    return pictures;
}

namespace {

/// Of an epoch whose surface model cannot be read nothing is known; the other epoch is still shown.
std::vector<double> elevationsAlong(const Epoch& epoch, const QString& srs, const QLineF& line) {
    std::vector<double> metres = sampleElevations(epoch.dsm, srs, line, kProfileSteps);
    metres.resize(kProfileSteps, std::numeric_limits<double>::quiet_NaN());
    return metres;
}

/// Where the differences are known they tell what detection compared.
void bend(const ComparisonSource& source, const QLineF& line, ElevationProfile& profile) {
    const auto differences = KV_ElevationDifference::open(source.dzRaster.toStdString());
    for (std::size_t step = 0; differences && step < profile.newMetres.size(); ++step) {
        const QPointF at = line.pointAt(static_cast<double>(step) / (kProfileSteps - 1));
        double dz = 0.0;
        if (std::isfinite(profile.oldMetres[step]) && differences->at(at.x(), at.y(), dz)) {
            profile.newMetres[step] = profile.oldMetres[step] + dz;
        }
    }
}

} // namespace

ElevationProfile readProfile(const ComparisonSource& source, const QLineF& line) {
    ElevationProfile profile;
    profile.lengthMetres = line.length();
    profile.oldMetres = elevationsAlong(source.oldEpoch, source.srs, line);
    const QLineF moved = line.translated(-source.shift.dx, -source.shift.dy);
    profile.newMetres = elevationsAlong(source.newEpoch, source.srs, moved);
    for (double& metres : profile.newMetres) {
        metres += source.shift.dz;
    }
    if (source.isBent) {
        bend(source, line, profile);
    }
    return profile;
}

} // namespace inspection
