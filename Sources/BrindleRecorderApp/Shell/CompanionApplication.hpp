// The maker's other application, which this one's menu opens.
#pragma once

#include <filesystem>
#include <optional>

namespace brindle {

class ProcessRegistry;
class Workspace;

/// Main thread only.
struct CompanionApplication {
    static constexpr const char* bundleIdentifier = "com.tamsworth.brindlecontent";

    /// The copy that this program is a part of, where it is one, before any other that is
    /// installed.
    static std::optional<std::filesystem::path>
    find(const Workspace& workspace, const ProcessRegistry& processRegistry);

    /// Does nothing where the application is not installed.
    static void open(Workspace& workspace, const ProcessRegistry& processRegistry);
};

} // namespace brindle
