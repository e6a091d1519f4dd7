// How the program ends: in good order when it is asked once, at once when it is asked again.
#pragma once

#include <functional>

namespace brindle {

class AppModel;
class EventLoop;

/// Main thread only.
class QuitRequests {
  public:
    /// `leave` ends the main loop. Both must outlive this.
    QuitRequests(EventLoop& mainLoop, std::function<void()> leave);
    QuitRequests(const QuitRequests&) = delete;
    QuitRequests& operator=(const QuitRequests&) = delete;

    /// Takes SIGINT, SIGTERM and SIGHUP as requests. Before the first other thread starts, so that
    /// no thread takes the signals for itself. False when the system refuses.
    [[nodiscard]] bool followSignals();

    /// From here on that model stops and keeps a running recording before the program leaves. It
    /// must outlive the loop's run.
    void prepareWith(AppModel& model);

    void request();

  private:
    EventLoop& mainLoop_;
    std::function<void()> leave_;
    AppModel* model_ = nullptr;
    bool isQuitting_ = false;
};

} // namespace brindle
