#include "BrindleRecorderLinux/Processes/ApplicationIdentity.hpp"

#include <algorithm>
#include <array>
#include <string_view>
#include <utility>

namespace brindle {

namespace {

/// More than any helper is away from its application; a bound in case the lookup runs in circles.
constexpr int mostGenerations = 16;
/// The kernel keeps this much of a program's name.
constexpr std::size_t longestCommand = 15;

constexpr std::array<std::string_view, 12> shells{"ash", "bash", "csh", "dash", "elvish", "fish",
                                                  "ksh", "nu",   "sh",  "su",   "sudo",   "zsh"};
static_assert(std::is_sorted(shells.begin(), shells.end()));

std::string_view fileName(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    return slash == std::string_view::npos ? path : path.substr(slash + 1);
}

/// NixOS renames what it wraps: ".zoom-wrapped" is zoom.
std::string_view unwrapped(std::string_view name) {
    constexpr std::string_view mark = "-wrapped";
    if (name.starts_with('.') && name.ends_with(mark) && name.size() > 1 + mark.size()) {
        name.remove_prefix(1);
        name.remove_suffix(mark.size());
    }
    return name;
}

std::string_view executableName(const ProcessEvidence& evidence) {
    return unwrapped(fileName(evidence.executable.native()));
}

/// The name it was started by, where that is not its file's: through a symbolic link, say. Both the
/// kernel and the program must say so, since each can be changed alone.
std::string_view startName(const ProcessEvidence& evidence) {
    if (evidence.arguments.empty()) {
        return {};
    }
    const std::string_view name = fileName(evidence.arguments.front());
    return name.substr(0, longestCommand) == evidence.command ? name : std::string_view{};
}

bool isInterpreter(std::string_view name) {
    constexpr std::array<std::string_view, 8> families{"bun",  "electron", "gjs",    "java",
                                                       "node", "perl",     "python", "ruby"};
    return std::any_of(
               families.begin(), families.end(),
               [&](std::string_view family) {
                   // With or without a version: "python3.11", "electron37".
                   return name.starts_with(family) &&
                          name.find_first_not_of("0123456789.", family.size()) ==
                              std::string_view::npos;
               }) ||
           name == "nodejs" || name == "gjs-console";
}

/// "zapzap" for /usr/bin/zapzap, zapzap.py and zapzap/__main__.py; "slack" for
/// /usr/lib/slack/app.asar and /opt/slack/resources/app.asar.
std::string_view scriptName(std::string_view path) {
    constexpr std::array<std::string_view, 6> generic{"__main__", "app",       "index",
                                                      "main",     "resources", "src"};
    while (!path.empty()) {
        std::string_view name = fileName(path);
        const std::size_t dot = name.rfind('.');
        const std::string_view stem =
            dot == std::string_view::npos || dot == 0 ? name : name.substr(0, dot);
        if (!stem.empty() && std::find(generic.begin(), generic.end(), stem) == generic.end()) {
            // Only the extensions of programs are cut off: "org.example.App" has none.
            constexpr std::array<std::string_view, 7> extensions{".asar", ".cjs", ".jar", ".js",
                                                                 ".mjs",  ".pl",  ".py"};
            const bool isProgram =
                std::find(extensions.begin(), extensions.end(), name.substr(stem.size())) !=
                extensions.end();
            return isProgram ? stem : name;
        }
        const std::size_t slash = path.rfind('/');
        path = slash == std::string_view::npos ? std::string_view{} : path.substr(0, slash);
    }
    return {};
}

/// The program that an interpreter runs; empty when the process is no interpreter.
std::string_view interpretedName(const ProcessEvidence& evidence) {
    if (!isInterpreter(executableName(evidence))) {
        return {};
    }
    bool isModule = false;
    for (std::size_t index = 1; index < evidence.arguments.size(); ++index) {
        const std::string_view argument = evidence.arguments[index];
        if (isModule) {
            return argument.substr(0, argument.find('.'));
        }
        if (argument == "-c" || argument == "-e") {
            return {}; // the program itself is in the arguments, and has no name
        }
        if (argument == "-m") {
            isModule = true;
        } else if (!argument.empty() && !argument.starts_with('-')) {
            return scriptName(argument);
        }
    }
    return {};
}

const ApplicationRow* rowOfWebApp(const ProcessEvidence& evidence) {
    constexpr std::string_view option = "--app-id=";
    for (const std::string_view argument : evidence.arguments) {
        if (argument.starts_with(option)) {
            return ApplicationTable::find(IdentitySource::webApp, argument.substr(option.size()));
        }
    }
    return nullptr;
}

const ApplicationRow* rowOfApplicationID(std::string_view name) {
    const auto* const row = ApplicationTable::find(IdentitySource::desktopEntry, name);
    return row != nullptr ? row : ApplicationTable::find(IdentitySource::flatpak, name);
}

/// Chromium and what is built on it mark their helpers so. Some helpers show all their arguments as
/// one, with blanks between.
bool isHelper(const ProcessEvidence& evidence) {
    return std::any_of(
        evidence.arguments.begin(), evidence.arguments.end(), [](std::string_view argument) {
            return argument.starts_with("--type=") ||
                   argument.find(" --type=") != std::string_view::npos;
        });
}

bool isShell(const ProcessEvidence& evidence) {
    return std::binary_search(shells.begin(), shells.end(), executableName(evidence));
}

bool isOtherApplication(const ProcessEvidence& child, const ProcessEvidence& parent) {
    return child.sandboxID != parent.sandboxID ||
           (child.desktopID && parent.desktopID && child.desktopID != parent.desktopID);
}

ApplicationIdentity identityBy(const ApplicationRow& row) {
    return {std::string{row.program.identifier}, true, std::string{row.program.name}};
}

/// What is in no row is known by its label.
ApplicationIdentity unknown(std::string label) {
    return {.identifier = std::move(label), .isInTable = false, .program = {}};
}

std::string labelOf(const ProcessEvidence& evidence, bool startedFromShell) {
    for (const auto& id : {evidence.sandboxID, evidence.snapName}) {
        if (id) {
            return *id;
        }
    }
    // What is typed into a terminal runs under the terminal's name.
    if (evidence.desktopID && !startedFromShell) {
        return *evidence.desktopID;
    }
    for (const std::string_view name : {interpretedName(evidence), executableName(evidence)}) {
        if (!name.empty()) {
            return std::string{name};
        }
    }
    return evidence.command;
}

} // namespace

const ApplicationRow* rowOf(const ProcessEvidence& evidence) {
    if (evidence.sandboxID) {
        if (const auto* row =
                ApplicationTable::find(IdentitySource::flatpak, *evidence.sandboxID)) {
            return row;
        }
    }
    if (evidence.snapName) {
        if (const auto* row = ApplicationTable::find(IdentitySource::snap, *evidence.snapName)) {
            return row;
        }
    }
    for (const std::string_view name :
         {executableName(evidence), startName(evidence), interpretedName(evidence)}) {
        if (const auto* row = ApplicationTable::find(IdentitySource::executable, name)) {
            return row;
        }
    }
    return evidence.desktopID ? rowOfApplicationID(*evidence.desktopID) : nullptr;
}

std::optional<ApplicationIdentity>
identityOfProcess(std::int32_t pid, const EvidenceLookup& evidenceOf) {
    const auto own = evidenceOf(pid);
    if (!own) {
        return std::nullopt;
    }
    const ApplicationRow* found = nullptr;
    bool startedFromShell = false;
    ProcessEvidence evidence = *own;
    for (int generation = 0; generation < mostGenerations; ++generation) {
        if (const ApplicationRow* const row = rowOf(evidence)) {
            if (generation > 0 && row->children == Children::areOthers) {
                break;
            }
            found = row;
        }
        // Once found, only a helper's own application can tell more: which web application it is.
        if (found != nullptr && !isHelper(evidence)) {
            break;
        }
        if (evidence.leadsSession || evidence.parent <= 1) {
            break;
        }
        auto parent = evidenceOf(evidence.parent);
        if (!parent || isOtherApplication(evidence, *parent)) {
            break;
        }
        if (isShell(*parent)) {
            startedFromShell = true;
            break;
        }
        if (found != nullptr && parent->executable != evidence.executable) {
            break;
        }
        evidence = *std::move(parent);
    }
    if (found == nullptr) {
        return unknown(labelOf(*own, startedFromShell));
    }
    if (const ApplicationRow* const webApp = rowOfWebApp(evidence)) {
        found = webApp;
    }
    return identityBy(*found);
}

std::optional<ApplicationIdentity>
identityOfClient(const ClientClaims& claims, const std::optional<ApplicationIdentity>& process) {
    if (const auto* row = ApplicationTable::find(IdentitySource::flatpak, claims.sandboxID)) {
        return identityBy(*row);
    }
    if (const auto* row = ApplicationTable::find(IdentitySource::snap, claims.snapName)) {
        return identityBy(*row);
    }
    if (process && process->isInTable) {
        return process;
    }
    const std::string_view binary = unwrapped(fileName(withoutDeletedMark(claims.binary)));
    if (const auto* row = ApplicationTable::find(IdentitySource::executable, binary)) {
        return identityBy(*row);
    }
    if (const auto* row = rowOfApplicationID(claims.applicationID)) {
        return identityBy(*row);
    }
    if (const auto* row =
            ApplicationTable::find(IdentitySource::streamName, claims.applicationName)) {
        return identityBy(*row);
    }
    if (!claims.sandboxID.empty()) {
        return unknown(claims.sandboxID);
    }
    if (process) {
        return process;
    }
    for (const std::string_view label :
         {std::string_view{claims.applicationID}, binary,
          std::string_view{claims.applicationName}}) {
        if (!label.empty()) {
            return unknown(std::string{label});
        }
    }
    return std::nullopt;
}

} // namespace brindle
