#pragma once

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstring>

/// Where a virtual operation stands in the table of its class, counted from the first operation. Pointers to
/// members are as the Itanium C++ ABI lays them out, of which ARM has a variant of its own.
template<typename Member>
std::ptrdiff_t slotOf(Member member) {
    std::array<std::ptrdiff_t, 2> words{};
    static_assert(sizeof(member) == sizeof(words));
    std::memcpy(words.data(), &member, sizeof(words));
    constexpr auto kEntry = static_cast<std::ptrdiff_t>(sizeof(void*));
    const bool isArm = words[1] % 2 != 0;
    EXPECT_TRUE(isArm || words[0] % 2 != 0) << "not a virtual operation";
    return (isArm ? words[0] : words[0] - 1) / kEntry;
}

/// What a call through that entry of an object's table runs.
inline const void* entryOf(const void* object, std::ptrdiff_t slot) {
    const void* const* table = nullptr;
    std::memcpy(&table, object, sizeof(table));
    return table[slot];
}
