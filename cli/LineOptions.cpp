#include "cli/LineOptions.h"

namespace cli {

QString valueOf(const Options& options, const char* name) {
    return QString::fromStdString(options.value(name));
}

Parsed<inspection::CenterlineSource> withChainage(const Options& options,
                                                  inspection::CenterlineSource source) {
    if (options.has("--start") && options.has("--posts")) {
        return wrongUse("--start 和 --posts 只能给出一个");
    }
    source.isTurned = options.has("--turn");
    source.posts = valueOf(options, "--posts");
    if (options.has("--start")) {
        const auto start = inspection::chainageOf(valueOf(options, "--start"));
        if (!start) {
            return wrongUse("--start 的值必须是里程：" + options.value("--start"));
        }
        source.startMetres = *start;
    }
    return source;
}

Parsed<double> metres(const Options& options, const char* name, double otherwise) {
    if (!options.has(name)) {
        return otherwise;
    }
    const auto number = commandline::parseNumber(options.value(name));
    if (!number || *number <= 0.0) {
        return wrongUse(std::string(name) + " 的值必须是正数：" + options.value(name));
    }
    return *number;
}

} // namespace cli
