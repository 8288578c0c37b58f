#include "workbench/inspection/windows/ComparisonPictures.h"

#include "workbench/inspection/windows/ElevationLine.h"

#include <QCoreApplication>
#include <QPainter>

namespace inspection {

namespace {

constexpr int kProfileSteps = 400;

QString tr(const char* text) {
    return QCoreApplication::translate("inspection::ComparisonPictures", text);
}

QString epochTitle(const QString& which, const Epoch& epoch, const QString& what) {
    return epoch.date.isEmpty() ? which + ' ' + what : which + ' ' + epoch.date + ' ' + what;
}

EpochPicture epochPicture(const Epoch& epoch, const QString& which, const PictureWindow& window) {
    EpochPicture result;
    if (!epoch.dom.isEmpty()) {
        const auto photo = orthophotoPicture(epoch.dom, window);
        if (const auto* image = std::get_if<QImage>(&photo)) {
            result.picture = *image;
            result.title = epochTitle(which, epoch, tr("正射影像"));
            return result;
        }
    }
    result.title = epochTitle(which, epoch, tr("山体阴影"));
    const auto relief = reliefPicture(epoch.dsm, window);
    if (const auto* image = std::get_if<QImage>(&relief)) {
        result.picture = *image;
    } else {
        result.reason = std::get<Failure>(relief).userMessage;
    }
    return result;
}

QImage paleRelief(const QString& surfaceModel, const PictureWindow& window) {
    QImage picture(window.width, window.height, QImage::Format_ARGB32_Premultiplied);
    picture.fill(QColor(236, 236, 236));
    const auto relief = reliefPicture(surfaceModel, window);
    if (const auto* image = std::get_if<QImage>(&relief)) {
        QPainter painter(&picture);
        painter.setOpacity(0.55);
        painter.drawImage(0, 0, *image);
    }
    return picture;
}

EpochPicture differencePictureOf(const ComparisonSource& source, const PictureWindow& window) {
    EpochPicture result;
    result.title = tr("高程变化 dZ");
    if (source.dzRaster.isEmpty()) {
        result.reason = tr("该站段尚未计算异常");
        return result;
    }
    const auto colours = differencePicture(source.dzRaster, window, source.ramp);
    const auto* image = std::get_if<QImage>(&colours);
    if (image == nullptr) {
        result.reason = std::get<Failure>(colours).userMessage;
        return result;
    }
    result.picture = paleRelief(source.newEpoch.dsm, window);
    QPainter painter(&result.picture);
    painter.drawImage(0, 0, *image);
    return result;
}

} // namespace

ComparisonPictures readComparison(const ComparisonSource& source, const QRectF& ground, const QSize& pixels) {
    const PictureWindow window{source.srs,      ground.left(),  ground.top(),   ground.right(),
                               ground.bottom(), pixels.width(), pixels.height()};
    return {ground, epochPicture(source.oldEpoch, tr("前期"), window),
            epochPicture(source.newEpoch, tr("后期"), window), differencePictureOf(source, window)};
}

ElevationProfile readProfile(const ComparisonSource& source, const QLineF& line) {
    ElevationProfile profile;
    profile.lengthMetres = line.length();
    profile.oldMetres = sampleElevations(source.oldEpoch.dsm, source.srs, line, kProfileSteps);
    const QLineF moved = line.translated(-source.shift.dx, -source.shift.dy);
    profile.newMetres = sampleElevations(source.newEpoch.dsm, source.srs, moved, kProfileSteps);
    for (double& metres : profile.newMetres) {
        metres += source.shift.dz;
    }
    return profile;
}

} // namespace inspection
