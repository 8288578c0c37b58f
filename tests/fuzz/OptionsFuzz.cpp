// The arguments of `corridor detect`, one in each line.
#include "cli/DetectOptions.h"
#include "tests/fuzz/Input.h"

#include <sstream>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::istringstream lines(fuzz::textOf(data, size));
    std::vector<std::string> arguments;
    for (std::string line; std::getline(lines, line);) {
        arguments.push_back(line);
    }
    const auto options = commandline::parseOptions(arguments, cli::detectOptionTable());
    if (!options) {
        return 0;
    }
    const auto task = cli::readDetectTask(*options);
    fuzz::require(!task || (task->request.parameters.threads >= 0 && !task->out.empty()));
    return 0;
}
