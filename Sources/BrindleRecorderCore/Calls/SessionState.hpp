// Where a recording session stands: no call, a call that is not recorded, or a recording.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace brindle {

/// A value. Room codes are opaque and not empty; equal codes mean the same call.
struct SessionState {
    /// A call is known and nothing is being recorded.
    struct Armed {
        std::string roomCode;
        friend bool operator==(const Armed&, const Armed&) = default;
    };
    /// This room is being recorded.
    struct Recording {
        std::string roomCode;
        friend bool operator==(const Recording&, const Recording&) = default;
    };
    /// There is no call.
    struct Idle {
        friend bool operator==(const Idle&, const Idle&) = default;
    };

    std::variant<Armed, Recording, Idle> value = Idle{};

    static SessionState armed(std::string roomCode) { return {Armed{std::move(roomCode)}}; }
    static SessionState recording(std::string roomCode) { return {Recording{std::move(roomCode)}}; }
    static SessionState idle() { return {Idle{}}; }

    /// The room, armed or recorded; nothing while idle.
    [[nodiscard]] std::optional<std::string> roomCode() const;
    [[nodiscard]] bool isArmed() const { return std::holds_alternative<Armed>(value); }
    [[nodiscard]] bool isRecording() const { return std::holds_alternative<Recording>(value); }
    [[nodiscard]] bool isIdle() const { return std::holds_alternative<Idle>(value); }

    friend bool operator==(const SessionState&, const SessionState&) = default;
};

} // namespace brindle
