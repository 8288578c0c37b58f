#include "workbench/inspection/tree/SpecialObjectEntries.h"

namespace inspection {

void SpecialObjectEntries::enter(const QString& name, int objectType, std::uint32_t id,
                                 QTreeWidgetItem* entry) {
    m_byName.insert(name, entry);
    m_names.insert(entry, name);
    m_keys.insert(entry, {objectType, id});
    m_byKey[{objectType, id}] = entry;
}

void SpecialObjectEntries::rename(const QString& oldName, const QString& name) {
    if (QTreeWidgetItem* entry = m_byName.take(oldName)) {
        m_byName.insert(name, entry);
        m_names.insert(entry, name);
    }
}

QTreeWidgetItem* SpecialObjectEntries::remove(const QString& name) {
    QTreeWidgetItem* entry = m_byName.take(name);
    m_names.remove(entry);
    m_byKey.erase(m_keys.take(entry));
    return entry;
}

void SpecialObjectEntries::clear() {
    m_byName.clear();
    m_names.clear();
    m_keys.clear();
    m_byKey.clear();
}

QTreeWidgetItem* SpecialObjectEntries::of(int objectType, std::uint32_t id) const {
    const auto found = m_byKey.find({objectType, id});
    return found == m_byKey.end() ? nullptr : found->second;
}

std::vector<std::pair<std::uint32_t, QString>> SpecialObjectEntries::allOf(int objectType) const {
    std::vector<std::pair<std::uint32_t, QString>> all;
    for (auto each = m_byKey.lower_bound({objectType, 0});
         each != m_byKey.end() && each->first.first == objectType; ++each) {
        all.emplace_back(each->first.second, m_names.value(each->second));
    }
    return all;
}

} // namespace inspection
