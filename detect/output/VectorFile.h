#pragma once

#include "detect/Detection.h"
#include "detect/StagedOutput.h"

#include <ogrsf_frmts.h>

#include <functional>
#include <string>

namespace detect {

/// A vector file in the making, in one transaction where its format knows them. Whoever staged it moves it to
/// its place, after close().
class VectorFile {
public:
    /// `output` must live longer.
    explicit VectorFile(const StagedOutput& output) : m_output(output) {}
    VectorFile(const VectorFile&) = delete;
    VectorFile& operator=(const VectorFile&) = delete;
    ~VectorFile();

    /// Creates the empty file; `driver` is GDAL's name of the format.
    Status create(const char* driver);
    /// Only after create().
    GDALDataset& dataset() { return *m_dataset; }
    /// Ends the writing. Fails unless `isWhole` finds in the closed file all that was written: closing does not
    /// report every failed write.
    Status close(const std::function<bool(const std::string& path)>& isWhole);

    /// What went wrong with the target, in GDAL's words where there are any.
    Unexpected writeFailure(const std::string& gdalWords) const;

private:
    const StagedOutput& m_output;
    GDALDatasetUniquePtr m_dataset;
    bool m_inTransaction = false;
};

} // namespace detect
