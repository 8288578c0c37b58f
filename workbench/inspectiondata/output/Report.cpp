#include "workbench/inspectiondata/output/Report.h"

#include "workbench/inspectiondata/output/ReportPdf.h"
#include "workbench/inspectiondata/output/ReportText.h"

#include <QFileInfo>
#include <QIODevice>
#include <QSaveFile>

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

} // namespace

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
    CheckedDevice checked(target);
    const bool whole = format == "pdf" ? writePdfReport(content, checked, progress)
                                       : writeTextReport(content, format, checked, progress);
    if (!whole) {
        target.cancelWriting();
        return cancelled();
    }
    if (!checked.complete() || !target.flush()) {
        target.cancelWriting();
        return fileFailure(file, "cannot be written, the disk may be full", "无法写入，磁盘可能已满");
    }
    if (!target.commit()) {
        return fileFailure(file, "cannot be written: " + target.errorString(),
                           "无法写入：" + target.errorString());
    }
    return {};
}

} // namespace inspection
