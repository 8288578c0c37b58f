#include "tests/plugin/PluginHost.h"

#include "host/viewmanager/pick.h"

#include <osgEarth/GeoData>
#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>
#include <osgViewer/Viewer>

namespace {

const osg::Vec3d kNowhere(-9999999.0, -9999999.0, -9999999.0);

class Pick : public PluginTest {
protected:
    /// At a place of the globe widget, from its lower left corner.
    osg::Vec3d pickAt(double x, double y) {
        const osg::ref_ptr<osgGA::GUIEventAdapter> event = new osgGA::GUIEventAdapter;
        event->setX(static_cast<float>(x));
        event->setY(static_cast<float>(y));
        return pick(m_host.globe->getViewer(), *event);
    }
};

TEST_F(Pick, GivesThePlaceOfTheGroundInTheWorldAndOnePlaceThatIsNowhereForTheSky) {
    m_host.globe->getManipulator()->setViewpoint(osgEarth::Viewpoint("", 109.0, 34.0, 0.0, 0.0, -89.0, 4e7));
    m_host.settle();
    const osg::Vec3d ground = pickAt(m_host.globe->width() / 2.0, m_host.globe->height() / 2.0);
    osgEarth::GeoPoint onMap;
    ASSERT_TRUE(onMap.fromWorld(m_host.globe->getMapNode()->getMapSRS(), ground));
    EXPECT_NEAR(onMap.x(), 109.0, 0.5);
    EXPECT_NEAR(onMap.y(), 34.0, 0.5);
    EXPECT_NEAR(onMap.z(), 0.0, 20000.0);
    EXPECT_EQ(pickAt(1.0, 1.0), kNowhere) << "beside the globe";
}

TEST_F(Pick, FindsNothingWhereThereIsNoMap) {
    osgViewer::Viewer empty;
    const osg::ref_ptr<osgGA::GUIEventAdapter> event = new osgGA::GUIEventAdapter;
    EXPECT_EQ(pick(&empty, *event), kNowhere);
    EXPECT_EQ(pick(nullptr, *event), kNowhere);
}

} // namespace
