#include "workbench/inspection/session/JobRunner.h"

#include <QMetaObject>

#include <utility>

namespace inspection {

namespace {

/// Lets a progress report through when it would be seen: a whole permille, or another step.
class ReportFilter {
public:
    bool passes(double fraction, const QString& step) {
        const int permille = static_cast<int>(fraction * 1000.0);
        if (permille == m_permille && step == m_step) {
            return false;
        }
        m_permille = permille;
        m_step = step;
        return true;
    }

private:
    int m_permille = -1;
    QString m_step;
};

} // namespace

JobRunner::JobRunner(QObject* parent) : QObject(parent) {}

JobRunner::~JobRunner() {
    shutDown();
}

bool JobRunner::start(const QString& title, Work work) {
    if (isRunning()) {
        return false;
    }
    m_title = title;
    m_cancelled = std::make_shared<std::atomic<bool>>(false);
    emit started(title);

    const int run = ++m_run;
    m_thread = std::thread([this, run, work = std::move(work), cancelled = m_cancelled] {
        auto filter = std::make_shared<ReportFilter>();
        const Outcome outcome = work([this, run, cancelled, filter](double fraction, const QString& step) {
            if (filter->passes(fraction, step)) {
                QMetaObject::invokeMethod(
                    this, [this, run, fraction, step] { report(run, fraction, step); }, Qt::QueuedConnection);
            }
            return !cancelled->load();
        });
        QMetaObject::invokeMethod(
            this, [this, run, outcome] { deliver(run, outcome); }, Qt::QueuedConnection);
    });
    return true;
}

void JobRunner::cancel() {
    if (m_cancelled) {
        m_cancelled->store(true);
    }
}

void JobRunner::shutDown() {
    if (!isRunning()) {
        return;
    }
    cancel();
    m_thread.join();
    ++m_run; // what the work has posted by now belongs to a run that is over
    emit finished();
}

void JobRunner::report(int run, double fraction, const QString& step) {
    if (run == m_run && isRunning()) {
        emit progressed(fraction, step);
    }
}

void JobRunner::deliver(int run, const Outcome& outcome) {
    if (run != m_run) {
        return;
    }
    m_thread.join();
    emit finished();
    if (outcome) {
        outcome();
    }
}

} // namespace inspection
