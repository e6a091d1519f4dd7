#include "BrindleRecorderCore/Calls/MicUser.hpp"

#include "BrindleRecorderCore/Base/HashCombine.hpp"

std::size_t std::hash<brindle::MicUser>::operator()(const brindle::MicUser& user) const noexcept {
    std::size_t seed = 0;
    brindle::hashCombine(seed, user.bundleID);
    brindle::hashCombine(seed, user.pid);
    brindle::hashCombine(seed, user.windowTitles.has_value());
    if (user.windowTitles) {
        for (const std::string& title : *user.windowTitles) {
            brindle::hashCombine(seed, title);
        }
    }
    return seed;
}
