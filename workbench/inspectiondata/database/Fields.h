#pragma once

#include "host/inspection/KV_MySQL.h"

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>

namespace inspection {

/// Writes the field's value into `target`, numbers converted to its type. A field that the row lacks, or that
/// is NULL or of another sort, leaves `target` as it is.
template<typename T>
void takeField(const mysqlhelper::KV_Record& row, const char* name, T& target) {
    const auto field = row.find(name);
    if (field == row.end()) {
        return;
    }
    if constexpr (std::is_arithmetic_v<T>) {
        if (const auto* whole = std::get_if<std::int64_t>(&field->second)) {
            target = static_cast<T>(*whole);
        } else if (const auto* real = std::get_if<double>(&field->second)) {
            target = static_cast<T>(*real);
        }
    } else if (const auto* text = std::get_if<T>(&field->second)) {
        target = *text;
    }
}

/// The same for a number that may lack: NULL, a field that the row lacks or another sort is none.
inline void takeField(const mysqlhelper::KV_Record& row, const char* name, std::optional<double>& target) {
    constexpr double kNone = std::numeric_limits<double>::quiet_NaN();
    double number = kNone;
    takeField(row, name, number);
    target = std::isnan(number) ? std::nullopt : std::optional(number);
}

} // namespace inspection
