#pragma once

#include <cpl_vsi.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace fuzz {

/// Bytes that GDAL finds under a name, as long as the object lives.
class MemoryFile {
public:
    MemoryFile(std::string path, const std::uint8_t* data, std::size_t size)
        : m_path(std::move(path)), m_bytes(data, data + size) {
        VSIFCloseL(VSIFileFromMemBuffer(m_path.c_str(), m_bytes.data(), m_bytes.size(), FALSE));
    }
    ~MemoryFile() { VSIUnlink(m_path.c_str()); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    const std::string& path() const { return m_path; }

private:
    std::string m_path;
    std::vector<std::uint8_t> m_bytes;
};

} // namespace fuzz
