#pragma once

#include "host/inspection/KV_MySQL.h"

#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <type_traits>

namespace inspection {

/// Whether a number of the database fits a type.
template<typename T, typename Number>
bool fits(Number number) {
    if constexpr (std::is_floating_point_v<T>) {
        return true;
    } else if constexpr (std::is_floating_point_v<Number>) {
        constexpr T kHalf = std::numeric_limits<T>::max() / 2 + 1;
        constexpr Number kEnd = static_cast<Number>(kHalf) * 2; // exact, unlike the largest
        return number >= static_cast<Number>(std::numeric_limits<T>::min()) && number < kEnd;
    } else {
        return std::is_same_v<T, bool> || static_cast<Number>(static_cast<T>(number)) == number;
    }
}

/// Writes the field's value into `target`, numbers converted to its type. A field that the row lacks, or that
/// is NULL, of another sort or too large, leaves `target` as it is.
template<typename T>
void takeField(const mysqlhelper::KV_Record& row, const char* name, T& target) {
    const auto field = row.find(name);
    if (field == row.end()) {
        return;
    }
    if constexpr (std::is_arithmetic_v<T>) {
        if (const auto* whole = std::get_if<std::int64_t>(&field->second)) {
            target = fits<T>(*whole) ? static_cast<T>(*whole) : target;
        } else if (const auto* real = std::get_if<double>(&field->second)) {
            target = fits<T>(*real) ? static_cast<T>(*real) : target;
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

/// A whole number that must be there. Throws KV_MySQL_Exception for NULL and for anything else, which SQLite stores in any
/// column.
inline std::int64_t wholeField(const mysqlhelper::KV_Record& row, const char* name) {
    const auto field = row.find(name);
    const auto* whole = field == row.end() ? nullptr : std::get_if<std::int64_t>(&field->second);
    if (!whole) {
        throw mysqlhelper::KV_MySQL_Exception(std::string("column ") + name + " holds no whole number");
    }
    return *whole;
}

} // namespace inspection
