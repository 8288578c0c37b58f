#include "cloud/Rasterize.h"

#include "cloud/PointSample.h"
#include "cloud/PointStream.h"
#include "cloud/ReturnStore.h"
#include "cloud/SurfaceFile.h"
#include "detect/GdalErrors.h"
#include "detect/StagedOutput.h"
#include "detect/TouchedFiles.h"

#include <gdal_priv.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace cloud {

namespace {

constexpr double kMostCells = 4e10;
constexpr double kMostCellsPerPoint = 1e4; ///< more is a damaged head, not a sparse survey
constexpr int kMostSide = 2000000;
constexpr double kFarthestCell = 1e12;  ///< from zero; farther out neighbours can no longer be told apart
constexpr double kShareOfReading = 0.7; ///< of the progress
constexpr double kShareBeforeWriting = 0.8;

constexpr int kGround = 2;
constexpr int kLowNoise = 7;
constexpr int kHighNoise = 18;

bool isWanted(const CloudPoint& point, Returns returns) {
    if (point.isWithheld || !std::isfinite(point.z)) {
        return false;
    }
    if (returns == Returns::Ground) {
        return point.classification == kGround;
    }
    return point.classification != kLowNoise && point.classification != kHighNoise;
}

/// Cells that are whole multiples of their side from the reference system's zero, so that epochs with the same
/// cell lie on one grid.
Result<SurfaceGrid> gridOver(const Survey& survey, double cell) {
    const double west = std::floor(survey.xMin / cell);
    const double south = std::floor(survey.yMin / cell);
    const double columns = std::floor(survey.xMax / cell) + 1.0 - west;
    const double rows = std::floor(survey.yMax / cell) + 1.0 - south;
    const double mostCells =
        std::min(kMostCells, std::max(kMostCellsPerPoint * static_cast<double>(survey.points), 1e6));
    const double farthest =
        std::max({std::abs(west), std::abs(south), std::abs(west + columns), std::abs(south + rows)});
    if (!(farthest < kFarthestCell)) {
        return detect::failureOf(survey.files.front().path, "坐标过大，请检查文件头中的范围和坐标系");
    }
    if (!(columns * rows <= mostCells && columns <= kMostSide && rows <= kMostSide)) {
        std::ostringstream size;
        size << std::fixed << std::setprecision(0) << columns << " × " << rows;
        return detect::failureOf(survey.files.front().path,
                                 "格网 " + size.str() +
                                     " 过大，请检查点云的范围，或用 --cell 指定更大的格网间距");
    }
    SurfaceGrid grid;
    grid.reference = survey.reference;
    grid.heightUnit = survey.heightUnit;
    grid.cell = cell;
    grid.west = west;
    grid.south = south;
    grid.columns = static_cast<int>(columns);
    grid.rows = static_cast<int>(rows);
    return grid;
}

/// Where the returns of the cells go.
struct Cells {
    HighestGrid& heights;
    ReturnStore* returns; ///< null where the highest is enough

    Status take(int column, int row, float height) const {
        return returns ? returns->add(column, row, height) : heights.raise(column, row, height);
    }
};

/// Sorts points into the cells of a grid.
class Sorter {
public:
    Sorter(const SurfaceGrid& surface, Returns returns, const Cells& cells, RasterizeReport& report)
        : m_surface(surface), m_returns(returns), m_cells(cells), m_report(report) {}

