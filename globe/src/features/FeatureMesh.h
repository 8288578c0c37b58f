/// Features as drawables that hug the terrain.
#pragma once

#include "GroundSampler.h"
#include "LocalPlane.h"
#include "Triangulation.h"

#include <osg/Group>
#include <osg/MatrixTransform>
#include <osgEarthFeatures/Feature>
#include <osgEarthFeatures/GeometryCompiler>
#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/PolygonSymbol>

#include <optional>

namespace osgEarth {
namespace Features {

/// Whether a style puts features on the ground, and not at their own heights.
bool isClamped(const Symbology::Style& style);

/// Builds the drawables of single features, all in the style of one node.
class FeatureMesh {
public:
    FeatureMesh(MapNode& mapNode, const Symbology::Style& nodeStyle, const GeometryCompilerOptions& options);

    /// A transform with the feature's fill and lines below it; null when there is nothing to draw.
    osg::ref_ptr<osg::MatrixTransform> build(const Feature& feature);

    /// Metres by which the ground rises above what was built between its points, as far as sampled.
    double deviationMetres() const { return m_deviationMetres; }

private:
    typedef std::vector<osg::Vec3d> Line;

    /// A drawable that follows the ground, and one with its corners alone.
    struct Drawn {
        osg::ref_ptr<osg::Geometry> fine;
        osg::ref_ptr<osg::Geometry> coarse;
    };

    std::vector<Line> linesInPlane(const std::vector<osg::ref_ptr<const Symbology::Geometry>>& parts,
                                   const SpatialReference* srs, const LocalPlane& plane) const;
    Drawn fillOf(const std::vector<Line>& rings, const Symbology::Color& color, const LocalPlane& plane);
    Drawn strokeOf(const Line& line, const Symbology::LineSymbol& symbol, const LocalPlane& plane);
    Drawn ribbonOf(const Line& line, const Symbology::LineSymbol& symbol, const LocalPlane& plane);

    double longestEdge(double extentMetres, double parts) const;
    double pieceLength(const Line& line, const Symbology::LineSymbol& symbol) const;
    /// What reaches beyond the rim of a survey is as high there as at its nearest point within: the terrain
    /// goes on smoothly, too.
    std::vector<double> heightsOf(const std::vector<osg::Vec3d>& points, const LocalPlane& plane);
    /// By the data; nothing where there are none.
    std::optional<double> groundAt(const osg::Vec3d& planePoint, const LocalPlane& plane);
    double loadedGroundAt(const osg::Vec3d& planePoint, const LocalPlane& plane);
    double aboveGround(const osg::Vec3d& planePoint) const;
    void measureDeviation(const osg::Vec3d& middle, double heightBetween, const LocalPlane& plane);
    osg::ref_ptr<osg::Geometry> drawable(const TriangleMesh& mesh, const Symbology::Color& color,
                                         const LocalPlane& plane);
    void orderLine(osg::StateSet* stateSet) const;
    static Drawn withCoarse(osg::Geometry* fine, osg::PrimitiveSet* coarse);

    osg::ref_ptr<const SpatialReference> m_mapSRS;
    const Symbology::Style& m_nodeStyle;
    const GeometryCompilerOptions& m_options;
    GroundSampler m_ground;
    bool m_clamped;
    bool m_keepsOwnHeights;
    double m_verticalOffset = 0.0;
    double m_verticalScale = 1.0;
    std::optional<double> m_commonGround; // with centroid binding
    double m_deviationMetres = 0.0;
};

} // namespace Features
} // namespace osgEarth
