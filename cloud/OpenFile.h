#pragma once

#include <cpl_vsi.h>

#include <memory>
#include <string>

namespace cloud {

struct FileCloser {
    void operator()(VSILFILE* file) const { VSIFCloseL(file); }
};

/// A file that closes with the object; null where it could not be opened.
using OpenFile = std::unique_ptr<VSILFILE, FileCloser>;

inline OpenFile openFile(const std::string& path, const char* mode) {
    return OpenFile(VSIFOpenL(path.c_str(), mode));
}

} // namespace cloud
