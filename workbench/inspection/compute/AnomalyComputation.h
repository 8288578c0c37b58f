#pragma once

#include "workbench/inspection/compute/ComputeAnomalies.h"

#include <QObject>

#include <atomic>
#include <thread>

namespace inspection {

/// Runs computeAnomalies beside the GUI thread. The object lives on the GUI thread and emits its signals
/// there; one computation at a time. Destroying it cancels and waits.
class INSPECTION_API AnomalyComputation : public QObject {
    Q_OBJECT

public:
    explicit AnomalyComputation(QObject* parent = nullptr);
    ~AnomalyComputation() override;

    bool isRunning() const { return m_running; }
    /// False, and nothing happens, while a computation is running.
    bool start(const ComputationRequest& request);
    /// Asks the computation to stop; failed() with a cancelled failure follows.
    void cancel() { m_cancelled = true; }

signals:
    void progressed(double fraction, const QString& what);
    /// One of the two ends every computation; isRunning() is false by then.
    void succeeded(const inspection::ComputationSummary& summary);
    void failed(const inspection::Failure& failure);

private:
    void finish(const Result<ComputationSummary>& result);

    std::thread m_worker;
    std::atomic<bool> m_cancelled{false};
    bool m_running = false;
};

} // namespace inspection
