#include "workbench/inspection/tree/SpecialObjects.h"

#include "host/Gbk.h"
#include "workbench/inspection/scene/SpecialObjectNodes.h"
#include "workbench/inspection/session/Session.h"
#include "workbench/inspection/tree/StationTree.h"
#include "workbench/inspectiondata/database/Schema.h"
#include "workbench/inspectiondata/database/StationTable.h"

#include <QApplication>
#include <QLineEdit>
#include <QToolTip>

#include <algorithm>
#include <set>

namespace inspection {

using mysqlhelper::KV_Record;

namespace {

std::uint32_t idOf(const QTreeWidgetItem& entry) {
    return entry.data(StationTree::NameColumn, StationTree::kIdRole).toUInt();
}

int typeOf(const QTreeWidgetItem& entry) {
    return entry.data(StationTree::NameColumn, StationTree::kObjectTypeRole).toInt();
}

/// The line in a form that has that text; null when there is none.
QWidget* fieldWith(const QString& text) {
    for (const QWidget* form : QApplication::topLevelWidgets()) {
        for (QLineEdit* field : form->findChildren<QLineEdit*>()) {
            if (field->isVisible() && field->text() == text) {
                return field;
            }
        }
    }
    return nullptr;
}

} // namespace

SpecialObjects::SpecialObjects(Session& session, StationTree& tree, SpecialObjectNodes& nodes,
                               QObject* parent)
    : QObject(parent), m_session(session), m_tree(tree), m_nodes(nodes), m_store(session), m_toCome(nodes) {
    connect(&m_tree, &StationTree::deleteRequested, this, &SpecialObjects::askToDelete);
    connect(&m_tree, &StationTree::editorOpened, &m_session, &Session::holdNewsWhileOpen);
}

template<typename Record>
void SpecialObjects::loadAll(const std::vector<Record>& records) {
    for (const Record& record : records) {
        enter(record);
        m_toCome.add(record);
    }
}

void SpecialObjects::load() {
    mysqlhelper::KV_MySQL& database = *m_session.connection();
    // What comes later covers what came before: the wide areas are to be below those within them.
    loadAll(readHighConsequenceAreas(database));
    loadAll(readSpecialAreas(database));
    loadAll(readSpecialPoints(database));
}

template<typename Record>
void SpecialObjects::reloadAll(const std::vector<Record>& records, int objectType) {
    std::set<std::uint32_t> stored;
    for (const Record& record : records) {
        stored.insert(record.m_id);
        const QTreeWidgetItem* entry = m_entries.of(objectType, record.m_id);
        if (!entry || shown(*entry).version != record.m_version) {
            showRow(record);
        }
    }
    for (const auto& [id, name] : m_entries.allOf(objectType)) {
        if (stored.count(id) == 0) {
            removeNode(name);
            forget(name);
        }
    }
}

void SpecialObjects::reload() {
    mysqlhelper::KV_MySQL& database = *m_session.connection();
    reloadAll(readHighConsequenceAreas(database), KV_HIGH_CONSEQUENCE_AREA);
    reloadAll(readSpecialAreas(database), KV_SPECIAL_AREA);
    reloadAll(readSpecialPoints(database), KV_SPECIAL_POINT);
}

void SpecialObjects::clear() {
    m_toCome.clear();
    m_nodes.clear();
    m_entries.clear();
    m_known.clear();
}

void SpecialObjects::enter(const KV_BasicNode& record) {
    const QString name = fromGbk(record.GetName());
    if (QTreeWidgetItem* entry = m_tree.addObject(record.m_type, record.m_id, name)) {
        m_tree.setVersion(entry, record.m_version);
        m_entries.enter(name, record.m_type, record.m_id, entry);
        m_known[name] = {record.m_type, record.m_id};
    }
}

StoredObject SpecialObjects::shown(const QTreeWidgetItem& entry) const {
    return {typeOf(entry), idOf(entry),
            entry.data(StationTree::NameColumn, StationTree::kVersionRole).toLongLong(),
            toGbk(m_entries.nameOf(&entry))};
}

void SpecialObjects::forget(const QString& name) {
    m_tree.removeObject(m_entries.remove(name));
    markCurrent(m_tree.currentItem());
}

void SpecialObjects::removeNode(const QString& name) {
    m_toCome.bring(toGbk(name));
    m_nodes.remove(toGbk(name));
}

void SpecialObjects::renameNode(const QString& oldName, const QString& name) {
    m_toCome.bring(toGbk(oldName));
    m_nodes.rename(toGbk(oldName), toGbk(name));
}

bool SpecialObjects::tellIfTaken(const QString& name) const {
    if (!contains(name)) {
        return false;
    }
    const QString text = tr("名称“%1”已被使用，请换一个名称").arg(name);
    m_session.notice(text);
    if (QWidget* field = fieldWith(name)) {
        QToolTip::showText(field->mapToGlobal(QPoint(0, field->height())), text.toHtmlEscaped(), field);
    }
    return true;
}

void SpecialObjects::select(const QString& name) {
    if (QTreeWidgetItem* entry = m_entries.named(name)) {
        m_tree.setCurrentItem(entry);
    }
}

std::optional<osg::Vec3d> SpecialObjects::position(const QTreeWidgetItem& entry) const {
    return m_store.position(typeOf(entry), idOf(entry));
}

void SpecialObjects::markCurrent(const QTreeWidgetItem* entry) {
    const std::string name = toGbk(m_entries.nameOf(entry));
    m_toCome.bring(name);
    m_nodes.highlight(name);
}

bool SpecialObjects::add(const KV_BasicNode& record) {
    const QString name = fromGbk(record.GetName());
    if (name.isEmpty() || contains(name) || !m_tree.objectRoot(record.m_type)) {
        return false;
    }
    const Result<std::uint32_t> inserted = m_store.insert(record);
    if (!inserted) {
        return isDone(failed(inserted));
    }
    select(name);
    return true;
}

bool SpecialObjects::remove(const QString& name, int objectType) {
    const QTreeWidgetItem* entry = m_entries.named(name);
    return entry && typeOf(*entry) == objectType && isWritable() && m_store.remove(shown(*entry));
}

bool SpecialObjects::update(const KV_BasicNode& record, const std::string& oldName) {
    const QString name = fromGbk(record.GetName());
    const std::uint32_t id = idOfEdited(record, fromGbk(oldName));
    if (id == 0) {
        return false;
    }
    if (name.isEmpty()) {
        m_session.warn(tr("名称不能为空"));
        return false;
    }
    if (!isWritable()) {
        return false;
    }
    QTreeWidgetItem* entry = m_entries.of(record.m_type, id);
    if (!entry || m_entries.nameOf(entry) != fromGbk(oldName)) {
        entry ? storeRenamed(record, *entry) : offerAnew(record, id);
        return false;
    }
    const Result<bool> stored = m_store.update(record, id);
    if (stored && !*stored) {
        m_session.catchUp();
        offerAnew(record, id);
    } else if (!stored && (stored.error().cancelled || m_session.isServerLost())) {
        keepForm(record, id);
        isDone(failed(stored));
    }
    if (!stored || !*stored) {
        return false;
    }
    takeName(fromGbk(oldName), name);
    return true;
}

// A record that was drawn in this run does not know its id yet.
std::uint32_t SpecialObjects::idOfEdited(const KV_BasicNode& record, const QString& oldName) const {
    const auto known = m_known.find(oldName);
    if (record.m_id != 0) {
        return record.m_id;
    }
    return known != m_known.end() && known->second.first == record.m_type ? known->second.second : 0;
}

void SpecialObjects::storeRenamed(const KV_BasicNode& record, QTreeWidgetItem& entry) {
    const QString name = fromGbk(record.GetName());
    const QString nameNow = m_entries.nameOf(&entry);
    const std::uint32_t id = idOf(entry);
    if (name != nameNow && tellIfTaken(name)) {
        keepForm(record, id);
        return;
    }
    const Result<bool> stored = m_store.update(record, id);
    if (!stored) {
        keepForm(record, id);
        isDone(failed(stored));
    } else if (*stored) {
        renameNode(nameNow, name);
        showStored(record.m_type, id);
    } else {
        m_session.catchUp();
        offerAnew(record, id);
    }
}

void SpecialObjects::offerAnew(const KV_BasicNode& record, std::uint32_t id) {
    const QString gone = m_session.history().removalByOthers(tableName(record.m_type), id, record.GetName());
    const QString name = fromGbk(record.GetName());
    if (gone.isEmpty() || !m_session.ask(tr("%1。是否按您填写的内容新建？").arg(gone))) {
        return;
    }
    if (tellIfTaken(name)) {
        keepForm(record, id);
        return;
    }
    const Result<std::uint32_t> inserted = m_store.insert(record);
    if (inserted) {
        showStored(record.m_type, *inserted);
        select(name);
    } else {
        keepForm(record, id);
        isDone(failed(inserted));
    }
}

void SpecialObjects::showStored(int objectType, std::uint32_t id) {
    if (const auto row = m_store.find(objectType, id)) {
        applyRows({*row}, Showing::InPlace);
    }
}

// What it shows then is what the user has entered; the tool has only hidden it.
void SpecialObjects::keepForm(const KV_BasicNode& record, std::uint32_t id) {
    const QString name = fromGbk(record.GetName());
    m_known.try_emplace(name, record.m_type, id); // whoever asked takes it for the old name from now on
    const QWidget* field = fieldWith(name);
    QWidget* form = field ? field->window() : nullptr;
    if (form && form != m_session.mainWindow()) {
        QMetaObject::invokeMethod(form, &QWidget::show, Qt::QueuedConnection);
    }
}

void SpecialObjects::takeName(const QString& oldName, const QString& name) {
    QTreeWidgetItem* entry = m_entries.named(oldName);
    if (!entry) {
        return;
    }
    m_entries.rename(oldName, name);
    m_known[name] = {typeOf(*entry), idOf(*entry)};
    m_tree.setName(entry, name);
}

template<typename Record>
void SpecialObjects::applyRow(const RowChange& change, int objectType, Showing showing) {
    const auto id = static_cast<std::uint32_t>(change.id);
    if (change.after) {
        Record record;
        record.m_type = objectType;
        record.init_from_sqldata(*change.after);
        if (showing == Showing::Edited) {
            list(record);
        } else {
            showRow(record);
        }
        if (showing == Showing::Followed) {
            m_tree.setCurrentItem(m_entries.of(objectType, id));
        }
    } else if (QTreeWidgetItem* entry = m_entries.of(objectType, id)) {
        const QString name = m_entries.nameOf(entry);
        if (showing != Showing::Edited) {
            removeNode(name);
        }
        if (showing == Showing::InPlace && m_tree.currentItem() == entry) {
            m_tree.setCurrentItem(
                entry->parent()); // not a neighbour, which the next key would rename or delete
        }
        forget(name);
    }
}

void SpecialObjects::list(const KV_BasicNode& record) {
    if (QTreeWidgetItem* entry = m_entries.of(record.m_type, record.m_id)) {
        takeName(m_entries.nameOf(entry), fromGbk(record.GetName()));
        m_tree.setVersion(entry, record.m_version);
    } else {
        enter(record);
    }
}

template<typename Record>
void SpecialObjects::showRow(const Record& record) {
    if (const QTreeWidgetItem* entry = m_entries.of(record.m_type, record.m_id)) {
        const QString oldName = m_entries.nameOf(entry);
        list(record);
        m_toCome.bring(toGbk(oldName));
        m_nodes.replace(toGbk(oldName), record);
    } else {
        removeNode(fromGbk(record.GetName())); // a deleted point's entry stays in the scene's map
        list(record);
        m_nodes.add(record);
    }
}

void SpecialObjects::applyRows(const RowChanges& changes, Showing showing) {
    for (const RowChange& change : changes) {
        if (change.table == tableName(KV_SPECIAL_POINT)) {
            applyRow<Special_Point>(change, KV_SPECIAL_POINT, showing);
        } else if (change.table == tableName(KV_SPECIAL_AREA)) {
            applyRow<Special_Area>(change, KV_SPECIAL_AREA, showing);
        } else if (change.table == tableName(KV_HIGH_CONSEQUENCE_AREA)) {
            applyRow<Special_Polygon>(change, KV_HIGH_CONSEQUENCE_AREA, showing);
        }
    }
}

void SpecialObjects::takeChange(QTreeWidgetItem* entry) {
    const QString name = m_entries.nameOf(entry);
    if (entry->text(StationTree::NameColumn) != name) {
        rename(entry, name);
    } else {
        m_toCome.setVisible(toGbk(name), entry->checkState(StationTree::NameColumn) == Qt::Checked);
    }
}

void SpecialObjects::rename(QTreeWidgetItem* entry, const QString& oldName) {
    const QString name = entry->text(StationTree::NameColumn).trimmed();
    const Status stored = name == oldName ? Status() : storeName(*entry, name);
    m_tree.setName(entry, stored ? name : oldName);
    if (!stored) {
        // Once the editor is closed, which a message box in its midst would keep from closing.
        QMetaObject::invokeMethod(this, [this, stored] { isDone(stored); }, Qt::QueuedConnection);
        return;
    }
    takeName(oldName, name);
    renameNode(oldName, name);
}

Status SpecialObjects::storeName(const QTreeWidgetItem& entry, const QString& name) const {
    if (name.isEmpty()) {
        return Unexpected(Failure{"an empty name", tr("名称不能为空")});
    }
    if (contains(name)) {
        return Unexpected(Failure{"a name that is taken", tr("名称“%1”已存在").arg(name)});
    }
    return m_store.rename(shown(entry), toGbk(name));
}

bool SpecialObjects::isWritable() const {
    if (!m_session.readOnlyReason().isEmpty()) {
        m_session.warn(m_session.readOnlyReason());
    }
    return m_session.readOnlyReason().isEmpty();
}

bool SpecialObjects::isDone(const Status& outcome) const {
    if (!outcome && !outcome.error().cancelled) {
        m_session.warn(outcome.error().userMessage);
    }
    return outcome.has_value();
}

void SpecialObjects::askToDelete(QTreeWidgetItem* entry) {
    const QString name = m_entries.nameOf(entry);
    if (name.isEmpty() || !m_session.ask(tr("是否删除“%1”？").arg(name))) {
        return;
    }
    if (isDone(m_store.remove(shown(*entry)))) {
        removeNode(name);
    }
}

} // namespace inspection
