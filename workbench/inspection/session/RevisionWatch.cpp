#include "workbench/inspection/session/RevisionWatch.h"

#include "workbench/inspectiondata/database/PipelineDatabase.h"
#include "workbench/inspectiondata/database/Revision.h"

#include <QDeadlineTimer>

namespace inspection {

using mysqlhelper::KV_MySQL_Exception;

RevisionWatch::RevisionWatch(const ProjectDescription& project, QObject* parent)
    : QThread(parent), m_project(project) {}

RevisionWatch::~RevisionWatch() {
    m_mutex.lock();
    m_isEnding = true;
    m_mutex.unlock();
    m_ending.wakeAll();
    wait();
}

bool RevisionWatch::pause() {
    constexpr qint64 kMilliseconds = 1000;
    const QMutexLocker lock(&m_mutex);
    const QDeadlineTimer end(kMilliseconds);
    while (!m_isEnding && m_ending.wait(&m_mutex, end)) {
    }
    return !m_isEnding;
}

void RevisionWatch::run() {
    std::unique_ptr<PipelineDatabase> database;
    bool isLost = false;
    while (pause()) {
        QString cause;
        try {
            if (!database) {
                auto opened = PipelineDatabase::open(m_project, Project::Access::ReadOnly);
                if (opened) {
                    database = std::move(*opened);
                } else {
                    cause = opened.error().message;
                }
            }
            if (database) {
                emit looked(readRevision(*database->GetMySQL()));
            }
        } catch (const KV_MySQL_Exception& exception) {
            database.reset();
            cause = QString::fromUtf8(exception.what());
        }
        if (isLost != !database) {
            isLost = !database;
            isLost ? emit connectionLost(cause) : emit connectionBack();
        }
    }
}

} // namespace inspection
