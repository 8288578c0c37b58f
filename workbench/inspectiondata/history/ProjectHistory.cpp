#include "workbench/inspectiondata/history/ProjectHistory.h"

#include "host/Gbk.h"
#include "workbench/inspectiondata/database/ConnectionLost.h"
#include "workbench/inspectiondata/database/Revision.h"
#include "workbench/inspectiondata/database/RowBatch.h"
#include "workbench/inspectiondata/history/ConflictText.h"
#include "workbench/inspectiondata/text/Log.h"

#include <algorithm>
#include <iostream>
#include <map>
#include <set>
#include <utility>

namespace inspection {

using mysqlhelper::ConnectionLost;
using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;
using mysqlhelper::KV_Record;

namespace {

/// What the steps changed, each row once, as it was before the first of them.
RowChanges firstChanges(const std::vector<EditStep>& steps) {
    RowChanges changes;
    std::set<std::pair<std::string, std::int64_t>> rows;
    for (const EditStep& step : steps) {
        for (const RowChange& change : step.changes) {
            if (rows.insert({change.table, change.id}).second) {
                changes.push_back(change);
            }
        }
    }
    return changes;
}

/// One change for each row, from before the first step to what is stored now: it may also have been edited
/// here meanwhile.
RowChanges changesUntilNow(KV_MySQL& database, const std::vector<EditStep>& steps) {
    RowChanges changes = firstChanges(steps);
    std::map<std::string, RowIds> ids;
    for (const RowChange& change : changes) {
        ids[change.table].push_back(change.id);
    }
    std::map<std::string, std::map<std::int64_t, KV_Record>> stored;
    for (const auto& [table, rows] : ids) {
        stored[table] = readRows(database, table, rows);
    }
    for (RowChange& change : changes) {
        const auto row = stored[change.table].find(change.id);
        change.after = row == stored[change.table].end() ? std::nullopt : std::optional(row->second);
    }
    changes.erase(std::remove_if(changes.begin(), changes.end(),
                                 [](const RowChange& change) { return !change.before && !change.after; }),
                  changes.end());
    return changes;
}

/// While the user was asked, somebody may have changed the rows again.
bool areSettled(const std::vector<EditConflict>& conflicts, const std::vector<EditConflict>& settled) {
    return std::all_of(conflicts.begin(), conflicts.end(), [&](const EditConflict& conflict) {
        return std::any_of(settled.begin(), settled.end(), [&](const EditConflict& known) {
            return known.table == conflict.table && known.id == conflict.id &&
                   known.version == conflict.version && known.isGone == conflict.isGone;
        });
    });
}

} // namespace

/// An edit as the tools see it. The history owns it.
class ProjectHistory::Edit : public EditCommand {
public:
    Edit(ProjectHistory& history, StoredEdit stored) : m_history(history), m_stored(std::move(stored)) {}

    void Undo(bool refresh) override { m_history.step(*this, true, refresh); }
    void Redo(bool refresh) override { m_history.step(*this, false, refresh); }
    void GetText(std::string& text) override { text = toGbk(m_stored.description); }

