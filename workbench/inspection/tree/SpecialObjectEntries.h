#pragma once

#include <QHash>
#include <QString>

#include <cstdint>
#include <map>
#include <utility>
#include <vector>

class QTreeWidgetItem;

namespace inspection {

/// The entries of the special objects in the tree: by the name that is stored, by type and id, and the other way round.
/// Entries are known from enter() until remove(). GUI thread.
class SpecialObjectEntries {
public:
    void enter(const QString& name, int objectType, std::uint32_t id, QTreeWidgetItem* entry);
    void rename(const QString& oldName, const QString& name);
    /// Gives the entry, which is the caller's to take out of the tree.
    QTreeWidgetItem* remove(const QString& name);
    void clear();

    bool contains(const QString& name) const { return m_byName.contains(name); }
    /// Null when there is none.
    QTreeWidgetItem* named(const QString& name) const { return m_byName.value(name); }
    QTreeWidgetItem* of(int objectType, std::uint32_t id) const;
    /// Empty for another entry, and for null.
    QString nameOf(const QTreeWidgetItem* entry) const { return m_names.value(entry); }
    /// Ids and names of all objects of that type.
    std::vector<std::pair<std::uint32_t, QString>> allOf(int objectType) const;

private:
    using Key = std::pair<int, std::uint32_t>; ///< type and id

    QHash<QString, QTreeWidgetItem*> m_byName;
    QHash<const QTreeWidgetItem*, QString> m_names;
    QHash<const QTreeWidgetItem*, Key> m_keys;
    std::map<Key, QTreeWidgetItem*> m_byKey;
};

} // namespace inspection
