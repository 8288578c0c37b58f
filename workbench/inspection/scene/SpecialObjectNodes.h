#pragma once

#include "host/inspection/Records.h"
#include "workbench/inspection/scene/PointSigns.h"

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
    explicit SpecialObjectNodes(SceneDataSet& scene) : m_scene(scene) {}

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
    /// Every group with that name.

    SceneDataSet& m_scene;
    PointSigns m_signs;
    std::vector<Highlight> m_highlighted;
};

} // namespace inspection
