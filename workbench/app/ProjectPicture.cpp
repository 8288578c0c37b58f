#include "workbench/app/ProjectPicture.h"

#include "workbench/inspectiondata/creation/SurveyRaster.h"
#include "workbench/inspectiondata/pictures/RasterPicture.h"

#include <algorithm>

namespace {

using inspection::PictureWindow;

/// Around the middle of the raster, in the shape of the picture, and no more cells than are read in a moment.
PictureWindow middleOf(const inspection::SurveyRaster& raster, const QSize& pixels) {
    constexpr double kMostColumns = 6000.0;
    const detect::Box& box = raster.box;
    const double shape = double(pixels.width()) / pixels.height();
    const double width =
        std::min({box.xMax - box.xMin, (box.yMax - box.yMin) * shape, raster.cellWidth * kMostColumns});
    const double x = (box.xMin + box.xMax) / 2.0;
    const double y = (box.yMin + box.yMax) / 2.0;
    const double height = width / shape;
    return {{},
            x - width / 2.0,
            y - height / 2.0,
            x + width / 2.0,
            y + height / 2.0,
            pixels.width(),
            pixels.height()};
}

template<class Picture>
QImage pictureOf(const QString& file, const QSize& pixels, const Picture& picture) {
    const auto raster = inspection::surveyRaster(file);
    if (!raster) {
        return {};
    }
    const auto read = picture(file, middleOf(*raster, pixels));
    return read ? *read : QImage();
}

} // namespace

QImage projectPicture(const inspection::ProjectDescription& project, const QSize& pixels) {
    const inspection::Epoch& epoch = project.newEpoch();
    const QImage photo =
        epoch.dom.isEmpty() ? QImage() : pictureOf(epoch.dom, pixels, inspection::orthophotoPicture);
    return photo.isNull() ? pictureOf(epoch.dsm, pixels, inspection::reliefPicture) : photo;
}
