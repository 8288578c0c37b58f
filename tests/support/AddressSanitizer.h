#pragma once

/// Whether the tests run under AddressSanitizer, which takes several times as long for the same.
#if defined(__SANITIZE_ADDRESS__)
inline constexpr bool kUnderAddressSanitizer = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
inline constexpr bool kUnderAddressSanitizer = true;
#else
inline constexpr bool kUnderAddressSanitizer = false;
#endif
#else
inline constexpr bool kUnderAddressSanitizer = false;
#endif
