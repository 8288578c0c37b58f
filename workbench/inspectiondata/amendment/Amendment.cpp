#include "workbench/inspectiondata/amendment/Amendment.h"

#include "workbench/inspectiondata/amendment/ProjectLine.h"
#include "workbench/inspectiondata/creation/HeightSystem.h"
#include "workbench/inspectiondata/project/ProjectFile.h"
#include "workbench/inspectiondata/project/RasterPlace.h"

#include <QFileInfo>

#include <algorithm>

namespace inspection {

namespace {

/// Somewhere in the project's plane, and there where its stations are.
Status checkPlace(const ProjectDescription& project, const std::vector<KV_Station>& stations,
                  const SurveyRaster& raster) {
    const auto reference = referenceOf(project.crs);
    const auto box = reference ? transformedBox(raster.box, raster.reference, *reference) : std::nullopt;
    const bool isThere =
        box && std::any_of(stations.begin(), stations.end(), [&box](const KV_Station& station) {
            return box->xMin < station.m_xMax && box->xMax > station.m_xMin && box->yMin < station.m_yMax &&
                   box->yMax > station.m_yMin;
        });
    if (isThere || stations.empty()) {
        return {};
    }
    return fileFailure(raster.files.front(), "covers no station of the project", "不在项目的任何站段内");
}

enum class Sort { Surface, Picture };

Status checkRaster(const ProjectDescription& project, const std::vector<KV_Station>& stations,
                   const QString& file, Sort sort) {
    const QFileInfo info(file);
    if (info.isDir()) {
        return fileFailure(file, "is a folder; one file is asked for", "是文件夹，请指定一个文件");
    }
    const auto raster = surveyRaster(file, project.crs);
    if (!raster) {
        return failed(raster);
    }
    if (raster->cloud) {
        return fileFailure(file, "is a point cloud", "是点云，请先用 corridor rasterize 生成表面模型");
    }
    if (sort == Sort::Surface && raster->isPicture) {
        return fileFailure(file, "is a picture and no surface model", "是影像，不是表面模型");
    }
    return checkPlace(project, stations, *raster);
}

Status amendEpoch(ProjectDescription& project, const std::vector<KV_Station>& stations,
                  const AmendedEpoch& wish) {
    const Epoch* found = project.findEpoch(wish.key);
    if (!found) {
        return fileFailure(projectFile(project.folder), "has no epoch " + wish.key, "没有期次 " + wish.key);
    }
    Epoch& epoch = project.epochs[static_cast<std::size_t>(found - project.epochs.data())];
    if (wish.dsm) {
        if (auto done = checkRaster(project, stations, absoluteRaster(*wish.dsm), Sort::Surface); !done) {
            return done;
        }
        epoch.dsm = absoluteRaster(*wish.dsm);
    }
    if (wish.dom) {
        if (!wish.dom->isEmpty()) {
            if (auto done = checkRaster(project, stations, absoluteRaster(*wish.dom), Sort::Picture); !done) {
                return done;
            }
        }
        epoch.dom = absoluteRaster(*wish.dom);
    }
    if (wish.heights) {
        const auto heights = heightSystem(*wish.heights);
        if (!wish.heights->isEmpty() && !heights) {
            return Unexpected(Failure{'"' + *wish.heights + "\" is no height system",
                                      QStringLiteral("“%1”不是高程系统").arg(*wish.heights)});
        }
        epoch.heights = heights.value_or(QString());
    }
    return {};
}

/// The keys of epochs without a date are their files.
void followKeys(const ProjectDescription& before, ProjectDescription& project) {
    if (!project.compared) {
        return;
    }
    const EpochPair earlier = *project.compared;
    for (std::size_t i = 0; i < before.epochs.size(); ++i) {
        const QString key = before.keyOf(before.epochs[i]);
        if (key == earlier.older) {
            project.compared->older = project.keyOf(project.epochs[i]);
        }
        if (key == earlier.newer) {
            project.compared->newer = project.keyOf(project.epochs[i]);
        }
    }
}

Status checkKeys(const ProjectDescription& project) {
    for (const Epoch& epoch : project.epochs) {
        if (project.findEpoch(project.keyOf(epoch)) != &epoch) {
            return fileFailure(epoch.dsm, "is the file of another epoch", "已是另一期的文件");
        }
    }
    return {};
}

void planConversions(const PlannedEpochs& surveys, Amendment& amendment) {
    for (const PlannedEpoch& planned : surveys.epochs) {
        const auto epoch =
            std::find_if(amendment.project.epochs.begin(), amendment.project.epochs.end(),
                         [&](const Epoch& each) { return each.dsm == planned.surface.files.front(); });
        if (!planned.convertedHeights.isEmpty() && epoch != amendment.project.epochs.end()) {
            const auto place = static_cast<std::size_t>(epoch - amendment.project.epochs.begin());
            amendment.conversions.push_back({place, planned.surface, planned.convertedHeights});
        }
    }
    amendment.notes << surveys.notes;
}

Result<std::optional<Centerline>> lineOf(const ProjectDescription& project, const AmendmentWish& wish,
                                         const OGRSpatialReference& reference) {
    if (wish.dropsCenterline) {
        return std::nullopt;
    }
    if (!wish.centerline) {
        return projectLine(project);
    }
    CenterlineSource source = *wish.centerline;
    source.crs = source.crs.isEmpty() ? wish.crs : source.crs;
    source.crs = source.crs.isEmpty() ? project.crs : source.crs;
    auto read = readCenterline(source, reference);
    return read ? Result<std::optional<Centerline>>(*std::move(read)) : failed(read);
}

Result<NewLayout> planLayout(const ProjectDescription& project, const std::vector<KV_Station>& stations,
                             const AmendmentWish& wish, const PlannedEpochs& surveys) {
    auto line = lineOf(project, wish, surveys.reference);
    if (!line) {
        return failed(line);
    }
    NewProject whole = wishOf(project);
    whole.crs = wish.crs.isEmpty() ? project.crs : wish.crs;
    whole.centerline = wish.centerline;
    if (wish.stations) {
        whole.stations = *wish.stations;
    } else if (const auto earlier = projectLine(project)) {
        whole.stations = layoutOf(stations, *earlier);
    }
    auto stretches = planStations(whole, surveys, *line);
    if (!stretches) {
        return failed(stretches);
    }
    const bool isLineNew = wish.centerline || wish.dropsCenterline;
    return NewLayout{*std::move(line), isLineNew, *std::move(stretches)};
}

bool asksForHeights(const AmendmentWish& wish) {
    return std::any_of(wish.epochs.begin(), wish.epochs.end(),
                       [](const AmendedEpoch& epoch) { return epoch.heights.has_value(); });
}

} // namespace

Result<Amendment> planAmendment(const ProjectDescription& project, const std::vector<KV_Station>& stations,
                                const AmendmentWish& wish) {
    Amendment amendment;
    amendment.project = project;
    if (wish.name) {
        if (wish.name->trimmed().isEmpty()) {
            return Unexpected(Failure{"the name is empty", QStringLiteral("项目名称不能为空")});
        }
        amendment.project.name = wish.name->trimmed();
    }
    for (const AmendedEpoch& epoch : wish.epochs) {
        if (auto done = amendEpoch(amendment.project, stations, epoch); !done) {
            return failed(done);
        }
    }
    if (wish.centerlineFile) {
        amendment.project.centerline = absoluteRaster(*wish.centerlineFile);
        if (const auto line = projectLine(amendment.project); !line) {
            return failed(line);
        }
    }
    if (auto done = checkKeys(amendment.project); !done) {
        return failed(done);
    }
    followKeys(project, amendment.project);
    const bool laysOut = wish.centerline || wish.dropsCenterline || wish.stations;
    if (!laysOut && !asksForHeights(wish)) {
        return amendment;
    }
    const auto surveys = planEpochs(wishOf(amendment.project));
    if (!surveys) {
        return failed(surveys);
    }
    if (asksForHeights(wish)) {
        planConversions(*surveys, amendment);
    }
    if (laysOut) {
        auto layout = planLayout(amendment.project, stations, wish, *surveys);
        if (!layout) {
            return failed(layout);
        }
        amendment.layout = *std::move(layout);
    }
    return amendment;
}

} // namespace inspection
