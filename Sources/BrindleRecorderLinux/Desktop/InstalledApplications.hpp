// Other applications of the desktop, by their desktop entries.
#pragma once

#include "BrindleRecorderLinux/Processes/StartedPrograms.hpp"

#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

class EventLoop;

class FileManager;

/// Main thread only. Finds entries by itself; starting is left to the desktop's own tool, "gio",
/// which knows the user's choices and every way to start an application.
class InstalledApplications {
  public:
    /// Both must outlive this. Reads the environment.
    InstalledApplications(FileManager& fileManager, EventLoop& loop);

    /// The desktop entry of that name, where the application can be started.
    [[nodiscard]] std::optional<std::filesystem::path> find(const std::string& identifier) const;
    /// Starts the application of that desktop entry. What cannot be started is left.
    void open(const std::filesystem::path& desktopEntry);
    /// Shows the folder in the application that the user has chosen for folders. Where there is
    /// none, or it cannot be started, `otherwise` is called, from within or later.
    void openFolder(const std::filesystem::path& folder, const std::function<void()>& otherwise);

  private:
    FileManager& fileManager_;
    const std::vector<std::filesystem::path> folders_; ///< with entries, the foremost first
    StartedPrograms programs_;
};

} // namespace brindle
