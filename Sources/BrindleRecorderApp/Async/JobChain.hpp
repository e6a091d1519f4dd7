// The serial chain of asynchronous jobs: each runs strictly after the one before it has ended.
#pragma once

#include "BrindleRecorderApp/Async/Task.hpp"
#include "BrindleRecorderApp/Platform/MainLoop.hpp"

#include <functional>
#include <memory>

namespace brindle {

/// Main thread only. When the chain is destroyed, jobs still waiting never run, and the one that is
/// running ends at the point where it waits.
class JobChain {
  public:
    using Job = std::function<Task<void>()>;

    explicit JobChain(MainLoop& mainLoop);
    ~JobChain();
    JobChain(const JobChain&) = delete;
    JobChain& operator=(const JobChain&) = delete;

    /// Adds the job to the end of the chain and returns before it starts.
    void enqueue(Job job);
    /// Calls `work` on the main thread as soon as no job runs or waits.
    void whenIdle(std::function<void()> work);
    [[nodiscard]] bool isIdle() const;

  private:
    struct State;
    static void startNextSoon(const std::shared_ptr<State>& state);
    static detail::DetachedCoroutine run(Job job, State* state);
    static void startNext(const std::shared_ptr<State>& state);

    std::shared_ptr<State> state_;
};

} // namespace brindle
