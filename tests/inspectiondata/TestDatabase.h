#pragma once

#include "tests/support/MariaDbServer.h"

#include <gtest/gtest.h>

#include <QString>

#include <ostream>
#include <string>

/// The kinds of database that KV_MySQL speaks to; tests that take one run on each.
enum class DatabaseKind { Sqlite, MariaDb };

inline std::string kindName(const testing::TestParamInfo<DatabaseKind>& info) {
    return info.param == DatabaseKind::Sqlite ? "Sqlite" : "MariaDb";
}

inline void PrintTo(DatabaseKind kind, std::ostream* stream) {
    *stream << (kind == DatabaseKind::Sqlite ? "SQLite" : "MariaDB");
}

inline const auto kEachKind = testing::Values(DatabaseKind::Sqlite, DatabaseKind::MariaDb);

/// What project.json names for a project of its own: nothing for inspection.db, or an empty database.
inline QString newProjectDatabase(DatabaseKind kind) {
    return kind == DatabaseKind::Sqlite ? QString() : MariaDbServer::instance().newDatabase();
}
