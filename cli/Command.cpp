#include "cli/Command.h"

#include <cstdio>

namespace cli {

tl::expected<Options, int> beginCommand(const char* command, const char* usage,
                                        const std::vector<std::string>& arguments, const OptionTable& table) {
    auto options = commandline::parseOptions(arguments, table);
    if (!options) {
        return tl::unexpected(fail(command, kStatusWrongUse, options.error().message));
    }
    if (options->has("--help")) {
        std::fputs(usage, stdout);
        return tl::unexpected(kStatusDone);
    }
    return *std::move(options);
}

int fail(const char* command, int status, const std::string& message) {
    std::fprintf(stderr, "corridor %s: %s\n", command, message.c_str());
    return status;
}

} // namespace cli
