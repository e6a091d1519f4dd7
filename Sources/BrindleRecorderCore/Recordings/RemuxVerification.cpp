#include "BrindleRecorderCore/Recordings/RemuxVerification.hpp"

#include <cmath>

namespace brindle {

bool RemuxVerification::outputIsComplete(
    std::optional<Seconds> sourceSeconds, std::optional<Seconds> outputSeconds, Seconds tolerance) {
    if (!sourceSeconds || !outputSeconds) {
        return false;
    }
    if (!std::isfinite(sourceSeconds->count()) || !std::isfinite(outputSeconds->count())) {
        return false;
    }
    return *outputSeconds + tolerance >= *sourceSeconds;
}

} // namespace brindle
