#pragma once

#include "host/inspection/KV_MySQL.h"

#include <QString>

#include <optional>
#include <set>

namespace inspection {

/// The names of special objects, which are unique over points, areas and high-consequence areas: those that
/// are stored, and those that are to be.
class SpecialObjectNames {
public:
    /// None is stored.
    SpecialObjectNames() = default;
    /// Throws KV_MySQL_Exception when the database refuses.
    explicit SpecialObjectNames(mysqlhelper::KV_MySQL& database);

    /// The cause, in Chinese, when the name cannot be given to another object.
    std::optional<QString> refusal(const QString& name) const;
    void take(const QString& name) { m_taken.insert(name); }
    /// "PREFIX-1", "PREFIX-2", …: the next one that is free, and takes it.
    QString takeNext(const QString& prefix);

private:
    std::set<QString> m_stored;
    std::set<QString> m_taken;
    int m_number = 0;
};

} // namespace inspection
