#include "workbench/inspectiondata/creation/Centerline.h"

#include "workbench/inspectiondata/creation/VectorSource.h"

#include <ogrsf_frmts.h>

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

constexpr double kMeetingMetres = 1.0;
constexpr double kFarthestPostMetres = 200.0;

QString placeText(double x, double y) {
    return QStringLiteral("(%1, %2)").arg(x, 0, 'f', 2).arg(y, 0, 'f', 2);
}

LineVertex vertexOf(const OGRPoint& point) {
    return {point.getX(), point.getY(), point.getZ()};
}

/// Lines, and curves as the lines that come near them.
void appendLines(const OGRGeometry& geometry, std::vector<LinePart>& parts) {
    const OGRwkbGeometryType type = wkbFlatten(geometry.getGeometryType());
    if (type == wkbLineString) {
        LinePart part;
        for (const OGRPoint& point : *geometry.toLineString()) {
            part.push_back(vertexOf(point));
        }
        parts.push_back(std::move(part));
    } else if (OGR_GT_IsSubClassOf(type, wkbGeometryCollection) != 0) {
        for (const OGRGeometry* member : *geometry.toGeometryCollection()) {
            appendLines(*member, parts);
        }
    } else if (OGR_GT_IsCurve(type) != 0) {
        const std::unique_ptr<OGRGeometry> line(geometry.getLinearGeometry());
        appendLines(*line, parts);
    }
}

/// What a layer has of a centre line.
struct LayerLines {
    QString layer;
    QString name; ///< of its first line
    std::vector<LinePart> parts;
    LinePart points; ///< in the order of the file
    bool hasHeights = true;
};

Result<LayerLines> linesOf(const VectorLayer& layer) {
    LayerLines lines;
    lines.layer = layer.name();
    const auto read = layer.forEach([&](const VectorRow& row) {
        const std::size_t before = lines.parts.size();
        appendLines(row.geometry(), lines.parts);
        if (wkbFlatten(row.geometry().getGeometryType()) == wkbPoint) {
            lines.points.push_back(vertexOf(*row.geometry().toPoint()));
        }
        if (lines.parts.size() > before || !lines.points.empty()) {
            lines.hasHeights = lines.hasHeights && row.geometry().Is3D() != 0;
            lines.name = lines.name.isEmpty() ? row.text({"name", "名称"}) : lines.name;
        }
        return true;
    });
    return read ? Result<LayerLines>(std::move(lines)) : failed(read);
}

/// The layers with lines, or else those with points.
Result<std::vector<LayerLines>> candidatesIn(const VectorSource& source) {
    std::vector<LayerLines> withLines;
    std::vector<LayerLines> withPoints;
    for (const VectorLayer& layer : source.layers()) {
        auto lines = linesOf(layer);
        if (!lines) {
            return failed(lines);
        }
        if (!lines->parts.empty()) {
            withLines.push_back(*std::move(lines));
        } else if (lines->points.size() > 1) {
            lines->parts = {lines->points};
            withPoints.push_back(*std::move(lines));
        }
    }
    auto& candidates = withLines.empty() ? withPoints : withLines;
    if (candidates.empty()) {
        return source.failure("holds no line", "文件中没有线");
    }
    return std::move(candidates);
}

QStringList namesOf(const std::vector<LayerLines>& candidates) {
    QStringList names;
    for (const LayerLines& lines : candidates) {
        names << lines.layer;
    }
    return names;
}

/// The layer that holds the line; the layers are those that count.
Result<LayerLines> chosenLines(const VectorSource& source) {
    auto candidates = candidatesIn(source);
    if (!candidates) {
        return failed(candidates);
    }
    if (candidates->size() > 1) {
        const QStringList names = namesOf(*candidates);
        return source.failure("several layers hold lines: " + names.join(", "),
                              QStringLiteral("有多个图层含有线，请指定其中之一：") + names.join("、"));
    }
    return std::move(candidates->front());
}

Unexpected brokenLine(const VectorSource& source, const LineBreak& where) {
    const QString place = placeText(where.x, where.y);
    if (where.isBranch) {
        return source.failure("the line branches at " + place, QStringLiteral("管线在 %1 处分岔").arg(place));
    }
    const QString gap = QString::number(where.gap, 'f', 1);
    return source.failure(QStringLiteral("its parts do not meet: gap of %1 m at %2").arg(gap, place),
                          QStringLiteral("各段首尾不相接：%2 处有 %1 m 的间隙").arg(gap, place));
}

