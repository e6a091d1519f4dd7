// Whether a converted movie is complete enough to take the place of its source.
#pragma once

#include "BrindleRecorderCore/Base/Date.hpp"

#include <optional>

namespace brindle {

/// Pure; callable from any thread.
struct RemuxVerification {
    /// True when the output is as long as its source, give or take `tolerance`; longer is always
    /// complete. False whenever either duration is absent, NaN or infinite: what cannot be compared
    /// has not been verified, and its source stays.
    static bool outputIsComplete(
        std::optional<Seconds> sourceSeconds, std::optional<Seconds> outputSeconds,
        Seconds tolerance);
};

} // namespace brindle
