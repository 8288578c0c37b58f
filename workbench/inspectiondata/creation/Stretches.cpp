#include "workbench/inspectiondata/creation/Stretches.h"

#include "workbench/inspectiondata/creation/VectorSource.h"
#include "workbench/inspectiondata/pipeline/Pipeline.h"

#include <ogr_geometry.h>

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

constexpr double kLeastShareOfLength = 0.2;
constexpr int kMostBoxes = 12;
constexpr double kCellsPerBox = 4e6;
constexpr int kProbes = 5; // in a row and in a column

void extend(detect::Box& box, double x, double y) {
    box = {std::min(box.xMin, x), std::min(box.yMin, y), std::max(box.xMax, x), std::max(box.yMax, y)};
}

/// Around what of the segment has chainages from `start` to `end`.
void extend(detect::Box& box, const PipeVertex& a, const PipeVertex& b, double start, double end) {
    const double rise = b.chainageMetres - a.chainageMetres;
    if (rise <= 0.0 || b.chainageMetres < start || a.chainageMetres > end) {
        return;
    }
    for (const double chainage : {std::max(start, a.chainageMetres), std::min(end, b.chainageMetres)}) {
        const double share = (chainage - a.chainageMetres) / rise;
        extend(box, a.x + share * (b.x - a.x), a.y + share * (b.y - a.y));
    }
}

/// The chainages at which stretches begin and end.
std::vector<double> breaks(double start, double end, double length) {
    std::vector<double> all{start};
    for (int i = 1; start + i * length < end; ++i) {
        all.push_back(start + i * length);
    }
    if (all.size() > 1 && end - all.back() < kLeastShareOfLength * length) {
        all.pop_back();
    }
    all.push_back(end);
    return all;
}

} // namespace

std::vector<Stretch> stretchesAlong(const Centerline& centerline, double lengthMetres,
                                    double halfWidthMetres) {
    const auto& vertices = centerline.vertices;
    const std::vector<double> ends =
        breaks(vertices.front().chainageMetres, vertices.back().chainageMetres, lengthMetres);
    std::vector<Stretch> stretches;
    std::size_t first = 0;
    for (std::size_t i = 0; i + 1 < ends.size(); ++i) {
        Stretch stretch{chainageText(ends[i]) + QStringLiteral("—") + chainageText(ends[i + 1]),
                        ends[i],
                        ends[i + 1],
                        {HUGE_VAL, HUGE_VAL, -HUGE_VAL, -HUGE_VAL}};
        while (first + 2 < vertices.size() && vertices[first + 1].chainageMetres < ends[i]) {
            ++first;
        }
        for (std::size_t v = first; v + 1 < vertices.size() && vertices[v].chainageMetres <= ends[i + 1];
             ++v) {
            extend(stretch.box, vertices[v], vertices[v + 1], ends[i], ends[i + 1]);
        }
        stretch.box = {stretch.box.xMin - halfWidthMetres, stretch.box.yMin - halfWidthMetres,
                       stretch.box.xMax + halfWidthMetres, stretch.box.yMax + halfWidthMetres};
        stretches.push_back(stretch);
    }
    return stretches;
}

std::vector<Stretch> stretchesOver(const detect::Box& area, double cells) {
    const double wanted = std::clamp(std::ceil(cells / kCellsPerBox), 1.0, double(kMostBoxes));
    const double aspect = (area.xMax - area.xMin) / (area.yMax - area.yMin);
    const int columns = std::clamp(static_cast<int>(std::lround(std::sqrt(wanted * aspect))), 1, int(wanted));
    const int rows = std::max(1, static_cast<int>(wanted) / columns);
    const double width = (area.xMax - area.xMin) / columns;
    const double height = (area.yMax - area.yMin) / rows;
    std::vector<Stretch> stretches;
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            stretches.push_back({QStringLiteral("%1号区").arg(stretches.size() + 1),
                                 0.0,
                                 0.0,
                                 {area.xMin + column * width, area.yMax - (row + 1) * height,
                                  area.xMin + (column + 1) * width, area.yMax - row * height}});
        }
    }
    return stretches;
}

Result<std::vector<Stretch>> stretchesIn(const QString& file, const QString& crs,
                                         const OGRSpatialReference& reference) {
    const auto source = VectorSource::open(file, {}, crs, reference);
    if (!source) {
        return failed(source);
    }
    std::vector<Stretch> stretches;
    for (const VectorLayer& layer : source->layers()) {
        const auto read = layer.forEach([&](const VectorRow& row) {
            if (row.geometry().getDimension() == 2) {
                OGREnvelope box;
                row.geometry().getEnvelope(&box);
                const QString name = row.text({"name", "名称"});
                stretches.push_back(
                    {name.isEmpty() ? QStringLiteral("%1号区").arg(stretches.size() + 1) : name,
                     row.text({"start_m"}).toDouble(),
                     row.text({"end_m"}).toDouble(),
                     {box.MinX, box.MinY, box.MaxX, box.MaxY}});
            }
            return true;
        });
        if (!read) {
            return failed(read);
        }
    }
    if (stretches.empty()) {
        return source->failure("holds no polygon", "文件中没有面");
    }
    return stretches;
}

std::vector<Stretch> stretchesWithData(const std::vector<Stretch>& stretches, const detect::Box& area,
                                       const Coverage& covered) {
    const auto hasData = [&](const detect::Box& box) {
        for (int probe = 0; probe < kProbes * kProbes; ++probe) {
            const double right = (probe % kProbes + 0.5) / kProbes;
            const double up = (probe / kProbes + 0.5) / kProbes;
            if (covered(box.xMin + right * (box.xMax - box.xMin), box.yMin + up * (box.yMax - box.yMin))) {
                return true;
            }
        }
        return false;
    };
    std::vector<Stretch> kept;
    for (Stretch stretch : stretches) {
        detect::Box& box = stretch.box;
        box = {std::max(box.xMin, area.xMin), std::max(box.yMin, area.yMin), std::min(box.xMax, area.xMax),
               std::min(box.yMax, area.yMax)};
        if (box.xMin < box.xMax && box.yMin < box.yMax && hasData(box)) {
            kept.push_back(stretch);
        }
    }
    return kept;
}

} // namespace inspection
