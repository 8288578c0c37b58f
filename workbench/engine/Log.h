#pragma once

#include <QLoggingCategory>

namespace zeo {

/// Where this library tells, in English, what went wrong in a command: `qCWarning(engineLog) << …`.
inline const QLoggingCategory& engineLog() {
    static const QLoggingCategory category("corridor.engine");
    return category;
}

} // namespace zeo
