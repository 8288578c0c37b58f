// Adding a special point, by pointer and keys.

#include "tests/plugin/special/SpecialFixture.h"

#include "host/Gbk.h"
#include "host/inspection/IORVAContext.h"
#include "host/inspection/StationWindow.h"
#include "tests/support/WaitUntil.h"

#include <QApplication>
#include <QComboBox>
#include <QImage>
#include <QLineEdit>
#include <QPushButton>
#include <QTest>

#include <osgEarth/GeoData>
#include <osgEarth/SpatialReference>
#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>

#include <cmath>

using osgEarth::Annotation::PlaceNode;

namespace {

class PointTool : public SpecialTest {
protected:
    PointTool() : SpecialTest("添加特殊点", "CDrawPointDlg", "ROIPoint") {}

    PlaceNode* marker() const { return child<PlaceNode>(0); }
    /// Degrees.
    osg::Vec2d markerPlace() const {
        const osgEarth::GeoPoint& at = marker()->getPosition();
        return {at.x(), at.y()};
    }
    /// About 0.1 m in degrees of latitude, and what single precision leaves of a longitude near 114.
    static void expectNear(const osg::Vec2d& place, const osg::Vec2d& expected) {
        EXPECT_NEAR(place.x(), expected.x(), 2e-5);
        EXPECT_NEAR(place.y(), expected.y(), 1e-5);
    }
    int storedPoints() const { return readStored("select count(*) from special_point").value(0).toInt(); }
};

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

TEST_F(PointTool, TheMarkerStandsWhereTheClickWasAndASecondClickMovesIt) {
    startTool();
    leftClick(ground(60, 50));
    ASSERT_EQ(group()->getNumChildren(), 1U);
    expectNear(markerPlace(), lonLat(60, 50));
    leftClick(ground(120, 20));
    ASSERT_EQ(group()->getNumChildren(), 1U);
    expectNear(markerPlace(), lonLat(120, 20));
}

TEST_F(PointTool, TheLabelTakesTheNameFieldAtEachClick) {
    startTool();
    leftClick(ground(60, 50));
    EXPECT_EQ(marker()->getText(), "");
    typeName("一号阀室");
    EXPECT_EQ(marker()->getText(), "") << "only the next click";
    leftClick(ground(70, 50));
    EXPECT_EQ(marker()->getText(), "一号阀室");
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

TEST_F(PointTool, TheLabelOnTheGlobeShowsTheChineseCharactersOfTheName) {
    const auto pictureWithName = [this](const QString& name) {
        startTool();
        typeName(name);
        leftClick(ground(100, 40));
        m_host.settle();
        const QImage picture = m_host.globe->grabFramebuffer();
        const QPoint at = ground(100, 40);
        dialog()->close();
        draw();
        return picture.copy(at.x() + 4, at.y() - 40, 60, 44);
    };
    const QImage valve = pictureWithName("阀室");
    EXPECT_EQ(pictureWithName("阀室"), valve);
    EXPECT_NE(pictureWithName("学校"), valve);
    const QImage none = pictureWithName(QString());
    EXPECT_NE(none, valve);
    // Two characters that no font has look alike; two that it has do not.
    const QImage box = pictureWithName(QString::fromUcs4(U"\U000F0000\U000F0000"));
    EXPECT_EQ(pictureWithName(QString::fromUcs4(U"\U000F0001\U000F0001")), box);
    EXPECT_NE(box, valve);
}

TEST_F(PointTool, ATakenNameIsRefusedSilentlyAndAnotherOneGoesOn) {
    startTool();
    typeName("甲");
    leftClick(ground(60, 50));
    confirm();
    startTool();
    typeName("甲");
    leftClick(ground(120, 20));
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        confirm();
        EXPECT_TRUE(boxes.texts.isEmpty());
    }
    EXPECT_NE(dialog(), nullptr);
    EXPECT_EQ(storedPoints(), 1);
    typeName("乙");
    confirm();
    EXPECT_EQ(storedPoints(), 2);
}

TEST_F(PointTool, ARefusedInsertIsOneMessageOfTheDataLibraryAndTheMarkerGoes) {
    startTool();
    refuseInserts("special_point");
    typeName("甲");
    leftClick(ground(60, 50));
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        confirm();
        ASSERT_EQ(boxes.texts.size(), 1);
        EXPECT_TRUE(boxes.texts[0].contains("the server has gone")) << boxes.texts[0].toStdString();
    }
    EXPECT_EQ(storedPoints(), 0);
    EXPECT_FALSE(IORVAContext::Instance()->GetStationWindow()->isReiterated_node("甲"));
    EXPECT_EQ(group()->getNumChildren(), 0U);
    EXPECT_NE(dialog(), nullptr) << "it stays confirming";
    leftClick(ground(120, 20));
    EXPECT_EQ(group()->getNumChildren(), 0U);
}

