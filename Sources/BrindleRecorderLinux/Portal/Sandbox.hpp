// Does this program run in a sandbox, where the desktop's portals say what it may use?
#pragma once

#include <filesystem>

namespace brindle {

/// The signs of a sandbox, as they are found around a program.
struct Sandbox {
    std::filesystem::path flatpakInfo; ///< a file that every Flatpak has in its root
    std::filesystem::path snap;        ///< the snap's folder, as the environment names it; or empty
    std::filesystem::path program;     ///< the running program

    static Sandbox aroundThisProcess();

    /// A snap counts only when the program is part of it: what a snap starts inherits its
    /// environment.
    [[nodiscard]] bool exists() const;
};

} // namespace brindle
