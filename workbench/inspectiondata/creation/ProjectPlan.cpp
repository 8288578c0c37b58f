#include "workbench/inspectiondata/creation/ProjectPlan.h"

#include "workbench/inspectiondata/creation/HeightSystem.h"
#include "workbench/inspectiondata/creation/SurveyCoverage.h"

#include <QDate>
#include <QFileInfo>

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

Unexpected refused(const QString& cause, const QString& userCause) {
    return Unexpected(Failure{cause, userCause});
}

Result<QString> dateOf(const NewEpoch& epoch, const SurveyRaster& surface) {
    if (epoch.date.isEmpty()) {
        return surface.date;
    }
    const QDate date = QDate::fromString(epoch.date, Qt::ISODate);
    if (!date.isValid()) {
        return refused(QStringLiteral("\"%1\" is no date like 2024-05-18").arg(epoch.date),
                       QStringLiteral("“%1”不是形如 2024-05-18 的日期").arg(epoch.date));
    }
    return date.toString(Qt::ISODate);
}

Result<PlannedEpoch> planEpoch(const NewEpoch& epoch, const NewProject& wish) {
    auto surface = surveyRaster(epoch.surface, wish.crs);
    if (!surface) {
        return failed(surface);
    }
    if (surface->isPicture) {
        return fileFailure(surface->files.front(), "is a picture and no surface model",
                           "是影像，不是表面模型");
    }
    if (surface->cloud) {
        surface->cloud->cell = wish.clouds.cell.value_or(surface->cloud->cell);
        surface->cloud->isGroundOnly = wish.clouds.isGroundOnly;
    }
    auto date = dateOf(epoch, *surface);
    if (!date) {
        return failed(date);
    }
    if (!epoch.heights.isEmpty()) {
        const auto heights = heightSystem(epoch.heights);
        if (!heights) {
            return refused('"' + epoch.heights + "\" is no height system",
                           QStringLiteral("“%1”不是高程系统").arg(epoch.heights));
        }
        surface->heights = *heights;
    }
    PlannedEpoch planned{*std::move(date), epoch.date.isEmpty(), *std::move(surface), std::nullopt};
    planned.toldHeights = epoch.heights.isEmpty() ? QString() : planned.surface.heights;
    if (!epoch.picture.isEmpty()) {
        auto picture = surveyRaster(epoch.picture);
        if (!picture) {
            return failed(picture);
        }
        if (picture->cloud) {
            return fileFailure(picture->files.front(), "is a point cloud and no picture", "是点云，不是影像");
        }
        planned.picture = *std::move(picture);
    }
    return planned;
}

bool dateRises(const PlannedEpoch& a, const PlannedEpoch& b) {
    return a.date < b.date;
}

/// A guess that contradicts what else is known is none.
void dropWrongGuesses(std::vector<PlannedEpoch>& epochs, bool isInOrder) {
    const auto isSame = [](const PlannedEpoch& a, const PlannedEpoch& b) {
        return &a != &b && !a.date.isEmpty() && a.date == b.date;
    };
    const bool falls = isInOrder && !std::is_sorted(epochs.begin(), epochs.end(), dateRises);
    std::vector<PlannedEpoch*> wrong;
    for (PlannedEpoch& epoch : epochs) {
        const bool doubled = std::any_of(epochs.begin(), epochs.end(),
                                         [&](const PlannedEpoch& other) { return isSame(epoch, other); });
        if (epoch.isDateGuessed && (doubled || falls)) {
            wrong.push_back(&epoch);
        }
    }
    for (PlannedEpoch* epoch : wrong) {
        epoch->date.clear();
    }
}

