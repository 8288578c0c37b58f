#include "tests/inspection/windows/WindowFixture.h"

#include "host/inspection/StationWindow.h"
#include "workbench/inspection/scene/AnomalyOverlays.h"
#include "workbench/inspection/scene/GlobeNavigation.h"
#include "workbench/inspection/scene/ViewGeometry.h"
#include "workbench/inspectiondata/project/Project.h"

#include <osg/Uniform>
#include <osgEarth/MapNode>
#include <osgEarthAnnotation/ImageOverlay>
#include <osgViewer/View>

#include <QDir>
#include <QDirIterator>
#include <QTest>

#include <algorithm>

namespace {

using inspection::AnomalyOverlays;
using inspection::FinePictureLimits;
using osgEarth::Annotation::ImageOverlay;

constexpr int kUsualPixels = 256;
constexpr double kNearMetres = 45.0;

int pixelsOf(const ImageOverlay& overlay) {
    const osg::Image* picture = const_cast<ImageOverlay&>(overlay).getImage();
    return picture ? std::max(picture->s(), picture->t()) : 0;
}

class CrispOverlaysTest : public InspectionWindowTest {
protected:
    void openRichest() {
        openSample();
        const auto& epoch = context().project()->description().newEpoch();
        EXPECT_FALSE(m_globe->map().addElevation("terrain", epoch.dsm.toStdString()));
        EXPECT_FALSE(m_globe->map().addImagery("photo", epoch.dom.toStdString()));
        computeStations(4);
        m_item = checkedStationWithMostAnomalies();
        ASSERT_NE(m_item, nullptr);
        ASSERT_GE(m_item->m_diffData.m_anomalies.size(), 4U);
        // The docks leave the globe little room.
        m_window->resize(1590, 990);
    }
    const SdiffData& anomaly(std::size_t index) const { return m_item->m_diffData.m_anomalies.at(index); }
    /// The overlay of an anomaly in the group that was added last.
    ImageOverlay& overlay(std::size_t index) const {
        ImageOverlay* found = nullptr;
        for (osg::Group* group : overlayGroups()) {
            for (unsigned i = 0; i < group->getNumChildren(); ++i) {
                if (group->getChild(i)->getName() == anomaly(index).name) {
                    found = static_cast<ImageOverlay*>(group->getChild(i));
                }
            }
        }
        EXPECT_NE(found, nullptr);
        return *found;
    }
    void flyNear(std::size_t index) {
        inspection::flyTo(anomaly(index).lonDegrees, anomaly(index).latDegrees, kNearMetres);
    }
    void flyFar() { inspection::flyTo(anomaly(0).lonDegrees, anomaly(0).latDegrees, 5000.0); }
    bool becomesFine(std::size_t index) {
        return waitUntil([&] { return pixelsOf(overlay(index)) > kUsualPixels; });
    }
    bool becomesUsual(std::size_t index) {
        return waitUntil(
            [&] { return pixelsOf(overlay(index)) > 0 && pixelsOf(overlay(index)) <= kUsualPixels; });
    }
    bool fallsAsleep() {
        return waitUntil([this] { return m_globe->isPictureComplete(); });
    }
    void keepGlobe(const QString& name) {
        const QString folder = qEnvironmentVariable("CORRIDOR_TEST_PICTURES");
        if (!folder.isEmpty()) {
            EXPECT_TRUE(m_globe->grabFramebuffer().save(QDir(folder).filePath(name + ".png")));
        }
    }
    /// Shows the overlays of `overlays` alone.
    void showOnly(AnomalyOverlays& overlays) {
        for (int i = 0; i < 4; ++i) {
            clickCheckBox(station(i));
        }
        ASSERT_TRUE(overlayGroups().empty());
        overlays.show(*m_item, style());
    }
    inspection::OverlayStyle style() const {
        inspection::OverlayStyle result;
        result.srs = QString::fromStdString(m_item->m_station.m_srs);
        result.fill = QColor(214, 47, 39);
        result.cut = QColor(33, 102, 172);
        // All stations were searched together.
        QDirIterator rasters(InspectionContext::instance().project()->description().outputFolder(),
                             {"dz-*.tif"}, QDir::Files, QDirIterator::Subdirectories);
        result.dzRaster = rasters.next();
        EXPECT_FALSE(result.dzRaster.isEmpty());
        return result;
    }

