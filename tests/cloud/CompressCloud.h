#pragma once

#include <string>

namespace cloud::test {

/// Writes the points of a LAS file as LAZ, in the way that belongs to its version. False where that fails; the
/// program must have been built with LASzip.
bool compressCloud(const std::string& las, const std::string& laz);

} // namespace cloud::test
