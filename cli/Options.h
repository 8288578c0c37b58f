#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <variant>
#include <vector>

namespace cli {

/// Exit statuses of every command.
constexpr int kStatusDone = 0;
constexpr int kStatusFailed = 1;
constexpr int kStatusWrongUse = 2;

/// For OptionTable::positional.
constexpr std::size_t kAnyNumber = static_cast<std::size_t>(-1);

/// The options one command knows. Values follow as the next argument or after "=".
struct OptionTable {
    std::set<std::string> withValue; ///< "--old"
    std::set<std::string> flags;     ///< "--quiet"
    std::size_t positional = 0;      ///< how many arguments without dashes may come
};

struct Options {
    std::map<std::string, std::string> values;
    std::set<std::string> flags;
    std::vector<std::string> positional;

    bool has(const std::string& name) const { return values.count(name) != 0 || flags.count(name) != 0; }
    /// Empty when not given.
    std::string value(const std::string& name) const;
};

/// What is wrong with the arguments, one line.
struct WrongUse {
    std::string message;
};

/// Sorts the arguments; `wrong` is filled and nothing returned for unknown, doubled, incomplete or surplus
/// ones.
std::optional<Options> parseOptions(const std::vector<std::string>& arguments, const OptionTable& table,
                                    WrongUse& wrong);

/// How a command begins: sorts its arguments, and says what is wrong with them or prints `usage` for
/// "--help". Gives the options, or the exit status where the command ends with that.
std::variant<Options, int> beginCommand(const char* command, const char* usage,
                                        const std::vector<std::string>& arguments, const OptionTable& table);

/// Writes "corridor COMMAND: message" to standard error and hands `status` back.
int fail(const char* command, int status, const std::string& message);
/// The whole text as a number, always with a decimal point; nothing for anything else, infinities and NaN
/// included.
std::optional<double> parseNumber(const std::string& text);
std::optional<int> parseInteger(const std::string& text);

} // namespace cli
