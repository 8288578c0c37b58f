#pragma once

#include "host/inspection/EditHistory.h"
#include "workbench/inspectiondata/database/EditTable.h"
#include "workbench/inspectiondata/history/EditTransaction.h"
#include "workbench/inspectiondata/project/Result.h"

#include <QObject>

#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace inspection {

/// How the windows show rows that have changed.
enum class Showing {
    Edited,   ///< by the user's edit: whoever asked for it selects what he wants, and a tool that edits
              ///< special objects shows them on the globe by itself
    Followed, ///< by an undo or redo: the user sees and has selected what it did
    InPlace   ///< by somebody else: what the user sees and has selected stays
};

/// The edits of the open project, stored with it: they can be undone after a restart, too. An edit and its
/// entry are one transaction, and so are an undo and its mark. Each inspector undoes his own edits. GUI
/// thread.
class INSPECTIONDATA_API ProjectHistory : public QObject, public EditHistory {
    Q_OBJECT

public:
    using Work = std::function<void(EditTransaction& edit)>;
    using Question = std::function<bool(const QString& text)>;

    explicit ProjectHistory(QObject* parent = nullptr);
    ~ProjectHistory() override;

    /// From then on that inspector's edits of that database; of none when it is null. A null inspector only
    /// looks on: there is nothing to undo and nothing can be performed. The database must outlive its use
    /// here. Throws KV_MySQL_Exception when the edits cannot be read.
    void setDatabase(mysqlhelper::KV_MySQL* database, const QString& inspector);
    /// Asks whether an edit is to replace what somebody else did to the same rows meanwhile. Without it, it
    /// does not.
    void setConflictQuestion(Question question) { m_mayReplace = std::move(question); }

    /// Makes an edit of everything that `work` changes, which drops what could be redone. Work that changes
    /// nothing is no edit. On failure nothing is changed and nothing recorded. `work` is called once more
    /// after the user has decided to replace what others did.
    Status perform(const QString& description, const Work& work);

    /// Which step of others took a row away, one Chinese line: "“阀室”已被 wang@field 删除". Empty when none did, or the
    /// database does not tell. `name` (GBK) is what the row was called here.
    QString removalByOthers(const std::string& table, std::int64_t id, const std::string& name) const;

    /// Looks whether the last edit or undo is stored that was cut off while it was completed, if that is not known
    /// yet, and says so. Throws KV_MySQL_Exception when the database does not tell.
    void settle();
    /// Announces what others did since the last time; `newestRevision` is the project's now. Throws
    /// KV_MySQL_Exception.
    void takeStepsOfOthers(std::int64_t newestRevision);

    bool CanUndo() override { return m_undoable != 0 && !m_isRestarting; }
    bool CanRedo() override { return m_undoable != m_edits.size(); }
    EditCommand* TakeUndo() override;
    EditCommand* TakeRedo() override;
    void UndoSteps(int count) override;

    /// Announces the newest undoable edits anew, oldest first: for tools that were not there when they were
    /// made.
    void announce();
    /// Reads the edits again, after something else than this history has changed them.
    void reload() { setDatabase(m_database, m_inspector); }

signals:
    /// Rows are other ones now than the windows show.
    void rowsChanged(const RowChanges& changes, Showing showing);
    /// Description of an undoable edit that is new to the tools; empty when only CanUndo is another now.
    /// Before it announces all anew, it says so with nothing to undo.
    void undoable(const QString& description);
    /// The user has made this edit, in the project that is open.
    void edited(const QString& description);
    /// CanRedo may be another now; always empty.
    void redoable(const QString& description);
    /// Somebody else replaced tables: all rows may be other ones now.
    void replacedByOthers();
    /// An undo or redo was refused; one Chinese line.
    void refused(const QString& message);
    /// It is known now whether an edit or undo that was cut off is stored; one Chinese line. All rows may be other
    /// ones than the windows show.
    void settled(const QString& message);
    /// An edit met rows that others have changed, which the windows do not show yet.
    void metOthers();

private:
    class Edit;

    void readOwn();
    /// Takes back an edit that has been taken, or makes it again. When that is refused it goes back to its
    /// side.
    void step(Edit& edit, bool isUndo, bool refresh);
    /// `failed` is what could not be done.
    void refuse(const QString& failed, const mysqlhelper::KV_MySQL_Exception& exception);
    /// Why something was refused, for the user.
    QString causeOf(const mysqlhelper::KV_MySQL_Exception& exception) const;
    RowChanges carryOut(const StoredEdit& edit, bool isUndo, std::int64_t revision);
    /// Stores the edit, unless it meets with other conflicts than the user has settled; they are the answer.
    std::vector<EditConflict> tryToStore(const QString& description, const Work& work,
                                         const std::vector<EditConflict>& settled);
    void dropUndone();
    /// Completes what is done in that revision, and remembers what stays in doubt.
    template<typename Commit>
    void complete(const QString& description, std::int64_t revision, const Commit& commit);
    /// Nothing when the user wants to replace what others did.
    Status askAbout(const std::vector<EditConflict>& conflicts);
    void noteOwn(const RowChanges& changes, std::int64_t revision);
    void show(const RowChanges& changes, Showing showing);

    mysqlhelper::KV_MySQL* m_database = nullptr;
    QString m_inspector;
    Question m_mayReplace;
    OwnVersions m_ownVersions;
    std::int64_t m_seenRevision = 0;            ///< the windows show all that others did up to it
    std::vector<std::unique_ptr<Edit>> m_edits; ///< oldest first
    std::size_t m_undoable = 0;                 ///< how many of them, from the oldest on, can be undone
    RowChanges m_unshown;                       ///< of undo and redo that were not to show them
    bool m_isRestarting = false;                ///< the tools' lists are being emptied
    /// What may be stored or not.
    struct Doubt {
        std::int64_t revision = 0;
        QString description;
    };
    std::optional<Doubt> m_doubt;
};

} // namespace inspection
