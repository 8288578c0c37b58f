#pragma once

#include "detect/Detection.h"
#include "host/Export.h"

#include <QString>
#include <QStringList>

#include <cstdint>
#include <optional>
#include <vector>

/// What detection did to a pair of epochs, in Chinese.
namespace inspection {

/// "高程偏差改正"
INSPECTIONDATA_API QString methodTitle(detect::CoregistrationMethod method);
/// "dX 0.120 m，dY −0.034 m，dZ 0.012 m"
INSPECTIONDATA_API QString shiftText(const detect::Coregistration& coregistration);
/// "NMAD 0.061 → 0.043 m"
INSPECTIONDATA_API QString scatterText(const detect::Coregistration& coregistration);
/// Method, shift and scatter in one line, and why a shift was refused.
INSPECTIONDATA_API QString coregistrationLine(const detect::Coregistration& coregistration);
/// Why the method was chosen and why a shift was refused; a line for each.
INSPECTIONDATA_API QStringList coregistrationReasons(const detect::Coregistration& coregistration);

struct RejectionCount {
    QString rule;
    std::int64_t rejected = 0;
};
/// How many components each rule has turned away.
INSPECTIONDATA_API std::vector<RejectionCount> rejectionCounts(const detect::Rejections& rejections);

/// Why the anomalies cannot be trusted, and what to try, in one line: stable ground alone scatters by more than the
/// threshold, so that about a third of it would count as changed. Nothing where they can, or where significance
/// has taken the scatter into account.
INSPECTIONDATA_API std::optional<QString> doubtOf(double nmadAfterMetres,
                                                  const detect::Parameters& parameters);

} // namespace inspection
