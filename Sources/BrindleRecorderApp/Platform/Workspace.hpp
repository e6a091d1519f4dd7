// The seam to the desktop around the program: its file manager, other applications, and how the
// user wants things to look and move.
#pragma once

#include "BrindleRecorderApp/Platform/Observation.hpp"

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace brindle {

/// Whether the surroundings of the program's icon are light or dark.
enum class Appearance { light, dark };

/// Main thread only; listeners are called on the main thread, from the main loop, after the change.
class Workspace {
  public:
    using Listener = std::function<void()>;

    virtual ~Workspace() = default;

    /// Shows the folder in the user's file manager. Where none can be started nothing happens.
    virtual void openFolder(const std::filesystem::path& folder) = 0;

    /// Where this program itself is installed: its application folder on desktops that install
    /// applications as folders, else the file that runs; nothing when it cannot be told.
    [[nodiscard]] virtual std::optional<std::filesystem::path> ownApplication() const = 0;
    /// The installed application of that identifier, as something that `openApplication` opens.
    [[nodiscard]] virtual std::optional<std::filesystem::path>
    application(const std::string& bundleIdentifier) const = 0;
    /// Starts the application, or brings it forward where it runs. What cannot be opened is left.
    virtual void openApplication(const std::filesystem::path& application) = 0;

    /// Whether the user asked for as little movement on the screen as possible.
    [[nodiscard]] virtual bool reducesMotion() const = 0;
    /// Nothing when changes cannot be followed.
    [[nodiscard]] virtual std::unique_ptr<Observation> observeReduceMotion(Listener listener) = 0;

    /// Light also where the desktop does not say.
    [[nodiscard]] virtual Appearance appearance() const = 0;
    /// Nothing when changes cannot be followed.
    [[nodiscard]] virtual std::unique_ptr<Observation> observeAppearance(Listener listener) = 0;
};

} // namespace brindle
