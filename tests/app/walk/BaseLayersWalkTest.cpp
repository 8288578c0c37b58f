#include "tests/app/SampleProject.h"
#include "tests/app/walk/Walk.h"
#include "tests/support/CacheFolder.h"
#include "tests/support/TheChild.h"
#include "tests/support/TileServer.h"
#include "tests/support/Typing.h"
#include "workbench/inspection/context/InspectionContext.h"
#include "workbench/viewer/GlobeWidget.h"

#include <osgEarthUtil/EarthManipulator>

#include <QApplication>
#include <QBuffer>
#include <QImage>
#include <QLineEdit>
#include <QPainter>
#include <QPushButton>
#include <QTableWidget>
#include <QTest>
#include <QTimer>
#include <QToolButton>

namespace {

/// Fields and ways, a little different in every tile.
QByteArray countryside(const TileServer::Tile& tile) {
    QImage picture(256, 256, QImage::Format_RGB32);
    picture.fill(QColor(170, 190, 130));
    QPainter painter(&picture);
    for (int field = 0; field < 16; ++field) {
        const int kind = (tile.column * 7 + tile.row * 13 + field * 5) % 4;
        painter.fillRect(field % 4 * 64 + 2, field / 4 * 64 + 2, 60, 60,
                         QColor(150 + 14 * kind, 178 + 6 * kind, 110 + 10 * kind));
    }
    painter.setPen(QPen(QColor(245, 240, 225), 6));
    painter.drawLine(0, 128, 256, 128);
    painter.drawLine(96, 0, 96, 256);
    painter.end();
    QByteArray png;
    QBuffer buffer(&png);
    picture.save(&buffer, "PNG");
    return png;
}

class BaseLayersWalk : public WalkTest {
protected:
    /// Clicks the button on the tool bar and does the work in the window that it opens.
    void inBaseLayers(const std::function<void(QWidget&)>& work) {
        QTimer::singleShot(0, &window(), [&] {
            QWidget* dialog = nullptr;
            ASSERT_TRUE(waitUntil([&] { return (dialog = QApplication::activeModalWidget()) != nullptr; }));
            work(*dialog);
            QTest::mouseClick(&theChild<QPushButton>(dialog, "close"), Qt::LeftButton);
        });
        QTest::mouseClick(window().findChild<QToolButton*>("baseLayers"), Qt::LeftButton);
    }
    /// Colour of the ground in a corner of the globe, outside the corridor.
    QColor outside() {
        const QImage picture = window().globe().grabFramebuffer();
        return picture.pixelColor(picture.width() / 8, picture.height() * 7 / 8);
    }

    const CacheFolder m_cache;
    const SampleProject m_sample{2048};
};

TEST_F(BaseLayersWalk, TheSurroundingsAppearBehindTheProjectAndStayWithoutTheServer) {
    TileServer server(
        [](const TileServer::Tile& tile) { return TileServer::Answer{200, countryside(tile)}; });
    open(m_sample.folder());
    waitForGlobe();
    const QColor plain = outside();
    const auto isCountryside = [this, plain] {
        if (!window().globe().isPictureComplete()) {
            return false; // each look makes the globe draw once more
        }
        const QColor seen = outside();
        return std::abs(seen.red() - plain.red()) + std::abs(seen.green() - plain.green()) +
                   std::abs(seen.blue() - plain.blue()) >
               40;
    };
    inBaseLayers([&](QWidget& dialog) {
        auto& address = theChild<QLineEdit>(&dialog, "address");
        QTest::mouseClick(&address, Qt::LeftButton);
        type(&address, server.address());
        QTest::keyClick(&address, Qt::Key_Return);
        auto& table = theChild<QTableWidget>(&dialog, "baseLayers");
        table.item(0, 1)->setText("影像底图");
        EXPECT_TRUE(waitUntil(isCountryside));
        EXPECT_TRUE(waitUntil([&] { return !window().globe().map().isLoading(); }));
        waitForGlobe();
        keepPicture("base-layers");
    });
    close();
    server.stop();

    open(m_sample.folder());
    const auto& stored = InspectionContext::instance().project()->description().baseLayers;
    ASSERT_EQ(stored.size(), 1U);
    EXPECT_EQ(stored[0].name, "影像底图");
    EXPECT_TRUE(waitUntil(isCountryside)) << "out of the cache";
}

} // namespace