TEST_F(PointTool, ADatabaseThatIsLostBeforeOkStoresNothingAndOnceItIsBackTheSameOkGoesOn) {
    startTool();
    typeName("甲");
    leftClick(ground(60, 50));
    {
        const ForeignConnection other(m_folder + "/inspection.db");
        other.run("begin exclusive");
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        confirm();
        ASSERT_EQ(boxes.texts.size(), 1);
        EXPECT_TRUE(boxes.texts[0].contains("locked")) << boxes.texts[0].toStdString();
        other.run("alter table special_point rename to lost_point");
        other.run("commit");
    }
    EXPECT_FALSE(tree().findItems("甲", Qt::MatchExactly | Qt::MatchRecursive).size());
    EXPECT_EQ(group()->getNumChildren(), 0U);
    {
        const BoxAnswerer boxes(BoxAnswerer::Yes);
        confirm();
        ASSERT_EQ(boxes.texts.size(), 1);
        EXPECT_TRUE(boxes.texts[0].contains("special_point")) << boxes.texts[0].toStdString();
    }
    EXPECT_EQ(readStored("select count(*) from lost_point"), QVariantList{0});
    ForeignConnection(m_folder + "/inspection.db").run("alter table lost_point rename to special_point");
    confirm();
    EXPECT_EQ(readStored("select name from special_point"), QVariantList{"甲"});
    EXPECT_EQ(dialog(), nullptr);
}

TEST_F(PointTool, ANameThatGbkLacksIsKeptAndItsWordIsRefusedByTheHistory) {
    startTool();
    typeName(QStringLiteral("井😀"));
    type(field<QComboBox>("combox_attri"), QStringLiteral("𠮷"));
    leftClick(ground(60, 50));
    testing::internal::CaptureStdout();
    confirm();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "record.txt is left as it is: an attribute has characters that GBK lacks\n");
    EXPECT_EQ(readStored("select name from special_point"), QVariantList{QStringLiteral("井😀")});
    EXPECT_EQ(readStored("select attribute from special_point"), QVariantList{QStringLiteral("𠮷")});
    EXPECT_EQ(marker()->getText(), "井😀");
    EXPECT_EQ(tree().currentItem()->text(0), QStringLiteral("井😀"));
    EXPECT_FALSE(QFile::exists(m_directory.file("record.txt")));
}

TEST_F(PointTool, ANewWordIsRememberedEvenWhenThePointIsRefused) {
    startTool();
    leftClick(ground(60, 50));
    type(field<QComboBox>("combox_attri"), "桩");
    const BoxAnswerer boxes(BoxAnswerer::Yes);
    confirm();
    EXPECT_EQ(boxes.texts, QStringList{"请输入名称"});
    EXPECT_EQ(m_directory.history(),
              "startPolygon\nendPolygon\nstartArea\nendArea\nstartPoint\n\xD7\xAE\nendPoint\n");
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

} // namespace
