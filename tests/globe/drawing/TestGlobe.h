/// A globe with a small hilly place on it, seen through a camera that is set by hand.
#pragma once

#include "../OffscreenGlobe.h"

#include <osg/Image>
#include <osg/Vec2d>
#include <osgEarthAnnotation/AnnotationNode>

#include <memory>

namespace drawingtest {

/// Middle of the hilly place, degrees; it reaches 0.01 degrees in each direction.
constexpr double kLon = 117.01;
constexpr double kLat = 32.01;
constexpr double kMetresPerDegreeNorth = 111000.0;

/// Height of the made-up ground, metres; 0 outside the place.
double groundHeight(double lonDegrees, double latDegrees);

/// 400 by 300 pixels. All tests of the process look at one globe, so that its tiles are read once; what a
/// test adds to it goes with its TestGlobe.
class TestGlobe {
public:
    TestGlobe();
    ~TestGlobe();
    TestGlobe(const TestGlobe&) = delete;
    TestGlobe& operator=(const TestGlobe&) = delete;

    osgEarth::MapNode* mapNode() { return m_globe.mapNode(); }
    osgViewer::Viewer& viewer() { return m_globe.viewer(); }

    /// Looks at the ground at the middle of the place, north up; -90 is straight down.
    void look(double rangeMetres, double pitchDegrees = -90.0, double lonDegrees = kLon,
              double latDegrees = kLat);

    /// Draws frames until all tiles are there.
    void settle();
    void frame() { m_globe.frame(); }
    osg::ref_ptr<osg::Image> picture() { return m_globe.picture(); }

    /// Where a place on the ground (or that many metres above it) is in the window, pixels, y upwards.
    osg::Vec2d windowPosition(double lonDegrees, double latDegrees, double metresAboveGround = 0.0);

private:
    globetest::OffscreenGlobe& m_globe;
    unsigned m_ownChildren; // of the map node, before the test added any
};

/// A picture in one colour.
osg::ref_ptr<osg::Image> plainImage(const osg::Vec4& color, int size = 16);

} // namespace drawingtest