/// Oldest first, as far as dates tell.
Status order(std::vector<PlannedEpoch>& epochs, bool isInOrder) {
    dropWrongGuesses(epochs, isInOrder);
    const auto allDated = std::all_of(epochs.begin(), epochs.end(),
                                      [](const PlannedEpoch& epoch) { return !epoch.date.isEmpty(); });
    if (!allDated) {
        return {};
    }
    std::stable_sort(epochs.begin(), epochs.end(), dateRises);
    for (std::size_t i = 1; i < epochs.size(); ++i) {
        if (epochs[i].date == epochs[i - 1].date) {
            return fileFailure(epochs[i].surface.files.front(),
                               "is of the same date as another epoch: " + epochs[i].date,
                               QStringLiteral("与另一期日期相同：%1").arg(epochs[i].date));
        }
    }
    return {};
}

/// Chainages, station lengths and areas are metres, so the project's plane must be, too.
bool isMetricPlane(const OGRSpatialReference& reference) {
    constexpr double kTolerance = 1e-9;
    return reference.IsProjected() != 0 && std::fabs(reference.GetLinearUnits() - 1.0) < kTolerance;
}

Result<OGRSpatialReference> projectReference(const QString& wished, const SurveyRaster& surface) {
    if (!wished.isEmpty()) {
        const auto reference = referenceOf(wished);
        if (!reference || !isMetricPlane(*reference)) {
            return refused('"' + wished + "\" is no projected reference system in metres",
                           QStringLiteral("“%1”不是以米为单位的投影坐标系").arg(wished));
        }
        return planeOf(*reference);
    }
    if (isMetricPlane(surface.reference)) {
        return surface.reference;
    }
    const auto box = transformedBox(surface.box, surface.reference, wgs84());
    if (!box) {
        return fileFailure(surface.files.front(), "its reference system has no place on the earth",
                           "坐标系无法转换为经纬度");
    }
    return projectedReferenceAt((box->xMin + box->xMax) / 2.0, (box->yMin + box->yMax) / 2.0);
}

/// What all surface models have in common; the one that does not fit is named.
Result<detect::Box> overlapOf(const std::vector<PlannedEpoch>& epochs, const OGRSpatialReference& reference) {
    detect::Box overlap{-HUGE_VAL, -HUGE_VAL, HUGE_VAL, HUGE_VAL};
    const QString& first = epochs.front().surface.files.front();
    for (const PlannedEpoch& epoch : epochs) {
        const QString& file = epoch.surface.files.front();
        const auto box = transformedBox(epoch.surface.box, epoch.surface.reference, reference);
        if (!box) {
            return fileFailure(file, "its reference system does not go with that of " + first,
                               "两期坐标系无法相互转换");
        }
        overlap = {std::max(overlap.xMin, box->xMin), std::max(overlap.yMin, box->yMin),
                   std::min(overlap.xMax, box->xMax), std::min(overlap.yMax, box->yMax)};
        if (overlap.xMin >= overlap.xMax || overlap.yMin >= overlap.yMax) {
            return fileFailure(file, "does not overlap " + first, "与另一期没有重叠区域");
        }
    }
    return overlap;
}

/// Brings the epoch's heights to `target`, where that can be done. Heights of different systems are not compared without
/// a word.
void planHeights(PlannedEpoch& epoch, const HeightSystem& target, QStringList& notes) {
    const QString& own = epoch.surface.heights;
    const QString& file = epoch.surface.files.front();
    if (own.isEmpty()) {
        notes << QStringLiteral("%1：高程系统未知，按 %2 处理").arg(file, heightSystemTitle(target));
    } else if (own != target && canConvertHeights(epoch.surface, own, target)) {
        epoch.convertedHeights = target;
        notes << QStringLiteral("%1：高程由 %2 换算到 %3")
                     .arg(file, heightSystemTitle(own), heightSystemTitle(target));
    } else if (own != target) {
        notes << QStringLiteral("%1：高程系统是 %2，其他期是 %3，缺少换算格网，未作换算")
                     .arg(file, heightSystemTitle(own), heightSystemTitle(target));
    }
}

