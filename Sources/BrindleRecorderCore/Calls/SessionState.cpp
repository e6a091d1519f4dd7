#include "BrindleRecorderCore/Calls/SessionState.hpp"

namespace brindle {

std::optional<std::string> SessionState::roomCode() const {
    if (const auto* armed = std::get_if<Armed>(&value)) {
        return armed->roomCode;
    }
    if (const auto* recording = std::get_if<Recording>(&value)) {
        return recording->roomCode;
    }
    return std::nullopt;
}

} // namespace brindle
