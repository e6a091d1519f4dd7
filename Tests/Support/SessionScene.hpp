// A session controller with a clock, a delegate and a callback that write down what they hear.
#pragma once

#include "BrindleRecorderCore/Calls/SessionController.hpp"
#include "Support/FakeDateProvider.hpp"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace brindle::test {

/// "idle", "armed <room>" or "recording <room>".
std::string inWords(const SessionState& state);

class SessionScene {
  public:
    explicit SessionScene(int missedPollsBeforeStop);
    SessionScene(const SessionScene&) = delete;
    SessionScene& operator=(const SessionScene&) = delete;
    ~SessionScene() = default;

    /// What was heard since the last time, in order: "start <room>", "stop and keep", "stop and
    /// discard", "-> <state>".
    std::vector<std::string> takeLog();
    /// Ends the delegate's life.
    void dropDelegate();

    FakeDateProvider clock;
    SessionController controller;
    std::function<void()> onDelegateCall; ///< called from inside every delegate call

  private:
    class Delegate;

    std::vector<std::string> log_;
    std::shared_ptr<SessionDelegate> delegate_;
};

} // namespace brindle::test