    Status take(const std::vector<CloudPoint>& points) {
        m_report.points += points.size();
        for (const CloudPoint& point : points) {
            if (!isWanted(point, m_returns)) {
                continue;
            }
            const double column = std::floor(point.x / m_surface.cell) - m_surface.west;
            const double row = m_surface.south + m_surface.rows - 1.0 - std::floor(point.y / m_surface.cell);
            if (!(column >= 0.0 && column < m_surface.columns && row >= 0.0 && row < m_surface.rows)) {
                ++m_report.outside;
                continue;
            }
            ++m_report.used;
            if (const auto done = m_cells.take(static_cast<int>(column), static_cast<int>(row),
                                               static_cast<float>(point.z));
                !done) {
                return detect::failed(done);
            }
        }
        return {};
    }

private:
    const SurfaceGrid& m_surface;
    Returns m_returns;
    Cells m_cells;
    RasterizeReport& m_report;
};

Status sortPoints(const Survey& survey, Sorter& sorter, const RasterizeReport& report,
                  const Progress& progress) {
    PointStream stream(survey);
    std::vector<CloudPoint> points;
    for (;;) {
        if (const auto done = stream.next(points); !done) {
            return detect::failed(done);
        }
        if (points.empty()) {
            return {};
        }
        if (const auto done = sorter.take(points); !done) {
            return detect::failed(done);
        }
        const double done = static_cast<double>(report.points) / static_cast<double>(survey.points);
        if (!progress(done)) {
            return detect::cancelled();
        }
    }
}

Result<double> cellOf(const RasterizeRequest& request, const Survey& survey) {
    if (request.cell) {
        return *request.cell;
    }
    const auto sample = samplePoints(survey);
    if (!sample) {
        return detect::failed(sample);
    }
    const std::optional<double> density = sample->density;
    if (!density) {
        return detect::failureOf(survey.files.front().path, "点云没有面积，请用 --cell 指定格网间距");
    }
    return cellFor(*density);
}

/// The part of the progress from one share to another.
Progress part(const Progress& progress, double from, double to) {
    return [=](double done) { return !progress || progress(from + (to - from) * done); };
}

std::vector<std::string> pathsOf(const Survey& survey) {
    std::vector<std::string> paths;
    for (const auto& file : survey.files) {
        paths.push_back(file.path);
    }
    return paths;
}

std::string whyNoneIsUsed(const RasterizeRequest& request, const RasterizeReport& report) {
    if (report.outside > 0) {
        return "点都在文件头所称的范围之外，请检查文件头中的范围、比例和偏移";
    }
    return request.returns == Returns::Ground ? "点云中没有地面点（第 2 类）" : "点云中没有可用的点";
}

/// Fills `heights` from all points.
Status sortIn(const RasterizeRequest& request, const Survey& survey, const SurfaceGrid& surface,
              const std::string& scratchFile, HighestGrid& heights, RasterizeReport& report,
              const Progress& progress) {
    ReturnStore returns(surface.columns, surface.rows, scratchFile);
    const double percent = request.percentile.value_or(100.0);
    const bool isHighest = percent >= 100.0;
    Sorter sorter(surface, request.returns, {heights, isHighest ? nullptr : &returns}, report);
    if (auto done = sortPoints(survey, sorter, report, part(progress, 0.0, kShareOfReading)); !done) {
        return done;
    }
    if (report.used == 0) {
        return detect::failureOf(survey.files.front().path, whyNoneIsUsed(request, report));
    }
    return isHighest
               ? Status()
               : returns.percentiles(percent, heights, part(progress, kShareOfReading, kShareBeforeWriting));
}

/// Everything between the heads of the files and the finished raster in `output`; the scratch files beside it go
/// again.
Result<RasterizeReport> makeSurface(const RasterizeRequest& request, const Survey& survey,
                                    const SurfaceGrid& surface, const detect::StagedOutput& output,
                                    const Progress& progress) {
    RasterizeReport report;
    report.cell = surface.cell;
    report.columns = surface.columns;
    report.rows = surface.rows;
    HighestGrid heights(surface.columns, surface.rows, output.path() + ".scratch");
    if (const auto done =
            sortIn(request, survey, surface, output.path() + ".returns", heights, report, progress);
        !done) {
        return detect::failed(done);
    }
    const GapCloser gaps(request.gapCells);
    const auto rest = part(progress, kShareBeforeWriting, 1.0);
    if (const auto done = writeSurface(surface, heights, gaps, output, report, rest); !done) {
        return detect::failed(done);
    }
    return report;
}

} // namespace

Result<RasterizeReport> rasterize(const RasterizeRequest& request, const Progress& progress) {
    GDALAllRegister();
    const auto survey = openSurvey(request.clouds, request.crs);
    if (!survey) {
        return detect::failed(survey);
    }
    const auto cell = cellOf(request, *survey);
    if (!cell) {
        return detect::failed(cell);
    }
    const auto surface = gridOver(*survey, *cell);
    if (!surface) {
        return detect::failed(surface);
    }
    if (const auto distinct = detect::checkOutputs({request.out}, pathsOf(*survey)); !distinct) {
        return detect::failed(distinct);
    }
    auto output = detect::StagedOutput::beside(request.out);
    if (!output) {
        return detect::failed(output);
    }
    auto report = makeSurface(request, *survey, *surface, *output, progress);
    if (!report) {
        return report;
    }
    if (const auto done = output->commit(); !done) {
        return detect::failed(done);
    }
    return report;
}

} // namespace cloud
