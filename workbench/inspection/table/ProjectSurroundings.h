#pragma once

#include "workbench/inspectiondata/database/RowChange.h"
#include "workbench/inspectiondata/pipeline/Surroundings.h"

#include <QDateTime>
#include <QObject>

#include <memory>
#include <optional>

namespace inspection {

class Session;

/// The centre line and the high-consequence areas of the open project, read when they are first asked for and
/// anew once they are other ones. GUI thread.
class ProjectSurroundings : public QObject {
    Q_OBJECT

public:
    /// `session` must outlive it.
    explicit ProjectSurroundings(Session& session, QObject* parent = nullptr);

    /// What lies around that station's anomalies; null for station 0, while no project is
    /// open, and when its database does not answer.
    std::shared_ptr<const StationSurroundings> around(const KV_Station& station);
    /// The centre line as around() found it last; null before that.
    std::shared_ptr<const Pipeline> pipeline() const { return m_pipeline; }

signals:
    /// What was given before is no longer true.
    void changed();

private:
    /// Throws KV_MySQL_Exception when the database refuses.
    void read();
    void forget();
    void applyRows(const RowChanges& changes);
    void lookAtCenterline();
    QDateTime lineWritten() const;

    Session& m_session;
    std::shared_ptr<const Pipeline> m_pipeline; ///< that of what is known
    std::optional<CorridorSurroundings> m_known;
    QDateTime m_lineWritten; ///< when the centre line's file was that has been read; invalid without one
};

} // namespace inspection
