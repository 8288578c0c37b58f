#pragma once

#include <string>
#include <vector>

namespace cli {

/// `corridor compute`: finds and stores the anomalies of a project's stations, or does so in pieces (ComputePieces.h).
/// `arguments` come after the command's name. Returns the exit status: 0 done, 1 failed, 2 wrong use. Earlier results stay
/// as they are unless it is 0.
int runCompute(const std::vector<std::string>& arguments);

} // namespace cli
