#include "detect/output/StagedVectorFile.h"

#include "detect/GdalErrors.h"

namespace detect {

StagedVectorFile::~StagedVectorFile() {
    const GdalErrors quiet; // whatever goes wrong with a file that nobody wants any more
    m_dataset.reset();
}

Status StagedVectorFile::create(const char* driver) {
    GDALAllRegister();
    auto staged = StagedOutput::beside(m_target);
    if (!staged) {
        return failed(staged);
    }
    m_output.emplace(std::move(*staged));
    const GdalErrors errors;
    if (GDALDriver* format = GetGDALDriverManager()->GetDriverByName(driver)) {
        m_dataset.reset(format->Create(path().c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    }
    m_inTransaction = m_dataset && m_dataset->TestCapability(ODsCTransactions) != 0;
    const bool begun = m_dataset && (!m_inTransaction || m_dataset->StartTransaction() == OGRERR_NONE);
    if (!begun || errors.any()) {
        return writeFailure(errors.first());
    }
    return {};
}

Status StagedVectorFile::commit(const std::function<bool(const std::string& path)>& isWhole) {
    const GdalErrors errors;
    const bool written = !m_inTransaction || m_dataset->CommitTransaction() == OGRERR_NONE;
    m_dataset.reset();
    if (!written || errors.any() || !isWhole(path())) {
        return writeFailure(errors.first());
    }
    return m_output->commit();
}

Unexpected StagedVectorFile::writeFailure(const std::string& gdalWords) const {
    return failureOf(m_target, gdalWords.empty() ? "写入失败，磁盘可能已满" : "写入失败", gdalWords);
}

} // namespace detect
