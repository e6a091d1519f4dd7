// What the recorder is doing, as the rest of the application sees it.
#pragma once

#include "BrindleRecorderApp/Recording/RecorderError.hpp"
#include "BrindleRecorderCore/Base/Date.hpp"

#include <utility>
#include <variant>

namespace brindle {

/// A value.
struct RecorderStatus {
    /// A recording runs, or has been stopped and is being finished.
    struct Recording {
        Date startedAt;
        friend bool operator==(const Recording&, const Recording&) = default;
    };
    /// The last recording ended with this.
    struct Failed {
        RecorderError error;
        friend bool operator==(const Failed&, const Failed&) = default;
    };
    struct Idle {
        friend bool operator==(const Idle&, const Idle&) = default;
    };

    std::variant<Recording, Failed, Idle> value = Idle{};

    static RecorderStatus recording(Date startedAt) { return {Recording{startedAt}}; }
    static RecorderStatus failed(RecorderError error) { return {Failed{std::move(error)}}; }
    static RecorderStatus idle() { return {Idle{}}; }

    [[nodiscard]] bool isRecording() const { return std::holds_alternative<Recording>(value); }
    [[nodiscard]] bool isFailed() const { return std::holds_alternative<Failed>(value); }

    friend bool operator==(const RecorderStatus&, const RecorderStatus&) = default;
};

} // namespace brindle
