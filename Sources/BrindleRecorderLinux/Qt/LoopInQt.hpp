// Lets Qt's event loop drive the program's main loop, so that both share the main thread.
#pragma once

#include <QSocketNotifier>

namespace brindle {

class EventLoop;

/// Main thread only; needs a QCoreApplication. While it lives and Qt's loop runs, everything on the
/// main loop runs from there: the sound server's events, timers, signals and posted work.
class LoopInQt {
  public:
    /// The loop must outlive this.
    explicit LoopInQt(EventLoop& mainLoop);

  private:
    QSocketNotifier notifier_;
};

} // namespace brindle
