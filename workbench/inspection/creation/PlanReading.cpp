#include "workbench/inspection/creation/PlanReading.h"

#include "workbench/inspectiondata/amendment/ProjectLine.h"

#include <QDir>
#include <QFileInfo>

#include <algorithm>
#include <cmath>

namespace inspection {

namespace {

bool isSame(const NewEpoch& a, const NewEpoch& b) {
    return a.date == b.date && a.surface == b.surface && a.picture == b.picture && a.heights == b.heights;
}

bool isSame(const CenterlineSource& a, const CenterlineSource& b) {
    return a.file == b.file && a.layer == b.layer && a.crs == b.crs && a.isTurned == b.isTurned &&
           a.startMetres == b.startMetres && a.posts == b.posts && a.isOwn == b.isOwn;
}

bool haveSameEpochs(const NewProject& a, const NewProject& b) {
    return a.crs == b.crs && a.isInOrder == b.isInOrder &&
           std::equal(a.epochs.begin(), a.epochs.end(), b.epochs.begin(), b.epochs.end(),
                      [](const NewEpoch& x, const NewEpoch& y) { return isSame(x, y); });
}

QString titleOf(const OGRSpatialReference& reference) {
    const QString definition = definitionOf(reference);
    return definition.startsWith("EPSG:") ? definition : QString::fromUtf8(reference.GetName());
}

QString longTitleOf(const OGRSpatialReference& reference) {
    const QString name = QString::fromUtf8(reference.GetName());
    const QString title = titleOf(reference);
    return title == name ? name : title + QStringLiteral("  ") + name;
}

QString cellText(const SurveyRaster& raster) {
    constexpr double kMetresPerDegree = 111320.0;
    const bool isInDegrees = raster.reference.IsGeographic() != 0;
    const double metres =
        raster.cellHeight * (isInDegrees ? kMetresPerDegree : raster.reference.GetLinearUnits());
    const QString kind = raster.cloud ? QStringLiteral("点云 → ") : QString();
    return kind + (isInDegrees ? QStringLiteral("≈ ") : QString()) + QString::number(metres, 'g', 3) +
           QStringLiteral(" m");
}

EpochRow rowOf(const EpochReading& reading) {
    EpochRow row{reading.epoch.date, false, reading.epoch.surface, reading.epoch.picture, {}, {}, {}};
    row.problem = reading.problem;
    if (reading.surface) {
        row.isDateGuessed = row.date.isEmpty();
        row.date = row.isDateGuessed ? reading.surface->date : row.date;
        row.reference = titleOf(reading.surface->reference);
        row.cell = cellText(*reading.surface);
    }
    return row;
}

bool isRead(const NewEpoch& epoch, const PlanReading& before) {
    return std::any_of(before.epochFiles.begin(), before.epochFiles.end(), [&](const EpochReading& files) {
        return files.surface && files.epoch.surface == epoch.surface;
    });
}

void readEpochFiles(PlanReading& reading, const PlanReading& before) {
    if (reading.wish.isInOrder) { // those of a project that there is
        reading.epochFiles = readEpochs(reading.wish.epochs, before.epochFiles);
        return;
    }
    std::vector<NewEpoch> epochs;
    for (const NewEpoch& epoch : reading.wish.epochs) {
        const auto parts = isRead(epoch, before) ? std::vector<NewEpoch>{epoch} : surveysIn(epoch);
        epochs.insert(epochs.end(), parts.begin(), parts.end());
    }
    reading.epochFiles = withPicturesJoined(readEpochs(epochs, before.epochFiles));
    sortByDate(reading.epochFiles);
    reading.wish.epochs.clear();
    for (const EpochReading& files : reading.epochFiles) {
        reading.wish.epochs.push_back(files.epoch);
    }
}

/// What the epochs are together corrects what each was taken for.
void readSurveys(PlanReading& reading, const PlanReading& before) {
    for (const EpochReading& files : reading.epochFiles) {
        reading.epochs.push_back(rowOf(files));
    }
    if (before.surveys && haveSameEpochs(reading.wish, before.wish)) {
        reading.surveys = before.surveys;
    } else if (auto surveys = planEpochs(reading.wish)) {
        reading.surveys = *std::move(surveys);
    } else {
        reading.epochProblem = surveys.error().userMessage;
        return;
    }
    reading.referenceTitle = longTitleOf(reading.surveys->reference);
    for (std::size_t i = 0; i < reading.epochs.size(); ++i) {
        const PlannedEpoch& epoch = reading.surveys->epochs[i];
        reading.epochs[i].date = epoch.date;
        reading.epochs[i].isDateGuessed = epoch.isDateGuessed;
        reading.epochs[i].reference = titleOf(epoch.surface.reference);
        reading.epochs[i].cell = cellText(epoch.surface);
        reading.epochs[i].problem.clear();
    }
}

/// The only layer whose name tells that it is the line; empty when none or several do.
QString likelyLayer(const QStringList& layers) {
    QStringList likely;
    for (const QString& layer : layers) {
        for (const char* word : {"center", "centre", "中心线", "中线", "管线", "pipe"}) {
            if (layer.contains(QString::fromUtf8(word), Qt::CaseInsensitive)) {
                likely << layer;
                break;
            }
        }
    }
    return likely.size() == 1 ? likely.front() : QString();
}

/// The line of a project that there is.
Result<Centerline> ownLine(const QString& file, const QString& crs) {
    ProjectDescription project;
    project.centerline = file;
    project.crs = crs;
    const auto line = projectLine(project);
    if (!line) {
        return failed(line);
    }
    return line->has_value() ? Result<Centerline>(**line)
                             : fileFailure(file, "holds no line", "文件中没有线");
}

void readPipeline(PlanReading& reading, const PlanReading& before) {
    if (!reading.surveys || !reading.wish.centerline) {
        return;
    }
    CenterlineSource& wish = *reading.wish.centerline;
    const CenterlineSource known = before.wish.centerline.value_or(CenterlineSource());
    if (known.file == wish.file && before.centerline) {
        reading.lineLayers = before.lineLayers;
    } else if (const auto layers = centerlineLayers(wish.file)) {
        reading.lineLayers = layers->size() > 1 ? *layers : QStringList();
    }
    if (wish.layer.isEmpty() || !reading.lineLayers.contains(wish.layer)) {
        wish.layer = likelyLayer(reading.lineLayers);
    }
    if (before.centerline && isSame(wish, known) && haveSameEpochs(reading.wish, before.wish)) {
        reading.centerline = before.centerline;
        return;
    }
    CenterlineSource source = wish;
    source.crs = source.crs.isEmpty() ? reading.wish.crs : source.crs;
    auto line = source.isOwn ? ownLine(source.file, reading.wish.crs)
                             : readCenterline(source, reading.surveys->reference);
    if (line) {
        reading.centerline = *std::move(line);
    } else {
        reading.pipelineProblem = line.error().userMessage;
    }
}

bool haveSameStations(const NewProject& a, const NewProject& b) {
    return a.stations.lengthMetres == b.stations.lengthMetres &&
           a.stations.halfWidthMetres == b.stations.halfWidthMetres && a.stations.file == b.stations.file &&
           a.centerline.has_value() == b.centerline.has_value() &&
           (!a.centerline || isSame(*a.centerline, *b.centerline)) && haveSameEpochs(a, b);
}

void readStations(PlanReading& reading, const PlanReading& before) {
    if (!reading.surveys || !reading.pipelineProblem.isEmpty()) {
        return;
    }
    if (!before.stations.empty() && haveSameStations(reading.wish, before.wish)) {
        reading.stations = before.stations;
        return;
    }
    auto stations = planStations(reading.wish, *reading.surveys, reading.centerline);
    if (stations) {
        reading.stations = *std::move(stations);
    } else {
        reading.stationProblem = stations.error().userMessage;
    }
}

QRectF rectangle(const detect::Box& box) {
    return {QPointF(box.xMin, box.yMin), QPointF(box.xMax, box.yMax)};
}

/// The project's system, or while there is none that of the first epoch that has one.
std::optional<OGRSpatialReference> sketchReference(const PlanReading& reading) {
    if (reading.surveys) {
        return reading.surveys->reference;
    }
    for (const EpochReading& files : reading.epochFiles) {
        if (files.surface && files.surface->reference.IsProjected() != 0) {
            return files.surface->reference;
        }
        const auto box = files.surface ? transformedBox(files.surface->box, files.surface->reference, wgs84())
                                       : std::nullopt;
        if (box) {
            return projectedReferenceAt((box->xMin + box->xMax) / 2.0, (box->yMin + box->yMax) / 2.0);
        }
    }
    return std::nullopt;
}

PlanSketch sketchOf(const PlanReading& reading) {
    PlanSketch sketch;
    const auto reference = sketchReference(reading);
    for (std::size_t i = 0; i < reading.epochFiles.size() && reference; ++i) {
        const auto& surface =
            reading.surveys ? reading.surveys->epochs[i].surface : reading.epochFiles[i].surface;
        const auto box =
            surface ? transformedBox(surface->box, surface->reference, *reference) : std::nullopt;
        const EpochRow& row = reading.epochs[i];
        const QString title = row.date.isEmpty() ? QFileInfo(row.surface).fileName() : row.date;
        sketch.epochs.push_back({box ? rectangle(*box) : QRectF(), title});
    }
    if (reading.surveys) {
        sketch.overlap = rectangle(reading.surveys->overlap);
    }
    if (reading.centerline) {
        for (const PipeVertex& vertex : reading.centerline->vertices) {
            sketch.line << QPointF(vertex.x, vertex.y);
            sketch.chainages.push_back(vertex.chainageMetres);
        }
    }
    for (const Stretch& station : reading.stations) {
        sketch.stations.push_back(rectangle(station.box));
    }
    return sketch;
}

/// The folder in which all epochs lie.
QString commonFolder(const std::vector<NewEpoch>& epochs) {
    QString common;
    for (const NewEpoch& epoch : epochs) {
        QDir folder(QFileInfo(epoch.surface).absolutePath());
        if (common.isEmpty()) {
            common = folder.path();
        }
        while (!(folder.path() + '/').startsWith(common + '/') && common.contains('/')) {
            common = common.left(common.lastIndexOf('/'));
        }
    }
    return common;
}

} // namespace

PlanReading readPlan(NewProject wish, const PlanReading& before) {
    PlanReading reading;
    reading.wish = std::move(wish);
    readEpochFiles(reading, before);
    readSurveys(reading, before);
    readPipeline(reading, before);
    readStations(reading, before);
    reading.sketch = sketchOf(reading);
    return reading;
}

ProjectPlan planOf(const PlanReading& reading) {
    ProjectPlan plan;
    plan.name = reading.wish.name.isEmpty() ? suggestedName(reading) : reading.wish.name;
    plan.surveys = reading.surveys.value_or(PlannedEpochs());
    plan.centerline = reading.centerline;
    plan.stations = reading.stations;
    plan.objects = reading.wish.objects;
    plan.copiesFiles = reading.wish.copiesFiles;
    return plan;
}

QString suggestedName(const PlanReading& reading) {
    if (reading.centerline && !reading.centerline->name.isEmpty()) {
        return reading.centerline->name;
    }
    static const QStringList kGeneric{"epochs", "data", "dsm", "survey", "surveys", "tmp", "数据", "期次"};
    QString folder = commonFolder(reading.wish.epochs);
    while (kGeneric.contains(QFileInfo(folder).fileName().toLower())) {
        folder = QFileInfo(folder).path();
    }
    const QString name = QFileInfo(folder).fileName();
    return name.isEmpty() ? QStringLiteral("管道巡检") : name;
}

} // namespace inspection
