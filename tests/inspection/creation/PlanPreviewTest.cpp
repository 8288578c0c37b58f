#include "workbench/inspection/creation/PlanPreview.h"

#include <gtest/gtest.h>

#include <QApplication>
#include <QTest>
#include <QToolButton>
#include <QWheelEvent>

namespace {

using namespace inspection;

class PlanPreviewTest : public testing::Test {
protected:
    PlanPreviewTest() {
        PlanSketch sketch;
        sketch.epochs = {{QRectF(0, 0, 1000, 500), "2024"}, {QRectF(0, 0, 1000, 500), "2025"}};
        sketch.overlap = QRectF(0, 0, 1000, 500);
        sketch.line = QPolygonF({{-50.0, 250.0}, {1050.0, 250.0}});
        sketch.chainages = {0.0, 1100.0};
        sketch.stations = {QRectF(0, 150, 500, 200), QRectF(500, 150, 500, 200)};
        m_preview.resize(400, 400);
        m_preview.setSketch(sketch);
        m_preview.show();
        EXPECT_TRUE(QTest::qWaitForWindowExposed(&m_preview));
    }
    QRectF shown() const { return m_preview.toPixels().mapRect(QRectF(0, 0, 1000, 500)); }
    /// How many pixels near that place on the ground are of the colour.
    int count(const QColor& colour, const QRect& area) {
        const QImage picture = m_preview.grab().toImage();
        int found = 0;
        for (int y = area.top(); y <= area.bottom(); ++y) {
            for (int x = area.left(); x <= area.right(); ++x) {
                const QColor pixel = picture.pixelColor(x, y);
                found += std::abs(pixel.red() - colour.red()) + std::abs(pixel.green() - colour.green()) +
                                     std::abs(pixel.blue() - colour.blue()) <
                                 40
                             ? 1
                             : 0;
            }
        }
        return found;
    }
    void turnWheel(const QPointF& at, int degrees) {
        QWheelEvent event(at, m_preview.mapToGlobal(at), {}, {0, degrees * 8}, Qt::NoButton, {},
                          Qt::NoScrollPhase, false);
        QApplication::sendEvent(&m_preview, &event);
    }

    PlanPreview m_preview;
};

TEST_F(PlanPreviewTest, EverythingIsInViewAtFirst) {
    EXPECT_TRUE(QRectF(m_preview.rect()).contains(shown()));
    EXPECT_GT(shown().width(), m_preview.width() * 0.7);
}

TEST_F(PlanPreviewTest, EqualEpochsAreBothSeen) {
    const QRect area = shown().adjusted(-4, -4, 4, 4).toRect();
    const QRect leftEdge(area.left(), area.top(), 14, area.height());
    EXPECT_GT(count(epochColour(0), leftEdge), 40);
    EXPECT_GT(count(epochColour(1), leftEdge), 40);
}

TEST_F(PlanPreviewTest, TheLineIsDrawnAboveTheCoverages) {
    const QPoint middle = m_preview.toPixels().map(QPointF(250, 250)).toPoint();
    EXPECT_GT(count(QColor(0xc6, 0x28, 0x28), QRect(middle - QPoint(3, 3), QSize(7, 7))), 5);
}

TEST_F(PlanPreviewTest, TheWheelZoomsAtThePointer) {
    const QPointF pointer(120, 230);
    const QPointF ground = m_preview.toPixels().inverted().map(pointer);
    const double before = shown().width();
    turnWheel(pointer, 45);
    EXPECT_NEAR(shown().width(), before * 2.0, 1.0);
    EXPECT_NEAR(m_preview.toPixels().map(ground).x(), pointer.x(), 0.5);
}

TEST_F(PlanPreviewTest, ADragMovesAndTheButtonShowsAllAgain) {
    const QPointF before = shown().topLeft();
    QTest::mousePress(&m_preview, Qt::LeftButton, {}, QPoint(200, 200));
    QTest::mouseMove(&m_preview, QPoint(250, 230));
    QTest::mouseRelease(&m_preview, Qt::LeftButton, {}, QPoint(250, 230));
    EXPECT_NEAR(shown().left(), before.x() + 50.0, 1.5);
    EXPECT_NEAR(shown().top(), before.y() + 30.0, 1.5);
    m_preview.setSketch(m_preview.sketch());
    EXPECT_NEAR(shown().left(), before.x() + 50.0, 1.5) << "the same extent leaves the view alone";
    QTest::mouseClick(m_preview.findChild<QToolButton*>("fitPreview"), Qt::LeftButton);
    EXPECT_NEAR(shown().left(), before.x(), 0.5);
}

} // namespace
