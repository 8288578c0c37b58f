#pragma once

#include <tl/expected.hpp>

#include <string>

namespace detect {

/// One line that names the file and the cause. `cancelled` tells the user's stop from a failure,
/// `nothingInWindow` a window of the pair without a cell that is valid in both rasters.
struct Failure {
    std::string message;
    bool cancelled = false;
    bool nothingInWindow = false;
};

/// A value, or why there is none.
template<class T>
using Result = tl::expected<T, Failure>;

/// Done, or why not.
using Status = Result<void>;

/// What a function returns instead of its value when it fails.
using Unexpected = tl::unexpected<Failure>;

/// Hands the failure of a call on to the caller: `if (!read) { return failed(read); }`
template<class T, class F>
tl::unexpected<F> failed(const tl::expected<T, F>& outcome) {
    return tl::unexpected<F>(outcome.error());
}

/// The user's stop.
inline Unexpected cancelled() {
    return Unexpected(Failure{"已取消", true});
}

} // namespace detect
