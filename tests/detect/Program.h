#pragma once

#include <optional>
#include <string>
#include <vector>

namespace detect::test {

/// What a run of the `corridor` program left.
struct ProgramRun {
    int status = -1;      ///< exit status, -1 when it ended otherwise
    std::string output;   ///< standard output
    std::string messages; ///< standard error; on a terminal both together
};

struct ProgramSetting {
    /// No file may grow beyond this, as on a disk that fills up.
    std::optional<unsigned long> largestFileBytes;
    bool terminal = false;
    /// Sent when the first message appears.
    std::optional<int> signal;
};

/// Whether a program can be run on a terminal here.
bool hasPseudoTerminals();

/// Runs `corridor` with the arguments and waits for its end.
ProgramRun runCorridor(const std::vector<std::string>& arguments, const ProgramSetting& setting = {});

} // namespace detect::test
