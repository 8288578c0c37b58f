#pragma once

#include <algorithm>
#include <filesystem>
#include <string>

namespace detect {

/// The ending of a file's name with its dot, the letters A to Z made small: ".gpkg"; empty where there is
/// none. UTF-8.
inline std::string fileEnding(const std::string& path) {
    std::string ending = std::filesystem::u8path(path).extension().u8string();
    std::transform(ending.begin(), ending.end(), ending.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return ending;
}

} // namespace detect
