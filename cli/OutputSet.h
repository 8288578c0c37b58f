#pragma once

#include "detect/StagedOutput.h"

#include <memory>
#include <string>
#include <vector>

namespace cli {

/// All outputs of a command come into being in hidden folders first and take their places together at the
/// end.
class OutputSet {
public:
    /// `path` becomes where to write instead of the target; stays empty for an empty target.
    detect::Status stage(const std::string& target, std::string& path);
    detect::Status commit();
    /// Names the user's file where a message names the one it is staged as.
    std::string inUsersWords(std::string message) const;

private:
    std::vector<std::unique_ptr<detect::StagedOutput>> m_outputs;
};

/// True when both name one file, however they are written.
bool sameFile(const std::string& a, const std::string& b);

} // namespace cli
