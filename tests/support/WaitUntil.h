#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QEvent>
#include <QTimer>

#include <functional>

/// Runs the event loop until `done`, which is asked after every round of events and at least every five
/// milliseconds; false when that took too long. Unlike QTest::qWaitFor it never sleeps while there is
/// something to do, so a globe draws its frames as fast as in the product.
inline bool waitUntil(const std::function<bool()>& done, int mostMilliseconds = 20000) {
    constexpr int kAskAgainMilliseconds = 5;
    QTimer alarm;
    alarm.start(kAskAgainMilliseconds);
    const QDeadlineTimer deadline(mostMilliseconds);
    while (!done()) {
        if (deadline.hasExpired()) {
            return false;
        }
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents);
        QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
    }
    return true;
}
