// A globe in an off-screen window, driven frame by frame, for tests and pictures.
#pragma once
#include <osg/Image>
#include <osgEarth/MapNode>
#include <osgEarth/Viewpoint>
#include <osgEarthUtil/EarthManipulator>
#include <osgViewer/Viewer>

#include <functional>
#include <string>

namespace globetest {

/// Needs a display for its GL context (xvfb is enough). Check isUsable() first.
class OffscreenGlobe {
public:
    OffscreenGlobe(int width, int height, const osgEarth::TerrainOptions& options = {});
    ~OffscreenGlobe();
    OffscreenGlobe(const OffscreenGlobe&) = delete;
    OffscreenGlobe& operator=(const OffscreenGlobe&) = delete;

    bool isUsable() const;
    osgEarth::Map* map() { return m_map.get(); }
    /// Made on first use, so that layers can be added before.
    osgEarth::MapNode* mapNode();
    osgEarth::Util::EarthManipulator* manipulator() { return m_manipulator.get(); }
    osgViewer::Viewer& viewer() { return m_viewer; }

    void addImage(const std::string& name, const std::string& file);
    void addElevation(const std::string& name, const std::string& file);

    void frame();
    /// Draws frames until no tile is wanted any more; false after too many frames.
    bool settle(int maxFrames = 5000);
    /// Draws frames until the condition holds; false after too many frames.
    bool frameUntil(const std::function<bool()>& condition, int maxFrames = 5000);
    /// The picture of the next frame: RGB, rows from the bottom.
    osg::ref_ptr<osg::Image> picture();

private:
    int m_width;
    int m_height;
    osgEarth::TerrainOptions m_options;
    osg::ref_ptr<osgEarth::Map> m_map;
    osg::ref_ptr<osgEarth::MapNode> m_mapNode;
    osg::ref_ptr<osgEarth::Util::EarthManipulator> m_manipulator;
    osgViewer::Viewer m_viewer;
};

/// A VRT around an image without georeference that covers the whole world; returns its path.
std::string worldVrt(const std::string& image, const std::string& vrtPath);

} // namespace globetest
