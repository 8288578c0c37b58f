#include "tests/inspection/windows/WindowFixture.h"

#include "host/Gbk.h"
#include "host/inspection/AVWindow.h"
#include "host/inspection/ParaSet.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspection/scene/OverlayPicture.h"

#include <osgEarth/MapNode>
#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarthAnnotation/ImageOverlay>

namespace {

using osgEarth::Annotation::ImageOverlay;

class AnomalyOverlaysTest : public InspectionWindowTest {
protected:
    osg::Group* groupOf(const KV_StationItem& item) {
        for (osg::Group* group : overlayGroups()) {
            if (group->getChild(0)->getName() == item.m_diffData.m_anomalies.at(0).name) {
                return group;
            }
        }
        return nullptr;
    }
};

TEST_F(AnomalyOverlaysTest, OneGroupForEachShownStationWithOneOverlayForEachAnomaly) {
    openComputed();
    std::size_t withAnomalies = 0;
    for (const KV_StationItem* item : context().GetStationWindow()->GetSelectedStationItem()) {
        withAnomalies += item->m_diffData.m_anomalies.empty() ? 0U : 1U;
        EXPECT_TRUE(context().GetStationWindow()->IsDiffChecked(item));
    }
    EXPECT_EQ(overlayGroups().size(), withAnomalies);
    const KV_StationItem& item = *checkedStationWithMostAnomalies();
    osg::Group* group = groupOf(item);
    ASSERT_NE(group, nullptr);
    ASSERT_EQ(group->getNumChildren(), item.m_diffData.m_anomalies.size());
    for (unsigned i = 0; i < group->getNumChildren(); ++i) {
        auto* overlay = dynamic_cast<ImageOverlay*>(group->getChild(i));
        ASSERT_NE(overlay, nullptr);
        SdiffData anomaly;
        ASSERT_TRUE(item.m_diffData.GetdiffdataByname(overlay->getName(), anomaly));
        const osgEarth::Bounds bounds = overlay->getBounds();
        EXPECT_TRUE(bounds.contains(anomaly.lonDegrees, anomaly.latDegrees));
        EXPECT_LT(bounds.xMax() - bounds.xMin(), 0.01) << "an overlay is no larger than its anomaly";
    }
}

TEST_F(AnomalyOverlaysTest, OverlaysAreFoundThroughTheObjectIndex) {
    openComputed();
    auto* overlay = groupOf(*checkedStationWithMostAnomalies())->getChild(0);
    osgEarth::ObjectID id = 0;
    ASSERT_TRUE(osgEarth::Registry::objectIndex()->getObjectID(overlay, id));
    EXPECT_EQ(osgEarth::Registry::objectIndex()->get<ImageOverlay>(id).get(), overlay);
}

TEST_F(AnomalyOverlaysTest, PicturesFollowAndAreTransparentOutsideTheOutline) {
    openComputed();
    osg::Group* group = groupOf(*checkedStationWithMostAnomalies());
    ASSERT_TRUE(waitUntil([group] {
        for (unsigned i = 0; i < group->getNumChildren(); ++i) {
            if (!static_cast<ImageOverlay*>(group->getChild(i))->getImage()) {
                return false;
            }
        }
        return true;
    }));
    const osg::Image* picture = static_cast<ImageOverlay*>(group->getChild(0))->getImage();
    EXPECT_EQ(picture->getPixelFormat(), static_cast<GLenum>(GL_RGBA));
    EXPECT_EQ(picture->getColor(0U, 0U).a(), 0.0F) << "corner";
    bool anyOpaque = false;
    for (int row = 0; row < picture->t(); ++row) {
        for (int column = 0; column < picture->s(); ++column) {
            anyOpaque =
                anyOpaque ||
                picture->getColor(static_cast<unsigned>(column), static_cast<unsigned>(row)).a() > 0.4F;
        }
    }
    EXPECT_TRUE(anyOpaque);
}

TEST_F(AnomalyOverlaysTest, UncheckingTheStationTakesItsGroupAway) {
    openComputed();
    const std::size_t before = overlayGroups().size();
    const std::uint32_t id = checkedStationWithMostAnomalies()->GetStationId();
    for (int i = 0; i < 4; ++i) {
        if (station(i)->data(0, Qt::UserRole).toUInt() == id) {
            clickCheckBox(station(i));
        }
    }
    EXPECT_EQ(overlayGroups().size(), before - 1);
}

TEST_F(AnomalyOverlaysTest, ClosingTheProjectTakesAllGroupsAway) {
    openComputed();
    ASSERT_FALSE(overlayGroups().empty());
    context().closeProject();
    EXPECT_TRUE(overlayGroups().empty());
}

TEST_F(AnomalyOverlaysTest, AVerdictShowsOnTheGlobe) {
    openComputed();
    KV_StationItem& item = *checkedStationWithMostAnomalies();
    auto* overlay = static_cast<ImageOverlay*>(groupOf(item)->getChild(0));
    ASSERT_TRUE(waitUntil([&] { return overlay->getImage() != nullptr; }));
    const osg::ref_ptr<osg::Image> before = overlay->getImage();
    SdiffData judged = item.m_diffData.m_anomalies.at(0);
    judged.attribute = toGbk("深挖");
    context().GetAVWindow()->SetItemAtrii(&item, {judged});
    ASSERT_TRUE(waitUntil([&] { return overlay->getImage() != before; }));
    const auto opacityInside = [](const osg::Image& picture) {
        return picture.getColor(osg::Vec2(0.5F, 0.5F)).a();
    };
    EXPECT_LT(opacityInside(*overlay->getImage()), opacityInside(*before) - 0.1F) << "paler";
}

class OverlayLook : public testing::Test {
protected:
    static QImage pictureOf(const char* verdict) {
        SdiffData heap;
        heap.attribute = toGbk(verdict);
        heap.xMax = heap.yMax = 10.0;
        heap.outlineWkt = "POLYGON ((0 0, 10 0, 10 10, 0 10, 0 0))";
        return inspection::overlayPicture(heap, {{}, "EPSG:4549", QColor(200, 0, 0), QColor(0, 0, 200), 256});
    }
    /// Changes between line and gap on the way along the northern edge.
    static int dashesOf(const QImage& picture) {
        const int row = picture.height() * 4 / 108; // the room around an outline of 10 m is 0.4 m
        int changes = 0;
        for (int column = picture.width() / 5; column < picture.width() * 4 / 5; ++column) {
            const auto isLine = [&](int at) { return picture.pixelColor(at, row).green() < 160; };
            changes += isLine(column) != isLine(column + 1) ? 1 : 0;
        }
        return changes;
    }
};

TEST_F(OverlayLook, IsAWholeLineWithoutAVerdictAndADashedOneWithIt) {
    EXPECT_EQ(dashesOf(pictureOf("")), 0);
    EXPECT_GT(dashesOf(pictureOf("深挖")), 6);
    EXPECT_GT(dashesOf(pictureOf("误报")), 6);
}

TEST_F(OverlayLook, IsGreyForAFalseAlarm) {
    const auto colourInside = [](const QImage& picture) {
        return picture.pixelColor(picture.rect().center());
    };
    EXPECT_GT(colourInside(pictureOf("深挖")).red(), 180);
    EXPECT_GT(colourInside(pictureOf("")).alpha(), colourInside(pictureOf("深挖")).alpha() + 30);
    const QColor grey = colourInside(pictureOf("误报"));
    EXPECT_LT(grey.hsvSaturation(), 60);
    EXPECT_LT(grey.alpha(), 80);
}

TEST(OverlayPicture, FillsTheOutlineInTheColourOfItsKindWithoutARaster) {
    SdiffData pit;
    pit.isFill = false;
    pit.xMin = 100.0;
    pit.yMin = 200.0;
    pit.xMax = 110.0;
    pit.yMax = 205.0;
    pit.dzMinMetres = -2.0;
    pit.outlineWkt = "POLYGON ((100 200, 110 200, 110 205, 100 205, 100 200))";
    const QImage picture = inspection::overlayPicture(
        pit, {"/does/not/exist.tif", "EPSG:4549", QColor(200, 0, 0), QColor(0, 0, 200), 256});
    EXPECT_EQ(picture.pixelColor(0, 0).alpha(), 0);
    const QColor inside = picture.pixelColor(picture.rect().center());
    EXPECT_GT(inside.alpha(), 80);
    EXPECT_GT(inside.blue(), 150);
    EXPECT_LT(inside.red(), 60);
    EXPECT_NEAR(static_cast<double>(picture.width()) / picture.height(), 10.8 / 5.8, 0.05);
}

} // namespace
