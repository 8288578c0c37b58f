#pragma once

#include "cli/Command.h"
#include "detect/Detection.h"

#include <optional>
#include <string>

namespace cli {

/// What `corridor detect` is asked to do.
struct DetectTask {
    detect::Request request;
    std::optional<detect::CellWindow> window;
    std::string out;
    std::string dz;
    std::string correction;
    std::string summary;
    bool quiet = false;
};

const OptionTable& detectOptionTable();

/// Of "--threads"; 0, one for each processor, where it is not given.
Parsed<int> readThreads(const Options& options);

/// Options that are missing, out of range or contradict each other are wrong. Looks at no file.
Parsed<DetectTask> readDetectTask(const Options& options);

/// Outputs that are an input, or each other, are wrong.
Parsed<void> checkFiles(const DetectTask& task);

} // namespace cli
