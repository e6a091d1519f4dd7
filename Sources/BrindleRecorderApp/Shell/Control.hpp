// What the program tells others about itself, and what it does for them: nothing that its menu does
// not offer at that moment.
#pragma once

#include "BrindleRecorderApp/Async/CoalescedCall.hpp"
#include "BrindleRecorderApp/Platform/ControlPort.hpp"
#include "BrindleRecorderApp/Platform/Observation.hpp"

#include <functional>
#include <memory>
#include <vector>

namespace brindle {

class AppModel;
class MainLoop;
class MenuContent;

/// Main thread only. What is published in one turn of the main loop is told at once.
class Control {
  public:
    /// Tells the status at once. `showMenu` brings the menu before the user, and says whether that
    /// can be done; empty where it never can. All must outlive this.
    Control(
        AppModel& model, MenuContent& menu, MainLoop& mainLoop, ControlPort& port,
        std::function<bool()> showMenu = {});
    ~Control();
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

  private:
    template <class Field>
    void follow(Field& field);
    [[nodiscard]] ProgramStatus status() const;
    bool carryOut(const ControlCommand& command);

    AppModel& model_;
    MenuContent& menu_;
    ControlPort& port_;
    const std::function<bool()> showMenu_;
    CoalescedCall telling_;
    std::vector<std::unique_ptr<Observation>> observations_;
};

} // namespace brindle
