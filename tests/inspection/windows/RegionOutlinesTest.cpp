// More special areas than are drawn at once.
#include "tests/inspection/windows/WindowFixture.h"

#include "workbench/inspection/scene/GlobeNavigation.h"
#include "workbench/inspection/scene/SceneDataSet.h"
#include "workbench/inspection/scene/SpecialObjectNodes.h"
#include "workbench/inspectiondata/project/Project.h"

#include <osgEarth/MapNode>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthSymbology/PolygonSymbol>

#include <cmath>
#include <string>

namespace {

using inspection::PageLimits;
using inspection::SceneDataSet;
using inspection::SpecialObjectNodes;
using osgEarth::Annotation::FeatureNode;

constexpr int kAreas = 40;
constexpr int kMost = 8;
constexpr double kApartMetres = 30.0;
constexpr double kHalfSideMetres = 5.0;
constexpr double kNearMetres = 60.0; ///< some of them are in view, and not small

class RegionOutlinesTest : public InspectionWindowTest {
protected:
    void open(const PageLimits& limits) {
        openComputed();
        const auto& epoch = context().project()->description().newEpoch();
        ASSERT_FALSE(m_globe->map().addElevation("terrain", epoch.dsm.toStdString()));
        m_window->resize(1590, 990);
        const SdiffData& start = checkedStationWithMostAnomalies()->m_diffData.m_anomalies.front();
        m_start = osg::Vec2d(start.lonDegrees, start.latDegrees);
        m_nodes = std::make_unique<SpecialObjectNodes>(m_scene, limits);
        for (int i = 0; i < kAreas; ++i) {
            m_nodes->add(area(i));
        }
    }
    void TearDown() override {
        if (m_nodes) {
            m_nodes->clear();
        }
        m_nodes.reset();
        InspectionWindowTest::TearDown();
    }
    static std::string nameOf(int index) { return "A-" + std::to_string(index); }
    /// One beside the other along the corridor.
    osg::Vec2d placeOf(int index) const {
        const double metresPerDegree = 111320.0 * std::cos(osg::DegreesToRadians(m_start.y()));
        return {m_start.x() + index * kApartMetres / metresPerDegree, m_start.y()};
    }
    Special_Area area(int index) const {
        const double half = kHalfSideMetres / 111320.0;
        const osg::Vec2d at = placeOf(index);
        Special_Area result;
        result.SetName(nameOf(index));
        result.SetCoor(osg::Vec3d(at.x(), at.y(), 0.0));
        for (const osg::Vec2d& corner : {osg::Vec2d(-half, -half), osg::Vec2d(half, -half),
                                         osg::Vec2d(half, half), osg::Vec2d(-half, half)}) {
            result.m_vertices.emplace_back(at.x() + corner.x(), at.y() + corner.y(), 0.0);
        }
        return result;
    }
    FeatureNode& outline(int index) const {
        const auto groups = m_scene.groupsOf(nameOf(index));
        return dynamic_cast<FeatureNode&>(*groups.at(0)->getChild(0));
    }
    bool isDrawn(int index) const { return outline(index).getNumChildren() > 0; }
    int drawn() const {
        int count = 0;
        for (int i = 0; i < kAreas; ++i) {
            count += !m_scene.groupsOf(nameOf(i)).empty() && isDrawn(i) ? 1 : 0;
        }
        return count;
    }
    void visit(int index) {
        inspection::flyTo(placeOf(index).x(), placeOf(index).y(), kNearMetres, 0.0);
        m_globe->requestRedraw();
        ASSERT_TRUE(waitUntil([&] { return isDrawn(index); })) << index;
        ASSERT_TRUE(waitUntil([&] { return m_globe->isPictureComplete(); }));
    }

    osg::Vec2d m_start; ///< degrees
    SceneDataSet m_scene;
    std::unique_ptr<SpecialObjectNodes> m_nodes;
};

TEST_F(RegionOutlinesTest, FewAreDrawnAtOnceWhereverTheViewIs) {
    open({kAreas, kAreas});
    EXPECT_EQ(drawn(), kAreas);
}

TEST_F(RegionOutlinesTest, OfManyThoseInViewAreDrawnAndTheOthersGoAgain) {
    open({5, kMost});
    EXPECT_EQ(drawn(), 5);
    for (const int place : {39, 20, 2, 39}) {
        visit(place);
        EXPECT_LE(drawn(), kMost) << place;
    }
    EXPECT_FALSE(isDrawn(10)) << "it was never in view";
    EXPECT_NE(outline(10).getFeature(), nullptr) << "tools look at it";
    EXPECT_TRUE(outline(10).getStyle().get<osgEarth::Symbology::PolygonSymbol>());
}

TEST_F(RegionOutlinesTest, OneThatIsChangedIsDrawnAsItIsNowAndOneThatIsDeletedNoMore) {
    open({5, kMost});
    visit(30);
    m_nodes->replace(nameOf(30), area(30));
    EXPECT_TRUE(waitUntil([&] { return isDrawn(30); }));
    m_nodes->remove(nameOf(30));
    EXPECT_TRUE(m_scene.groupsOf(nameOf(30)).empty());
    visit(29); // beside it
    EXPECT_LE(drawn(), kMost);
}

} // namespace
