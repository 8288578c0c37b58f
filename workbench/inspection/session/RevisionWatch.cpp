#include "workbench/inspection/session/RevisionWatch.h"

#include "workbench/inspectiondata/database/Driver.h"
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

// What this thread waits for, nobody waits for; so it can say soon that the server is lost.
void RevisionWatch::run() {
    constexpr int kAnswerMilliseconds = 3000;
    std::unique_ptr<PipelineDatabase> database;
    bool isLost = false;
    while (pause()) {
        QString cause;
        try {
            if (!database) {
                auto opened = PipelineDatabase::open(m_project, Project::Access::ReadOnly);
                if (opened) {
                    database = std::move(*opened);
                    database->GetMySQL()->driver().setPatience({kAnswerMilliseconds, 0, {}});
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
