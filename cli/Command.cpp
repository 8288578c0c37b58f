#include "cli/Command.h"

#include "cli/Printable.h"

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

void note(const char* command, const std::string& message) {
    std::fprintf(stderr, "corridor %s: %s\n", command, printable(message).c_str());
}

void note(const char* command, const QString& message) {
    note(command, message.toStdString());
}

int fail(const char* command, int status, const std::string& message) {
    note(command, message);
    return status;
}

} // namespace cli
