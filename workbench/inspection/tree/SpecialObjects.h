#pragma once

#include "workbench/inspection/tree/SpecialObjectEntries.h"
#include "workbench/inspection/tree/SpecialObjectStore.h"
#include "workbench/inspection/tree/SpecialObjectsToCome.h"
#include "workbench/inspectiondata/history/ProjectHistory.h"

#include <QObject>

#include <map>
#include <utility>

class QTreeWidgetItem;

namespace inspection {

class Session;
class SpecialObjectNodes;
class StationTree;

/// The special objects of the open project: in the database, in the tree and, for what the user does in the
/// tree, on the globe. What a tool adds, deletes or edits it shows on the globe by itself. An object is known
/// by its name, which no two have. GUI thread.
class SpecialObjects : public QObject {
    Q_OBJECT

public:
    /// All three must outlive it.
    SpecialObjects(Session& session, StationTree& tree, SpecialObjectNodes& nodes, QObject* parent = nullptr);

    /// Enters what is stored. Throws KV_MySQL_Exception when the database refuses.
    void load();
    /// Reads them again: what is the same stays as it is. Throws as well.
    void reload();
    void clear();

    bool contains(const QString& name) const { return m_entries.contains(name); }
    /// Whether an object has that name. A form that asks says nothing when it is so: then the user is told, beside the
    /// field with the name and in the status bar.
    bool tellIfTaken(const QString& name) const;
    /// Selects it in the tree; an unknown name changes nothing.
    void select(const QString& name);
    /// Longitude, latitude and height of a tree entry's object; nothing when it is no longer stored.
    std::optional<osg::Vec3d> position(const QTreeWidgetItem& entry) const;
    /// Marks the object of the tree's current entry on the globe; an entry of another kind, or none, marks
    /// nothing.
    void markCurrent(const QTreeWidgetItem* entry);

    // For tools. False when it was refused; nothing is changed then.
    /// Stores a new object and selects it in the tree. The user is told when it was the database that
    /// refused.
    bool add(const KV_BasicNode& record);
    bool remove(const QString& name, int objectType);
    /// Stores an edited record, which may have another name (`oldName` is GBK). The user is told when the
    /// new one is empty.
    ///
    /// What others did meanwhile does not cost the user what he has entered. An object that has another name by now
    /// is stored and shown all the same; in place of one that was deleted he is offered a new one. The answer is
    /// false then: whoever asks has nothing more to show. When he does not want to replace what others did, his form
    /// comes back.
    bool update(const KV_BasicNode& record, const std::string& oldName);

    /// Shows rows that have changed. Those that are `Followed` are selected, the last of them in the end.
    void applyRows(const RowChanges& changes, Showing showing);

public slots:
    /// The user has ticked or renamed an entry.
    void takeChange(QTreeWidgetItem* entry);
    /// Deletes an entry's object everywhere, once the user has confirmed it.
    void askToDelete(QTreeWidgetItem* entry);

private:
    template<typename Record>
    void loadAll(const std::vector<Record>& records);
    template<typename Record>
    void reloadAll(const std::vector<Record>& records, int objectType);
    void enter(const KV_BasicNode& record);
    // On the globe, by the stored name.
    void removeNode(const QString& name);
    void renameNode(const QString& oldName, const QString& name);
    StoredObject shown(const QTreeWidgetItem& entry) const;
    template<typename Record>
    void applyRow(const RowChange& change, int objectType, Showing showing);
    /// In the tree only.
    void list(const KV_BasicNode& record);
    template<typename Record>
    void showRow(const Record& record);
    /// Nothing when the old name is none, as it is after a change of the row has told the new one.
    void takeName(const QString& oldName, const QString& name);
    void forget(const QString& name);
    /// The object that had that name when its record was given out; 0 when nobody knows.
    std::uint32_t idOfEdited(const KV_BasicNode& record, const QString& oldName) const;
    /// Stores a record whose object has another name by now, and shows it.
    void storeRenamed(const KV_BasicNode& record, QTreeWidgetItem& entry);
    /// Offers to make a new object of a record whose object somebody else has deleted.
    void offerAnew(const KV_BasicNode& record, std::uint32_t id);
    /// Shows a stored row in the tree and on the globe.
    void showStored(int objectType, std::uint32_t id);
    /// Shows the form of a record once more that whoever asked hides when it was refused.
    void keepForm(const KV_BasicNode& record, std::uint32_t id);
    void rename(QTreeWidgetItem* entry, const QString& oldName);
    Status storeName(const QTreeWidgetItem& entry, const QString& name) const;
    /// False, and the user is told, where the project is open for reading.
    bool isWritable() const;
    /// False for a failure, of which the user is told, unless it is what he wanted.
    bool isDone(const Status& outcome) const;

    Session& m_session;
    StationTree& m_tree;
    SpecialObjectNodes& m_nodes;
    SpecialObjectStore m_store;
    SpecialObjectsToCome m_toCome;
    SpecialObjectEntries m_entries;
    /// Type and id of the last object of each name, also of those that are gone.
    std::map<QString, std::pair<int, std::uint32_t>> m_known;
};

} // namespace inspection
