#pragma once

#include "host/inspection/KV_MySQL.h"
#include "workbench/inspectiondata/check/Finding.h"

#include <initializer_list>
#include <type_traits>

namespace inspection {

/// Looks at one row of a table and writes down what is wrong with it.
class RowCheck {
public:
    /// All must outlive it. `key` is the column that numbers the rows.
    RowCheck(const char* table, const mysqlhelper::KV_Record& row, Findings& findings,
             const char* key = "id");

    /// A finding unless it holds.
    void expect(bool holds, const QString& problem) {
        if (!holds) {
            add(problem);
        }
    }
    /// The same where it takes time to put the problem into words: "[&] { return QString(); }", called when it is needed.
    template<typename Words, typename = std::enable_if_t<std::is_invocable_v<const Words&>>>
    void expect(bool holds, const Words& words) {
        if (!holds) {
            add(words());
        }
    }
    void expectText(const char* column);
    void expectFinite(std::initializer_list<const char*> columns);
    void expectNotNegative(std::initializer_list<const char*> columns);
    /// The column holds a value at all.
    bool has(const char* column) const;
    /// Finite, and between them or one of them.
    void expectWithin(const char* column, double least, double most);
    /// Columns "lon_deg" and "lat_deg" in degrees.
    void expectPlace(double mostLongitudeDegrees = 180.0);
    /// The numbers are in this order.
    void expectOrder(const char* lower, const char* upper);
    void expectBetween(const char* lower, const char* middle, const char* upper);
    /// Column "version" names a revision that was.
    void expectVersion(std::int64_t newestRevision);
    /// An ISO date and time.
    void expectTime(const char* column);

    /// The number there; NaN without one.
    double number(const char* column) const;
    std::int64_t whole(const char* column) const;
    /// The text there as it is stored in the 8-bit record; empty without one.
    std::string text(const char* column) const;

private:
    void add(const QString& problem);

    const char* m_table;
    const mysqlhelper::KV_Record& m_row;
    Findings& m_findings;
    const char* m_key;
};

} // namespace inspection
