#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>

/// What the fuzz targets have in common.
namespace fuzz {

/// Ends the program where something does not hold that holds for every input; the fuzzer keeps the input then.
inline void require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

inline std::string textOf(const std::uint8_t* data, std::size_t size) {
    return {data, data + size};
}

} // namespace fuzz
