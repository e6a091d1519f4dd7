// What is believed about the call at the moment, as the session controller is told once per pass.
#pragma once

#include <string>
#include <utility>
#include <variant>

namespace brindle {

/// A value. Room codes are opaque and not empty; equal codes mean the same call.
struct DetectorState {
    /// The user is about to join, or the room is known without a call.
    struct Lobby {
        std::string roomCode;
        friend bool operator==(const Lobby&, const Lobby&) = default;
    };
    /// The user is in the call.
    struct InCall {
        std::string roomCode;
        friend bool operator==(const InCall&, const InCall&) = default;
    };
    /// There is no call.
    struct NoRoomTab {
        friend bool operator==(const NoRoomTab&, const NoRoomTab&) = default;
    };

    std::variant<Lobby, InCall, NoRoomTab> value = NoRoomTab{};

    static DetectorState lobby(std::string roomCode) { return {Lobby{std::move(roomCode)}}; }
    static DetectorState inCall(std::string roomCode) { return {InCall{std::move(roomCode)}}; }
    static DetectorState noRoomTab() { return {NoRoomTab{}}; }

    friend bool operator==(const DetectorState&, const DetectorState&) = default;
};

} // namespace brindle
