#include "detect/output/VectorFile.h"

#include "detect/GdalErrors.h"

namespace detect {

VectorFile::~VectorFile() {
    const GdalErrors quiet; // whatever goes wrong with a file that nobody wants any more
    m_dataset.reset();
}

Status VectorFile::create(const char* driver) {
    GDALAllRegister();
    const GdalErrors errors;
    if (GDALDriver* format = GetGDALDriverManager()->GetDriverByName(driver)) {
        m_dataset.reset(format->Create(m_output.path().c_str(), 0, 0, 0, GDT_Unknown, nullptr));
    }
    m_inTransaction = m_dataset && m_dataset->TestCapability(ODsCTransactions) != 0;
    const bool begun = m_dataset && (!m_inTransaction || m_dataset->StartTransaction() == OGRERR_NONE);
    if (!begun || errors.any()) {
        return writeFailure(errors.first());
    }
    return {};
}

Status VectorFile::close(const std::function<bool(const std::string& path)>& isWhole) {
    const GdalErrors errors;
    const bool written = !m_inTransaction || m_dataset->CommitTransaction() == OGRERR_NONE;
    m_dataset.reset();
    if (!written || errors.any() || !isWhole(m_output.path())) {
        return writeFailure(errors.first());
    }
    return {};
}

Unexpected VectorFile::writeFailure(const std::string& gdalWords) const {
    return failureOf(m_output.target(), gdalWords.empty() ? "写入失败，磁盘可能已满" : "写入失败", gdalWords);
}

} // namespace detect
