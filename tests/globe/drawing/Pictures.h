/// Small pictures of scenes, to be looked at pixel by pixel.
#pragma once

#include <osg/Geode>
#include <osg/Image>
#include <osgViewer/Viewer>

#include <functional>
#include <string>

namespace drawingtest {

/// A window off the screen that shows a scene in the x-y plane: x and y from -1 to 1.
class Canvas {
public:
    explicit Canvas(int size = 64);

    osgViewer::Viewer& viewer() { return m_viewer; }

    /// Draws the scene once; rows from the bottom.
    osg::ref_ptr<osg::Image> draw(osg::Node* scene);

private:
    osgViewer::Viewer m_viewer;
};

/// A square in one colour from -0.5 to 0.5.
osg::ref_ptr<osg::Geometry> square(const osg::Vec4& color);

/// Red, green and blue of a pixel as bytes.
osg::Vec3i pixel(const osg::Image& image, int x, int y);
osg::Vec3i centerPixel(const osg::Image& image);

/// How many pixels fulfil a condition.
int count(const osg::Image& image, const std::function<bool(const osg::Vec3i&)>& condition);

/// Pixels that differ in any channel by more than the tolerance.
int differences(const osg::Image& a, const osg::Image& b, int tolerance = 8);

/// Writes a picture below the folder that CORRIDOR_TEST_PICTURES names, if it does.
void keep(const osg::Image& image, const std::string& name);

} // namespace drawingtest
