#include "BrindleRecorderCore/Base/SteadyDateProvider.hpp"

#include <utility>

namespace brindle {

SteadyDateProvider::SteadyDateProvider(const DateProvider& wallClock, SteadyClock steadyClock)
    : wallClock_{wallClock}, steadyClock_{std::move(steadyClock)}, origin_{0} {
    takeOverWallTime();
}

Date SteadyDateProvider::now() const {
    return Date{std::chrono::nanoseconds{origin_.load()} + steadyClock_()};
}

void SteadyDateProvider::takeOverWallTime() {
    origin_.store((wallClock_.now().time_since_epoch() - steadyClock_()).count());
}

} // namespace brindle
