#include "FeatureMesh.h"
#include "DetailSwitch.h"
#include "Polylines.h"

#include <osg/Geometry>
#include <osg/LineStipple>
#include <osgEarth/GLUtils>

#include <algorithm>
#include <cmath>
#include <limits>

namespace osgEarth {
namespace Features {
namespace {

using namespace Symbology;

constexpr double kPiecesAcrossFill = 56.0;   // how finely a fill on the ground is cut
constexpr double kPiecesAlongLine = 400.0;   // the same of a line
constexpr double kShortestPieceMetres = 1.0; // no finer than this
constexpr std::size_t kMaxTriangles = 20000;
constexpr double kMetresPerDegree = 111320.0; // along the equator and any meridian

/// Outer ring, holes, or the line itself.
std::vector<osg::ref_ptr<const Geometry>> partsOf(const Geometry& geometry) {
    std::vector<osg::ref_ptr<const Geometry>> parts{&geometry};
    if (const auto* polygon = dynamic_cast<const Polygon*>(&geometry)) {
        parts.insert(parts.end(), polygon->getHoles().begin(), polygon->getHoles().end());
    }
    return parts;
}

osg::Vec3d middleOf(const std::vector<osg::Vec3d>& points) {
    osg::BoundingBoxd box;
    for (const osg::Vec3d& point : points) {
        box.expandBy(point);
    }
    return box.center();
}

osg::ref_ptr<osg::Vec3Array> inFrame(const std::vector<osg::Vec3d>& points,
                                     const std::vector<double>& heights, const LocalPlane& plane) {
    osg::ref_ptr<osg::Vec3Array> vertices = new osg::Vec3Array;
    vertices->reserve(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        vertices->push_back(plane.toFrame({points[i].x(), points[i].y(), heights[i]}));
    }
    return vertices;
}

double extentOf(const std::vector<std::vector<osg::Vec3d>>& lines) {
    osg::BoundingBoxd box;
    for (const std::vector<osg::Vec3d>& line : lines) {
        for (const osg::Vec3d& point : line) {
            box.expandBy(point);
        }
    }
    return box.valid() ? std::hypot(box.xMax() - box.xMin(), box.yMax() - box.yMin()) : 0.0;
}

/// The line strip through a line's own corners among its pieces.
osg::ref_ptr<osg::DrawElementsUInt> cornersOf(const std::vector<osg::Vec3d>& line,
                                              const std::vector<osg::Vec3d>& pieces) {
    osg::ref_ptr<osg::DrawElementsUInt> strip = new osg::DrawElementsUInt(GL_LINE_STRIP);
    std::size_t corner = 0;
    for (std::size_t i = 0; i < pieces.size() && corner < line.size(); ++i) {
        if (pieces[i] == line[corner]) {
            strip->push_back(static_cast<GLuint>(i));
            ++corner;
        }
    }
    return strip;
}

/// Indices of as many bytes as that many points ask for.
osg::ref_ptr<osg::DrawElements> trianglesOf(const std::vector<unsigned>& indices, std::size_t points) {
    if (points > std::numeric_limits<GLushort>::max()) {
        return new osg::DrawElementsUInt(GL_TRIANGLES, indices.begin(), indices.end());
    }
    return new osg::DrawElementsUShort(GL_TRIANGLES, indices.begin(), indices.end());
}

osg::Vec3d onUnitSphere(const osg::Vec3d& lonLat) {
    const double lon = osg::DegreesToRadians(lonLat.x());
    const double lat = osg::DegreesToRadians(lonLat.y());
    return {std::cos(lat) * std::cos(lon), std::cos(lat) * std::sin(lon), std::sin(lat)};
}

/// Adds points between a and b along the great circle (spherical linear interpolation, Shoemake 1985)
/// wherever the straight way in degrees would differ visibly. The ends are copies: they may be points of the
/// line, which moves while it grows.
void appendGreatCircle(std::vector<osg::Vec3d>& line, osg::Vec3d a, osg::Vec3d b) {
    constexpr double kPiece = 0.02; // radians
    const osg::Vec3d from = onUnitSphere(a);
    const osg::Vec3d to = onUnitSphere(b);
    const double angle = std::acos(std::clamp(from * to, -1.0, 1.0));
    const int pieces = static_cast<int>(std::ceil(angle / kPiece));
    const double sine = std::sin(angle);
    for (int i = 1; i < pieces && sine > 1e-9; ++i) {
        const double t = static_cast<double>(i) / pieces;
        const osg::Vec3d p = (from * std::sin((1.0 - t) * angle) + to * std::sin(t * angle)) / sine;
        double lon = osg::RadiansToDegrees(std::atan2(p.y(), p.x()));
        lon += 360.0 * std::round((line.back().x() - lon) / 360.0); // goes on past the antimeridian
        line.emplace_back(lon, osg::RadiansToDegrees(std::asin(std::clamp(p.z(), -1.0, 1.0))),
                          a.z() + (b.z() - a.z()) * t);
    }
}

/// Of the point with a known height, of which there is one, that is nearest in the plane.
double nearestHeight(const osg::Vec3d& point, const std::vector<osg::Vec3d>& points,
                     const std::vector<std::optional<double>>& heights) {
    double nearest = std::numeric_limits<double>::max();
    double height = 0.0;
    for (std::size_t i = 0; i < points.size(); ++i) {
        const double distance = osg::Vec2d(points[i].x() - point.x(), points[i].y() - point.y()).length2();
        const std::optional<double>& known = heights[i];
        if (known && distance < nearest) {
            nearest = distance;
            height = *known;
        }
    }
    return height;
}

} // namespace

bool isClamped(const Style& style) {
    const AltitudeSymbol* altitude = style.get<AltitudeSymbol>();
    return altitude && (altitude->clamping() == AltitudeSymbol::CLAMP_TO_TERRAIN ||
                        altitude->clamping() == AltitudeSymbol::CLAMP_RELATIVE_TO_TERRAIN);
}

FeatureMesh::FeatureMesh(MapNode& mapNode, const Style& nodeStyle, const GeometryCompilerOptions& options)
    : m_mapSRS(mapNode.getMapSRS()), m_nodeStyle(nodeStyle), m_options(options), m_ground(mapNode),
      m_clamped(isClamped(nodeStyle) && !options.ignoreAltitudeSymbol().get()),
      m_keepsOwnHeights(!m_clamped) {
    const AltitudeSymbol* altitude = nodeStyle.get<AltitudeSymbol>();
    if (!altitude || options.ignoreAltitudeSymbol().get()) {
        return;
    }
    m_verticalOffset = altitude->verticalOffset()->eval();
    m_verticalScale = altitude->verticalScale()->eval();
    m_keepsOwnHeights = altitude->clamping() != AltitudeSymbol::CLAMP_TO_TERRAIN;
}

osg::ref_ptr<osg::MatrixTransform> FeatureMesh::build(const Feature& feature) {
    const Geometry* geometry = feature.getGeometry();
    if (!geometry || geometry->empty() || !feature.getSRS()) {
        return nullptr;
    }
    std::vector<osg::Vec3d> corners = geometry->asVector();
    if (!feature.getSRS()->transform(corners, m_mapSRS.get())) {
        return nullptr;
    }
    osg::Vec3d anchor = middleOf(corners);
    if (m_clamped) {
        anchor.z() = m_ground.heightAt(anchor.x(), anchor.y());
    }
    const LocalPlane plane(m_mapSRS.get(), anchor);
    m_commonGround.reset();
    const AltitudeSymbol* altitude = m_nodeStyle.get<AltitudeSymbol>();
    if (m_clamped && altitude->binding() == AltitudeSymbol::BINDING_CENTROID) {
        m_commonGround = anchor.z();
    }

    const Style& own = feature.style().get();
    const PolygonSymbol* polygon =
        own.has<PolygonSymbol>() ? own.get<PolygonSymbol>() : m_nodeStyle.get<PolygonSymbol>();
    const LineSymbol* line = own.has<LineSymbol>() ? own.get<LineSymbol>() : m_nodeStyle.get<LineSymbol>();
    const bool isArea = geometry->getType() == Geometry::TYPE_POLYGON;
    const bool isClosed = isArea || geometry->getType() == Geometry::TYPE_RING;

    osg::ref_ptr<osg::Group> fine = new osg::Group;
    osg::ref_ptr<osg::Group> coarse = new osg::Group;
    const auto add = [&fine, &coarse](const Drawn& drawn) {
        if (!drawn.fine.valid()) {
            return;
        }
        fine->addChild(drawn.fine);
        coarse->addChild(drawn.coarse);
    };
    std::vector<Line> lines = linesInPlane(partsOf(*geometry), feature.getSRS(), plane);
    if (isArea && polygon) {
        add(fillOf(lines, polygon->fill()->color(), plane));
    }
    if (line && geometry->getType() != Geometry::TYPE_POINTSET &&
        !(isArea && polygon && !polygon->outline().get())) {
        for (Line& part : lines) {
            if (isClosed && part.size() > 2) {
                part.push_back(part.front());
            }
            const bool onScreen = line->stroke()->widthUnits().get() == Units::PIXELS;
            add(onScreen ? strokeOf(part, *line, plane) : ribbonOf(part, *line, plane));
        }
    }
    if (fine->getNumChildren() == 0) {
        return nullptr;
    }
    osg::ref_ptr<osg::MatrixTransform> result = new osg::MatrixTransform(plane.frameToWorld());
    result->addChild(new DetailSwitch(fine, coarse));
    return result;
}

std::vector<FeatureMesh::Line>
FeatureMesh::linesInPlane(const std::vector<osg::ref_ptr<const Geometry>>& parts, const SpatialReference* srs,
                          const LocalPlane& plane) const {
    const bool greatCircles =
        m_mapSRS->isGeographic() && m_options.geoInterp().get() == GEOINTERP_GREAT_CIRCLE;
    std::vector<Line> lines;
    for (const osg::ref_ptr<const Geometry>& part : parts) {
        Line points = part->asVector();
        if (!srs->transform(points, m_mapSRS.get())) {
            continue;
        }
        Line line;
        for (const osg::Vec3d& point : points) {
            if (greatCircles && !line.empty()) {
                appendGreatCircle(line, line.back(), point);
            }
            line.push_back(point);
        }
        for (osg::Vec3d& point : line) {
            point = plane.toPlane(point);
        }
        lines.push_back(withoutRepeats(line));
        if (lines.back().size() > 2 && lines.back().front() == lines.back().back() &&
            part->getType() >= Geometry::TYPE_RING) {
            lines.back().pop_back();
        }
    }
    return lines;
}

// On the ground as fine as the extent allows; elsewhere only as fine as the globe's curvature asks.
double FeatureMesh::longestEdge(double extentMetres, double parts) const {
    const double curvature =
        m_mapSRS->isGeographic() ? m_options.maxGranularity().get() * kMetresPerDegree : 1e12;
    return m_clamped ? std::clamp(extentMetres / parts, kShortestPieceMetres, curvature) : curvature;
}

double FeatureMesh::pieceLength(const Line& line, const LineSymbol& symbol) const {
    const double length = lengthOf(line);
    if (symbol.tessellationSize().isSet() && symbol.tessellationSize()->getValue() > 0.0) {
        return std::max(symbol.tessellationSize()->as(Units::METERS), length / (8.0 * kPiecesAlongLine));
    }
    if (symbol.tessellation().isSet() && symbol.tessellation().get() > 0) {
        return length / symbol.tessellation().get() /
               static_cast<double>(std::max<std::size_t>(line.size() - 1, 1));
    }
    return longestEdge(length, kPiecesAlongLine);
}

// Subdivision adds points behind those that there are, so the first triangles stay good.
FeatureMesh::Drawn FeatureMesh::fillOf(const std::vector<Line>& rings, const Color& color,
                                       const LocalPlane& plane) {
    TriangleMesh mesh = triangulate(rings);
    if (mesh.indices.empty()) {
        return {};
    }
    const osg::ref_ptr<osg::DrawElements> undivided = trianglesOf(mesh.indices, mesh.points.size());
    subdivide(mesh, longestEdge(extentOf(rings), kPiecesAcrossFill), kMaxTriangles);
    return withCoarse(drawable(mesh, color, plane), undivided);
}

// Shares all arrays and state.
FeatureMesh::Drawn FeatureMesh::withCoarse(osg::Geometry* fine, osg::PrimitiveSet* coarse) {
    Drawn drawn;
    drawn.fine = fine;
    drawn.coarse = new osg::Geometry(*fine, osg::CopyOp::SHALLOW_COPY);
    drawn.coarse->removePrimitiveSet(0, drawn.coarse->getNumPrimitiveSets());
    drawn.coarse->addPrimitiveSet(coarse);
    return drawn;
}

FeatureMesh::Drawn FeatureMesh::strokeOf(const Line& line, const LineSymbol& symbol,
                                         const LocalPlane& plane) {
    if (line.size() < 2) {
        return {};
    }
    const Stroke& stroke = symbol.stroke().get();
    osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setUseVertexBufferObjects(true);
    geometry->setUseDisplayList(false);
    const Line pieces = densified(line, pieceLength(line, symbol));
    const std::vector<double> heights = heightsOf(pieces, plane);
    geometry->setVertexArray(inFrame(pieces, heights, plane));
    for (std::size_t i = 1; i < pieces.size(); i += 3) {
        measureDeviation((pieces[i - 1] + pieces[i]) * 0.5, (heights[i - 1] + heights[i]) / 2.0, plane);
    }
    osg::ref_ptr<osg::Vec4Array> colors = new osg::Vec4Array(osg::Array::BIND_OVERALL, 1, &stroke.color());
    geometry->setColorArray(colors);
    geometry->addPrimitiveSet(new osg::DrawArrays(GL_LINE_STRIP, 0, static_cast<int>(pieces.size())));

    osg::StateSet* stateSet = geometry->getOrCreateStateSet();
    GLUtils::setLineWidth(stateSet, std::max(stroke.width().get(), std::max(stroke.minPixels().get(), 1.0f)),
                          osg::StateAttribute::ON);
    if (stroke.stipplePattern().get() != 0xFFFF) {
        GLUtils::setLineStipple(stateSet, static_cast<int>(stroke.stippleFactor().get()),
                                stroke.stipplePattern().get(), osg::StateAttribute::ON);
    }
    orderLine(stateSet);
    return withCoarse(geometry, cornersOf(line, pieces));
}

// A ribbon that is small on the screen is rare and has few pieces: it has one form.
FeatureMesh::Drawn FeatureMesh::ribbonOf(const Line& line, const LineSymbol& symbol,
                                         const LocalPlane& plane) {
    if (line.size() < 2) {
        return {};
    }
    const Stroke& stroke = symbol.stroke().get();
    const double width =
        Units::convert(stroke.widthUnits().get(), Units::METERS, static_cast<double>(stroke.width().get()));
    const osg::ref_ptr<osg::Geometry> geometry =
        drawable(ribbon(densified(line, pieceLength(line, symbol)), width), stroke.color(), plane);
    orderLine(geometry->getOrCreateStateSet());
    return {geometry, geometry};
}

// On the ground a line comes right after its own fill.
void FeatureMesh::orderLine(osg::StateSet* stateSet) const {
    if (!m_clamped) {
        stateSet->setRenderBinDetails(1, "DepthSortedBin"); // within the node's bin: after all fills
    }
}

osg::ref_ptr<osg::Geometry> FeatureMesh::drawable(const TriangleMesh& mesh, const Color& color,
                                                  const LocalPlane& plane) {
    osg::ref_ptr<osg::Geometry> geometry = new osg::Geometry;
    geometry->setUseVertexBufferObjects(true);
    geometry->setUseDisplayList(false);
    const std::vector<double> heights = heightsOf(mesh.points, plane);
    geometry->setVertexArray(inFrame(mesh.points, heights, plane));
    geometry->setColorArray(new osg::Vec4Array(osg::Array::BIND_OVERALL, 1, &color));
    geometry->addPrimitiveSet(trianglesOf(mesh.indices, mesh.points.size()));
    for (std::size_t i = 0; i < mesh.indices.size(); i += 21) { // every seventh triangle
        const unsigned a = mesh.indices[i];
        const unsigned b = mesh.indices[i + 1];
        const unsigned c = mesh.indices[i + 2];
        measureDeviation((mesh.points[a] + mesh.points[b] + mesh.points[c]) / 3.0,
                         (heights[a] + heights[b] + heights[c]) / 3.0, plane);
    }
    return geometry;
}

std::vector<double> FeatureMesh::heightsOf(const std::vector<osg::Vec3d>& points, const LocalPlane& plane) {
    std::vector<std::optional<double>> surveyed;
    surveyed.reserve(points.size());
    for (const osg::Vec3d& point : points) {
        surveyed.push_back(groundAt(point, plane));
    }
    const bool areSomeKnown =
        std::any_of(surveyed.begin(), surveyed.end(), [](const auto& height) { return height.has_value(); });
    std::vector<double> heights;
    heights.reserve(points.size());
    for (std::size_t i = 0; i < points.size(); ++i) {
        const std::optional<double>& known = surveyed[i];
        const double ground = known          ? *known
                              : areSomeKnown ? nearestHeight(points[i], points, surveyed)
                                             : loadedGroundAt(points[i], plane);
        heights.push_back(ground + aboveGround(points[i]));
    }
    return heights;
}

std::optional<double> FeatureMesh::groundAt(const osg::Vec3d& planePoint, const LocalPlane& plane) {
    if (!m_clamped || m_commonGround) {
        return m_commonGround.value_or(0.0);
    }
    const osg::Vec3d mapPoint = plane.toMap(planePoint);
    return m_ground.surveyedHeightAt(mapPoint.x(), mapPoint.y());
}

double FeatureMesh::loadedGroundAt(const osg::Vec3d& planePoint, const LocalPlane& plane) {
    const osg::Vec3d mapPoint = plane.toMap(planePoint);
    return m_ground.heightAt(mapPoint.x(), mapPoint.y());
}

double FeatureMesh::aboveGround(const osg::Vec3d& planePoint) const {
    return m_verticalOffset + (m_keepsOwnHeights ? planePoint.z() * m_verticalScale : 0.0);
}

void FeatureMesh::measureDeviation(const osg::Vec3d& middle, double heightBetween, const LocalPlane& plane) {
    if (const std::optional<double> ground = m_clamped ? groundAt(middle, plane) : std::nullopt) {
        m_deviationMetres = std::max(m_deviationMetres, *ground + aboveGround(middle) - heightBetween);
    }
}

} // namespace Features
} // namespace osgEarth
