#pragma once

#include <QObject>
#include <QThreadPool>

#include <functional>

namespace inspection {

/// Reads beside the GUI thread, one thing at a time. Of what is asked for during a read only the latest is
/// read, so that a slow file never lags behind the pointer. GUI thread.
class LatestRead : public QObject {
    Q_OBJECT

public:
    using Delivery = std::function<void()>;
    /// Runs on a thread of its own; what it returns is called on the GUI thread.
    using Read = std::function<Delivery()>;

    explicit LatestRead(QObject* parent = nullptr);
    /// Waits for a read that is under way.
    ~LatestRead() override;

    void ask(const Read& read);
    /// What has been asked for so far is not delivered.
    void drop();
    bool isReading() const { return m_running; }

signals:
    /// Everything that was asked for has been delivered.
    void finished();

private:
    void start(const Read& read);
    void take(const Delivery& delivery, quint64 generation);

    Read m_next;
    quint64 m_generation = 0;
    bool m_running = false;
    QThreadPool m_thread;
};

} // namespace inspection
