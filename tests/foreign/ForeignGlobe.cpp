// What the foreign host shows on its globe, and what is to be seen there.

#include "host/viewer/CXViewer.h"
#include "tests/foreign/ForeignHost.h"
#include "tests/globe/OffscreenGlobe.h"
#include "tests/globe/TestRaster.h"

#include <osgEarth/ObjectIndex>
#include <osgEarth/Registry>
#include <osgEarthAnnotation/PlaceNode>

#include <gtest/gtest.h>

using osgEarth::Annotation::ImageOverlay;
using osgEarth::Util::EarthManipulator;

namespace {

constexpr double kLon = 114.0;
constexpr double kLat = 34.0;
constexpr double kStepDegrees = 0.0004; ///< from one anomaly to the next
constexpr double kHalfDegrees = 0.00012;

/// Passes the viewer's events on to the active handler.
class Forwarder : public osgGA::GUIEventHandler {
public:
    using osgGA::GUIEventHandler::handle;
    bool handle(const osgGA::GUIEventAdapter& ea, osgGA::GUIActionAdapter& aa) override {
        CXCommandHandler* active = ForeignHost::instance().activeHandler();
        return active && active->handle(ea, aa);
    }
};

class Viewer : public CXViewer {
public:
    explicit Viewer(globetest::OffscreenGlobe& globe) : m_globe(globe) {}
    osgViewer::View* getViewer() override { return &m_globe.viewer(); }
    EarthManipulator* getManipulator() override { return m_globe.manipulator(); }
    osgEarth::MapNode* getMapNode() override { return m_globe.mapNode(); }

private:
    globetest::OffscreenGlobe& m_globe;
};

osg::Vec2d placeOf(std::size_t anomaly) {
    const auto column = static_cast<double>(anomaly % 4);
    const auto row = static_cast<double>(anomaly / 4);
    return {kLon + (column - 1.5) * kStepDegrees, kLat + (row - 1.0) * kStepDegrees};
}

std::string nameOf(std::size_t anomaly) {
    return "A" + std::to_string(anomaly);
}

} // namespace

void ForeignHost::buildScene() {
    m_globe =
        std::make_unique<globetest::OffscreenGlobe>(static_cast<int>(kWidth), static_cast<int>(kHeight));
    EXPECT_TRUE(m_globe->isUsable());
    static Viewer viewer(*m_globe);
    g_pCXviewer = &viewer;
    globetest::RasterPlace place;
    place.srs = "EPSG:4326";
    place.cell = 0.0001;
    place.columns = place.rows = 256;
    place.west = kLon - 128 * place.cell;
    place.north = kLat + 128 * place.cell;
    m_globe->addElevation("ground",
                          globetest::writeHeights("flat.tif", place, [](double, double) { return 0.0; }));
    osgEarth::MapNode* map = m_globe->mapNode();
    lookFromAbove();
    m_station.m_id = 1;
    m_station.m_srs = "EPSG:4547";
    const auto* srs = osgEarth::SpatialReference::get(m_station.m_srs);
    osg::Vec3d centre;
    EXPECT_TRUE(map->getMapSRS()->getGeographicSRS()->transform(osg::Vec3d(kLon, kLat, 0), srs, centre));
    constexpr double kReachMetres = 1000.0;
    m_station.m_xMin = centre.x() - kReachMetres;
    m_station.m_xMax = centre.x() + kReachMetres;
    m_station.m_yMin = centre.y() - kReachMetres;
    m_station.m_yMax = centre.y() + kReachMetres;

    m_overlays = new osg::Group;
    m_overlays->setName("diffImageOverlay");
    std::vector<SdiffData> anomalies;
    for (std::size_t index = 0; index < kAnomalies; ++index) {
        const osg::ref_ptr<ImageOverlay> overlay = new ImageOverlay(map);
        const osg::ref_ptr<osg::Image> image = new osg::Image;
        image->allocateImage(2, 2, 1, GL_RGBA, GL_UNSIGNED_BYTE);
        std::fill(image->data(), image->data() + 16, static_cast<unsigned char>(255));
        overlay->setImage(image);
        const osg::Vec2d at = placeOf(index);
        overlay->setCorners(
            {at.x() - kHalfDegrees, at.y() - kHalfDegrees}, {at.x() + kHalfDegrees, at.y() - kHalfDegrees},
            {at.x() - kHalfDegrees, at.y() + kHalfDegrees}, {at.x() + kHalfDegrees, at.y() + kHalfDegrees});
        overlay->setName(nameOf(index));
        osgEarth::Registry::objectIndex()->tagNode(overlay, overlay);
        m_overlays->addChild(overlay);
        SdiffData anomaly;
        anomaly.name = nameOf(index);
        anomalies.push_back(anomaly);
    }
    map->addChild(m_overlays);
    m_anomalies = anomalies;
    m_globe->settle();
    for (std::size_t index = 0; index < kAnomalies; ++index) {
        m_pixels.push_back(project(index));
    }
    m_globe->viewer().getEventQueue()->getCurrentEventState()->setMouseYOrientation(
        osgGA::GUIEventAdapter::Y_INCREASING_UPWARDS);
    m_globe->viewer().addEventHandler(new Forwarder);
}

void ForeignHost::lookFromAbove() {
    m_globe->manipulator()->setViewpoint(osgEarth::Viewpoint("", kLon, kLat, 0.0, 0.0, -89.0, 400.0));
}

osg::Vec2d ForeignHost::project(std::size_t anomaly) const {
    osg::Vec3d world;
    const auto* map = m_globe->mapNode()->getMapSRS();
    EXPECT_TRUE(map->getGeographicSRS()->transformToWorld(osg::Vec3d(placeOf(anomaly), 0.0), world));
    const osg::Camera& camera = *m_globe->viewer().getCamera();
    const osg::Vec3d window = world * camera.getViewMatrix() * camera.getProjectionMatrix() *
                              camera.getViewport()->computeWindowMatrix();
    return {window.x(), window.y()};
}

bool ForeignHost::isHighlighted(std::size_t anomaly) const {
    const osg::StateSet* state = m_overlays->getChild(static_cast<unsigned>(anomaly))->getStateSet();
    const osg::Uniform* colour = state ? state->getUniform("oe_anno_highlight_color") : nullptr;
    osg::Vec4 value;
    return colour && colour->get(value) && value == osg::Vec4(255, 255, 0, 1);
}

std::vector<std::size_t> ForeignHost::highlighted() {
    std::vector<std::size_t> found;
    betweenFrames([&] {
        for (std::size_t index = 0; index < kAnomalies; ++index) {
            if (isHighlighted(index)) {
                found.push_back(index);
            }
        }
    });
    return found;
}

std::size_t ForeignHost::groupsNamed(const std::string& name) {
    std::size_t count = 0;
    betweenFrames([&] {
        const osgEarth::MapNode* map = m_globe->mapNode();
        for (unsigned index = 0; index < map->getNumChildren(); ++index) {
            count += map->getChild(index)->getName() == name ? 1U : 0U;
        }
    });
    return count;
}

std::size_t ForeignHost::eventHandlers() {
    std::size_t count = 0;
    betweenFrames([&] { count = m_globe->viewer().getEventHandlers().size(); });
    return count;
}

std::string ForeignHost::valueLabel() {
    std::string text;
    betweenFrames([&] {
        osgEarth::MapNode* map = m_globe->mapNode();
        for (unsigned index = 0; index < map->getNumChildren(); ++index) {
            if (auto* label = dynamic_cast<osgEarth::Annotation::PlaceNode*>(map->getChild(index))) {
                text = label->getText();
            }
        }
    });
    return text;
}
