#pragma once

#include "workbench/inspectiondata/output/Report.h"

#include <QIODevice>

namespace inspection {

/// Writes the report as flowing text, with its tables and pictures, to an open device. `format` is "odt" or
/// "html"; HTML carries its pictures within. False when `progress` stopped it.
bool writeTextReport(const ReportContent& content, const QString& format, QIODevice& target,
                     const OutputProgress& progress);

} // namespace inspection
