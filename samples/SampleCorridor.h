#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

/// A made-up but believable pipeline corridor with two surveys and known changes between them.
namespace samples {

struct SampleOptions {
    static constexpr int kSmallestCells = 1024;
    static constexpr int kLargestCells = 32768;
    static constexpr int kCellsStep = 16;

    /// Folder of the project to make, UTF-8; it must not exist or be empty.
    std::string directory;
    /// Another seed moves river, road, pipe and village a little and draws other fields, houses, trees and
    /// noise.
    std::uint64_t seed = 1;
    /// Cells along the long side (2048 m), a multiple of 16: 8192 gives cells of 0.25 m. The short side has a
    /// quarter.
    int cells = 8192;
};

/// Called with 0 .. 1; returning false stops the work.
using SampleProgress = std::function<bool(double)>;

/// Makes the project: project.json, two epochs (dsm.tif, dom.tif), centerline.gpkg, special.gpkg, truth.gpkg.
/// Written beside the folder and moved into place at the end; nothing is left behind on failure. Heights
/// depend on seed and size only. Memory: about 16 bytes per cell. Uses all processors. Returns one line
/// (Chinese, UTF-8) that names file and cause on failure.
std::optional<std::string> makeSampleCorridor(const SampleOptions& options,
                                              const SampleProgress& progress = {});

} // namespace samples
