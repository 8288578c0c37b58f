#include "workbench/inspectiondata/creation/SurveyCloud.h"

#include "cloud/Rasterize.h"
#include "cloud/SurveyFacts.h"
#include "workbench/inspectiondata/creation/HeightSystem.h"

#include <QDir>
#include <QFileInfo>

namespace inspection {

namespace {

Unexpected cloudFailure(const detect::Failure& failure) {
    const QString message = QString::fromStdString(failure.message);
    return Unexpected(Failure{message, message, failure.cancelled});
}

} // namespace

bool holdsClouds(const QString& fileOrFolder) {
    const QFileInfo info(fileOrFolder);
    const QStringList clouds{"*.las", "*.laz"};
    return info.isDir() ? !QDir(fileOrFolder).entryList(clouds, QDir::Files).isEmpty()
                        : QDir::match(clouds, info.fileName());
}

Result<SurveyRaster> surveyCloud(const QString& fileOrFolder, const QString& crs) {
    const auto facts = cloud::lookAtSurvey({fileOrFolder.toStdString()}, crs.toStdString());
    if (!facts) {
        return cloudFailure(facts.error());
    }
    if (facts->reference.IsEmpty()) {
        return fileFailure(fileOrFolder, "has no reference system", "没有坐标系，请指定项目坐标系");
    }
    if (!facts->cell) {
        return fileFailure(fileOrFolder, "has too few points", "点太少，无法成为表面模型");
    }
    SurveyRaster survey;
    survey.files << QFileInfo(fileOrFolder).absoluteFilePath();
    survey.reference = planeOf(facts->reference);
    survey.heights = heightSystemOf(facts->reference);
    survey.box = {facts->xMin, facts->yMin, facts->xMax, facts->yMax};
    survey.cloud = CloudSurvey{*facts->cell, false, crs, double(facts->points)};
    survey.cellWidth = *facts->cell;
    survey.cellHeight = *facts->cell;
    survey.cells = (facts->xMax - facts->xMin) * (facts->yMax - facts->yMin) / (*facts->cell * *facts->cell);
    survey.date = QString::fromStdString(facts->date);
    return survey;
}

Result<QString> writeSurfaceModel(const SurveyRaster& survey, const QString& file,
                                  const std::function<bool(double fraction)>& progress) {
    cloud::RasterizeRequest request;
    for (const QString& path : survey.files) {
        request.clouds.push_back(path.toStdString());
    }
    request.out = file.toStdString();
    request.cell = survey.cloud->cell;
    request.returns = survey.cloud->isGroundOnly ? cloud::Returns::Ground : cloud::Returns::Surface;
    request.crs = survey.cloud->crs.toStdString();
    const auto report = cloud::rasterize(request, progress);
    if (!report) {
        return cloudFailure(report.error());
    }
    return QStringLiteral("%1：用 %2 点生成表面模型，格网 %3 × %4，间距 %5，填补小空洞 %6 格")
        .arg(survey.files.front())
        .arg(report->used)
        .arg(report->columns)
        .arg(report->rows)
        .arg(report->cell)
        .arg(report->closedCells);
}

} // namespace inspection
