#pragma once

#include "cloud/PointReader.h"

namespace cloud {

/// The points of a LAZ file, COPC included, by the LASzip library. Fails where the program was built without.
Result<std::unique_ptr<PointReader>> openCompressedPoints(const std::string& path, const LasHeader& header);

/// The GPS time of the first point of a LAZ file whose format keeps times.
Result<double> firstCompressedTime(const std::string& path, const LasHeader& header);

} // namespace cloud
