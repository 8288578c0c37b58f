#include "workbench/inspection/session/StationWork.h"

#include "workbench/inspection/session/Session.h"
#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/output/ShapeOutput.h"

#include <QDir>
#include <QFileDialog>
#include <QFileInfo>

#include <utility>

namespace inspection {

namespace {

/// The report's file: given by the host, or asked for. Empty when the user gave up.
QString reportFile(const Session& session) {
    if (!session.outputFolder().isEmpty()) {
        return QDir(session.outputFolder()).filePath("report.pdf");
    }
    const QString proposal = QDir(session.project()->description().outputFolder()).filePath("report.pdf");
    QString ending;
    QString file = QFileDialog::getSaveFileName(
        session.mainWindow(), QObject::tr("输出报告"), proposal,
        QObject::tr("PDF 文档 (*.pdf);;OpenDocument 文本 (*.odt);;网页 (*.html)"), &ending);
    if (!file.isEmpty() && QFileInfo(file).suffix().isEmpty()) {
        file += ending.contains("odt") ? ".odt" : ending.contains("html") ? ".html" : ".pdf";
    }
    return file;
}

QString shapeFolder(const Session& session) {
    if (!session.outputFolder().isEmpty()) {
        return QDir(session.outputFolder()).filePath("shape");
    }
    return QFileDialog::getExistingDirectory(session.mainWindow(), QObject::tr("输出shape：选择文件夹"),
                                             session.project()->description().outputFolder());
}

} // namespace

StationWork::StationWork(Session& session, QObject* parent) : QObject(parent), m_session(session) {}

bool StationWork::isReady() {
    if (!m_session.project()) {
        m_session.warn(tr("请先打开项目"));
        return false;
    }
    if (m_session.jobs().isRunning()) {
        m_session.warn(tr("“%1”正在进行，请等待完成或先取消").arg(m_session.jobs().title()));
        return false;
    }
    return true;
}

void StationWork::compute(const std::vector<std::uint32_t>& stationIds) {
    if (!isReady()) {
        return;
    }
    if (!m_session.readOnlyReason().isEmpty()) {
        m_session.warn(m_session.readOnlyReason());
        return;
    }
    if (stationIds.empty()) {
        m_session.warn(tr("请先勾选要计算的站场或站段"));
        return;
    }
    ComputationRequest request;
    request.project = m_session.project()->description();
    request.stationIds = stationIds;
    m_session.jobs().start(tr("计算异常"), [this, request](const JobRunner::Progress& progress) {
        const auto result =
            computeAnomalies(request, [&progress](double fraction, const ComputationStep& step) {
                return progress(fraction, stepText(step));
            });
        return [this, result] { finishComputation(result); };
    });
}

void StationWork::finishComputation(const Result<ComputationSummary>& result) {
    if (!result) {
        if (!result.error().cancelled) {
            m_session.warn(result.error().userMessage);
        }
        emit computeFinished(false, result.error().userMessage);
        return;
    }
    const ComputationSummary& summary = m_lastComputation = *result;
    emit computed(summary.stationIds);
    emit computeFinished(true, tr("计算完成：%1 个站段，发现 %2 处异常，用时 %3 秒")
                                   .arg(summary.stationIds.size())
                                   .arg(summary.anomalies)
                                   .arg(summary.seconds, 0, 'f', 1));
}

void StationWork::writeReport() {
    if (!isReady()) {
        return;
    }
    const QString file = reportFile(m_session);
    if (file.isEmpty()) {
        return;
    }
    output(
        tr("输出报告"), "report", file,
        [globe = m_session.mapPicture()](const ProjectDescription& project, mysqlhelper::KV_MySQL& database,
                                         const QString& path, const OutputProgress& progress) {
            auto data = readInspectionData(project, database);
            return data ? inspection::writeReport({*std::move(data), globe}, path, progress) : failed(data);
        });
}

void StationWork::writeShapes() {
    if (!isReady()) {
        return;
    }
    const QString folder = shapeFolder(m_session);
    if (folder.isEmpty()) {
        return;
    }
    output(tr("输出shape"), "shape", folder,
           [](const ProjectDescription& project, mysqlhelper::KV_MySQL& database, const QString& path,
              const OutputProgress& progress) -> Status {
               const auto written = writeStoredShapes(project, database, {}, path, progress);
               return written ? Status() : failed(written);
           });
}

void StationWork::output(const QString& title, const QString& kind, const QString& path, const Write& write) {
    const auto work = [project = m_session.project()->description(), path,
                       write](const OutputProgress& progress) -> Status {
        // Where it cannot be made, the writer names the file that cannot be opened.
        QDir().mkpath(QFileInfo(path).absolutePath());
        const auto database = PipelineDatabase::open(project, Project::Access::ReadOnly);
        return database ? write(project, *(*database)->GetMySQL(), path, progress) : failed(database);
    };
    m_session.jobs().start(title, [this, kind, path, work](const JobRunner::Progress& progress) {
        const Status written = work([&](double fraction) { return progress(fraction, QString()); });
        return [this, kind, path, written] { finishOutput(kind, path, written); };
    });
}

void StationWork::finishOutput(const QString& kind, const QString& path, const Status& written) {
    if (!written) {
        if (!written.error().cancelled) {
            m_session.warn(written.error().userMessage);
        }
    }
    emit outputFinished(kind, written.has_value(), path);
}

} // namespace inspection
