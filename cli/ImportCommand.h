#pragma once

#include <string>
#include <vector>

namespace cli {

/// `corridor import`: brings the special objects of a vector file into a project. `arguments` come after the
/// command's name. Returns the exit status: 0 all rows are stored, 1 failed or at least one row was refused,
/// 2 wrong use. Rows that are not refused are stored all together, with --strict only when none is refused;
/// nothing is stored when the command fails or is stopped.
int runImport(const std::vector<std::string>& arguments);

} // namespace cli
