#pragma once

#include "workbench/inspectiondata/project/ProjectDescription.h"

#include <QMutex>
#include <QThread>
#include <QWaitCondition>

namespace inspection {

/// Looks every second, on a thread and a connection of its own, at which revision a project's data are, so
/// that a slow or lost server never makes the user wait.
class RevisionWatch : public QThread {
    Q_OBJECT

public:
    explicit RevisionWatch(const ProjectDescription& project, QObject* parent = nullptr);
    /// Ends the watch, which takes as long as a statement that is under way.
    ~RevisionWatch() override;

signals:
    /// Emitted every second, on the watch's thread.
    void looked(qint64 revision);
    /// The database does not answer any more, or does again. Emitted once for each.
    void connectionLost(const QString& cause);
    void connectionBack();

protected:
    void run() override;

private:
    /// False when the watch is to end.
    bool pause();

    const ProjectDescription m_project;
    QMutex m_mutex;
    QWaitCondition m_ending;
    bool m_isEnding = false;
};

} // namespace inspection
