#pragma once

#include "cloud/LasHeader.h"

#include <memory>
#include <optional>

namespace cloud {

/// The points of one file in their order, read once from the first to the last. One thread at a time.
class PointReader {
public:
    virtual ~PointReader() = default;

    /// Replaces `points` by the next ones, not more than about 65,000; by none at the end. Fails for a file that
    /// ends before it has given as many as it claims.
    virtual Status next(std::vector<CloudPoint>& points) = 0;
};

/// Whether this program can read LAZ.
bool canReadCompressed();

/// Fails where the file cannot be read, and for LAZ where the program was built without LASzip.
Result<std::unique_ptr<PointReader>> openPoints(const std::string& path, const LasHeader& header);

/// The GPS time of the first point, in seconds as the file counts them; nothing where its format keeps none.
/// Fails as openPoints() does, and for a file that ends before its first point.
Result<std::optional<double>> firstTime(const std::string& path, const LasHeader& header);

} // namespace cloud
