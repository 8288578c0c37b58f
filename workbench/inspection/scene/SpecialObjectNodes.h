#pragma once

#include "host/inspection/Records.h"
#include "workbench/inspection/scene/PointSigns.h"
#include "workbench/inspection/scene/RegionOutlines.h"

#include <osg/Group>
#include <osg/ref_ptr>
#include <osgEarthAnnotation/PlaceNode>

#include <string>
#include <vector>

namespace inspection {

class SceneDataSet;

/// Puts stored special objects on the globe and enters them in the scene data set. A point is a group
/// "ROIPoint" with one place node; areas and polygons are groups "ROIArea" and "ROIPolygon" with a feature
/// node and a label. Every group is registered in the object index. Without a globe nothing happens. GUI
/// thread, which also runs the frames.
class SpecialObjectNodes {
public:
    /// `outlines`: how many areas are drawn with their fills and borders.
    explicit SpecialObjectNodes(SceneDataSet& scene, const PageLimits& outlines = {1000, 1500})
        : m_scene(scene), m_outlines(outlines) {}

    void add(const Special_Point& point);
    void add(const Special_Area& area);
    void add(const Special_Polygon& polygon);
    /// Shows or hides the groups of that name (GBK), also those that a tool has drawn.
    void setVisible(const std::string& name, bool visible);
    /// Shows pins and labels of the groups of that name, and no others, as chosen: yellow. What a region looks like
    /// otherwise stays as it is, so that its colours can be judged.
    void highlight(const std::string& name);
    /// Gives the groups of that name another one, in their records and on their labels.
    void rename(const std::string& oldName, const std::string& newName);
    /// Shows the object of that name as another record has it, in the same group. Without one it is added.
    void replace(const std::string& oldName, const Special_Point& point);
    void replace(const std::string& oldName, const Special_Area& area);
    void replace(const std::string& oldName, const Special_Polygon& polygon);
    /// Takes the groups of that name off the globe and out of the scene data set.
    void remove(const std::string& name);
    /// Takes every special object off the globe and out of the scene data set.
    void clear();

private:
    struct Highlight {
        osg::ref_ptr<osgEarth::Annotation::PlaceNode> label;
        osg::ref_ptr<osg::Image> icon; ///< as it was before
        osgEarth::Symbology::Style style;
    };

    template<typename Record>
    void replaceWith(const std::string& oldName, const Record& record);
    /// Give a group its content anew, by the record.
    void fill(osg::Group& group, const Special_Point& point);
    void fill(osg::Group& group, const Special_Area& area);
    void fill(osg::Group& group, const Special_Polygon& polygon);
    void fillRegion(osg::Group& group, const Special_Region& region, const char* name);
    void forgetOutline(osg::Group& group);
    /// Null where there is no globe, or nothing to draw.
    osg::ref_ptr<osg::Group> regionGroup(const Special_Region& region, const char* name);

    SceneDataSet& m_scene;
    PointSigns m_signs;
    RegionOutlines m_outlines;
    std::vector<Highlight> m_highlighted;
};

} // namespace inspection
