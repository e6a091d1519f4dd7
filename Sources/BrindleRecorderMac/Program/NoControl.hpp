// A program that nobody steers from outside.
#pragma once

#include "BrindleRecorderApp/Platform/ControlPort.hpp"

namespace brindle {

/// Everybody who looks has the menu bar before them.
class NoControl final : public ControlPort {
  public:
    void showStatus(const ProgramStatus& /*status*/) override {}
    void setCommandHandler(std::function<bool(const ControlCommand&)> /*handler*/) override {}
};

} // namespace brindle
