#pragma once

#include "workbench/inspectiondata/compute/ComputeAnomalies.h"
#include "workbench/inspectiondata/output/InspectionData.h"
#include "workbench/inspectiondata/output/Report.h"

#include <QObject>
#include <QString>

#include <cstdint>
#include <functional>
#include <vector>

namespace inspection {

class Session;

/// The work on whole stations: computing anomalies, report and shape output. Runs beside the GUI thread
/// through the session's jobs; tells the user what went wrong in one message. GUI thread.
class StationWork : public QObject {
    Q_OBJECT

public:
    explicit StationWork(Session& session, QObject* parent = nullptr);

    /// Says so when nothing is given or other work is going on.
    void compute(const std::vector<std::uint32_t>& stationIds);
    /// Figures of the last computation that succeeded.
    const ComputationSummary& lastComputation() const { return m_lastComputation; }
    void writeReport();
    void writeShapes();

signals:
    /// The stations have new anomalies.
    void computed(const std::vector<std::uint32_t>& stationIds);
    void computeFinished(bool ok, const QString& message);
    /// `kind` is "report" or "shape", `path` the file or folder written.
    void outputFinished(const QString& kind, bool ok, const QString& path);

private:
    using Write = std::function<Status(const ProjectDescription&, mysqlhelper::KV_MySQL&, const QString& path,
                                       const OutputProgress&)>;

    bool isReady();
    void finishComputation(const Result<ComputationSummary>& result);
    /// `write` reads by a connection of its own, so that the window waits for nothing.
    void output(const QString& title, const QString& kind, const QString& path, const Write& write);
    void finishOutput(const QString& kind, const QString& path, const Status& written);

    Session& m_session;
    ComputationSummary m_lastComputation;
};

} // namespace inspection
