// The program's commands and options, described once: how the command line is read, what the helps
// say and what shells complete is all made from this.
#pragma once

#include "BrindleRecorderLinux/CommandLine/Options.hpp"

#include <span>
#include <string_view>

namespace brindle {

/// Constants; any thread.
struct CommandTable {
    struct Option {
        std::string_view name;  ///< "--once"
        std::string_view words; ///< for people
        bool Options::*flag;
    };
    struct Example {
        std::string_view line; ///< as it is typed
        std::string_view words;
    };
    /// What stands behind the command.
    enum class Argument { none, movie, answer, menuLine, shell };
    struct Entry {
        Options::Command command;
        std::string_view name;
        std::string_view alias; ///< the option that does the same; empty where there is none
        Argument argument;
        bool isForRunningCopy; ///< it asks the copy of the program that runs in this session
        std::string_view summary;
        std::string_view words; ///< what else is to be known
        std::span<const Option> options;
        std::span<const Example> examples;
    };

    static std::span<const Entry> entries();
    static const Entry* named(std::string_view nameOrAlias);
    static const Entry& of(Options::Command command);
    /// Null where no command has that option.
    static const Option* option(std::string_view name);

    /// As usage lines show it: "FILE.mov", "record|skip"; empty for none.
    static std::string_view placeholder(Argument argument);
    /// The words that it may be; empty where it may be anything.
    static std::span<const std::string_view> choices(Argument argument);

    // Options without a command.
    static constexpr std::string_view headless = "--headless";
    static constexpr std::string_view help = "--help";
    static constexpr std::string_view version = "--version";
};

} // namespace brindle
