#pragma once

#include <tl/expected.hpp>

#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

/// The arguments of our programs, in UTF-8. Knows nothing of the product.
namespace commandline {

/// For OptionTable::positional.
constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);

/// The options one command knows. Values follow as the next argument or after "=".
struct OptionTable {
    std::set<std::string> withValue;  ///< "--old"
    std::set<std::string> flags;      ///< "--quiet"
    std::size_t positional = 0;       ///< how many arguments without dashes may come
    std::set<std::string> repeated{}; ///< with a value each time they are given: "--epoch"
};

struct Options {
    std::map<std::string, std::string> values;
    std::set<std::string> flags;
    std::vector<std::string> positional;
    std::map<std::string, std::vector<std::string>> lists; ///< values of repeated options

    bool has(const std::string& name) const { return values.count(name) != 0 || flags.count(name) != 0; }
    /// Empty when not given.
    std::string value(const std::string& name) const;
    /// Of an option that may be repeated, in the order of the arguments.
    std::vector<std::string> all(const std::string& name) const;
};

/// What is wrong with the arguments, one line in Chinese.
struct WrongUse {
    std::string message;
};

/// What the arguments ask for, or what is wrong with them.
template<class T>
using Parsed = tl::expected<T, WrongUse>;

inline tl::unexpected<WrongUse> wrongUse(std::string message) {
    return tl::unexpected<WrongUse>(WrongUse{std::move(message)});
}

/// Sorts the arguments. Unknown, incomplete and surplus ones are wrong, and doubled ones that may not be
/// repeated.
Parsed<Options> parseOptions(const std::vector<std::string>& arguments, const OptionTable& table);

/// The whole text as a number, always with a decimal point; nothing for anything else, infinities and NaN
/// included.
std::optional<double> parseNumber(const std::string& text);
std::optional<int> parseInteger(const std::string& text);

} // namespace commandline
