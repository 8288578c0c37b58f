#pragma once

#include <QImage>
#include <QRectF>
#include <QString>

namespace inspection {

/// A north-up picture of the ground with its title, or why there is none.
struct GroundPicture {
    QImage image;
    QRectF ground; ///< what the image covers, metres; y runs north, so that top() is the southern edge
    QString title;
    QString reason;
};

} // namespace inspection
