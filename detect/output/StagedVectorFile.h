#pragma once

#include "detect/Detection.h"
#include "detect/StagedOutput.h"

#include <ogrsf_frmts.h>

#include <functional>
#include <optional>
#include <string>

namespace detect {

/// A vector file in the making, in one transaction where its format knows them. It takes its place complete,
/// on commit(), or leaves nothing behind.
class StagedVectorFile {
public:
    explicit StagedVectorFile(std::string target) : m_target(std::move(target)) {}
    StagedVectorFile(const StagedVectorFile&) = delete;
    StagedVectorFile& operator=(const StagedVectorFile&) = delete;
    ~StagedVectorFile();

    /// Creates the empty file; `driver` is GDAL's name of the format.
    Status create(const char* driver);
    /// Only after create().
    GDALDataset& dataset() { return *m_dataset; }
    /// Where the file is written meanwhile, UTF-8.
    std::string path() const { return m_output->path(); }
    /// Closes the file and moves it to its place, if `isWhole` finds in the closed file all that was written:
    /// closing does not report every failed write.
    Status commit(const std::function<bool(const std::string& path)>& isWhole);

    /// What went wrong with the target, in GDAL's words where there are any.
    Unexpected writeFailure(const std::string& gdalWords) const;

private:
    std::string m_target;
    std::optional<StagedOutput> m_output; ///< outlives the dataset in it
    GDALDatasetUniquePtr m_dataset;
    bool m_inTransaction = false;
};

} // namespace detect
