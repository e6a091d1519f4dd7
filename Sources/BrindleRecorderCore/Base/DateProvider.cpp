#include "BrindleRecorderCore/Base/DateProvider.hpp"

namespace brindle {

Date SystemDateProvider::now() const {
    return std::chrono::time_point_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now());
}

} // namespace brindle
