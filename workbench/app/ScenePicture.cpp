#include "workbench/app/ScenePicture.h"

#include <QRect>

#include <algorithm>
#include <cstdlib>

namespace {

constexpr int kLevels = 12; ///< that a margin's pixels may differ
constexpr int kFlattest = 3;
constexpr double kMarginShare = 0.04;

bool areAlike(QRgb a, QRgb b) {
    return std::abs(qRed(a) - qRed(b)) <= kLevels && std::abs(qGreen(a) - qGreen(b)) <= kLevels &&
           std::abs(qBlue(a) - qBlue(b)) <= kLevels;
}

/// Of the colour that the picture has in its corner.
bool isEmpty(const QImage& picture, const QRect& part) {
    const QRgb corner = picture.pixel(0, 0);
    for (int y = part.top(); y <= part.bottom(); ++y) {
        for (int x = part.left(); x <= part.right(); ++x) {
            if (!areAlike(picture.pixel(x, y), corner)) {
                return false;
            }
        }
    }
    return true;
}

QRect shownPart(const QImage& picture) {
    QRect part = picture.rect();
    const auto row = [&part](int y) { return QRect(part.left(), y, part.width(), 1); };
    const auto column = [&part](int x) { return QRect(x, part.top(), 1, part.height()); };
    while (part.height() > 1 && isEmpty(picture, row(part.top()))) {
        part.setTop(part.top() + 1);
    }
    while (part.height() > 1 && isEmpty(picture, row(part.bottom()))) {
        part.setBottom(part.bottom() - 1);
    }
    while (part.width() > 1 && isEmpty(picture, column(part.left()))) {
        part.setLeft(part.left() + 1);
    }
    while (part.width() > 1 && isEmpty(picture, column(part.right()))) {
        part.setRight(part.right() - 1);
    }
    return part;
}

} // namespace

QImage withoutEmptyMargins(const QImage& picture) {
    if (picture.isNull()) {
        return picture;
    }
    QRect part = shownPart(picture);
    if (part.height() <= 1 || part.width() <= 1) {
        return picture;
    }
    const int margin = static_cast<int>(kMarginShare * std::max(part.width(), part.height()));
    part.adjust(-margin, -margin, margin, margin);
    const int missing = std::max(0, part.width() / kFlattest - part.height());
    part.adjust(0, -missing / 2, 0, missing / 2);
    return picture.copy(part & picture.rect());
}
