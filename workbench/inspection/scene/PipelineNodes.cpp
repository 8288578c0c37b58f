#include "workbench/inspection/scene/PipelineNodes.h"

#include "host/Gbk.h"
#include "workbench/inspection/scene/ForTheViewOnly.h"
#include "workbench/inspection/scene/Globe.h"
#include "workbench/inspection/scene/OverlayPicture.h"
#include "workbench/inspection/scene/StationProjection.h"

#include <osgEarth/GLUtils>
#include <osgEarth/MapNode>
#include <osgEarthAnnotation/FeatureNode>
#include <osgEarthAnnotation/PlaceNode>
#include <osgEarthSymbology/AltitudeSymbol>
#include <osgEarthSymbology/IconSymbol>
#include <osgEarthSymbology/LineSymbol>
#include <osgEarthSymbology/TextSymbol>

#include <QImage>
#include <QPainter>
#include <QRegularExpression>

#include <algorithm>
#include <cmath>
#include <functional>
#include <memory>
#include <set>
#include <utility>

namespace inspection {

namespace {

using osgEarth::Annotation::FeatureNode;
using osgEarth::Annotation::PlaceNode;
using osgEarth::Features::Feature;
using osgEarth::Features::FeatureList;
using osgEarth::Symbology::AltitudeSymbol;
using osgEarth::Symbology::Color;
using osgEarth::Symbology::LineSymbol;
using osgEarth::Symbology::Style;
using osgEarth::Symbology::TextSymbol;

using Line = std::vector<osg::Vec3d>; ///< longitude and latitude, degrees

const Color kPipe(0.94F, 0.47F, 0.0F, 1.0F); // the colour of the pipeline in the report
const Color kCasing(1.0F, 1.0F, 1.0F, 0.85F);
const Color kLimits(1.0F, 1.0F, 1.0F, 0.55F);
const Color kBuffer(1.0F, 0.78F, 0.35F, 0.9F);
constexpr float kPipePixels = 3.0F;
constexpr float kCasingPixels = 5.5F;
constexpr float kLimitPixels = 1.2F;
constexpr float kBufferPixels = 1.6F;

Style groundLine(const Color& colour, float pixels) {
    Style style;
    auto* altitude = style.getOrCreate<AltitudeSymbol>();
    altitude->clamping() = AltitudeSymbol::CLAMP_TO_TERRAIN;
    altitude->technique() = AltitudeSymbol::TECHNIQUE_GPU;
    auto* line = style.getOrCreate<LineSymbol>();
    line->stroke()->color() = colour;
    line->stroke()->width() = pixels;
    line->stroke()->widthUnits() = osgEarth::Units::PIXELS;
    return style;
}

// In pieces, so that what is out of sight is not drawn and each piece lies well in a plane of its own.
FeatureList pieces(const std::vector<Line>& lines, const osgEarth::SpatialReference* srs) {
    constexpr std::size_t kVertices = 32;
    FeatureList features;
    for (const Line& line : lines) {
        for (std::size_t begin = 0; begin + 1 < line.size(); begin += kVertices) {
            osg::ref_ptr<osgEarth::Symbology::LineString> piece = new osgEarth::Symbology::LineString;
            for (std::size_t i = begin; i <= std::min(begin + kVertices, line.size() - 1); ++i) {
                piece->push_back(line[i]);
            }
            features.push_back(new Feature(piece.get(), srs, Style()));
        }
    }
    return features;
}

void addLines(osg::Group& group, const std::vector<Line>& lines, const Style& style) {
    osgEarth::MapNode& map = *globeMapNode();
    const FeatureList features = pieces(lines, map.getMapSRS()->getGeographicSRS());
    if (!features.empty()) {
        osg::ref_ptr<FeatureNode> node = new FeatureNode(features, style);
        node->setMapNode(&map);
        group.addChild(node);
    }
}

std::vector<Line> onGlobe(const std::vector<std::vector<QPointF>>& parts, const std::string& srs) {
    const StationProjection projection(srs);
    std::vector<Line> lines;
    for (const std::vector<QPointF>& part : parts) {
        Line line;
        for (const QPointF& place : part) {
            if (const auto lonLat = projection.toLonLatDegrees(place.x(), place.y())) {
                line.emplace_back(*lonLat, 0.0);
            }
        }
        lines.push_back(std::move(line));
    }
    return lines;
}

// The box's edges are straight in the station's own system.
Line limitsOf(const KV_Station& station, const StationProjection& projection) {
    constexpr int kPiecesOfEdge = 4;
    const QPointF corners[] = {{station.m_xMin, station.m_yMin},
                               {station.m_xMax, station.m_yMin},
                               {station.m_xMax, station.m_yMax},
                               {station.m_xMin, station.m_yMax},
                               {station.m_xMin, station.m_yMin}};
    Line line;
    for (int i = 0; i <= 4 * kPiecesOfEdge; ++i) {
        const int edge = std::min(i / kPiecesOfEdge, 3);
        const double share = double(i) / kPiecesOfEdge - edge;
        const QPointF place = corners[edge] + share * (corners[edge + 1] - corners[edge]);
        if (const auto lonLat = projection.toLonLatDegrees(place.x(), place.y())) {
            line.emplace_back(*lonLat, 0.0);
        }
    }
    return line;
}

std::vector<Line> limitsOf(const std::vector<KV_Station>& stations) {
    std::vector<Line> lines;
    std::unique_ptr<StationProjection> projection;
    std::string srs;
    for (const KV_Station& station : stations) {
        if (!projection || station.m_srs != srs) { // a project's stations mostly share one
            projection = std::make_unique<StationProjection>(station.m_srs);
            srs = station.m_srs;
        }
        lines.push_back(limitsOf(station, *projection));
    }
    return lines;
}

// Of a length that leaves some dozens of marks in a usual view.
double markInterval(const Pipeline& pipeline) {
    const double length = pipeline.lengthMetres();
    return length <= 5000.0 ? 100.0 : length <= 25000.0 ? 500.0 : 1000.0;
}

Style captionStyle(float pixels) {
    Style style;
    style.getOrCreate<osgEarth::Symbology::IconSymbol>()->alignment() =
        osgEarth::Symbology::IconSymbol::ALIGN_CENTER_CENTER;
    auto* text = style.getOrCreate<TextSymbol>();
    text->size() = pixels;
    text->font() = "simhei.ttf";
    text->encoding() = TextSymbol::ENCODING_UTF8;
    text->fill()->color() = Color(0.15F, 0.1F, 0.05F, 1.0F);
    text->halo() = osgEarth::Symbology::Stroke(1, 1, 1, 1);
    return style;
}

QImage symbol(int pixels, const std::function<void(QPainter&)>& draw) {
    QImage image(pixels, pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.setRenderHint(QPainter::Antialiasing);
    draw(painter);
    return image;
}

osg::ref_ptr<osg::Image> markSymbol() {
    return osgPicture(symbol(10, [](QPainter& painter) {
        painter.setPen(QPen(QColor(0xf0, 0x78, 0x00), 2.0));
        painter.setBrush(Qt::white);
        painter.drawEllipse(QRectF(1.5, 1.5, 7.0, 7.0));
    }));
}

osg::ref_ptr<osg::Image> nodeSymbol() {
    return osgPicture(symbol(16, [](QPainter& painter) {
        painter.setPen(QPen(Qt::white, 1.5));
        painter.setBrush(QColor(0x1f, 0x3a, 0x5f));
        const QPointF diamond[] = {{8.0, 1.0}, {15.0, 8.0}, {8.0, 15.0}, {1.0, 8.0}};
        painter.drawConvexPolygon(diamond, 4);
    }));
}

/// How a caption looks, and what yields to it; special objects, at 0, come before all of them.
struct Caption {
    float pixels;
    float priority;
};
constexpr Caption kNode{15.0F, -1.0F};
constexpr Caption kKilometre{15.0F, -2.0F};
constexpr Caption kMark{13.0F, -3.0F};

void addPlace(osg::Group& group, const osg::Vec2d& lonLat, const std::string& utf8, osg::Image* icon,
              const Caption& caption) {
    osgEarth::MapNode& map = *globeMapNode();
    const osgEarth::GeoPoint position(map.getMapSRS(), lonLat.x(), lonLat.y(), 0.0,
                                      osgEarth::ALTMODE_RELATIVE);
    osg::ref_ptr<PlaceNode> node = new PlaceNode(position, utf8, captionStyle(caption.pixels), icon);
    node->setDynamic(true);
    node->setPriority(caption.priority);
    group.addChild(node);
}

void addMarks(osg::Group& group, const Pipeline& pipeline, const std::vector<KV_BasicNode>& nodes) {
    std::set<QString> posts; // that stand in the field need no second mark
    for (const KV_BasicNode& node : nodes) {
        posts.insert(fromGbk(node.GetName()));
    }
    const StationProjection projection(pipeline.crs().toStdString());
    const osg::ref_ptr<osg::Image> icon = markSymbol();
    for (const ChainageMark& mark : pipeline.marks(markInterval(pipeline))) {
        const QString text = chainageText(mark.chainageMetres);
        const auto lonLat = projection.toLonLatDegrees(mark.place.x(), mark.place.y());
        if (lonLat && posts.count(text) == 0) {
            const bool isKilometre = std::fmod(mark.chainageMetres, 1000.0) == 0.0;
            addPlace(group, *lonLat, text.toStdString(), icon, isKilometre ? kKilometre : kMark);
        }
    }
}

bool isPost(const QString& name) {
    static const QRegularExpression chainage(QStringLiteral("^[Kk]\\d+\\+\\d{3}$"));
    return chainage.match(name).hasMatch();
}

void addNodes(osg::Group& group, const std::vector<KV_BasicNode>& nodes) {
    const osg::ref_ptr<osg::Image> post = markSymbol();
    const osg::ref_ptr<osg::Image> plant = nodeSymbol();
    for (const KV_BasicNode& node : nodes) {
        const osg::Vec2d place(node.GetCoor().x(), node.GetCoor().y());
        if (isPost(fromGbk(node.GetName()))) {
            addPlace(group, place, gbkToUtf8(node.GetName()), post,
                     node.GetName().rfind("+000") != std::string::npos ? kKilometre : kMark);
        } else {
            addPlace(group, place, gbkToUtf8(node.GetName()), plant, kNode);
        }
    }
}

} // namespace

PipelineNodes::PipelineNodes() {
    const osg::ref_ptr<ForTheViewOnly> forTheViewOnly = new ForTheViewOnly;
    for (osg::ref_ptr<osg::Group>& group : m_groups) {
        group = new osg::Group;
        group->setName("pipeline");
        group->setCullCallback(forTheViewOnly);
        osgEarth::GLUtils::setGlobalDefaults(group->getOrCreateStateSet());
    }
}

void PipelineNodes::show(PipelineContent content) {
    clear();
    osgEarth::MapNode* map = globeMapNode();
    if (!map) {
        return;
    }
    m_content = std::move(content);
    for (std::size_t i = 0; i < kPipelineParts; ++i) {
        map->addChild(m_groups[i]);
        setVisible(PipelinePart(i), m_visible[i]);
    }
}

void PipelineNodes::clear() {
    m_content = {};
    for (const osg::ref_ptr<osg::Group>& group : m_groups) {
        group->removeChildren(0, group->getNumChildren());
        if (osgEarth::MapNode* map = globeMapNode()) {
            map->removeChild(group);
        }
    }
    redrawGlobe();
}

void PipelineNodes::setVisible(PipelinePart part, bool isVisible) {
    m_visible[std::size_t(part)] = isVisible;
    group(part).setNodeMask(isVisible ? ~0U : 0U);
    if (isVisible && group(part).getNumChildren() == 0) {
        build(part);
    }
    redrawGlobe();
}

void PipelineNodes::setBufferMetres(double metres) {
    if (metres != m_bufferMetres) {
        m_bufferMetres = metres;
        group(PipelinePart::Buffer).removeChildren(0, group(PipelinePart::Buffer).getNumChildren());
        setVisible(PipelinePart::Buffer, isVisible(PipelinePart::Buffer));
    }
}

void PipelineNodes::build(PipelinePart part) {
    if (!globeMapNode()) {
        return;
    }
    const Pipeline& pipeline = m_content.pipeline;
    const std::string srs = pipeline.crs().toStdString();
    switch (part) {
    case PipelinePart::Buffer:
        addLines(group(part), onGlobe(pipeline.bufferOutlines(m_bufferMetres), srs),
                 groundLine(kBuffer, kBufferPixels));
        break;
    case PipelinePart::Stations:
        addLines(group(part), limitsOf(m_content.stations), groundLine(kLimits, kLimitPixels));
        break;
    case PipelinePart::Centerline:
        addLines(group(part), onGlobe(pipeline.parts(), srs), groundLine(kCasing, kCasingPixels));
        addLines(group(part), onGlobe(pipeline.parts(), srs), groundLine(kPipe, kPipePixels));
        break;
    case PipelinePart::ChainageMarks:
        addMarks(group(part), pipeline, m_content.nodes);
        break;
    case PipelinePart::Nodes:
        addNodes(group(part), m_content.nodes);
        break;
    }
}

} // namespace inspection
