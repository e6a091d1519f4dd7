// The clock of the icon's pulse. It ticks only while something moves.
#pragma once

#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"
#include "BrindleRecorderApp/Platform/Observation.hpp"

#include <memory>

namespace brindle {

class DateProvider;
class Workspace;

/// Main thread only. Without animation it has no timer and costs nothing.
class MenuBarIconAnimator {
  public:
    /// All must outlive the animator.
    MenuBarIconAnimator(MainLoop& mainLoop, const DateProvider& dateProvider, Workspace& workspace);
    MenuBarIconAnimator(const MenuBarIconAnimator&) = delete;
    MenuBarIconAnimator& operator=(const MenuBarIconAnimator&) = delete;

    /// Seconds of the clock, refreshed twelve times a second while the animation runs.
    [[nodiscard]] const Published<double>& time() const { return time_; }
    /// The user's wish, followed as it changes.
    [[nodiscard]] const Published<bool>& reduceMotion() const { return reduceMotion_; }

    [[nodiscard]] bool wantsAnimation() const { return wantsAnimation_; }
    void setWantsAnimation(bool wants);

    /// Lets the timer run exactly while animation is wanted and motion is allowed.
    void update();

  private:
    [[nodiscard]] double now() const;
    void tick();

    MainLoop& mainLoop_;
    const DateProvider& dateProvider_;
    Workspace& workspace_;
    Published<double> time_;
    Published<bool> reduceMotion_;
    bool wantsAnimation_ = false;
    std::unique_ptr<MainLoop::Timer> timer_;
    std::unique_ptr<Observation> observation_;
};

} // namespace brindle
