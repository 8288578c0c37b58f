#pragma once

#include <QString>

#include <optional>
#include <utility>
#include <variant>

namespace inspection {

/// Why something could not be done, once for the log and the command line and once for the user.
struct Failure {
    QString message;        ///< one English line that names the file and the cause
    QString userMessage;    ///< the same in Chinese, for a message box
    bool cancelled = false; ///< the user's stop, not an error
};

/// A value, or why there is none.
template<typename T>
using Result = std::variant<T, Failure>;

/// Empty when the work is done.
using Status = std::optional<Failure>;

/// "file: cause" in both languages.
inline Failure fileFailure(const QString& file, const QString& cause, const QString& userCause) {
    return {file + ": " + cause, file + QStringLiteral("：") + userCause, false};
}

inline Failure cancelledFailure() {
    return {QStringLiteral("cancelled"), QStringLiteral("已取消"), true};
}

} // namespace inspection
