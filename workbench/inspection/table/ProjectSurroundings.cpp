#include "workbench/inspection/table/ProjectSurroundings.h"

#include "workbench/inspection/session/Log.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <QFileInfo>
#include <QGuiApplication>

#include <algorithm>

namespace inspection {

ProjectSurroundings::ProjectSurroundings(Session& session, QObject* parent)
    : QObject(parent), m_session(session) {
    const ProjectHistory& history = m_session.history();
    connect(&history, &ProjectHistory::rowsChanged, this, &ProjectSurroundings::applyRows);
    connect(&history, &ProjectHistory::replacedByOthers, this, &ProjectSurroundings::forget);
    connect(&m_session, &Session::closing, this, [this] {
        m_known.reset();
        m_pipeline.reset();
    });
    // The line is drawn in other programs, from which the user comes back.
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, &ProjectSurroundings::lookAtCenterline);
}

std::shared_ptr<const StationSurroundings> ProjectSurroundings::around(const KV_Station& station) {
    if (!m_session.project() || station.m_id == 0) {
        return nullptr;
    }
    try {
        if (!m_known || m_lineWritten != lineWritten()) {
            read();
        }
        return m_known->around(station); // NOLINT(bugprone-unchecked-optional-access): read() has set it
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "What lies around a station cannot be read:" << exception.what();
        return nullptr;
    }
}

void ProjectSurroundings::read() {
    if (const QDateTime written = lineWritten(); !m_pipeline || m_lineWritten != written) {
        m_pipeline = std::make_shared<Pipeline>(Pipeline::read(m_session.project()->description()));
        m_lineWritten = written;
    }
    m_known.emplace(*m_pipeline, readHighConsequenceAreas(*m_session.connection()));
}

void ProjectSurroundings::forget() {
    m_known.reset();
    emit changed();
}

void ProjectSurroundings::applyRows(const RowChanges& changes) {
    const std::string areas = tableName(KV_HIGH_CONSEQUENCE_AREA);
    if (std::any_of(changes.begin(), changes.end(),
                    [&](const RowChange& change) { return change.table == areas; })) {
        forget();
    }
}

void ProjectSurroundings::lookAtCenterline() {
    if (m_known && m_lineWritten != lineWritten()) {
        forget();
    }
}

QDateTime ProjectSurroundings::lineWritten() const {
    return QFileInfo(m_session.project()->description().centerline).lastModified();
}

} // namespace inspection
