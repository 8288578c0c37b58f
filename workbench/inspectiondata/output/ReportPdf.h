#pragma once

#include "workbench/inspectiondata/output/Report.h"

class QIODevice;

namespace inspection {

/// Writes the report as PDF to an open device. False when `progress` stopped it.
bool writePdfReport(const ReportContent& content, QIODevice& target, const OutputProgress& progress);

} // namespace inspection
