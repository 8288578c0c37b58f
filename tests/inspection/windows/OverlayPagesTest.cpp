// More anomalies than have pictures at once.
#include "tests/inspection/windows/WindowFixture.h"
#include "tests/support/OverlaysOnGlobe.h"

#include "host/Gbk.h"
#include "workbench/inspection/scene/AnomalyOverlays.h"
#include "workbench/inspection/scene/GlobeNavigation.h"
#include "workbench/inspectiondata/project/Project.h"

#include <osg/NodeCallback>
#include <osgEarth/MapNode>
#include <osgEarthAnnotation/ImageOverlay>

#include <QTest>

#include <vector>

namespace {

using inspection::AnomalyOverlays;
using inspection::FinePictureLimits;
using inspection::PageLimits;
using osgEarth::Annotation::ImageOverlay;

constexpr int kAnomalies = 40;
constexpr double kApartMetres = 30.0;
constexpr double kNearMetres = 60.0; ///< some of them are in view, and not small
constexpr PageLimits kLimits{5, 8};

class OverlayPagesTest : public InspectionWindowTest {
protected:
    void open(const PageLimits& limits) {
        openComputed();
        const auto& epoch = context().project()->description().newEpoch();
        ASSERT_FALSE(m_globe->map().addElevation("terrain", epoch.dsm.toStdString()));
        m_window->resize(1590, 990);
        layOut(*checkedStationWithMostAnomalies());
        for (int i = 0; i < 4; ++i) {
            clickCheckBox(station(i));
        }
        ASSERT_TRUE(overlayGroups().empty());
        m_overlays = std::make_unique<AnomalyOverlays>(FinePictureLimits(), limits);
        m_overlays->show(m_line, style());
        ASSERT_EQ(overlayGroups().size(), 1U);
        ASSERT_EQ(overlayGroups()[0]->getNumChildren(), unsigned{kAnomalies});
    }
    void TearDown() override {
        m_overlays.reset();
        InspectionWindowTest::TearDown();
    }
    /// One behind the other along the corridor.
    void layOut(const KV_StationItem& model) {
        m_line.m_station = model.m_station;
        const SdiffData first = model.m_diffData.m_anomalies.front();
        for (int i = 0; i < kAnomalies; ++i) {
            SdiffData anomaly = first;
            anomaly.name = nameOf(i);
            const double east = kApartMetres * i;
            anomaly.x += east;
            anomaly.lonDegrees += east / (111320.0 * std::cos(osg::DegreesToRadians(first.latDegrees)));
            anomaly.xMin = anomaly.x - 3.0;
            anomaly.xMax = anomaly.x + 3.0;
            anomaly.yMin = anomaly.y - 3.0;
            anomaly.yMax = anomaly.y + 3.0;
            anomaly.outlineWkt = QString("POLYGON ((%1 %2, %3 %2, %3 %4, %1 %4, %1 %2))")
                                     .arg(anomaly.xMin, 0, 'f', 3)
                                     .arg(anomaly.yMin, 0, 'f', 3)
                                     .arg(anomaly.xMax, 0, 'f', 3)
                                     .arg(anomaly.yMax, 0, 'f', 3)
                                     .toStdString();
            m_line.m_diffData.m_anomalies.push_back(anomaly);
        }
    }
    static std::string nameOf(int index) { return "P-" + std::to_string(index); }
    inspection::OverlayStyle style() const {
        inspection::OverlayStyle result;
        result.srs = QString::fromStdString(m_line.m_station.m_srs);
        result.fill = QColor(214, 47, 39);
        result.cut = QColor(33, 102, 172);
        return result;
    }
    const SdiffData& anomaly(int index) const {
        return m_line.m_diffData.m_anomalies.at(static_cast<std::size_t>(index));
    }
    ImageOverlay* overlay(int index) const {
        for (unsigned i = 0; i < overlayGroups().at(0)->getNumChildren(); ++i) {
            osg::Node* node = overlayGroups().at(0)->getChild(i);
            if (node->getName() == nameOf(index)) {
                return dynamic_cast<ImageOverlay*>(node);
            }
        }
        return nullptr;
    }
    bool hasPicture(int index) const { return overlay(index)->getImage() != nullptr; }
    int pictures() const {
        int count = 0;
        for (int i = 0; i < kAnomalies; ++i) {
            count += overlay(i) && hasPicture(i) ? 1 : 0;
        }
        return count;
    }
    void flyTo(int index, double range = kNearMetres) {
        inspection::flyTo(anomaly(index).lonDegrees, anomaly(index).latDegrees, range, 0.0);
        m_globe->requestRedraw();
    }
    /// Until nothing more is painted.
    void settle() {
        ASSERT_TRUE(waitUntil([this] { return m_globe->isPictureComplete() && !m_overlays->isPainting(); }));
    }
    void visit(const std::vector<int>& places) {
        for (const int place : places) {
            flyTo(place);
            ASSERT_TRUE(waitUntil([&] { return hasPicture(place); })) << place;
            settle();
            EXPECT_LE(pictures(), 8);
        }
    }
    QColor colourOf(int index) const {
        const osg::Camera& camera = *m_globe->getViewer()->getCamera();
        const osg::Vec3d pixel = osg::Vec3d(overlay(index)->getBound().center()) * camera.getViewMatrix() *
                                 camera.getProjectionMatrix() * camera.getViewport()->computeWindowMatrix();
        return m_globe->grabFramebuffer().pixelColor(static_cast<int>(pixel.x()),
                                                     m_globe->height() - 1 - static_cast<int>(pixel.y()));
    }

