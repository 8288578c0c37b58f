#pragma once

#include <osg/Group>
#include <osg/Vec3d>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthSymbology/Style>

#include <vector>

/// The special area that is being digitised, as it stands on the globe: a group with the polygon and, from
/// the second vertex on, the rubber band that shows how it would close through the pointer. Positions are in
/// the map's reference system. Thread of the frames.
class AreaDrawing {
public:
    /// Starts anew in that group, with nothing drawn.
    void begin(const osg::ref_ptr<osg::Group>& group);
    osg::Group* group() const { return m_group; }

    /// The polygon through these vertices, in that style; it takes the rubber band away.
    void draw(const std::vector<osg::Vec3d>& vertices, const osgEarth::Symbology::Style& style);
    /// Through the first vertex, the pointer and the last vertex. Needs two vertices.
    void stretchBand(const osg::Vec3d& pointer);
    /// The last vertex has been set: the band turns red and is emptied.
    void close();
    /// The polygon for good: a copy of its ring in the final style. The next vertices are those of another
    /// one.
    void finish(const osgEarth::Symbology::Style& style);
    /// Puts the label in place of the band and makes the group one object for the hover picker.
    void label(const osg::ref_ptr<osgEarth::Annotation::PlaceNode>& label);

private:
    void emptyBand();

    osg::ref_ptr<osg::Group> m_group;
    std::vector<osg::Vec3d> m_vertices;
    osg::ref_ptr<osgEarth::Annotation::FeatureNode> m_areaNode;
    osg::ref_ptr<osgEarth::Annotation::FeatureNode> m_bandNode;
    osgEarth::Symbology::Style m_outlineStyle;
};

/// The name of the group and of all that it holds.
extern const char* const kAreaGroupName;

/// What the area looks like before its first vertex.
osgEarth::Symbology::Style makeFirstAreaStyle();
