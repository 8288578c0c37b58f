#pragma once

#include "host/inspection/Station.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <optional>
#include <vector>

namespace inspection {

class Session;

/// What the user does to stored anomalies, each as one edit of the project's history, which tells the windows.
/// When the database refuses, the user is told and nothing is changed. GUI thread.
class AnomalyEdits {
public:
    explicit AnomalyEdits(Session& session) : m_session(session) {}

    /// Stores the attributes of these anomalies. Gives what that changed; nothing when it was refused.
    std::optional<RowChanges> classify(const std::vector<SdiffData>& anomalies);
    std::optional<RowChanges> remove(const std::vector<SdiffData>& anomalies);
    /// Takes deletions back.
    std::optional<RowChanges> restore(const std::vector<SdiffData>& anomalies);

private:
    std::optional<RowChanges> perform(const QString& description, const ProjectHistory::Work& work);

    Session& m_session;
};

} // namespace inspection
