// What the call detector asks its owner to do.
#pragma once

#include "BrindleRecorderCore/Calls/CallSource.hpp"

#include <string>
#include <utility>
#include <variant>

namespace brindle {

/// A value. The label names one call everywhere: in the session, the record prompt and the sidecar.
struct CallDetectorEvent {
    /// Begin recording this call.
    struct Start {
        CallSource source;
        std::string label;
        friend bool operator==(const Start&, const Start&) = default;
    };
    /// Ask the user whether to record this call.
    struct Ask {
        CallSource source;
        std::string label;
        friend bool operator==(const Ask&, const Ask&) = default;
    };
    /// End the recording of this call.
    struct Stop {
        std::string label;
        friend bool operator==(const Stop&, const Stop&) = default;
    };

    std::variant<Start, Ask, Stop> value;

    static CallDetectorEvent start(CallSource source, std::string label) {
        return {Start{std::move(source), std::move(label)}};
    }
    static CallDetectorEvent ask(CallSource source, std::string label) {
        return {Ask{std::move(source), std::move(label)}};
    }
    static CallDetectorEvent stop(std::string label) { return {Stop{std::move(label)}}; }

    friend bool operator==(const CallDetectorEvent&, const CallDetectorEvent&) = default;
};

} // namespace brindle
