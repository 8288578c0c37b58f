#include "workbench/inspection/tree/SpecialObjects.h"

#include "host/Gbk.h"
#include "workbench/inspection/context/Session.h"
#include "workbench/inspection/database/Schema.h"
#include "workbench/inspection/database/StationTable.h"
#include "workbench/inspection/scene/SpecialObjectNodes.h"
#include "workbench/inspection/tree/StationTree.h"

#include <algorithm>

namespace inspection {

using mysqlhelper::KV_Record;

namespace {

std::uint32_t idOf(const QTreeWidgetItem& entry) {
    return entry.data(StationTree::NameColumn, StationTree::kIdRole).toUInt();
}

int typeOf(const QTreeWidgetItem& entry) {
    return entry.data(StationTree::NameColumn, StationTree::kObjectTypeRole).toInt();
}

} // namespace

SpecialObjects::SpecialObjects(Session& session, StationTree& tree, SpecialObjectNodes& nodes,
                               QObject* parent)
    : QObject(parent), m_session(session), m_tree(tree), m_nodes(nodes), m_store(session) {
    connect(&m_tree, &StationTree::deleteRequested, this, &SpecialObjects::askToDelete);
}

template<typename Record>
void SpecialObjects::loadAll(const std::vector<Record>& records) {
    for (const Record& record : records) {
        enter(record, record.m_id);
        m_nodes.add(record);
    }
}

void SpecialObjects::load() {
    mysqlhelper::KV_MySQL& database = *m_session.connection();
    // What comes later covers what came before: the wide areas are to be below those within them.
    loadAll(readHighConsequenceAreas(database));
    loadAll(readSpecialAreas(database));
    loadAll(readSpecialPoints(database));
}

void SpecialObjects::clear() {
    m_nodes.clear();
    m_entries.clear();
}

void SpecialObjects::enter(const KV_BasicNode& record, std::uint32_t id) {
    const QString name = fromGbk(record.GetName());
    if (QTreeWidgetItem* entry = m_tree.addObject(record.m_type, id, name)) {
        m_entries[name] = entry;
    }
}

void SpecialObjects::forget(const QString& name) {
    const auto found = m_entries.find(name);
    QTreeWidgetItem* entry = found->second;
    m_entries.erase(found);
    m_tree.removeObject(entry);
    markCurrent(m_tree.currentItem());
}

QString SpecialObjects::nameOf(const QTreeWidgetItem* entry) const {
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [entry](const auto& object) { return object.second == entry; });
    return found == m_entries.end() ? QString() : found->first;
}

void SpecialObjects::select(const QString& name) {
    const auto found = m_entries.find(name);
    if (found != m_entries.end()) {
        m_tree.setCurrentItem(found->second);
    }
}

std::optional<osg::Vec3d> SpecialObjects::position(const QTreeWidgetItem& entry) const {
    return m_store.position(typeOf(entry), idOf(entry));
}

void SpecialObjects::markCurrent(const QTreeWidgetItem* entry) {
    m_nodes.highlight(toGbk(nameOf(entry)));
}

bool SpecialObjects::add(const KV_BasicNode& record) {
    const QString name = fromGbk(record.GetName());
    if (name.isEmpty() || contains(name) || m_tree.objectRoot(record.m_type) == nullptr) {
        return false;
    }
    const Result<std::uint32_t> inserted = m_store.insert(record);
    if (const auto* failure = std::get_if<Failure>(&inserted)) {
        m_session.warn(failure->userMessage);
        return false;
    }
    enter(record, std::get<std::uint32_t>(inserted));
    select(name);
    return true;
}

bool SpecialObjects::remove(const QString& name, int objectType) {
    const auto found = m_entries.find(name);
    if (found == m_entries.end() || typeOf(*found->second) != objectType ||
        m_store.remove(objectType, idOf(*found->second), toGbk(name))) {
        return false;
    }
    forget(name);
    return true;
}

