#include "workbench/inspectiondata/amendment/ProjectLine.h"

#include "workbench/inspectiondata/creation/VectorSource.h"

#include <QFileInfo>

#include <ogr_geometry.h>

#include <algorithm>
#include <cmath>
#include <map>

namespace inspection {

namespace {

/// A line whose measures are chainages, as creation writes it.
std::optional<Centerline> measuredLine(const OGRGeometry& geometry, const QString& name) {
    if (wkbFlatten(geometry.getGeometryType()) != wkbLineString || geometry.IsMeasured() == 0) {
        return std::nullopt;
    }
    Centerline line;
    line.name = name;
    line.hasHeights = geometry.Is3D() != 0;
    for (const OGRPoint& point : *geometry.toLineString()) {
        line.vertices.push_back({point.getX(), point.getY(), point.getZ(), point.getM()});
    }
    return line.vertices.size() > 1 ? std::optional(std::move(line)) : std::nullopt;
}

struct LineRows {
    int count = 0;
    std::optional<Centerline> measured; ///< when there is one row
};

Result<LineRows> rowsOf(const VectorLayer& layer) {
    LineRows rows;
    const auto read = layer.forEach([&rows](const VectorRow& row) {
        ++rows.count;
        rows.measured = rows.count == 1 ? measuredLine(row.geometry(), row.text({"name"})) : std::nullopt;
        return true;
    });
    return read ? Result<LineRows>(std::move(rows)) : failed(read);
}

Result<std::vector<KilometrePost>> postsOf(const VectorLayer& layer) {
    constexpr double kMetresPerKilometre = 1000.0;
    std::vector<KilometrePost> posts;
    const auto read = layer.forEach([&posts](const VectorRow& row) {
        bool isNumber = false;
        const double km = row.text({"km"}).toDouble(&isNumber);
        if (isNumber && wkbFlatten(row.geometry().getGeometryType()) == wkbPoint) {
            const OGRPoint* point = row.geometry().toPoint();
            posts.push_back({row.text({"name"}), km * kMetresPerKilometre, point->getX(), point->getY()});
        }
        return true;
    });
    return read ? Result<std::vector<KilometrePost>>(std::move(posts)) : failed(read);
}

/// The value that most have, in whole metres.
std::optional<double> usual(const std::vector<double>& metres) {
    std::map<double, int> counts;
    for (const double each : metres) {
        ++counts[std::round(each)];
    }
    const auto most = std::max_element(counts.begin(), counts.end(),
                                       [](const auto& a, const auto& b) { return a.second < b.second; });
    return most == counts.end() || most->first <= 0.0 ? std::nullopt : std::optional(most->first);
}

} // namespace

Result<std::optional<Centerline>> projectLine(const ProjectDescription& project) {
    const auto reference = referenceOf(project.crs);
    if (!QFileInfo::exists(project.centerline)) {
        return fileFailure(project.centerline, "no such file", "文件不存在");
    }
    const auto source = VectorSource::open(project.centerline, {}, project.crs, *reference);
    if (!source) {
        return failed(source);
    }
    std::optional<Centerline> line;
    std::vector<KilometrePost> posts;
    for (const VectorLayer& layer : source->layers()) {
        if (layer.name() == QLatin1String("centerline")) {
            auto rows = rowsOf(layer);
            if (!rows) {
                return failed(rows);
            }
            if (rows->count > 0 && !rows->measured) {
                auto read = readCenterline({project.centerline, layer.name()}, *reference);
                if (!read) {
                    return failed(read);
                }
                rows->measured = *std::move(read);
            }
            line = std::move(rows->measured);
        } else if (layer.name() == QLatin1String("nodes")) {
            auto read = postsOf(layer);
            if (!read) {
                return failed(read);
            }
            posts = *std::move(read);
        }
    }
    if (line) {
        line->posts = std::move(posts);
    }
    return line;
}

// The first and the last station may be shorter, and all of them are cut to what the epochs cover, so that the most
// frequent length and the largest margin tell what was asked for. Of stations that came as polygons the largest margin
// holds all of their ground.
StationLayout layoutOf(const std::vector<KV_Station>& stations, const std::optional<Centerline>& line) {
    StationLayout layout;
    std::vector<double> lengths;
    for (const KV_Station& station : stations) {
        if (station.m_endMetres > station.m_startMetres) {
            lengths.push_back(station.m_endMetres - station.m_startMetres);
        }
    }
    const auto length = usual(lengths);
    if (!line || !length) {
        return layout;
    }
    layout.lengthMetres = *length;
    double widest = 0.0;
    for (const Stretch& bare : stretchesAlong(*line, *length, 0.0)) {
        for (const KV_Station& station : stations) {
            if (std::abs(station.m_startMetres - bare.startMetres) < 1.0 &&
                std::abs(station.m_endMetres - bare.endMetres) < 1.0) {
                widest = std::max({widest, bare.box.xMin - station.m_xMin, bare.box.yMin - station.m_yMin,
                                   station.m_xMax - bare.box.xMax, station.m_yMax - bare.box.yMax});
            }
        }
    }
    layout.halfWidthMetres = widest >= 1.0 ? std::round(widest) : layout.halfWidthMetres;
    return layout;
}

NewProject wishOf(const ProjectDescription& project) {
    NewProject wish;
    wish.name = project.name;
    wish.crs = project.crs;
    wish.isInOrder = true;
    for (const Epoch& epoch : project.epochs) {
        wish.epochs.push_back({epoch.date, epoch.dsm, epoch.dom, epoch.heights});
    }
    return wish;
}

PresentProject presentProject(const ProjectDescription& project, std::vector<KV_Station> stations) {
    PresentProject present{project, std::move(stations), wishOf(project)};
    const auto line = projectLine(project);
    if (!line || line->has_value()) { // also one that cannot be read, so that it is asked for
        present.wish.centerline = CenterlineSource{project.centerline};
        present.wish.centerline->isOwn = true;
    }
    if (line && line->has_value()) {
        present.wish.centerline->startMetres = (*line)->vertices.front().chainageMetres;
        present.wish.stations = layoutOf(present.stations, *line);
    }
    return present;
}

} // namespace inspection
