#include "workbench/inspection/session/Session.h"

#include "host/style/myMessageBox.h"
#include "workbench/inspection/session/Log.h"
#include "workbench/inspection/session/StationWork.h"
#include "workbench/inspectiondata/database/AnomalyChanges.h"
#include "workbench/inspectiondata/database/Driver.h"
#include "workbench/inspectiondata/database/Inspector.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/project/CurrentProject.h"
#include "workbench/inspectiondata/project/ServerAddress.h"

#include <QFileInfo>
#include <QScopedValueRollback>

#include <algorithm>
#include <utility>

namespace inspection {

namespace {

Status readHistory(ProjectHistory& history, const Project& project, PipelineDatabase& database) {
    const bool isWritable = project.access() == Project::Access::Exclusive;
    try {
        history.setDatabase(database.GetMySQL(), isWritable ? inspectorOf(project.description()) : QString());
        return {};
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        const QString cause = QString::fromUtf8(exception.what());
        return Unexpected(Failure{cause, Session::tr("无法读取项目数据库：%1").arg(cause)});
    }
}

} // namespace

Session::Session(QWidget* mainWindow)
    : m_mainWindow(mainWindow), m_work(std::make_unique<StationWork>(*this)) {
    connect(&m_history, &ProjectHistory::refused, this, &Session::warn);
    connect(&m_history, &ProjectHistory::rowsChanged, this, &Session::tellOfOtherPair);
    connect(&m_history, &ProjectHistory::replacedByOthers, this, [this] { m_comparisonId = kNoComparison; });
    connect(&m_history, &ProjectHistory::settled, this, &Session::inform, Qt::QueuedConnection);
    connect(&m_history, &ProjectHistory::metOthers, this, &Session::catchUp, Qt::QueuedConnection);
    m_history.setConflictQuestion([this](const QString& question) { return askCautiously(question); });
}

Session::~Session() {
    m_jobs.shutDown();
    m_watch.reset();
    CurrentProject::clear();
}

/// A project that is not yet the session's.
struct Session::Opened {
    Project project;
    std::unique_ptr<PipelineDatabase> database;
    QString readOnlyReason;
};

Status Session::open(const QString& folder) {
    if (isOpen(folder)) { // its own lock would be in the way
        if (const auto readable = Project::open(folder, Project::Access::ReadOnly); !readable) {
            return failed(readable);
        }
        close();
    }
    auto opened = openAsFarAsPossible(folder);
    if (!opened) {
        return failed(opened);
    }
    close();
    if (auto done = take(*std::move(opened)); !done) {
        forget();
        return done;
    }
    watchOthers();
    emit this->opened();
    emit parametersChanged();
    return {};
}

Status Session::setBaseLayers(const std::vector<BaseLayer>& layers) {
    if (!m_project) {
        return Unexpected(Failure{QStringLiteral("no project is open"), tr("没有打开的项目")});
    }
    return m_project->setBaseLayers(layers);
}

bool Session::isOpen(const QString& folder) const {
    return m_project && QFileInfo(folder) == QFileInfo(m_project->description().folder);
}

Result<Session::Opened> Session::openAsFarAsPossible(const QString& folder) {
    auto writable = openBeside(folder, Project::Access::Exclusive);
    if (writable) {
        return writable;
    }
    auto readable = openBeside(folder, Project::Access::ReadOnly);
    if (!readable) {
        return writable; // it says more than the second one
    }
    readable->readOnlyReason = tr("%1。项目已以只读方式打开，不能修改").arg(writable.error().userMessage);
    return readable;
}

Result<Session::Opened> Session::openBeside(const QString& folder, Project::Access access) {
    auto project = Project::open(folder, access);
    if (!project) {
        return failed(project);
    }
    auto database = PipelineDatabase::open(project->description(), access);
    if (!database) {
        return failed(database);
    }
    ProjectHistory history; // what cannot be read is found out while the other project is still open
    if (auto done = readHistory(history, *project, **database); !done) {
        return failed(done);
    }
    return Opened{*std::move(project), *std::move(database), {}};
}

Status Session::take(Opened opened) {
    const Project& project = m_project.emplace(std::move(opened.project));
    m_database = std::move(opened.database);
    m_readOnlyReason = opened.readOnlyReason;
    CurrentProject::set(&project.description(), m_database.get());
    m_overlayMode = project.description().parameters.overlayMode;
    return readHistory(m_history, project, *m_database);
}

void Session::watchOthers() {
    const bool isShared = isServerAddress(project()->description().databaseUrl());
    if (!isShared && m_readOnlyReason.isEmpty()) {
        return; // the folder is locked
    }
    setPatience(false);
    m_watch = std::make_unique<RevisionWatch>(project()->description());
    connect(m_watch.get(), &RevisionWatch::looked, this, &Session::takeStepsOfOthers);
    connect(m_watch.get(), &RevisionWatch::connectionLost, this, &Session::takeLoss);
    connect(m_watch.get(), &RevisionWatch::connectionBack, this, &Session::takeReturn);
    m_watch->start();
}

// A server that is known to be lost is tried once only: the watch says when it is back.
void Session::setPatience(bool isServerLost) {
    constexpr int kAnswerMilliseconds = 7000; // a locked row is waited for five seconds
    mysqlhelper::Patience patience;
    patience.answerMilliseconds = kAnswerMilliseconds;
    patience.reconnectionMilliseconds = isServerLost ? 0 : patience.reconnectionMilliseconds;
    patience.notice = [this](bool isWaiting) {
        emit waiting(isWaiting ? tr("正在等待数据库回答…") : QString());
    };
    connection()->driver().setPatience(patience);
}

void Session::takeLoss(const QString& cause) {
    qCWarning(windowLog).noquote() << "The connection to the database is lost:" << cause;
    setPatience(true);
    emit connectionChanged(tr("与数据库的连接已断开，正在重试"));
}

void Session::takeReturn() {
    setPatience(false);
    emit connectionChanged(tr("与数据库的连接已恢复"));
    try {
        m_history.settle();
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "What was cut off cannot be looked up:" << exception.what();
    }
    catchUp(); // which connects again
}

void Session::takeStepsOfOthers(qint64 newestRevision) {
    // What a question is about must not change while it stands.
    if (m_isAsking || isEditorOpen() || !m_database) {
        return;
    }
    try {
        m_history.takeStepsOfOthers(newestRevision);
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "What others have edited cannot be read:" << exception.what();
    }
}

bool Session::isServerLost() const {
    return m_database && !connection()->isOpen();
}

void Session::catchUp() {
    try {
        if (m_database) {
            takeStepsOfOthers(readRevision(*connection()));
        }
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "What others have edited cannot be read:" << exception.what();
    }
}

void Session::holdNewsWhileOpen(QWidget* editor) {
    m_editors.emplace_back(editor);
}

// A closed editor is hidden at once and lives on for a while.
bool Session::isEditorOpen() {
    m_editors.erase(
        std::remove_if(m_editors.begin(), m_editors.end(),
                       [](const QPointer<QWidget>& editor) { return !editor || !editor->isVisible(); }),
        m_editors.end());
    return !m_editors.empty();
}

void Session::close() {
    if (!m_project) {
        return;
    }
    m_jobs.shutDown();
    m_watch.reset();
    emit closing();
    forget();
}

void Session::forget() {
    m_history.setDatabase(nullptr, QString());
    CurrentProject::clear();
    m_database.reset();
    m_project.reset();
    m_comparisonId = kNoComparison;
    m_readOnlyReason.clear();
    m_overlayMode = parameters().overlayMode;
}

mysqlhelper::KV_MySQL* Session::connection() const {
    return m_database ? m_database->GetMySQL() : nullptr;
}

ProjectParameters Session::parameters() const {
    return m_project ? m_project->description().parameters : ProjectParameters();
}

Status Session::setParameters(const ProjectParameters& parameters) {
    if (!m_project) {
        return Unexpected(Failure{QStringLiteral("no project is open"), tr("没有打开的项目")});
    }
    if (parameters == m_project->description().parameters) {
        return {};
    }
    if (auto done = m_project->setParameters(parameters); !done) {
        return failed(done);
    }
    m_overlayMode = parameters.overlayMode;
    emit parametersChanged();
    return {};
}

std::vector<Comparison> Session::comparisons() const {
    try {
        return m_database ? readComparisons(*connection()) : std::vector<Comparison>();
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "The comparisons cannot be read:" << exception.what();
        return {};
    }
}

std::int64_t Session::comparisonId() {
    if (m_comparisonId != kNoComparison || !m_database || !m_project) {
        return m_comparisonId;
    }
    try {
        m_comparisonId = findComparison(*connection(), m_project->description().pair());
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "The comparison cannot be read:" << exception.what();
    }
    return m_comparisonId;
}

Status Session::setComparedPair(const EpochPair& pair) {
    const auto project = projectToChange();
    if (!project) {
        return failed(project);
    }
    if (pair == (*project)->description().pair()) {
        return {};
    }
    if (auto done = (*project)->setComparedPair(pair); !done) {
        return failed(done);
    }
    m_comparisonId = kNoComparison;
    emit comparedPairChanged();
    return {};
}

Result<Project*> Session::projectToChange() {
    if (!m_project) {
        return Unexpected(Failure{QStringLiteral("no project is open"), tr("没有打开的项目")});
    }
    if (m_jobs.isRunning()) {
        return Unexpected(Failure{QStringLiteral("other work is going on"),
                                  tr("“%1”正在进行，请等待完成或先取消").arg(m_jobs.title())});
    }
    return &*m_project;
}

Status Session::addEpoch(MadeEpoch& epoch) {
    const auto project = projectToChange();
    if (!project) {
        return failed(project);
    }
    const EpochPair before = (*project)->description().pair();
    if (auto done = epoch.addTo(**project); !done) {
        return done;
    }
    const ProjectDescription& now = (*project)->description();
    tellOfOtherEpochs(before, now.pair());
    emit noticed(tr("已添加期次 %1，对比期次 %2").arg(now.keyOf(epoch.epoch()), pairTitle(now.pair())));
    return {};
}

Status Session::removeEpoch(const QString& key, Verdicts verdicts) {
    const auto project = projectToChange();
    if (!project) {
        return failed(project);
    }
    const EpochPair before = (*project)->description().pair();
    if (auto done = inspection::removeEpoch(**project, *connection(), key, verdicts); !done) {
        return done;
    }
    m_history.reload(); // edits of anomalies that are no longer
    tellOfOtherEpochs(before, (*project)->description().pair());
    return {};
}

void Session::tellOfOtherEpochs(const EpochPair& before, const EpochPair& now) {
    emit epochsChanged();
    if (now != before) {
        m_comparisonId = kNoComparison;
        emit comparedPairChanged();
    }
}

void Session::showImported() {
    if (m_database) {
        m_history.reload();
        emit objectsReplaced();
    }
}

void Session::tellOfOtherPair(const RowChanges& changes, Showing showing) {
    if (showing != Showing::Followed) {
        return;
    }
    const std::int64_t other = otherComparison(changes, comparisonId());
    if (other == kNoComparison || !m_project) {
        return;
    }
    try {
        if (const auto pair = readComparedPair(*connection(), other)) {
            emit noticed(tr("已更改 %1 的异常，当前显示的是 %2")
                             .arg(pairTitle(*pair), pairTitle(m_project->description().pair())));
        }
    } catch (const mysqlhelper::KV_MySQL_Exception& exception) {
        qCWarning(windowLog).noquote() << "The comparison cannot be read:" << exception.what();
    }
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
    return asks(question, myMessageBox::YesNo);
}

bool Session::askCautiously(const QString& question) const {
    return asks(question, myMessageBox::YesNoCautious);
}

bool Session::asks(const QString& question, int buttons) const {
    constexpr int kConfirmed = 0;
    const QScopedValueRollback<bool> open(m_isAsking, true);
    return myMessageBox::showMyMessageBox(m_mainWindow, tr("提示"), question, myMessageBox::Question, buttons,
                                          true) == kConfirmed;
}

} // namespace inspection