    const StoredEdit& stored() const { return m_stored; }

private:
    ProjectHistory& m_history;
    const StoredEdit m_stored; ///< on which side it is now, the history knows
};

ProjectHistory::ProjectHistory(QObject* parent) : QObject(parent) {}
ProjectHistory::~ProjectHistory() = default;

void ProjectHistory::setDatabase(KV_MySQL* database, const QString& inspector) {
    m_edits.clear();
    m_undoable = 0;
    m_ownVersions.clear();
    m_unshown.clear();
    m_database = database;
    m_inspector = inspector;
    if (m_database) {
        m_seenRevision = readRevision(*m_database);
        readOwn();
    }
    announce();
}

void ProjectHistory::readOwn() {
    if (m_inspector.isNull()) {
        return;
    }
    for (StoredEdit& edit : readEdits(*m_database, m_inspector)) {
        m_undoable += edit.isUndone ? 0 : 1;
        m_edits.push_back(std::make_unique<Edit>(*this, std::move(edit)));
    }
}

void ProjectHistory::announce() {
    constexpr std::size_t kMostInMenu = 100;
    m_isRestarting = true;
    emit undoable(QString());
    m_isRestarting = false;
    emit undoable(QString());
    emit redoable(QString());
    for (std::size_t index = m_undoable - std::min(m_undoable, kMostInMenu); index < m_undoable; ++index) {
        emit undoable(m_edits[index]->stored().description);
    }
}

Status ProjectHistory::perform(const QString& description, const Work& work) {
    if (!m_database || m_inspector.isNull()) {
        return Unexpected(Failure{"no database to write to", !m_database
                                                                 ? tr("没有可用的项目数据库")
                                                                 : tr("项目以只读方式打开，未作任何更改")});
    }
    try {
        settle();
        std::vector<EditConflict> conflicts;
        for (;;) {
            conflicts = tryToStore(description, work, conflicts);
            if (conflicts.empty()) {
                return {};
            }
            if (auto done = askAbout(conflicts); !done) {
                emit metOthers();
                return failed(done);
            }
        }
    } catch (const ConnectionLost& loss) {
        qCWarning(dataLog).noquote() << "The connection was lost during an edit:" << loss.what();
        return Unexpected(Failure{QString::fromUtf8(loss.what()), causeOf(loss)});
    } catch (const KV_MySQL_Exception& exception) {
        // As the tools do with what the database refuses them; who starts the program from a shell looks there.
        std::cout << exception.what() << std::endl;
        const QString cause = QString::fromUtf8(exception.what());
        return Unexpected(Failure{cause, tr("数据库拒绝了修改，未作任何更改：%1").arg(cause)});
    }
}

std::vector<EditConflict> ProjectHistory::tryToStore(const QString& description, const Work& work,
                                                     const std::vector<EditConflict>& settled) {
    EditTransaction edit(*m_database, m_ownVersions);
    work(edit);
    if (!areSettled(edit.conflicts(), settled)) {
        return edit.conflicts();
    }
    if (edit.changes().empty()) {
        return {};
    }
    dropUndone();
    const std::int64_t id =
        insertEdit(*m_database, m_inspector, description, edit.changes(), edit.revision());
    complete(description, edit.revision(), [&] { edit.commit(m_inspector); });
    noteOwn(edit.changes(), edit.revision());
    for (const EditConflict& conflict : edit.conflicts()) {
        m_ownVersions.settled(conflict.table, conflict.id);
    }
    m_edits.resize(m_undoable);
    m_edits.push_back(std::make_unique<Edit>(*this, StoredEdit{id, description, false}));
    ++m_undoable;
    show(edit.changes(), Showing::Edited);
    emit undoable(description);
    emit redoable(QString());
    emit edited(description);
    return {};
}

template<typename Commit>
void ProjectHistory::complete(const QString& description, std::int64_t revision, const Commit& commit) {
    try {
        commit();
    } catch (const ConnectionLost& loss) {
        if (loss.isInDoubt()) {
            m_doubt = Doubt{revision, description};
        }
        throw;
    }
}

void ProjectHistory::settle() {
    if (!m_doubt || !m_database) {
        return;
    }
    const bool isThere = isStored(*m_database, m_inspector, m_doubt->revision);
    const QString description = std::exchange(m_doubt, std::nullopt)->description;
    reload();
    emit replacedByOthers();
    emit settled(
        (isThere ? tr("连接中断时的操作“%1”已保存") : tr("连接中断时的操作“%1”未保存")).arg(description));
}

void ProjectHistory::dropUndone() {
    RowIds undone;
    for (std::size_t edit = m_undoable; edit < m_edits.size(); ++edit) {
        undone.push_back(m_edits[edit]->stored().id);
    }
    dropEdits(*m_database, undone);
}

Status ProjectHistory::askAbout(const std::vector<EditConflict>& conflicts) {
    const auto gone = std::find_if(conflicts.begin(), conflicts.end(),
                                   [](const EditConflict& conflict) { return conflict.isGone; });
    if (gone != conflicts.end()) {
        const auto step = lastRemovalOf(*m_database, gone->table, gone->id, m_inspector);
        return Unexpected(Failure{"a row is not stored any more",
                                  tr("%1，您的修改未保存").arg(goneText(*gone, step, m_inspector))});
    }
    const EditConflict& first = conflicts.front();
    const auto step = lastStepOn(*m_database, first.table, first.id, m_inspector);
    if (m_mayReplace && m_mayReplace(conflictQuestion(conflicts, step, m_inspector))) {
        return {};
    }
    return cancelled();
}

QString ProjectHistory::removalByOthers(const std::string& table, std::int64_t id,
                                        const std::string& name) const {
    if (!m_database || m_inspector.isNull()) {
        return {};
    }
    try {
        const auto step = lastRemovalOf(*m_database, table, id, m_inspector);
        return step ? goneText({table, id, name, 0, true}, step, m_inspector) : QString();
    } catch (const KV_MySQL_Exception& exception) {
        qCWarning(dataLog).noquote() << "Who deleted a row cannot be read:" << exception.what();
        return {};
    }
}

void ProjectHistory::noteOwn(const RowChanges& changes, std::int64_t revision) {
    for (const RowChange& change : changes) {
        if (change.after) {
            m_ownVersions.wrote(change.table, change.id, change.before ? versionOf(*change.before) : 0,
                                revision);
        }
    }
    // Nobody else did anything in between; otherwise takeStepsOfOthers() will come past it.
    if (revision == m_seenRevision + 1) {
        m_seenRevision = revision;
    }
}

void ProjectHistory::takeStepsOfOthers(std::int64_t newestRevision) {
    if (!m_database || newestRevision <= m_seenRevision) {
        return;
    }
    const std::vector<EditStep> steps = readSteps(*m_database, m_seenRevision, m_inspector);
    const RowChanges changes = changesUntilNow(*m_database, steps);
    const bool isReplaced =
        std::any_of(steps.begin(), steps.end(), [](const EditStep& step) { return step.isReplacement; });
    m_seenRevision = newestRevision;
    if (isReplaced) {
        reload(); // edits of rows that are no longer
        emit replacedByOthers();
    } else if (!changes.empty()) {
        show(changes, Showing::InPlace);
    }
}

EditCommand* ProjectHistory::TakeUndo() {
    return CanUndo() ? m_edits[--m_undoable].get() : nullptr;
}

EditCommand* ProjectHistory::TakeRedo() {
    return CanRedo() ? m_edits[m_undoable++].get() : nullptr;
}

void ProjectHistory::UndoSteps(int count) {
    const std::size_t steps = std::min(m_undoable, static_cast<std::size_t>(std::max(count, 0)));
    RowChanges changes;
    try {
        std::optional<KV_MySQL::Transaction> transaction(std::in_place, *m_database);
        const std::int64_t revision = raiseRevision(*m_database);
        for (std::size_t step = 0; step < steps; ++step) {
            const RowChanges taken = carryOut(m_edits[m_undoable - 1 - step]->stored(), true, revision);
            changes.insert(changes.end(), taken.begin(), taken.end());
        }
        complete(tr("撤销 %1 步").arg(steps), revision,
                 [&] { commitNoted(*m_database, transaction, m_inspector, revision); });
        noteOwn(changes, revision);
    } catch (const KV_MySQL_Exception& exception) {
        refuse(tr("无法撤销"), exception);
        return;
    }
    m_undoable -= steps;
    if (!changes.empty()) {
        show(changes, Showing::Followed);
    }
}

RowChanges ProjectHistory::carryOut(const StoredEdit& edit, bool isUndo, std::int64_t revision) {
    RowChanges made = readChanges(*m_database, edit.id);
    markEdit(*m_database, edit.id, isUndo, revision);
    return applyChanges(*m_database, isUndo ? reversed(std::move(made)) : std::move(made), revision);
}

void ProjectHistory::step(Edit& edit, bool isUndo, bool refresh) {
    RowChanges changes;
    try {
        std::optional<KV_MySQL::Transaction> transaction(std::in_place, *m_database);
        const std::int64_t revision = raiseRevision(*m_database);
        changes = carryOut(edit.stored(), isUndo, revision);
        complete((isUndo ? tr("撤销：%1") : tr("重做：%1")).arg(edit.stored().description), revision,
                 [&] { commitNoted(*m_database, transaction, m_inspector, revision); });
        noteOwn(changes, revision);
    } catch (const KV_MySQL_Exception& exception) {
        m_undoable = isUndo ? m_undoable + 1 : m_undoable - 1;
        refuse(isUndo ? tr("无法撤销") : tr("无法重做"), exception);
        return;
    }
    if (refresh) {
        show(changes, Showing::Followed);
    } else {
        m_unshown.insert(m_unshown.end(), changes.begin(), changes.end());
    }
}

void ProjectHistory::show(const RowChanges& changes, Showing showing) {
    if (!m_unshown.empty()) {
        emit rowsChanged(std::exchange(m_unshown, {}), Showing::InPlace);
    }
    emit rowsChanged(changes, showing);
}

QString ProjectHistory::causeOf(const KV_MySQL_Exception& exception) const {
    if (const auto* row = dynamic_cast<const RowIsOther*>(&exception)) {
        std::optional<EditStep> step;
        try {
            const RowChange& change = row->expected();
            step = row->isGone() ? lastRemovalOf(*m_database, change.table, change.id, m_inspector)
                                 : lastStepOn(*m_database, change.table, change.id, m_inspector);
        } catch (const KV_MySQL_Exception&) {
            step.reset(); // then the text does without
        }
        return otherText(*row, step, m_inspector);
    }
    if (const auto* loss = dynamic_cast<const ConnectionLost*>(&exception)) {
        return loss->isInDoubt() ? tr("%1；恢复连接后将自动核对").arg(loss->told()) : loss->told();
    }
    return QString::fromUtf8(exception.what());
}

// Whoever asked moves the edit on his own list, whatever came of it: afterwards he gets the list anew.
void ProjectHistory::refuse(const QString& failed, const KV_MySQL_Exception& exception) {
    qCWarning(dataLog).noquote() << "The database refused to undo or redo:" << exception.what();
    const bool isLost = dynamic_cast<const ConnectionLost*>(&exception) != nullptr;
    const QString message =
        (isLost ? tr("%1：%2") : tr("%1，未作任何更改：%2")).arg(failed, causeOf(exception));
    QMetaObject::invokeMethod(
        this,
        [this, message] {
            announce();
            emit refused(message);
        },
        Qt::QueuedConnection);
}

} // namespace inspection
