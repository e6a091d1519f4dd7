// What the tray icon says at a glance, and the line of text that goes with it.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace brindle {

/// One of: idle, recording, error with a message.
struct MenuBarIconState {
    /// Not recording, and nothing is wrong.
    struct Idle {
        friend bool operator==(const Idle&, const Idle&) = default;
    };
    /// A recording is running.
    struct Recording {
        friend bool operator==(const Recording&, const Recording&) = default;
    };
    /// The last recording failed, or something in the setup needs the user.
    struct Error {
        std::string message;
        friend bool operator==(const Error&, const Error&) = default;
    };

    std::variant<Idle, Recording, Error> value;

    static MenuBarIconState idle() { return {Idle{}}; }
    static MenuBarIconState recording() { return {Recording{}}; }
    static MenuBarIconState error(std::string message) { return {Error{std::move(message)}}; }

    [[nodiscard]] bool isIdle() const { return std::holds_alternative<Idle>(value); }
    [[nodiscard]] bool isRecording() const { return std::holds_alternative<Recording>(value); }
    /// The message of an error; null in every other state. Valid as long as this value.
    [[nodiscard]] const std::string* errorMessage() const {
        const auto* error = std::get_if<Error>(&value);
        return error == nullptr ? nullptr : &error->message;
    }
    /// Whether the icon moves.
    [[nodiscard]] bool isAnimated() const { return isRecording(); }

    friend bool operator==(const MenuBarIconState&, const MenuBarIconState&) = default;
};

/// Pure functions; callable from any thread.
struct MenuBarIconStateMapper {
    /// A running recording outranks every error; a recording's error outranks the setup's.
    static MenuBarIconState
    state(bool recording, const std::optional<std::string>& recordingError, bool setupProblem);

    /// The status line of the menu: the error where there is one, else `idleLine`, which the caller
    /// has worded for both other states.
    static std::string statusLine(const MenuBarIconState& state, const std::string& idleLine);
};

} // namespace brindle