bool SpecialObjects::update(const KV_BasicNode& record, const std::string& oldName) {
    const auto found = m_entries.find(fromGbk(oldName));
    const QString name = fromGbk(record.GetName());
    if (found == m_entries.end()) {
        return false;
    }
    if (name.isEmpty()) {
        m_session.warn(tr("名称不能为空"));
        return false;
    }
    QTreeWidgetItem* entry = found->second;
    // A record that was drawn in this run does not know its id yet; the tree does.
    if (m_store.update(record, record.m_id != 0 ? record.m_id : idOf(*entry))) {
        return false;
    }
    takeName(found->first, name);
    return true;
}

void SpecialObjects::takeName(const QString& oldName, const QString& name) {
    const auto found = m_entries.find(oldName);
    QTreeWidgetItem* entry = found->second;
    m_entries.erase(found);
    m_entries[name] = entry;
    m_tree.setName(entry, name);
}

template<typename Record>
void SpecialObjects::takeRowChange(const RowChange& change, int objectType) {
    Record before;
    Record after;
    before.m_type = after.m_type = objectType;
    before.init_from_sqldata(change.before.value_or(KV_Record()));
    after.init_from_sqldata(change.after.value_or(KV_Record()));
    const QString oldName = fromGbk(before.GetName());
    const QString name = fromGbk(after.GetName());
    if (change.before && change.after && contains(oldName)) {
        takeName(oldName, name);
        m_nodes.replace(before.GetName(), after);
    } else if (change.before && contains(oldName)) {
        m_nodes.remove(before.GetName());
        forget(oldName);
    } else if (change.after) {
        m_nodes.remove(after.GetName()); // a deleted point's entry stays in the scene's map
        enter(after, after.m_id);
        m_nodes.add(after);
    }
    if (change.after) {
        select(name);
    }
}

void SpecialObjects::takeRowChanges(const RowChanges& changes) {
    for (const RowChange& change : changes) {
        if (change.table == tableName(KV_SPECIAL_POINT)) {
            takeRowChange<Special_Point>(change, KV_SPECIAL_POINT);
        } else if (change.table == tableName(KV_SPECIAL_AREA)) {
            takeRowChange<Special_Area>(change, KV_SPECIAL_AREA);
        } else if (change.table == tableName(KV_HIGH_CONSEQUENCE_AREA)) {
            takeRowChange<Special_Polygon>(change, KV_HIGH_CONSEQUENCE_AREA);
        }
    }
}

void SpecialObjects::takeChange(QTreeWidgetItem* entry) {
    const QString name = nameOf(entry);
    if (entry->text(StationTree::NameColumn) != name) {
        rename(entry, name);
    } else {
        m_nodes.setVisible(toGbk(name), entry->checkState(StationTree::NameColumn) == Qt::Checked);
    }
}

void SpecialObjects::rename(QTreeWidgetItem* entry, const QString& oldName) {
    const QString name = entry->text(StationTree::NameColumn).trimmed();
    const QString refusal = name == oldName ? QString() : storeName(*entry, name);
    m_tree.setName(entry, refusal.isEmpty() ? name : oldName);
    if (!refusal.isEmpty()) {
        // Once the editor is closed, which a message box in its midst would keep from closing.
        QMetaObject::invokeMethod(
            this, [this, refusal] { m_session.warn(refusal); }, Qt::QueuedConnection);
        return;
    }
    m_entries.erase(oldName);
    m_entries[name] = entry;
    m_nodes.rename(toGbk(oldName), toGbk(name));
}

/// Empty when the new name is stored, otherwise why it is not.
QString SpecialObjects::storeName(const QTreeWidgetItem& entry, const QString& name) const {
    if (name.isEmpty()) {
        return tr("名称不能为空");
    }
    if (contains(name)) {
        return tr("名称“%1”已存在").arg(name);
    }
    const Status failure = m_store.rename(typeOf(entry), idOf(entry), toGbk(nameOf(&entry)), toGbk(name));
    return failure ? failure->userMessage : QString();
}

void SpecialObjects::askToDelete(QTreeWidgetItem* entry) {
    const QString name = nameOf(entry);
    if (name.isEmpty() || !m_session.ask(tr("是否删除“%1”？").arg(name))) {
        return;
    }
    if (const Status failure = m_store.remove(typeOf(*entry), idOf(*entry), toGbk(name))) {
        m_session.warn(failure->userMessage);
        return;
    }
    m_nodes.remove(toGbk(name));
    forget(name);
}

} // namespace inspection
