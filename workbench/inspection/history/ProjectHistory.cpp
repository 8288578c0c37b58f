#include "workbench/inspection/history/ProjectHistory.h"

#include "host/Gbk.h"

#include <algorithm>
#include <iostream>

namespace inspection {

using mysqlhelper::KV_MySQL;
using mysqlhelper::KV_MySQL_Exception;

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

void ProjectHistory::setDatabase(KV_MySQL* database) {
    m_edits.clear();
    m_undoable = 0;
    m_database = database;
    if (m_database != nullptr) {
        for (StoredEdit& edit : readEdits(*m_database)) {
            m_undoable += edit.isUndone ? 0 : 1;
            m_edits.push_back(std::make_unique<Edit>(*this, std::move(edit)));
        }
    }
    announce();
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
    if (m_database == nullptr) {
        return Failure{"no database", tr("没有可用的项目数据库"), false};
    }
    try {
        EditTransaction edit(*m_database);
        work(edit);
        if (edit.changes().empty()) {
            edit.commit();
            return std::nullopt;
        }
        const std::int64_t id = insertEdit(*m_database, description, edit.changes());
        edit.commit();
        m_edits.resize(m_undoable);
        m_edits.push_back(std::make_unique<Edit>(*this, StoredEdit{id, description, false}));
        ++m_undoable;
    } catch (const KV_MySQL_Exception& exception) {
        std::cout << exception.what() << std::endl;
        const QString cause = QString::fromUtf8(exception.what());
        return Failure{cause, tr("数据库拒绝了修改，未作任何更改：%1").arg(cause), false};
    }
    emit undoable(description);
    emit redoable(QString());
    return std::nullopt;
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
        KV_MySQL::Transaction transaction(*m_database);
        for (std::size_t step = 0; step < steps; ++step) {
            const RowChanges taken = carryOut(m_edits[m_undoable - 1 - step]->stored(), true);
            changes.insert(changes.end(), taken.begin(), taken.end());
        }
        transaction.commit();
    } catch (const KV_MySQL_Exception& exception) {
        std::cout << exception.what() << std::endl;
        refuse(tr("无法撤销，未作任何更改：%1").arg(QString::fromUtf8(exception.what())));
        return;
    }
    m_undoable -= steps;
    if (!changes.empty()) {
        emit rowsChanged(changes);
    }
}

RowChanges ProjectHistory::carryOut(const StoredEdit& edit, bool isUndo) {
    const RowChanges made = readChanges(*m_database, edit.id);
    const RowChanges changes = isUndo ? reversed(made) : made;
    applyChanges(*m_database, changes);
    markEdit(*m_database, edit.id, isUndo);
    return changes;
}

void ProjectHistory::step(Edit& edit, bool isUndo, bool refresh) {
    RowChanges changes;
    try {
        KV_MySQL::Transaction transaction(*m_database);
        changes = carryOut(edit.stored(), isUndo);
        transaction.commit();
    } catch (const KV_MySQL_Exception& exception) {
        std::cout << exception.what() << std::endl;
        m_undoable = isUndo ? m_undoable + 1 : m_undoable - 1;
        refuse((isUndo ? tr("无法撤销，未作任何更改：%1") : tr("无法重做，未作任何更改：%1"))
                   .arg(QString::fromUtf8(exception.what())));
        return;
    }
    if (refresh) {
        emit rowsChanged(changes);
    }
}

// Whoever asked moves the edit on his own list, whatever came of it: afterwards he gets the list anew.
void ProjectHistory::refuse(const QString& message) {
    QMetaObject::invokeMethod(
        this,
        [this, message] {
            announce();
            emit refused(message);
        },
        Qt::QueuedConnection);
}

} // namespace inspection
