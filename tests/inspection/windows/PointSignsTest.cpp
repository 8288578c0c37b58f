#include "tests/inspection/windows/WindowFixture.h"

#include "host/Gbk.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspection/scene/PointSigns.h"

#include <osgEarth/MapNode>
#include <osgEarth/Viewpoint>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthUtil/EarthManipulator>

#include <QTest>

#include <map>

namespace {

using inspection::PointKind;
using osgEarth::Annotation::PlaceNode;

TEST(PointKind, IsInTheAttributeOrElseInTheName) {
    EXPECT_EQ(inspection::pointKindOf("阀室", "三号"), PointKind::Valve);
    EXPECT_EQ(inspection::pointKindOf("", "三号阀室"), PointKind::Valve);
    EXPECT_EQ(inspection::pointKindOf("学校", "柳河村小学"), PointKind::School);
    EXPECT_EQ(inspection::pointKindOf("重点部位", "柳河穿越"), PointKind::Crossing);
    EXPECT_EQ(inspection::pointKindOf("标志桩", ""), PointKind::Post);
    EXPECT_EQ(inspection::pointKindOf("", "柳河村"), PointKind::Dwelling);
    EXPECT_EQ(inspection::pointKindOf("", "柳河"), PointKind::Other);
}

TEST(ChosenSign, IsYellowWhereItWasColouredAndDarkWhereItWasWhite) {
    osg::ref_ptr<osg::Image> sign = new osg::Image;
    sign->allocateImage(3, 1, 1, GL_RGBA, GL_UNSIGNED_BYTE);
    sign->setColor(osg::Vec4(0.1F, 0.3F, 0.5F, 1.0F), 0U, 0U);
    sign->setColor(osg::Vec4(1.0F, 1.0F, 1.0F, 0.5F), 1U, 0U);
    sign->setColor(osg::Vec4(0.0F, 0.0F, 0.0F, 0.0F), 2U, 0U);
    const osg::ref_ptr<osg::Image> chosen = inspection::chosenSign(*sign);
    const osg::Vec4 body = chosen->getColor(0U, 0U);
    EXPECT_GT(body.r(), 0.9F);
    EXPECT_GT(body.g(), 0.7F);
    EXPECT_LT(body.b(), 0.1F);
    const osg::Vec4 letter = chosen->getColor(1U, 0U);
    EXPECT_LT(letter.r(), 0.3F);
    EXPECT_NEAR(letter.a(), 0.5F, 0.01F);
    EXPECT_EQ(chosen->getColor(2U, 0U).a(), 0.0F);
}

/// A yellow pixel that no map, label or sign has.
bool isChosenYellow(const QColor& colour) {
    return colour.red() > 240 && colour.green() > 190 && colour.green() < 215 && colour.blue() < 20;
}

class PointSignsTest : public InspectionWindowTest {
protected:
    void SetUp() override {
        InspectionWindowTest::SetUp();
        openSample();
    }
    OsgDataSet& scene() { return *dynamic_cast<OsgDataSet*>(context().GetDataSet(OsgDataSet::kIndex)); }
    static Special_Point point(const char* name, const char* attribute) {
        Special_Point point(toGbk(QString(name)), osg::Vec3d(108.9034, 34.2974, 430.0)); // above the sample
        point.m_attribute = toGbk(QString(attribute));
        return point;
    }
    /// Adds it as the tool does: first the row, then the marker, all in one turn of the event loop.
    osg::ref_ptr<PlaceNode> addByTool(const Special_Point& point) {
        EXPECT_TRUE(context().GetStationWindow()->AddPointNode(point));
        osg::ref_ptr<osg::Group> group = new osg::Group;
        scene().addPipePoints(group, point);
        m_globe->getMapNode()->addChild(group);
        const osg::Vec3d& at = point.GetCoor();
        osg::ref_ptr<osg::Image> icon = new osg::Image;
        icon->allocateImage(32, 32, 1, GL_RGBA, GL_UNSIGNED_BYTE);
        for (unsigned pixel = 0; pixel < 1024; ++pixel) {
            icon->setColor(osg::Vec4(0.1F, 0.4F, 0.9F, 1.0F), pixel % 32, pixel / 32);
        }
        osg::ref_ptr<PlaceNode> marker =
            new PlaceNode(osgEarth::GeoPoint(m_globe->getMapNode()->getMapSRS(), at.x(), at.y(), at.z()),
                          gbkToUtf8(point.GetName()), {}, icon);
        group->addChild(marker);
        return marker;
    }
    QTreeWidgetItem* entry(const QString& name) {
        const QList<QTreeWidgetItem*> found = tree().findItems(name, Qt::MatchExactly | Qt::MatchRecursive);
        return found.isEmpty() ? nullptr : found.first();
    }
    int yellowPixels() {
        m_globe->requestRedraw();
        EXPECT_TRUE(waitUntil([this] { return m_globe->isPictureComplete(); }));
        const QImage picture = m_globe->grabFramebuffer();
        int count = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x) {
                count += isChosenYellow(picture.pixelColor(x, y)) ? 1 : 0;
            }
        }
        return count;
    }
};

TEST_F(PointSignsTest, StoredPointsHaveTheSignsOfTheirKinds) {
    for (const Special_Point& each : {point("一号", "阀室"), point("二号阀室", ""), point("三号", "学校")}) {
        EXPECT_TRUE(context().GetStationWindow()->AddPointNode(each));
    }
    context().closeProject();
    ASSERT_FALSE(context().openProject(m_project).has_value());
    std::map<std::string, const osg::Image*> signs;
    for (const auto& [group, record] : scene().getPipePoints()) {
        signs[record.GetName()] = dynamic_cast<const PlaceNode&>(*group->getChild(0)).getIconImage();
    }
    const auto signOf = [&](const char* name) { return signs[toGbk(QString(name))]; };
    ASSERT_NE(signOf("一号"), nullptr);
    EXPECT_EQ(signOf("一号"), signOf("二号阀室"));
    EXPECT_NE(signOf("一号"), signOf("三号"));
}

TEST_F(PointSignsTest, AChosenPinIsYellow) {
    const auto valve = addByTool(point("一号阀室", "阀室"));
    tree().topLevelItem(1)->setExpanded(true);
    ASSERT_TRUE(waitUntil([&] { return entry("一号阀室") != nullptr; }));
    m_globe->getManipulator()->setViewpoint(osgEarth::Viewpoint(
        "", valve->getPosition().x(), valve->getPosition().y(), valve->getPosition().z(), 0.0, -80.0, 150.0));
    tree().setCurrentItem(nullptr);
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {},
                      tree().visualItemRect(tree().topLevelItem(0)).center());
    const int before = yellowPixels();
    const osg::Image* const sign = valve->getIconImage();
    tree().scrollToItem(entry("一号阀室"));
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {},
                      tree().visualItemRect(entry("一号阀室")).center());
    EXPECT_GT(yellowPixels(), before + 100);
    keepPicture(*m_globe, "point-chosen");
    QTest::mouseClick(tree().viewport(), Qt::LeftButton, {},
                      tree().visualItemRect(tree().topLevelItem(0)).center());
    EXPECT_EQ(valve->getIconImage(), sign);
}

} // namespace
