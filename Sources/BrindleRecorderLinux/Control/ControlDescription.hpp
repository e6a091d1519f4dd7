// The program's interface for terminals and scripts, described once: what the bus is told, what
// introspection shows and what is answered is all made from this.
#pragma once

#include "BrindleRecorderApp/Platform/ControlPort.hpp"

#include <array>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace brindle {

/// Constants and pure functions; any thread.
struct ControlDescription {
    static constexpr const char* path = "/com/tamsworth/brindlerecorder";
    static constexpr const char* interface = "com.tamsworth.brindlerecorder.Control1";
    /// The error of a method that cannot do now what it is for.
    static constexpr const char* notNow = "com.tamsworth.brindlerecorder.Error.NotNow";

    /// A text; empty where there is nothing to say.
    struct Property {
        const char* name;
        const char* words; ///< for people
        bool isConstant;
        std::string (*value)(const ProgramStatus& status);
    };
    struct Argument {
        const char* name;
        char type; ///< as the bus spells it
    };
    struct Method {
        const char* name;
        const char* words;   ///< for people
        const char* refusal; ///< what is said where it cannot be done now
        std::span<const Argument> arguments;
        ControlCommand::Kind kind; ///< for an answer, the one that records
    };

    static std::span<const Property> properties();
    static std::span<const Method> methods();
    static const Property* property(std::string_view name);
    static const Method* method(std::string_view name);

    /// "idle", "asking", "armed" or "recording".
    static const char* nameOf(ProgramStatus::State state);

    /// What introspection shows, with the words for people.
    static std::string introspection();
};

} // namespace brindle
