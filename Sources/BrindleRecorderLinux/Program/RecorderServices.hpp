// What the program needs of Linux whether or not it has a user interface.
#pragma once

#include "BrindleRecorderApp/AppEnvironment.hpp"
#include "BrindleRecorderApp/EventLog.hpp"

#include <filesystem>
#include <memory>

namespace brindle {

class EventLoop;

/// Main thread only.
class RecorderServices {
  public:
    /// The loop must outlive the services.
    explicit RecorderServices(EventLoop& mainLoop);
    /// Writes what the log still holds.
    ~RecorderServices();
    RecorderServices(const RecorderServices&) = delete;
    RecorderServices& operator=(const RecorderServices&) = delete;

    /// These services together with those that depend on the user interface.
    [[nodiscard]] AppEnvironment
    environment(UserNotifications& notifications, LoginItems& loginItems, Workspace& workspace);

    [[nodiscard]] const EventLog& log() const;
    [[nodiscard]] FileManager& fileManager();
    /// Where the recordings are; made where it is missing.
    [[nodiscard]] std::filesystem::path recordingsFolder();

  private:
    class Implementation;
    std::unique_ptr<Implementation> implementation_;
};

} // namespace brindle
