#pragma once

#include <QColor>
#include <QImage>

#include <cstdlib>

/// Mean difference of two pictures of one size, of 255, over all pixels and channels.
inline double meanDifference(const QImage& a, const QImage& b) {
    double sum = 0.0;
    for (int y = 0; y < a.height(); ++y) {
        for (int x = 0; x < a.width(); ++x) {
            const QRgb left = a.pixel(x, y);
            const QRgb right = b.pixel(x, y);
            sum += std::abs(qRed(left) - qRed(right)) + std::abs(qGreen(left) - qGreen(right)) +
                   std::abs(qBlue(left) - qBlue(right));
        }
    }
    return sum / (3.0 * a.width() * a.height());
}
