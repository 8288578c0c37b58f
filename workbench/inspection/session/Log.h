#pragma once

#include <QLoggingCategory>

namespace inspection {

/// Where this library tells, in English, what went wrong without an answer to anybody:
/// `qCWarning(windowLog) << …`. Users read messages, not the log.
inline const QLoggingCategory& windowLog() {
    static const QLoggingCategory category("corridor.inspection");
    return category;
}

} // namespace inspection
