// A one-shot meeting point between a callback and a coroutine that waits for it.
#pragma once

#include <cassert>
#include <coroutine>
#include <memory>
#include <optional>
#include <utility>

namespace brindle {

/// Copies share one state: keep one to await, give another to the callback. Main thread only.
/// `resume` counts once, before or after the wait has begun; later calls do nothing.
template <class Value>
class Continuation {
  public:
    Continuation() : state_{std::make_shared<State>()} {}

    /// Hands the value over and runs whoever waits, before returning.
    void resume(Value value) const {
        // The waiting coroutine may drop the last other reference to the state.
        const auto state = state_;
        if (state->value) {
            return;
        }
        state->value.emplace(std::move(value));
        if (const auto waiting = std::exchange(state->waiting, {})) {
            waiting.resume();
        }
    }

    auto operator co_await() const noexcept { return Awaiter{state_}; }

  private:
    struct State {
        std::optional<Value> value;
        std::coroutine_handle<> waiting;
    };

    /// Lives in the waiting coroutine, and so ends with it: one that is destroyed is not resumed.
    class Awaiter {
      public:
        explicit Awaiter(std::shared_ptr<State> state) noexcept : state_{std::move(state)} {}
        ~Awaiter() {
            if (waits_) {
                state_->waiting = {};
            }
        }
        Awaiter(const Awaiter&) = delete;
        Awaiter& operator=(const Awaiter&) = delete;

        [[nodiscard]] bool await_ready() const noexcept { return state_->value.has_value(); }
        void await_suspend(std::coroutine_handle<> coroutine) noexcept {
            assert(!state_->waiting);
            state_->waiting = coroutine;
            waits_ = true;
        }
        Value await_resume() const { return *state_->value; }

      private:
        std::shared_ptr<State> state_;
        bool waits_ = false;
    };

    std::shared_ptr<State> state_;
};

/// For a meeting that carries nothing.
struct Done {};

} // namespace brindle
