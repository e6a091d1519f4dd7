#include "BrindleRecorderApp/Async/JobChain.hpp"

#include <deque>
#include <utility>
#include <vector>

namespace brindle {

struct JobChain::State {
    explicit State(MainLoop& loop) : mainLoop{loop} {}

    MainLoop& mainLoop;
    std::deque<Job> waiting;
    std::vector<std::function<void()>> idleWork;
    bool running = false;

    [[nodiscard]] bool isIdle() const { return !running && waiting.empty(); }
};

JobChain::JobChain(MainLoop& mainLoop) : state_{std::make_shared<State>(mainLoop)} {}

JobChain::~JobChain() {
    state_->waiting.clear();
    state_->idleWork.clear();
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
    state->running = true;
    // The job is kept beside its task: a coroutine lambda's captures live in the lambda itself.
    auto job = std::make_shared<Job>(std::move(state->waiting.front()));
    state->waiting.pop_front();
    startDetached((*job)(), [state, job] {
        state->running = false;
        startNextSoon(state);
    });
}

} // namespace brindle
