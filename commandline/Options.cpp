#include "commandline/Options.h"

#include <charconv>
#include <cmath>

namespace commandline {

std::string Options::value(const std::string& name) const {
    const auto found = values.find(name);
    return found != values.end() ? found->second : std::string();
}

std::vector<std::string> Options::all(const std::string& name) const {
    const auto found = lists.find(name);
    return found != lists.end() ? found->second : std::vector<std::string>();
}

Parsed<Options> parseOptions(const std::vector<std::string>& arguments, const OptionTable& table) {
    Options options;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument.rfind("--", 0) != 0) {
            if (options.positional.size() == table.positional) {
                return wrongUse("多余的参数 " + argument);
            }
            options.positional.push_back(argument);
            continue;
        }
        const std::size_t equals = argument.find('=');
        const std::string name = argument.substr(0, equals);
        if (options.has(name)) {
            return wrongUse("选项 " + name + " 重复");
        }
        if (table.flags.count(name) != 0 && equals == std::string::npos) {
            options.flags.insert(name);
            continue;
        }
        const bool isRepeated = table.repeated.count(name) != 0;
        if (!isRepeated && table.withValue.count(name) == 0) {
            return wrongUse("未知选项 " + argument);
        }
        if (equals == std::string::npos && i + 1 == arguments.size()) {
            return wrongUse("选项 " + name + " 缺少值");
        }
        std::string value = equals == std::string::npos ? arguments[++i] : argument.substr(equals + 1);
        if (isRepeated) {
            options.lists[name].push_back(std::move(value));
        } else {
            options.values[name] = std::move(value);
        }
    }
    return options;
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

} // namespace commandline
