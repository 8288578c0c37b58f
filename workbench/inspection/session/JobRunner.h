#pragma once

#include <QObject>
#include <QString>

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

namespace inspection {

/// Long work beside the GUI thread, one at a time. All members belong to the GUI thread.
class JobRunner : public QObject {
    Q_OBJECT

public:
    /// Called by the work now and then with 0..1 and what it is doing; false means that the user wants it to
    /// stop. On the thread of the work.
    using Progress = std::function<bool(double fraction, const QString& step)>;
    /// What remains to be done on the GUI thread once the work is over.
    using Outcome = std::function<void()>;
    /// Runs on a thread of its own and must not throw.
    using Work = std::function<Outcome(const Progress&)>;

    explicit JobRunner(QObject* parent = nullptr);
    /// Cancels and joins what is still running; its outcome is dropped.
    ~JobRunner() override;

    /// False, and nothing happens, while other work is running.
    bool start(const QString& title, Work work);
    bool isRunning() const { return m_thread.joinable(); }
    const QString& title() const { return m_title; }
    /// Cancels and joins what is still running; its outcome is dropped.
    void shutDown();

public slots:
    /// Asks the running work to stop; its outcome follows as usual.
    void cancel();

signals:
    void started(const QString& title);
    void progressed(double fraction, const QString& step);
    /// The work is over; its outcome runs right after this.
    void finished();

private:
    void deliver(int run, const Outcome& outcome);
    void report(int run, double fraction, const QString& step);

    std::thread m_thread;
    std::shared_ptr<std::atomic<bool>> m_cancelled;
    QString m_title;
    int m_run = 0;
};

} // namespace inspection
