#pragma once

#include "detect/StagedOutput.h"

#include <memory>
#include <string>
#include <vector>

namespace cli {

/// All outputs of a command come into being in hidden folders first and take their places together at the
/// end, all or none.
class OutputSet {
public:
    /// Lives as long as this; null for an empty target.
    detect::Result<const detect::StagedOutput*> stage(const std::string& target);
    /// Only after all of them are written and closed.
    detect::Status commit() const;

private:
    std::vector<std::unique_ptr<detect::StagedOutput>> m_outputs;
};

} // namespace cli