Result<LinePart> joined(const VectorSource& source, const LayerLines& lines) {
    const auto line = joinEndToEnd(lines.parts, kMeetingMetres);
    if (!line) {
        return brokenLine(source, line.error());
    }
    if (line->empty()) {
        return source.failure("the line has no length", "线的长度为零");
    }
    if (const auto crossing = selfCrossing(*line)) {
        const QString place = placeText(crossing->x, crossing->y);
        return source.failure("the line crosses itself at " + place,
                              QStringLiteral("线在 %1 处自相交").arg(place));
    }
    return *line;
}

/// A place without a chainage is refused: it would look like the pipe's start.
Result<std::vector<KilometrePost>> readPosts(const QString& file, const QString& crs,
                                             const OGRSpatialReference& reference) {
    const auto source = VectorSource::open(file, {}, crs, reference);
    if (!source) {
        return failed(source);
    }
    std::vector<KilometrePost> posts;
    Status wrong;
    for (const VectorLayer& layer : source->layers()) {
        const auto read = layer.forEach([&](const VectorRow& row) {
            if (wkbFlatten(row.geometry().getGeometryType()) != wkbPoint) {
                return true;
            }
            const QString name = row.text({"name", "名称", "桩号"});
            const QString told = row.text({"km", "kp", "chainage", "里程", "桩号", "name", "名称"});
            const auto chainage = chainageOf(told);
            if (!chainage) {
                wrong = source->failure(QStringLiteral("\"%1\" is no chainage").arg(told),
                                        QStringLiteral("“%1”不是里程").arg(told));
                return false;
            }
            const OGRPoint* point = row.geometry().toPoint();
            posts.push_back({name.isEmpty() ? told : name, *chainage, point->getX(), point->getY()});
            return true;
        });
        if (!wrong) {
            return failed(wrong);
        }
        if (!read) {
            return failed(read);
        }
    }
    return posts;
}

Status setChainages(const CenterlineSource& source, const OGRSpatialReference& reference, LinePart line,
                    Centerline& centerline) {
    if (source.isTurned) {
        std::reverse(line.begin(), line.end());
    }
    if (source.posts.isEmpty()) {
        centerline.vertices = chainagesFrom(line, source.startMetres);
        return {};
    }
    auto posts = readPosts(source.posts, source.crs, reference);
    if (!posts) {
        return failed(posts);
    }
    auto vertices = chainagesBy(*posts, std::move(line), kFarthestPostMetres);
    if (!vertices) {
        return fileFailure(source.posts, vertices.error().message, vertices.error().userMessage);
    }
    centerline.posts = *std::move(posts);
    centerline.vertices = *std::move(vertices);
    return {};
}

} // namespace

double Centerline::lengthMetres() const {
    double length = 0.0;
    for (std::size_t i = 1; i < vertices.size(); ++i) {
        length += std::hypot(vertices[i].x - vertices[i - 1].x, vertices[i].y - vertices[i - 1].y);
    }
    return length;
}

Result<QStringList> centerlineLayers(const QString& file) {
    const auto source = VectorSource::open(file, {}, {}, wgs84());
    if (!source) {
        return failed(source);
    }
    const auto candidates = candidatesIn(*source);
    return candidates ? Result<QStringList>(namesOf(*candidates)) : failed(candidates);
}

Result<Centerline> readCenterline(const CenterlineSource& source, const OGRSpatialReference& reference) {
    const auto file = VectorSource::open(source.file, source.layer, source.crs, reference);
    if (!file) {
        return failed(file);
    }
    const auto lines = chosenLines(*file);
    if (!lines) {
        return failed(lines);
    }
    auto line = joined(*file, *lines);
    if (!line) {
        return failed(line);
    }
    Centerline centerline;
    centerline.name = lines->name;
    centerline.hasHeights = lines->hasHeights;
    if (auto done = setChainages(source, reference, *std::move(line), centerline); !done) {
        return failed(done);
    }
    return centerline;
}

} // namespace inspection
