#include "cloud/ScratchFile.h"

#include "detect/GdalErrors.h"

namespace cloud {

ScratchFile::~ScratchFile() {
    if (m_file) {
        m_file.reset();
        VSIUnlink(m_path.c_str());
    }
}

Status ScratchFile::write(std::uint64_t offset, const void* bytes, std::size_t size) {
    const detect::GdalErrors quiet;
    if (!m_file) {
        m_file = openFile(m_path, "w+b");
    }
    if (!m_file || VSIFSeekL(m_file.get(), offset, SEEK_SET) != 0 ||
        VSIFWriteL(bytes, size, 1, m_file.get()) != 1) {
        return detect::failureOf(m_path, "无法写入临时文件，磁盘可能已满");
    }
    return {};
}

Status ScratchFile::read(std::uint64_t offset, void* bytes, std::size_t size) {
    if (!m_file || VSIFSeekL(m_file.get(), offset, SEEK_SET) != 0 ||
        VSIFReadL(bytes, size, 1, m_file.get()) != 1) {
        return detect::failureOf(m_path, "无法读取临时文件");
    }
    return {};
}

} // namespace cloud
