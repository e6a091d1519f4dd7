#include "BrindleRecorderApp/Shell/CompanionApplication.hpp"

#include "BrindleRecorderApp/Platform/ProcessRegistry.hpp"
#include "BrindleRecorderApp/Platform/Workspace.hpp"

namespace brindle {

namespace {

/// The nearest application folder around that place, itself not counted.
std::optional<std::filesystem::path> enclosingApplication(const std::filesystem::path& place) {
    // A slash at the end would make the place its own parent.
    const auto start = place.has_filename() ? place : place.parent_path();
    for (auto folder = start.parent_path(); folder.has_relative_path();
         folder = folder.parent_path()) {
        if (folder.extension() == ".app") {
            return folder;
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<std::filesystem::path>
CompanionApplication::find(const Workspace& workspace, const ProcessRegistry& processRegistry) {
    if (const auto own = workspace.ownApplication()) {
        auto enclosing = enclosingApplication(*own);
        if (enclosing &&
            processRegistry.bundleIdentifierOfApplication(*enclosing) == bundleIdentifier) {
            return enclosing;
        }
    }
    return workspace.application(bundleIdentifier);
}

void CompanionApplication::open(Workspace& workspace, const ProcessRegistry& processRegistry) {
    if (const auto application = find(workspace, processRegistry)) {
        workspace.openApplication(*application);
    }
}

} // namespace brindle
