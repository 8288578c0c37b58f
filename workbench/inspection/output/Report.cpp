#include "workbench/inspection/output/Report.h"

#include "workbench/inspection/output/ReportPdf.h"
#include "workbench/inspection/output/ReportText.h"

#include <QFileInfo>
#include <QSaveFile>

namespace inspection {

Status writeReport(const ReportContent& content, const QString& file, const OutputProgress& progress) {
    const QString format = QFileInfo(file).suffix().toLower();
    if (format != "pdf" && format != "odt" && format != "html") {
        return fileFailure(file, "a report is .pdf, .odt or .html", "报告文件必须是 .pdf、.odt 或 .html");
    }
    QSaveFile target(file);
    if (!target.open(QIODevice::WriteOnly)) {
        return fileFailure(file, "cannot be written: " + target.errorString(),
                           "无法写入：" + target.errorString());
    }
    const bool whole = format == "pdf" ? writePdfReport(content, target, progress)
                                       : writeTextReport(content, format, target, progress);
    if (!whole) {
        target.cancelWriting();
        return cancelledFailure();
    }
    // A buffer that could not go out does not count as an error of writing, so it is looked at before.
    const bool complete = target.flush() && target.error() == QFileDevice::NoError;
    if (!complete) {
        target.cancelWriting();
    }
    if (!target.commit()) {
        return fileFailure(file, "cannot be written: " + target.errorString(),
                           "无法写入：" + target.errorString());
    }
    return std::nullopt;
}

} // namespace inspection
