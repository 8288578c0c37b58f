#pragma once

#include "host/Export.h"
#include "workbench/inspectiondata/output/InspectionData.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QImage>
#include <QString>

#include <functional>

namespace inspection {

struct ReportContent {
    InspectionData data;
    QImage globePicture; ///< what the globe shows; may be null
};

/// Called with 0..1; false stops the work.
using OutputProgress = std::function<bool(double fraction)>;

/// Writes the inspection report (A4, Chinese). The ending of `file` chooses the format: .pdf, .odt or .html.
/// An earlier file of that name is replaced only when the new one is complete. Any thread, with a
/// QGuiApplication.
INSPECTIONDATA_API Status writeReport(const ReportContent& content, const QString& file,
                                      const OutputProgress& progress = {});

} // namespace inspection
