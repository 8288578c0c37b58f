#include "cli/Options.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace cli {

std::string Options::value(const std::string& name) const {
    const auto found = values.find(name);
    return found != values.end() ? found->second : std::string();
}

std::optional<Options> parseOptions(const std::vector<std::string>& arguments, const OptionTable& table,
                                    WrongUse& wrong) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument.rfind("--", 0) != 0) {
            if (options.positional.size() == table.positional) {
                wrong.message = "多余的参数 " + argument;
                return std::nullopt;
            }
            options.positional.push_back(argument);
            continue;
        }
        const std::size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        if (options.has(name)) {
            wrong.message = "选项 " + name + " 重复";
            return std::nullopt;
        }
        if (table.flags.count(name) != 0 && equals == std::string::npos) {
            options.flags.insert(name);
        } else if (table.withValue.count(name) == 0) {
            wrong.message = "未知选项 " + argument;
            return std::nullopt;
        } else if (equals != std::string::npos) {
            options.values[name] = argument.substr(equals + 1);
        } else if (i + 1 < arguments.size()) {
            options.values[name] = arguments[++i];
        } else {
            wrong.message = "选项 " + name + " 缺少值";
            return std::nullopt;
        }
    }
    return options;
}

std::variant<Options, int> beginCommand(const char* command, const char* usage,
                                        const std::vector<std::string>& arguments, const OptionTable& table) {
    WrongUse wrong;
    auto options = parseOptions(arguments, table, wrong);
    if (!options) {
        return fail(command, kStatusWrongUse, wrong.message);
    }
    if (options->has("--help")) {
        std::fputs(usage, stdout);
        return kStatusDone;
    }
    return *std::move(options);
}

int fail(const char* command, int status, const std::string& message) {
    std::fprintf(stderr, "corridor %s: %s\n", command, message.c_str());
    return status;
}

std::optional<double> parseNumber(const std::string& text) {
    double number = 0.0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end || !std::isfinite(number)) {
        return std::nullopt;
    }
    return number;
}

std::optional<int> parseInteger(const std::string& text) {
    int number = 0;
    const char* end = text.data() + text.size();
    const auto [stop, error] = std::from_chars(text.data(), end, number);
    if (error != std::errc() || stop != end) {
        return std::nullopt;
    }
    return number;
}

} // namespace cli
