// The one table that says which Linux programs are the catalog's applications, in whatever way they
// are packaged, and which of them are never in a call. Data only: what a process is known by is
// found elsewhere.
#pragma once

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace brindle {

/// What a row is recognised by.
enum class IdentitySource {
    flatpak,      ///< Flatpak application id; also the name of its desktop entry
    snap,         ///< snap name
    executable,   ///< file name of the executable, of the script that an interpreter runs, or of
                  ///< an Electron application's folder
    desktopEntry, ///< name of the desktop entry, also given as application id by some programs
    webApp,       ///< Chromium's id of an installed web application
    streamName    ///< the name that only this program gives its streams
};

/// Whom the program's child processes belong to.
enum class Children {
    belongToIt, ///< helpers, renderers, audio services
    areOthers   ///< it starts other people's programs, as a desktop shell does
};

/// A program, however it is packaged and whatever it is recognised by.
struct KnownProgram {
    std::string_view identifier; ///< as the catalog spells it, or ignores it
    std::string_view name{};     ///< for people; empty where the catalog has it
};

struct ApplicationRow {
    IdentitySource source;
    std::string_view name;
    KnownProgram program;
    std::string_view evidence; ///< where the name is known from
    Children children = Children::belongToIt;
};

/// Built at its first use and never changed; any thread.
class ApplicationTable {
  public:
    static const std::vector<ApplicationRow>& rows();
    /// Names are compared exactly. Null for an unknown name.
    static const ApplicationRow* find(IdentitySource source, std::string_view name);
    /// The ids of the families that no row leads to: their programs do not exist on Linux. The
    /// other programs, which stand in no row, are always there.
    static std::set<std::string> absentFamilies();
};

} // namespace brindle
