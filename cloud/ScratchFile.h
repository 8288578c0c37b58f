#pragma once

#include "cloud/Cloud.h"
#include "cloud/OpenFile.h"

#include <cstddef>
#include <cstdint>

namespace cloud {

/// A file for what does not fit into memory; it is made at the first write and goes with the object. One thread
/// at a time.
class ScratchFile {
public:
    explicit ScratchFile(std::string path) : m_path(std::move(path)) {}
    ~ScratchFile();
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    /// `offset` and `size` in bytes.
    Status write(std::uint64_t offset, const void* bytes, std::size_t size);
    /// What was written there.
    Status read(std::uint64_t offset, void* bytes, std::size_t size);

private:
    std::string m_path;
    OpenFile m_file;
};

} // namespace cloud
