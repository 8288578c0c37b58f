// Adding a special point, by pointer and keys.

#include "tests/plugin/special/PointFixture.h"

#include <QComboBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>

namespace {

TEST_F(PointTool, AReleaseFarBelowThePressStillPlacesTheMarkerAndOneAboveDoesNot) {
    startTool();
    const QPoint place = ground(60, 50);
    QTest::mousePress(m_host.globe, Qt::LeftButton, {}, place);
    QTest::mouseRelease(m_host.globe, Qt::LeftButton, {}, place - QPoint(0, 4));
    draw();
    EXPECT_EQ(group()->getNumChildren(), 0U) << "four pixels above";
    QTest::mousePress(m_host.globe, Qt::LeftButton, {}, place);
    QTest::mouseRelease(m_host.globe, Qt::LeftButton, {}, place + QPoint(0, 50));
    draw();
    EXPECT_EQ(group()->getNumChildren(), 1U) << "fifty pixels below";
}

TEST_F(PointTool, AReleaseMoreThanThreePixelsAsideDoesNotPlaceTheMarker) {
    startTool();
    for (const int aside : {-4, 4}) {
        QTest::mousePress(m_host.globe, Qt::LeftButton, {}, ground(60, 50));
        QTest::mouseRelease(m_host.globe, Qt::LeftButton, {}, ground(60, 50) + QPoint(aside, 0));
        draw();
        EXPECT_EQ(group()->getNumChildren(), 0U);
    }
    QTest::mousePress(m_host.globe, Qt::LeftButton, {}, ground(60, 50));
    QTest::mouseRelease(m_host.globe, Qt::LeftButton, {}, ground(60, 50) + QPoint(3, 0));
    draw();
    EXPECT_EQ(group()->getNumChildren(), 1U);
}

TEST_F(PointTool, AClickOnEmptySkyChangesNothing) {
    startTool();
    leftClick(ground(60, 50));
    const osg::Vec2d before = markerPlace();
    m_host.globe->getManipulator()->setViewpoint(osgEarth::Viewpoint("", 114, 30, 0, 0, -89.9, 6.0e7));
    m_host.settle();
    leftClick(QPoint(3, 3));
    ASSERT_EQ(group()->getNumChildren(), 1U);
    EXPECT_EQ(markerPlace(), before);
}

TEST_F(PointTool, WithoutAMarkerOneMessageAsksForItAndPlacingGoesOn) {
    startTool();
    typeName("甲");
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    confirm();
    EXPECT_EQ(boxes.titles, QStringList{"提示"});
    EXPECT_EQ(boxes.texts, QStringList{"请先绘制特殊点"});
    leftClick(ground(60, 50));
    EXPECT_EQ(group()->getNumChildren(), 1U);
}

TEST_F(PointTool, WithoutANameTheMarkerIsFrozenUntilANameIsConfirmed) {
    startTool();
    leftClick(ground(60, 50));
    const osg::Vec2d before = markerPlace();
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        confirm();
        EXPECT_EQ(boxes.texts, QStringList{"请输入名称"});
    }
    leftClick(ground(120, 20));
    EXPECT_EQ(markerPlace(), before);
    ASSERT_NE(dialog(), nullptr);
    typeName("甲");
    confirm();
    EXPECT_EQ(dialog(), nullptr);
    EXPECT_EQ(readStored("select name from special_point"), QVariantList{"甲"});
    EXPECT_EQ(markerPlace(), before);
}

TEST_F(PointTool, ClosingTheDialogOfAFrozenMarkerTakesTheMarkerAway) {
    const std::size_t before = m_host.groupsNamed("ROIPoint").size();
    startTool();
    leftClick(ground(60, 50));
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        confirm();
        ASSERT_EQ(boxes.texts, QStringList{"请输入名称"});
    }
    QTest::mouseClick(field<QPushButton>("pushButtonCancel"), Qt::LeftButton);
    draw();
    EXPECT_EQ(m_host.groupsNamed("ROIPoint").size(), before);
    EXPECT_FALSE(isToolOn());
    startTool();
    leftClick(ground(60, 50));
    EXPECT_EQ(group()->getNumChildren(), 1U) << "the next drawing places again";
}

