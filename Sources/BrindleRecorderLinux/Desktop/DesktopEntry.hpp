// What this program needs to know of a desktop entry (Desktop Entry Specification, freedesktop.org,
// version 1.5).
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>

namespace brindle {

/// Reads the keys of the first group, "Desktop Entry"; what else stands in the file is skipped.
class DesktopEntry {
  public:
    /// Nothing where that group is missing.
    static std::optional<DesktopEntry> read(std::string_view contents);

    /// As it is meant, without the file's escapes; nothing where the key is missing.
    [[nodiscard]] std::optional<std::string> value(std::string_view key) const;
    /// Nothing where the key is missing, true only where it says so.
    [[nodiscard]] std::optional<bool> flag(std::string_view key) const;
    /// The program that its command starts, where both that one and the one that it is to be tried
    /// for are there. Reads PATH.
    [[nodiscard]] std::optional<std::filesystem::path> program() const;

    /// A value as it is written in the file.
    static std::string escaped(std::string_view value);
    /// One word of a command, which is to be escaped like any value.
    static std::string quotedForCommand(std::string_view word);

  private:
    std::map<std::string, std::string, std::less<>> values_; ///< as they are written
};

/// Where the program of that name is, as a shell finds it; nothing where it cannot be executed.
/// Reads PATH.
std::optional<std::filesystem::path> findProgram(const std::string& name);

} // namespace brindle
