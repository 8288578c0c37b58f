#include "tests/inspection/windows/WindowFixture.h"

#include "host/inspection/AVWindow.h"
#include "host/inspection/StationWindow.h"
#include "workbench/inspection/scene/GlobeNavigation.h"
#include "workbench/inspection/scene/PinClusters.h"
#include "workbench/inspectiondata/project/Project.h"

#include <osgEarth/MapNode>
#include <osgEarth/Registry>
#include <osgEarth/Viewpoint>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthUtil/EarthManipulator>
#include <osgEarthUtil/RTTPicker>
#include <osgViewer/View>

#include <QTest>

#include <numeric>

namespace {

using inspection::clusterPins;
using inspection::PinCluster;
using osgEarth::Annotation::PlaceNode;

TEST(PinClusters, TakeTogetherWhatIsNear) {
    const std::vector<QPointF> places = {{0, 0}, {10, 0}, {100, 0}, {0, 19}, {109, 8}};
    EXPECT_EQ(clusterPins(places, 20.0), (std::vector<PinCluster>{{0, 1, 3}, {2, 4}}));
    EXPECT_EQ(clusterPins(places, 5.0).size(), places.size());
    EXPECT_TRUE(clusterPins({}, 20.0).empty());
}

TEST(PinClusters, LeadersOfNeighbouringSquaresCompete) {
    // The third is in the square of the first and nearer to the second.
    EXPECT_EQ(clusterPins({{1, 0}, {21.5, 0}, {15, 0}}, 20.0), (std::vector<PinCluster>{{0}, {1, 2}}));
    EXPECT_EQ(clusterPins({{-1, -1}, {1, 1}}, 20.0), (std::vector<PinCluster>{{0, 1}})) << "across zero";
}

TEST(PinClusters, LoseNothingOfThousands) {
    std::vector<QPointF> places;
    for (int i = 0; i < 10000; ++i) {
        places.emplace_back((i * 7919) % 1600, (i * 104729) % 1000);
    }
    std::size_t members = 0;
    const auto clusters = clusterPins(places, 44.0);
    for (const PinCluster& cluster : clusters) {
        members += cluster.size();
    }
    EXPECT_EQ(members, places.size());
    EXPECT_LT(clusters.size(), 1600U * 1000U / (22U * 22U));
}

class AnomalyPinsTest : public InspectionWindowTest {
protected:
    void look(double rangeMetres) {
        const SdiffData& anomaly = checkedStationWithMostAnomalies()->m_diffData.m_anomalies.at(0);
        inspection::flyTo(anomaly.lonDegrees, anomaly.latDegrees, rangeMetres, 0.0);
        settle();
    }
    void settle() {
        m_globe->requestRedraw();
        ASSERT_TRUE(waitUntil([this] { return m_globe->isPictureComplete(); }));
    }
    void openWithGround() {
        openComputed();
        const auto& epoch = context().project()->description().newEpoch();
        ASSERT_FALSE(m_globe->map().addElevation("terrain", epoch.dsm.toStdString()));
        m_window->resize(1400, 900);
    }
    osg::Group& pinGroup() const {
        osgEarth::MapNode& map = *m_globe->getMapNode();
        for (unsigned i = 0; i < map.getNumChildren(); ++i) {
            if (map.getChild(i)->getName() == "anomalyPins") {
                return *map.getChild(i)->asGroup();
            }
        }
        ADD_FAILURE() << "no pins";
        static osg::ref_ptr<osg::Group> none = new osg::Group;
        return *none;
    }
    std::vector<int> numbers() const {
        std::vector<int> numbers;
        for (unsigned i = 0; i < pinGroup().getNumChildren(); ++i) {
            numbers.push_back(std::stoi(pinGroup().getChild(i)->getName()));
        }
        return numbers;
    }
    int all() const {
        const std::vector<int> each = numbers();
        return std::accumulate(each.begin(), each.end(), 0);
    }
    int anomalies() {
        std::size_t count = 0;
        for (const KV_StationItem* item : context().GetStationWindow()->GetSelectedStationItem()) {
            count += item->m_diffData.m_anomalies.size();
        }
        return static_cast<int>(count);
    }
    QPoint placeOf(unsigned index) const {
        const osg::Vec3d world(pinGroup().getChild(index)->getBound().center());
        const osg::Camera& camera = *m_globe->getViewer()->getCamera();
        const osg::Vec3d pixel = world * camera.getViewMatrix() * camera.getProjectionMatrix() *
                                 camera.getViewport()->computeWindowMatrix();
        return {static_cast<int>(pixel.x()), m_globe->height() - 1 - static_cast<int>(pixel.y())};
    }
    double range() const {
        return m_globe->getManipulator()->getViewpoint().range()->as(osgEarth::Units::METERS);
    }
};

TEST_F(AnomalyPinsTest, StandForAnomaliesThatAreTooSmallToSee) {
    openWithGround();
    look(20000.0);
    ASSERT_TRUE(waitUntil([this] { return all() == anomalies(); }));
    EXPECT_LT(numbers().size(), static_cast<std::size_t>(anomalies())) << "near ones share a pin";
    settle();
    keepPicture(*m_globe, "pins-from-afar");
    const QPoint head = placeOf(0) - QPoint(0, 12 + 10); // beside the number
    const QColor colour = m_globe->grabFramebuffer().pixelColor(head);
    EXPECT_GT(colour.red(), colour.green() + 80) << colour.name().toStdString();
    look(30.0);
    EXPECT_TRUE(waitUntil([this] { return pinGroup().getNumChildren() == 0; }))
        << "near by they are seen themselves";
}

TEST_F(AnomalyPinsTest, AClickFliesNearerWhenNoToolDraws) {
    openWithGround();
    look(20000.0);
    ASSERT_TRUE(waitUntil([this] { return all() == anomalies(); }));
    settle();
    const double before = range();
    bool isFree = false;
    context().setClickFilter([&] { return isFree; });
    const QPoint head = placeOf(0) - QPoint(0, 20);
    QTest::mouseClick(m_globe, Qt::LeftButton, {}, head);
    settle();
    EXPECT_NEAR(range(), before, 10.0);
    isFree = true;
    QTest::mouseClick(m_globe, Qt::LeftButton, {}, head + QPoint(200, 0));
    settle();
    EXPECT_NEAR(range(), before, 10.0) << "beside it";
    QTest::mouseClick(m_globe, Qt::LeftButton, {}, head);
    EXPECT_TRUE(waitUntil([&] { return range() < before / 2.0; }));
}

TEST_F(AnomalyPinsTest, WhatIsDeletedHasNoPinAnyMore) {
    openWithGround();
    look(20000.0);
    const int count = anomalies();
    ASSERT_TRUE(waitUntil([&] { return all() == count; }));
    KV_StationItem& item = *checkedStationWithMostAnomalies();
    context().GetAVWindow()->DeleteItems(&item, {item.m_diffData.m_anomalies.at(0)});
    EXPECT_TRUE(waitUntil([&] { return all() == count - 1; }));
    context().closeProject();
    EXPECT_EQ(pinGroup().getNumChildren(), 0U);
}

class Answer : public osgEarth::Util::RTTPicker::Callback {
public:
    void onHit(osgEarth::ObjectID id) override {
        hit = id;
        isThere = true;
    }
    void onMiss() override { isThere = true; }
    osgEarth::ObjectID hit = 0;
    bool isThere = false;
};

TEST_F(AnomalyPinsTest, ArePassedOverWhenToolsPick) {
    openWithGround();
    look(3000.0);
    ASSERT_TRUE(waitUntil([this] { return all() > 0; }));
    settle();
    const osg::ref_ptr<osgEarth::Util::RTTPicker> picker = new osgEarth::Util::RTTPicker(256);
    picker->addChild(m_globe->getMapNode());
    m_globe->getViewer()->addEventHandler(picker);
    osg::Group& group = pinGroup();
    const osgEarth::ObjectID id =
        osgEarth::Registry::objectIndex()->tagNode(&group, &group); // as if it were pickable
    const QPoint head = placeOf(0) - QPoint(0, 25);
    const osg::ref_ptr<Answer> answer = new Answer;
    picker->pick(m_globe->getViewer(), static_cast<float>(head.x()),
                 static_cast<float>(m_globe->height() - 1 - head.y()), answer);
    m_globe->requestRedraw();
    EXPECT_TRUE(waitUntil([&] { return answer->isThere; }));
    EXPECT_NE(answer->hit, id);
    osgEarth::Registry::objectIndex()->remove(id);
    m_globe->getViewer()->removeEventHandler(picker);
}

} // namespace
