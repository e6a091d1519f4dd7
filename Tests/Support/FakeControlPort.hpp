// A place for others to look and to ask at, in a test's hands.
#pragma once

#include "BrindleRecorderApp/Platform/ControlPort.hpp"

#include <functional>
#include <utility>
#include <vector>

namespace brindle::test {

class FakeControlPort final : public ControlPort {
  public:
    void showStatus(const ProgramStatus& status) override { statuses.push_back(status); }
    void setCommandHandler(std::function<bool(const ControlCommand&)> handler) override {
        handler_ = std::move(handler);
    }

    /// Whether it was done; false also where nobody takes commands.
    bool ask(ControlCommand::Kind kind, const std::string& question = {}) {
        return handler_ && handler_({kind, question});
    }
    [[nodiscard]] const ProgramStatus& status() const { return statuses.back(); }

    std::vector<ProgramStatus> statuses; ///< all that were shown, in order

  private:
    std::function<bool(const ControlCommand&)> handler_;
};

} // namespace brindle::test
