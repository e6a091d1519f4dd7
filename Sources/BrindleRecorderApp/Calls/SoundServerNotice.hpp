// Tells the user, once, that calls cannot be noticed on this desktop.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"

#include <chrono>
#include <memory>

namespace brindle {

class UserNotifications;

/// Main thread only. Loop and notifications must outlive it.
class SoundServerNotice {
  public:
    /// While a desktop starts, its sound may be anywhere for a moment.
    static constexpr std::chrono::seconds patience{10};

    SoundServerNotice(MainLoop& mainLoop, UserNotifications& notifications);

    /// Whether sound goes where the microphone's users cannot be seen; not for a sound server that
    /// merely does not answer. To be told of each change.
    void soundGoesElsewhere(bool elsewhere);

  private:
    void tell();

    MainLoop& mainLoop_;
    UserNotifications& notifications_;
    bool isTold_ = false;
    std::unique_ptr<MainLoop::Timer> waiting_;
};

} // namespace brindle
