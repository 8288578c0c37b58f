#pragma once

#include "detect/Result.h"

#include <QString>

namespace inspection {

/// Why something could not be done, once for the log and the command line and once for the user.
struct Failure {
    QString message;        ///< one English line that names the file and the cause
    QString userMessage;    ///< the same in Chinese, for a message box
    bool cancelled = false; ///< the user's stop, not an error
};

/// A value, or why there is none.
template<class T>
using Result = tl::expected<T, Failure>;

/// Done, or why not.
using Status = Result<void>;

/// What a function returns instead of its value when it fails.
using Unexpected = tl::unexpected<Failure>;

using detect::failed;

/// "file: cause" in both languages.
inline Unexpected fileFailure(const QString& file, const QString& cause, const QString& userCause) {
    return Unexpected(Failure{file + ": " + cause, file + QStringLiteral("：") + userCause});
}

/// A failure of the engine, whose one line is the user's already.
inline Unexpected sayAgain(const detect::Failure& failure) {
    const QString line = QString::fromStdString(failure.message);
    return Unexpected(Failure{line, line, failure.cancelled});
}

inline Unexpected cancelled() {
    return Unexpected(Failure{QStringLiteral("cancelled"), QStringLiteral("已取消"), true});
}

} // namespace inspection
