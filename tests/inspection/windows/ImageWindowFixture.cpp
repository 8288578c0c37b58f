#include "tests/inspection/windows/ImageWindowFixture.h"

#include <QSet>

void ImageWindowTest::openRichest() {
    openComputed();
    m_item = checkedStationWithMostAnomalies();
    ASSERT_NE(m_item, nullptr);
}

void ImageWindowTest::showAnomaly() {
    openRichest();
    images().CreatZoomItem(m_item, anomaly());
    ASSERT_TRUE(shown());
    m_window->activateWindow(); // only then a click gives the focus
    ASSERT_TRUE(waitUntil([this] { return m_window->isActiveWindow(); }));
}

int ImageWindowTest::colours(QWidget& pane) {
    const QImage picture = pictureOf(pane);
    QSet<QRgb> seen;
    for (int y = 0; y < picture.height(); y += 3) {
        for (int x = 0; x < picture.width(); x += 3) {
            seen.insert(picture.pixel(x, y));
        }
    }
    return static_cast<int>(seen.size());
}

QPoint ImageWindowTest::pixelOf(QWidget& pane, const QPointF& ground) {
    return view().toPane(pane.size()).map(ground).toPoint();
}

QLineF ImageWindowTest::firstLine() const {
    const QRectF bounds(QPointF(anomaly().xMin, anomaly().yMin), QPointF(anomaly().xMax, anomaly().yMax));
    const QPointF half = bounds.width() >= bounds.height() ? QPointF(bounds.width() * 0.75, 0.0)
                                                           : QPointF(0.0, bounds.height() * 0.75);
    return {bounds.center() - half, bounds.center() + half};
}