    KV_StationItem* m_item = nullptr;
};

TEST_F(CrispOverlaysTest, AnOverlayThatIsLargeOnTheScreenGetsAFinerPictureOnceTheViewRests) {
    openRichest();
    ASSERT_TRUE(becomesUsual(0));
    ImageOverlay& subject = overlay(0);
    osg::StateSet* highlighted = subject.getOrCreateStateSet();
    highlighted->addUniform(new osg::Uniform("highlight", 1.0F));
    flyNear(0);
    ASSERT_TRUE(becomesFine(0));
    EXPECT_EQ(&subject, &overlay(0)) << "the node stays";
    EXPECT_EQ(subject.getStateSet(), highlighted);
    EXPECT_NE(highlighted->getUniform("highlight"), nullptr);

    const osg::Image& picture = *subject.getImage();
    for (const int column : {0, picture.s() - 1}) {
        for (const int row : {0, picture.t() - 1}) {
            EXPECT_EQ(picture.getColor(static_cast<unsigned>(column), static_cast<unsigned>(row)).a(), 0.0F)
                << "corner";
        }
    }
    EXPECT_GT(
        picture.getColor(static_cast<unsigned>(picture.s() / 2), static_cast<unsigned>(picture.t() / 2)).a(),
        0.4F);
    ASSERT_TRUE(fallsAsleep());
    keepGlobe("overlay-near-fine");

    const int before = pixelsOf(subject);
    inspection::flyTo(anomaly(0).lonDegrees, anomaly(0).latDegrees, kNearMetres / 5.0);
    EXPECT_TRUE(waitUntil([&] { return pixelsOf(subject) > before; })) << "nearer still";
    EXPECT_LE(pixelsOf(subject), 2048);
    ASSERT_TRUE(fallsAsleep());
    keepGlobe("overlay-nearest-fine");

    flyFar();
    EXPECT_TRUE(becomesUsual(0)) << "seen from afar";
}

TEST_F(CrispOverlaysTest, NothingIsDoneWhileTheGlobeIsIdle) {
    openRichest();
    flyNear(0);
    ASSERT_TRUE(becomesFine(0));
    ASSERT_TRUE(fallsAsleep());
    const osg::Image* picture = overlay(0).getImage();
    const unsigned frame = m_globe->getViewer()->getFrameStamp()->getFrameNumber();
    QTest::qWait(600); // several times as long as a view is given to come to rest
    EXPECT_EQ(m_globe->getViewer()->getFrameStamp()->getFrameNumber(), frame);

    m_globe->requestRedraw(); // frames of the same view change nothing either
    ASSERT_TRUE(waitUntil([&] { return m_globe->getViewer()->getFrameStamp()->getFrameNumber() > frame; }));
    ASSERT_TRUE(fallsAsleep());
    QTest::qWait(600);
    EXPECT_TRUE(m_globe->isPictureComplete());
    EXPECT_EQ(overlay(0).getImage(), picture);
}

TEST_F(CrispOverlaysTest, BeyondTheLimitThoseSeenLeastRecentlyGoBackToTheirUsualPictures) {
    openRichest();
    AnomalyOverlays overlays(FinePictureLimits{1, 96LL << 20});
    showOnly(overlays);
    ASSERT_TRUE(becomesUsual(0));
    for (std::size_t index = 0; index < 3; ++index) {
        flyNear(index);
        ASSERT_TRUE(becomesFine(index)) << index;
        for (std::size_t other = 0; other < m_item->m_diffData.m_anomalies.size(); ++other) {
            if (other != index) {
                EXPECT_LE(pixelsOf(overlay(other)), kUsualPixels) << other << " while at " << index;
            }
        }
    }
}

TEST_F(CrispOverlaysTest, TheirMemoryIsBounded) {
    openRichest();
    AnomalyOverlays overlays(FinePictureLimits{8, 1000});
    showOnly(overlays);
    ASSERT_TRUE(becomesUsual(0));
    flyNear(0);
    ASSERT_TRUE(fallsAsleep());
    ASSERT_TRUE(waitUntil([&] { return !overlays.isPainting(); }));
    QTest::qWait(600); // no picture may come once the view rests
    EXPECT_LE(pixelsOf(overlay(0)), kUsualPixels);
    keepGlobe("overlay-near-usual");
}

TEST_F(CrispOverlaysTest, AnOverlayShownWhereTheViewAlreadyRestsBecomesCrisp) {
    openRichest();
    flyNear(1);
    ASSERT_TRUE(becomesFine(1));
    ASSERT_TRUE(fallsAsleep());
    AnomalyOverlays overlays;
    showOnly(overlays);
    EXPECT_TRUE(becomesFine(1)) << "without a movement of the view";
}

TEST_F(CrispOverlaysTest, TakingOverlaysAwayWhileTheyArePaintedDoesNoHarm) {
    openRichest();
    AnomalyOverlays overlays;
    showOnly(overlays);
    overlays.hide(m_item->GetStationId()); // usual pictures on their way
    EXPECT_TRUE(overlays.isPainting());
    EXPECT_TRUE(waitUntil([&] { return !overlays.isPainting(); }));

    overlays.show(*m_item, style());
    ASSERT_TRUE(waitUntil([&] { return !overlays.isPainting(); }));
    flyNear(0);
    ASSERT_TRUE(waitUntil([&] { return overlays.isPainting(); })) << "a finer one";
    overlays.remove(m_item->GetStationId(), anomaly(0).name);
    EXPECT_TRUE(waitUntil([&] { return !overlays.isPainting(); }));
    overlays.hide(m_item->GetStationId());
    EXPECT_TRUE(overlayGroups().empty());
}

TEST(ViewGeometry, ScalesFollowTheDistanceAndNothingOutsideThePictureHasOne) {
    const osg::ref_ptr<osg::Camera> camera = new osg::Camera;
    camera->setViewport(0, 0, 2000, 1000);
    camera->setProjectionMatrixAsPerspective(90.0, 2.0, 1.0, 1000.0);
    camera->setViewMatrixAsLookAt({0.0, 0.0, 0.0}, {1.0, 0.0, 0.0}, {0.0, 0.0, 1.0});
    const inspection::ViewGeometry view(*camera);
    const auto ahead = view.scaleOf(osg::BoundingSphere(osg::Vec3(101.0F, 0.0F, 0.0F), 1.0F));
    ASSERT_TRUE(ahead.has_value());
    EXPECT_NEAR(ahead->nearest, 5.0, 0.01);
    EXPECT_NEAR(ahead->centre, 500.0 / 101.0, 0.01);
    EXPECT_FALSE(view.scaleOf(osg::BoundingSphere(osg::Vec3(-101.0F, 0.0F, 0.0F), 1.0F)));
    EXPECT_FALSE(view.scaleOf(osg::BoundingSphere(osg::Vec3(101.0F, 250.0F, 0.0F), 1.0F)));
    EXPECT_TRUE(view.scaleOf(osg::BoundingSphere(osg::Vec3(0.0F, 0.0F, 0.0F), 10.0F))) << "around the eye";
    EXPECT_TRUE(view == inspection::ViewGeometry(*camera));
    camera->setViewport(0, 0, 1000, 500);
    EXPECT_TRUE(view != inspection::ViewGeometry(*camera));
}

SdiffData square() {
    SdiffData heap;
    heap.isFill = true;
    heap.xMin = 100.0;
    heap.yMin = 200.0;
    heap.xMax = 110.0;
    heap.yMax = 210.0;
    heap.dzMaxMetres = 2.0;
    heap.outlineWkt = "POLYGON ((100 200, 110 200, 110 210, 100 210, 100 200))";
    return heap;
}

TEST(OverlayPicture, TheEdgeIsAsWideAsAskedForInAnyResolution) {
    for (const int pixels : {256, 2048}) {
        const QImage picture = inspection::overlayPicture(
            square(), {"/does/not/exist.tif", "EPSG:4549", QColor(200, 0, 0), QColor(0, 0, 200), 256},
            {pixels, 4.0});
        ASSERT_EQ(picture.width(), pixels);
        // Across the left edge, from the transparent margin to the tinted inside.
        const int middle = pixels / 2;
        const QRgb inside = picture.pixel(middle, middle);
        int edge = 0;
        for (int x = 0; x < middle; ++x) {
            const QRgb at = picture.pixel(x, middle);
            edge += qAlpha(at) != 0 && at != inside ? 1 : 0;
        }
        EXPECT_NEAR(edge, 8, 2) << pixels << ": white on either side of the line";
    }
}

} // namespace
