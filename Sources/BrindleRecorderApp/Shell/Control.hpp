// What the program tells others about itself, and what it does for them: nothing that its menu does
// not offer at that moment.
#pragma once

#include "BrindleRecorderApp/Async/CoalescedCall.hpp"
#include "BrindleRecorderApp/Platform/ControlPort.hpp"
#include "BrindleRecorderApp/Platform/Observation.hpp"

#include <memory>
#include <vector>

namespace brindle {

class AppModel;
class MainLoop;
class MenuContent;

/// Main thread only. What is published in one turn of the main loop is told at once.
class Control {
  public:
    /// Tells the status at once. All must outlive this.
    Control(AppModel& model, MenuContent& menu, MainLoop& mainLoop, ControlPort& port);
    ~Control();
    Control(const Control&) = delete;
    Control& operator=(const Control&) = delete;

  private:
    template <class Field>
    void follow(Field& field);
    [[nodiscard]] ProgramStatus status() const;

    AppModel& model_;
    MenuContent& menu_;
    ControlPort& port_;
    CoalescedCall telling_;
    std::vector<std::unique_ptr<Observation>> observations_;
};

} // namespace brindle
