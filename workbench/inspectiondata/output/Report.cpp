#include "workbench/inspectiondata/output/Report.h"

#include "workbench/inspectiondata/output/OutputTarget.h"
#include "workbench/inspectiondata/output/ReportPdf.h"
#include "workbench/inspectiondata/output/ReportText.h"

#include <QFile>
#include <QFileInfo>
#include <QIODevice>

namespace inspection {

namespace {

/// Passes bytes on and remembers whether all of them were taken. The PDF writer does not look at that, and a
/// write that a full disk cuts short is no error to the file.
class CheckedDevice : public QIODevice {
public:
    explicit CheckedDevice(QIODevice& target) : m_target(target) { QIODevice::open(QIODevice::WriteOnly); }

    bool isSequential() const override { return true; }
    bool complete() const { return m_complete; }

protected:
    qint64 readData(char* /*data*/, qint64 /*size*/) override { return -1; }
    qint64 writeData(const char* data, qint64 size) override {
        m_complete = m_complete && m_target.write(data, size) == size;
        return size;
    }

private:
    QIODevice& m_target;
    bool m_complete = true;
};

Unexpected writeFailure(const QString& file, const QString& cause) {
    return fileFailure(file, "cannot be written: " + cause, "无法写入：" + cause);
}

} // namespace

Status writeReport(const ReportContent& content, const QString& file, const OutputProgress& progress) {
    const QString format = QFileInfo(file).suffix().toLower();
    if (format != "pdf" && format != "odt" && format != "html") {
        return fileFailure(file, "a report is .pdf, .odt or .html", "报告文件必须是 .pdf、.odt 或 .html");
    }
    if (auto apart = checkTargets({file}, content.data.project); !apart) {
        return apart;
    }
    const auto staged = stageBeside(file);
    if (!staged) {
        return failed(staged);
    }
    QFile target(QString::fromStdString(staged->path()));
    if (!target.open(QIODevice::WriteOnly)) {
        return writeFailure(file, target.errorString());
    }
    CheckedDevice checked(target);
    const bool whole = format == "pdf" ? writePdfReport(content, checked, progress)
                                       : writeTextReport(content, format, checked, progress);
    if (!whole) {
        return cancelled();
    }
    if (!checked.complete() || !target.flush()) {
        return fileFailure(file, "cannot be written, the disk may be full", "无法写入，磁盘可能已满");
    }
    target.close();
    return commit(*staged);
}

} // namespace inspection
