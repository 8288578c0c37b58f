#pragma once

#include <cstdint>
#include <cstring>
#include <type_traits>

namespace cloud {

/// A number out of its bytes as LAS files keep them, least first. Compilers make one load of it.
template<typename Number>
Number littleEndian(const std::uint8_t* bytes) {
    if constexpr (std::is_floating_point_v<Number>) {
        static_assert(sizeof(Number) == 8);
        const auto bits = littleEndian<std::uint64_t>(bytes);
        Number number = 0;
        std::memcpy(&number, &bits, sizeof number);
        return number;
    } else {
        std::make_unsigned_t<Number> number = 0;
        for (std::size_t i = sizeof(Number); i-- > 0;) {
            number =
                static_cast<std::make_unsigned_t<Number>>(static_cast<std::uint64_t>(number) << 8 | bytes[i]);
        }
        return static_cast<Number>(number);
    }
}

} // namespace cloud
