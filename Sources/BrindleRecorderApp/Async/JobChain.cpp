#include "BrindleRecorderApp/Async/JobChain.hpp"

#include <deque>
#include <optional>
#include <utility>
#include <vector>

namespace brindle {

struct JobChain::State : std::enable_shared_from_this<State> {
    explicit State(MainLoop& loop) : mainLoop{loop} {}

    MainLoop& mainLoop;
    std::deque<Job> waiting;
    std::vector<std::function<void()>> idleWork;
    std::optional<detail::DetachedCoroutine> running;

    [[nodiscard]] bool isIdle() const { return !running && waiting.empty(); }
};

JobChain::JobChain(MainLoop& mainLoop) : state_{std::make_shared<State>(mainLoop)} {}

JobChain::~JobChain() {
    state_->waiting.clear();
    state_->idleWork.clear();
    if (const auto running = std::exchange(state_->running, std::nullopt)) {
        running->destroy();
    }
}

void JobChain::enqueue(Job job) {
    state_->waiting.push_back(std::move(job));
    startNextSoon(state_);
}

void JobChain::whenIdle(std::function<void()> work) {
    state_->idleWork.push_back(std::move(work));
    startNextSoon(state_);
}

bool JobChain::isIdle() const {
    return state_->isIdle();
}

void JobChain::startNextSoon(const std::shared_ptr<State>& state) {
    state->mainLoop.post([weakState = std::weak_ptr{state}] {
        if (const auto alive = weakState.lock()) {
            startNext(alive);
        }
    });
}

void JobChain::startNext(const std::shared_ptr<State>& state) {
    if (state->running) {
        return;
    }
    if (state->waiting.empty()) {
        for (auto& work : std::exchange(state->idleWork, {})) {
            work();
        }
        return;
    }
    auto job = std::move(state->waiting.front());
    state->waiting.pop_front();
    state->running = run(std::move(job), state.get());
    state->running->start();
}

detail::DetachedCoroutine JobChain::run(Job job, State* state) {
    // The job is a parameter, and so lives in this coroutine: the captures of a coroutine lambda
    // are the lambda's, not its coroutine's.
    co_await job();
    state->running.reset();
    startNextSoon(state->shared_from_this());
}

} // namespace brindle
