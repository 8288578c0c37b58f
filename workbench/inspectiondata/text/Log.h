#pragma once

#include <QLoggingCategory>

namespace inspection {

/// Where this library tells, in English, what went wrong without an answer to anybody:
/// `qCWarning(dataLog) << …`. Users read messages, not the log.
inline const QLoggingCategory& dataLog() {
    static const QLoggingCategory category("corridor.inspectiondata");
    return category;
}

} // namespace inspection