    KV_StationItem m_line;
    std::unique_ptr<AnomalyOverlays> m_overlays;
};

TEST_F(OverlayPagesTest, FewHaveTheirPicturesWhereverTheViewIs) {
    open(PageLimits{kAnomalies, 8});
    EXPECT_TRUE(waitUntil([this] { return pictures() == kAnomalies; }));
}

TEST_F(OverlayPagesTest, AllHaveTheirsAgainWhenOnlyFewAreLeft) {
    open(PageLimits{kAnomalies - 1, 8});
    flyTo(10);
    ASSERT_TRUE(waitUntil([this] { return pictures() == 8; }));
    m_overlays->remove(m_line.GetStationId(), nameOf(kAnomalies - 1));
    EXPECT_TRUE(waitUntil([this] {
        int count = 0;
        for (int i = 0; i < kAnomalies - 1; ++i) {
            count += hasPicture(i) ? 1 : 0;
        }
        return count == kAnomalies - 1;
    }));
}

TEST_F(OverlayPagesTest, OfManyThoseGetOneThatTheViewComesNearTo) {
    open(kLimits);
    const osg::ref_ptr<ImageOverlay> last = overlay(kAnomalies - 1);
    flyTo(10);
    ASSERT_TRUE(waitUntil([this] { return hasPicture(10); }));
    settle();
    EXPECT_LE(pictures(), 8);
    EXPECT_FALSE(hasPicture(kAnomalies - 1));
    EXPECT_GT(colourOf(10).red(), colourOf(10).green() + 40) << colourOf(10).name().toStdString();

    flyTo(kAnomalies - 1);
    ASSERT_TRUE(waitUntil([this] { return hasPicture(kAnomalies - 1); }));
    EXPECT_EQ(overlay(kAnomalies - 1), last) << "what a tool has found stays";
    EXPECT_LE(pictures(), 8);
}

TEST_F(OverlayPagesTest, ThoseSeenLeastRecentlyGiveTheirsBack) {
    open(kLimits);
    visit({8, 11, 14, 17, 20, 23, 26, 29, 32, 35, 38});
    EXPECT_FALSE(hasPicture(8));
    EXPECT_TRUE(hasPicture(38));
    flyTo(8);
    EXPECT_TRUE(waitUntil([&] { return hasPicture(8); })) << "and get it again";
}

TEST_F(OverlayPagesTest, TheSelectedOneKeepsItsPicture) {
    open(kLimits);
    flyTo(8);
    ASSERT_TRUE(waitUntil([this] { return hasPicture(8); }));
    m_overlays->keep({nameOf(8), nameOf(39)});
    visit({11, 14, 17, 20, 23, 26, 29, 32, 35});
    EXPECT_TRUE(hasPicture(8));
    EXPECT_TRUE(hasPicture(39)) << "although the view has never been there";
    m_overlays->keep({});
    visit({11, 14, 17, 20, 23, 26, 29, 32, 35});
    EXPECT_FALSE(hasPicture(8));
}

TEST_F(OverlayPagesTest, PinsStandForThoseThatAreTooMany) {
    open(kLimits);
    flyTo(20, 600.0); // more are large enough than have pictures
    ASSERT_TRUE(waitUntil([this] { return pictures() == 8; }));
    settle();
    osgEarth::MapNode& map = *m_globe->getMapNode();
    EXPECT_TRUE(waitUntil([&] {
        int pinned = 0;
        for (unsigned i = 0; i < map.getNumChildren(); ++i) {
            osg::Group* pins = map.getChild(i)->asGroup();
            for (unsigned k = 0; pins && pins->getName() == "anomalyPins" && k < pins->getNumChildren();
                 ++k) {
                pinned += std::stoi(pins->getChild(k)->getName());
            }
        }
        return pinned > 0;
    }));
}

TEST_F(OverlayPagesTest, OneWithoutAPictureIsRemovedJudgedAndTintedAsOthersAre) {
    open(kLimits);
    flyTo(8);
    ASSERT_TRUE(waitUntil([this] { return hasPicture(8); }));
    settle();
    ASSERT_FALSE(hasPicture(38));
    const std::uint32_t id = m_line.GetStationId();
    SdiffData judged = anomaly(38);
    judged.attribute = toGbk("误报");
    m_overlays->update(id, judged);
    m_overlays->tint({nameOf(37)});
    m_overlays->remove(id, nameOf(36));
    EXPECT_EQ(overlay(36), nullptr);
    settle();
    EXPECT_FALSE(hasPicture(38)) << "nobody sees it";
    flyTo(38, 150.0);
    ASSERT_TRUE(waitUntil([this] { return hasPicture(38) && hasPicture(37); }));
    settle();
    const QColor tinted = colourOf(37);
    EXPECT_TRUE(tinted.red() > 200 && tinted.green() > 200 && tinted.blue() < 120)
        << tinted.name().toStdString();
    EXPECT_LT(colourOf(38).hsvSaturation(), colourOf(39).hsvSaturation()) << "grey as a false alarm";
}

TEST_F(OverlayPagesTest, TheTintGoesFromOneSelectionToTheNext) {
    open(kLimits);
    const auto tinted = [this] {
        std::vector<int> indices;
        for (int i = 0; i < kAnomalies; ++i) {
            if (isHighlighted(*overlay(i))) {
                indices.push_back(i);
            }
        }
        return indices;
    };
    m_overlays->tint({nameOf(8), nameOf(7), nameOf(9)});
    EXPECT_EQ(tinted(), (std::vector<int>{7, 8, 9}));
    m_overlays->tint({nameOf(30), nameOf(8)});
    EXPECT_EQ(tinted(), (std::vector<int>{8, 30}));
    m_overlays->show(m_line, style());
    EXPECT_EQ(tinted(), (std::vector<int>{8, 30})) << "also those that come later";
    m_overlays->tint({nameOf(7)});
    EXPECT_EQ(tinted(), std::vector<int>{7});
    m_overlays->tint({});
    EXPECT_TRUE(tinted().empty());
}

/// Counts how often it is reached by a cull traversal.
class Probe : public osg::NodeCallback {
public:
    void operator()(osg::Node*, osg::NodeVisitor*) override { ++count; }
    int count = 0;
};

TEST_F(OverlayPagesTest, AStationOutOfViewIsNotWalkedThrough) {
    open(PageLimits{kAnomalies, 8});
    ASSERT_TRUE(waitUntil([this] { return pictures() == kAnomalies; }));
    const osg::ref_ptr<osg::Node> node = new osg::Node;
    const osg::ref_ptr<Probe> probe = new Probe;
    node->setCullingActive(false);
    node->setCullCallback(probe);
    overlayGroups()[0]->addChild(node);
    flyTo(20);
    ASSERT_TRUE(waitUntil([&] { return probe->count > 0; }));
    inspection::flyTo(anomaly(0).lonDegrees - 0.2, anomaly(0).latDegrees, kNearMetres, 0.0);
    m_globe->requestRedraw();
    settle();
    probe->count = 0;
    m_globe->requestRedraw();
    settle();
    EXPECT_EQ(probe->count, 0);
}

} // namespace