/// The first one that is known; empty when none is.
HeightSystem heightsOf(const std::vector<PlannedEpoch>& epochs) {
    const auto first = std::find_if(epochs.begin(), epochs.end(), [](const PlannedEpoch& epoch) {
        return !epoch.surface.heights.isEmpty();
    });
    return first == epochs.end() ? HeightSystem() : first->surface.heights;
}

void planHeights(PlannedEpochs& surveys) {
    const HeightSystem target = heightsOf(surveys.epochs);
    for (PlannedEpoch& epoch : surveys.epochs) {
        if (!target.isEmpty()) {
            planHeights(epoch, target, surveys.notes);
        }
    }
}

/// The project's epochs, for a further one to be held against; those that cannot be read now are left out.
std::vector<PlannedEpoch> presentEpochs(const ProjectDescription& project, QStringList& notes) {
    std::vector<PlannedEpoch> epochs;
    for (const Epoch& epoch : project.epochs) {
        if (auto surface = surveyRaster(epoch.dsm)) {
            epochs.push_back({epoch.date, false, *std::move(surface), std::nullopt});
        } else {
            notes << QStringLiteral("%1，未与该期核对").arg(surface.error().userMessage);
        }
    }
    return epochs;
}

bool hasDate(const ProjectDescription& project, const QString& date) {
    return std::any_of(project.epochs.begin(), project.epochs.end(),
                       [&date](const Epoch& epoch) { return epoch.date == date; });
}

/// Places with heights in every epoch.
Coverage commonCoverage(const PlannedEpochs& surveys) {
    std::vector<std::shared_ptr<SurveyCoverage>> coverages;
    for (const PlannedEpoch& epoch : surveys.epochs) {
        coverages.push_back(std::make_shared<SurveyCoverage>(epoch.surface, surveys.reference));
    }
    return [coverages](double x, double y) {
        return std::all_of(coverages.begin(), coverages.end(),
                           [x, y](const auto& coverage) { return coverage->holds(x, y); });
    };
}

double distanceTo(const detect::Box& box, const std::vector<PipeVertex>& line) {
    double nearest = HUGE_VAL;
    for (const PipeVertex& vertex : line) {
        const double dx = std::max({box.xMin - vertex.x, 0.0, vertex.x - box.xMax});
        const double dy = std::max({box.yMin - vertex.y, 0.0, vertex.y - box.yMax});
        nearest = std::min(nearest, std::hypot(dx, dy));
    }
    return nearest;
}

Unexpected nothingCovered(const NewProject& wish, const PlannedEpochs& surveys,
                          const std::optional<Centerline>& centerline) {
    constexpr double kMetresPerKilometre = 1000.0;
    if (!wish.stations.file.isEmpty()) {
        return fileFailure(wish.stations.file, "no station has data in all epochs",
                           "各站段内没有两期共有的数据");
    }
    if (centerline && wish.centerline) {
        const double far = distanceTo(surveys.overlap, centerline->vertices) / kMetresPerKilometre;
        const QString text = QString::number(far, 'f', far < 10.0 ? 1 : 0);
        return fileFailure(wish.centerline->file,
                           QStringLiteral("the line is %1 km from what all epochs cover").arg(text),
                           QStringLiteral("中心线距各期数据的共同范围 %1 km").arg(text));
    }
    return refused("no place has data in all epochs", "各期没有共同的有效数据");
}

Result<std::vector<Stretch>> wantedStretches(const NewProject& wish, const PlannedEpochs& surveys,
                                             const std::optional<Centerline>& centerline) {
    if (!wish.stations.file.isEmpty()) {
        return stretchesIn(wish.stations.file, wish.crs, surveys.reference);
    }
    if (!centerline) {
        return stretchesOver(surveys.overlap, surveys.epochs.front().surface.cells);
    }
    if (wish.stations.lengthMetres <= 0.0 || wish.stations.halfWidthMetres <= 0.0) {
        return refused("length and half width of stations must be positive", "站段长度和半宽必须大于零");
    }
    return stretchesAlong(*centerline, wish.stations.lengthMetres, wish.stations.halfWidthMetres);
}

