#include "workbench/inspection/context/Session.h"

#include "host/style/myMessageBox.h"
#include "workbench/inspection/project/CurrentProject.h"

#include <utility>

namespace inspection {

Session::Session(QWidget* mainWindow) : m_mainWindow(mainWindow) {
    connect(&m_history, &ProjectHistory::refused, this, &Session::warn);
}

Session::~Session() {
    m_jobs.shutDown();
    CurrentProject::clear();
}

Status Session::open(const QString& folder) {
    close();
    auto project = Project::open(folder);
    if (const auto* failure = std::get_if<Failure>(&project)) {
        return *failure;
    }
    m_project.emplace(std::get<Project>(std::move(project)));
    auto database = PipelineDatabase::open(m_project->description(), m_project->access());
    if (const auto* failure = std::get_if<Failure>(&database)) {
        m_project.reset();
        return *failure;
    }
    m_database = std::get<std::unique_ptr<PipelineDatabase>>(std::move(database));
    CurrentProject::set(&m_project->description(), m_database.get());
    if (Status failure = readHistory()) {
        close();
        return failure;
    }
    emit opened();
    emit parametersChanged();
    return std::nullopt;
}

Status Session::readHistory() {
    try {
        m_history.setDatabase(connection());
        return std::nullopt;
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        const QString cause = QString::fromUtf8(exception.what());
        return Failure{cause, tr("无法读取项目数据库：%1").arg(cause), false};
    }
}

void Session::close() {
    if (!m_project) {
        return;
    }
    m_jobs.shutDown();
    emit closing();
    m_history.setDatabase(nullptr);
    CurrentProject::clear();
    m_database.reset();
    m_project.reset();
}

mysqlhelper::KV_MySQL* Session::connection() const {
    return m_database ? m_database->GetMySQL() : nullptr;
}

ProjectParameters Session::parameters() const {
    return m_project ? m_project->description().parameters : ProjectParameters();
}

Status Session::setParameters(const ProjectParameters& parameters) {
    if (!m_project) {
        return Failure{QStringLiteral("no project is open"), tr("没有打开的工程"), false};
    }
    if (parameters == m_project->description().parameters) {
        return std::nullopt;
    }
    if (Status failure = m_project->setParameters(parameters)) {
        return failure;
    }
    emit parametersChanged();
    return std::nullopt;
}

void Session::warn(const QString& text) const {
    myMessageBox::showMyMessageBox(m_mainWindow, tr("提示"), text, myMessageBox::Warning, myMessageBox::Ok,
                                   true);
}

void Session::inform(const QString& text) const {
    myMessageBox::showMyMessageBox(m_mainWindow, tr("提示"), text, myMessageBox::Success, myMessageBox::Ok,
                                   true);
}

bool Session::ask(const QString& question) const {
    constexpr int kConfirmed = 0;
    return myMessageBox::showMyMessageBox(m_mainWindow, tr("提示"), question, myMessageBox::Question,
                                          myMessageBox::YesNo, true) == kConfirmed;
}

} // namespace inspection