TEST_F(PointTool, AConfirmedPointIsInTheTreeOnTheGlobeInTheDatabaseAndItsWordInTheHistory) {
    startTool();
    typeName("一号阀室");
    type(field<QComboBox>("combox_attri"), "阀室");
    leftClick(ground(60, 50));
    confirm();

    EXPECT_FALSE(isToolOn());
    EXPECT_EQ(dialog(), nullptr);
    EXPECT_EQ(tree().currentItem()->text(0), "一号阀室");
    ASSERT_EQ(group()->getNumChildren(), 1U);
    EXPECT_EQ(marker()->getText(), "一号阀室");
    EXPECT_EQ(marker()->getName(), "ROIPoint");
    expectNear(markerPlace(), lonLat(60, 50));
    EXPECT_EQ(readStored("select name from special_point"), QVariantList{"一号阀室"});
    EXPECT_EQ(readStored("select attribute from special_point"), QVariantList{"阀室"});
    expectNear({readStored("select lon_deg from special_point").value(0).toDouble(),
                readStored("select lat_deg from special_point").value(0).toDouble()},
               lonLat(60, 50));
    EXPECT_EQ(m_directory.history(),
              "startPolygon\nendPolygon\nstartArea\nendArea\nstartPoint\n\xB7\xA7\xCA\xD2\nendPoint\n");

    reopen();
    m_host.settle();
    ASSERT_NE(marker(), nullptr);
    EXPECT_EQ(marker()->getText(), "一号阀室");
}

TEST_F(PointTool, ASecondActivationOnlySwitchesItOff) {
    startTool();
    auto& tool = static_cast<zeo::ITool&>(m_host.command(m_tool));
    const QPointer<QWidget> open = dialog();
    const osg::ref_ptr<osg::Group> drawing = group();
    for (int times = 0; times < 2; ++times) { // it still counts as active until it is left
        tool.OnActivate();
        draw();
        EXPECT_FALSE(isToolOn());
        EXPECT_EQ(dialog(), open) << "neither hidden nor made anew";
        EXPECT_EQ(group(), drawing) << "no further drawing";
        leftClick(ground(60, 50));
        EXPECT_EQ(drawing->getNumChildren(), 0U);
    }
    m_engine.deactivateTool();
    startTool();
    leftClick(ground(60, 50));
    EXPECT_EQ(group()->getNumChildren(), 1U);
}

TEST_F(PointTool, EnterConfirmsAndEscTakesTheMarkerAway) {
    startTool();
    leftClick(ground(60, 50));
    typeName("甲");
    QTest::keyClick(field<QLineEdit>("lineEditTitle"), Qt::Key_Return);
    draw();
    EXPECT_EQ(storedPoints(), 1);

    const std::size_t groups = m_host.groupsNamed("ROIPoint").size();
    startTool();
    leftClick(ground(120, 20));
    QTest::keyClick(field<QLineEdit>("lineEditTitle"), Qt::Key_Escape);
    draw();
    EXPECT_EQ(dialog(), nullptr);
    EXPECT_FALSE(isToolOn());
    EXPECT_EQ(m_host.groupsNamed("ROIPoint").size(), groups);
    EXPECT_EQ(storedPoints(), 1);
}

TEST_F(PointTool, ADrawingThatWasGivenUpLeavesNoMarkerHoweverSoonTheNextOneBegins) {
    startTool();
    leftClick(ground(60, 50));
    ASSERT_NE(marker(), nullptr);
    QTest::keyClick(field<QLineEdit>("lineEditTitle"), Qt::Key_Escape);
    m_host.click(m_tool); // before the next frame
    draw();
    ASSERT_TRUE(isToolOn());
    EXPECT_EQ(markersOnGlobe(), 0U);
    leftClick(ground(120, 20));
    EXPECT_EQ(markersOnGlobe(), 1U);
}

TEST_F(PointTool, AMarkerThatStayedWhenTheToolWasLeftGoesWithTheNextDrawing) {
    startTool();
    leftClick(ground(60, 50));
    keyClick(Qt::Key_Escape); // over the globe, where nobody takes it
    m_host.click(m_tool);
    draw();
    ASSERT_FALSE(isToolOn());
    EXPECT_EQ(markersOnGlobe(), 1U) << "it stays until then";
    m_host.click(m_tool);
    draw();
    ASSERT_TRUE(isToolOn());
    EXPECT_EQ(markersOnGlobe(), 0U);
}

} // namespace
