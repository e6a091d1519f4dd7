// Asks the user of a sandboxed program for the camera, through the desktop's camera portal
// (https://flatpak.github.io/xdg-desktop-portal, interface org.freedesktop.portal.Camera).
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"

#include <chrono>
#include <functional>
#include <memory>
#include <string_view>
#include <vector>

namespace brindle {

class EventLoop;

/// Main thread only; nothing blocks. The portal is asked once while the program runs. What the user
/// said before is the portal's to remember: it then answers without a dialog.
class CameraPortal {
  public:
    using Answer = std::function<void(bool granted)>;
    /// Takes the lines that tell what came of it.
    using Log = std::function<void(std::string_view line)>;

    /// Time enough to read the portal's dialog.
    static constexpr std::chrono::seconds patienceWithTheUser{60};

    /// Does nothing yet. The loop must outlive this.
    CameraPortal(EventLoop& loop, Log log, std::chrono::nanoseconds patience = patienceWithTheUser);
    ~CameraPortal();
    CameraPortal(const CameraPortal&) = delete;
    CameraPortal& operator=(const CameraPortal&) = delete;

    /// Not determined until there is an answer; denied also where there is no portal to give one.
    [[nodiscard]] AuthorizationStatus status() const { return status_; }

    /// Asks, unless that was done before, and answers later on the main thread: as soon as there is
    /// a decision, and with "not granted" when the patience is over. A decision that comes after
    /// that still counts for `status`.
    void requestAccess(Answer answer);

  private:
    class Conversation;

    void beginConversation();
    void decided(AuthorizationStatus status, std::string_view why);
    void patienceIsOver();
    void answerAll();

    EventLoop& loop_;
    Log log_;
    std::chrono::nanoseconds patience_;
    AuthorizationStatus status_ = AuthorizationStatus::notDetermined;
    std::vector<Answer> waiting_;
    std::unique_ptr<Conversation> conversation_; ///< once asked
    std::unique_ptr<MainLoop::Timer> patienceTimer_;
};

} // namespace brindle