QString nameOf(const NewProject& wish, const PlannedEpochs& surveys,
               const std::optional<Centerline>& centerline) {
    if (!wish.name.isEmpty()) {
        return wish.name;
    }
    if (centerline && !centerline->name.isEmpty()) {
        return centerline->name;
    }
    const auto baseName = [](const PlannedEpoch& epoch) {
        return QFileInfo(epoch.surface.files.front()).completeBaseName();
    };
    return baseName(surveys.epochs.front()) + " – " + baseName(surveys.epochs.back());
}

} // namespace

Result<PlannedEpochs> planEpochs(const NewProject& wish) {
    constexpr std::size_t kFewestEpochs = 2;
    if (wish.epochs.size() < kFewestEpochs) {
        return refused("a project needs two epochs", "项目至少需要两期数据");
    }
    PlannedEpochs surveys;
    for (const NewEpoch& epoch : wish.epochs) {
        auto planned = planEpoch(epoch, wish);
        if (!planned) {
            return failed(planned);
        }
        surveys.epochs.push_back(*std::move(planned));
    }
    if (auto done = order(surveys.epochs, wish.isInOrder); !done) {
        return failed(done);
    }
    auto reference = projectReference(wish.crs, surveys.epochs.front().surface);
    if (!reference) {
        return failed(reference);
    }
    surveys.reference = *std::move(reference);
    const auto overlap = overlapOf(surveys.epochs, surveys.reference);
    if (!overlap) {
        return failed(overlap);
    }
    surveys.overlap = *overlap;
    planHeights(surveys);
    return surveys;
}

Result<NextEpoch> planNextEpoch(const ProjectDescription& project, const NewEpoch& epoch,
                                const CloudWish& clouds) {
    NewProject wish;
    wish.crs = project.crs;
    wish.clouds = clouds;
    auto planned = planEpoch(epoch, wish);
    if (!planned) {
        return failed(planned);
    }
    NextEpoch next{*std::move(planned), {}};
    if (hasDate(project, next.epoch.date) && next.epoch.isDateGuessed) {
        next.epoch.date.clear();
    }
    std::vector<PlannedEpoch> epochs = presentEpochs(project, next.notes);
    const HeightSystem heights = heightsOf(epochs);
    if (!heights.isEmpty()) {
        planHeights(next.epoch, heights, next.notes);
    }
    epochs.push_back(next.epoch);
    const auto overlap = overlapOf(epochs, planeOf(referenceOf(project.crs).value_or(wgs84())));
    return overlap ? Result<NextEpoch>(next) : failed(overlap);
}

Result<std::vector<Stretch>> planStations(const NewProject& wish, const PlannedEpochs& surveys,
                                          const std::optional<Centerline>& centerline) {
    const auto wanted = wantedStretches(wish, surveys, centerline);
    if (!wanted) {
        return wanted;
    }
    auto stretches = stretchesWithData(*wanted, surveys.overlap, commonCoverage(surveys));
    if (stretches.empty()) {
        return nothingCovered(wish, surveys, centerline);
    }
    return stretches;
}

Result<ProjectPlan> planProject(const NewProject& wish) {
    auto surveys = planEpochs(wish);
    if (!surveys) {
        return failed(surveys);
    }
    std::optional<Centerline> centerline;
    if (wish.centerline) {
        auto read = readCenterline(*wish.centerline, surveys->reference);
        if (!read) {
            return failed(read);
        }
        centerline = *std::move(read);
    }
    auto stations = planStations(wish, *surveys, centerline);
    if (!stations) {
        return failed(stations);
    }
    ProjectPlan plan;
    plan.name = nameOf(wish, *surveys, centerline);
    plan.surveys = *std::move(surveys);
    plan.centerline = std::move(centerline);
    plan.stations = *std::move(stations);
    plan.objects = wish.objects;
    plan.copiesFiles = wish.copiesFiles;
    return plan;
}

} // namespace inspection
