// Starts a task at once and keeps what it answers, for tests to look at.
#pragma once

#include "BrindleRecorderApp/Async/Task.hpp"

#include <coroutine>
#include <exception>
#include <memory>
#include <optional>
#include <type_traits>
#include <utility>

namespace brindle::test {

/// A task that has not ended when its probe is destroyed is ended there.
template <class Value = void>
class TaskProbe {
    using Stored = std::conditional_t<std::is_void_v<Value>, bool, Value>;

  public:
    explicit TaskProbe(Task<Value> task)
        : answer_{std::make_shared<std::optional<Stored>>()}, run_{run(std::move(task), answer_)} {}

    [[nodiscard]] bool isDone() const { return answer_->has_value(); }
    /// Only once it is done.
    [[nodiscard]] const Stored& value() const { return answer_->value(); }

  private:
    class Run {
      public:
        struct promise_type { // NOLINT(readability-identifier-naming)
            Run get_return_object() {
                return Run{std::coroutine_handle<promise_type>::from_promise(*this)};
            }
            std::suspend_never initial_suspend() noexcept { return {}; }
            std::suspend_always final_suspend() noexcept { return {}; }
            void return_void() noexcept {}
            void unhandled_exception() noexcept { std::terminate(); }
        };

        explicit Run(std::coroutine_handle<promise_type> coroutine) : coroutine_{coroutine} {}
        Run(Run&& other) noexcept : coroutine_{std::exchange(other.coroutine_, {})} {}
        Run& operator=(Run&&) = delete;
        ~Run() {
            if (coroutine_) {
                coroutine_.destroy();
            }
        }

      private:
        std::coroutine_handle<promise_type> coroutine_;
    };

    static Run run(Task<Value> task, std::shared_ptr<std::optional<Stored>> answer) {
        if constexpr (std::is_void_v<Value>) {
            co_await std::move(task);
            answer->emplace(true);
        } else {
            answer->emplace(co_await std::move(task));
        }
    }

    std::shared_ptr<std::optional<Stored>> answer_;
    Run run_;
};

template <class Value>
TaskProbe(Task<Value>) -> TaskProbe<Value>;

} // namespace brindle::test
