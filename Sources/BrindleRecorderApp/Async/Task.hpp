// Asynchronous jobs of the main thread, written as coroutines that read top to bottom.
//
// A Task does nothing until it is awaited or started. It runs on the main thread only, and resumes
// wherever what it waits for is completed, which is always the main thread too. A Task that is
// destroyed while it waits is ended at that point.
#pragma once

#include <cassert>
#include <coroutine>
#include <exception>
#include <functional>
#include <optional>
#include <utility>

namespace brindle {

template <class Value>
class Task;

namespace detail {

/// What every task's promise does: end by resuming whoever awaits it.
class TaskPromiseBase {
  public:
    struct ResumeAwaiter {
        [[nodiscard]] bool await_ready() const noexcept { return false; }
        template <class Promise>
        std::coroutine_handle<> await_suspend(std::coroutine_handle<Promise> finished) noexcept {
            const auto awaiter = finished.promise().awaiter_;
            return awaiter ? awaiter : std::noop_coroutine();
        }
        void await_resume() noexcept {}
    };

    std::suspend_always initial_suspend() noexcept { return {}; }
    ResumeAwaiter final_suspend() noexcept { return {}; }
    // Operating errors are values; an exception that reaches this place is a programmer error.
    void unhandled_exception() noexcept { std::terminate(); }

    void setAwaiter(std::coroutine_handle<> awaiter) noexcept { awaiter_ = awaiter; }

  private:
    std::coroutine_handle<> awaiter_;
};

template <class Value>
class TaskPromise final : public TaskPromiseBase {
  public:
    Task<Value> get_return_object() noexcept;
    template <class Returned>
    void return_value(Returned&& value) {
        value_.emplace(std::forward<Returned>(value));
    }
    Value takeValue() { return std::move(*value_); }

  private:
    std::optional<Value> value_;
};

template <>
class TaskPromise<void> final : public TaskPromiseBase {
  public:
    Task<void> get_return_object() noexcept;
    void return_void() noexcept {}
    void takeValue() noexcept {}
};

} // namespace detail

template <class Value = void>
class [[nodiscard]] Task {
  public:
    using promise_type = detail::TaskPromise<Value>; // NOLINT(readability-identifier-naming)

    explicit Task(std::coroutine_handle<promise_type> coroutine) noexcept : coroutine_{coroutine} {}
    Task(Task&& other) noexcept : coroutine_{std::exchange(other.coroutine_, {})} {}
    Task& operator=(Task&& other) noexcept {
        if (this != &other) {
            destroy();
            coroutine_ = std::exchange(other.coroutine_, {});
        }
        return *this;
    }
    Task(const Task&) = delete;
    Task& operator=(const Task&) = delete;
    ~Task() { destroy(); }

    auto operator co_await() && noexcept {
        struct Awaiter {
            std::coroutine_handle<promise_type> coroutine;
            [[nodiscard]] bool await_ready() const noexcept { return false; }
            std::coroutine_handle<> await_suspend(std::coroutine_handle<> awaiter) noexcept {
                coroutine.promise().setAwaiter(awaiter);
                return coroutine;
            }
            Value await_resume() { return coroutine.promise().takeValue(); }
        };
        assert(coroutine_);
        return Awaiter{coroutine_};
    }

  private:
    void destroy() noexcept {
        if (coroutine_) {
            coroutine_.destroy();
        }
    }

    std::coroutine_handle<promise_type> coroutine_;
};

namespace detail {

template <class Value>
Task<Value> TaskPromise<Value>::get_return_object() noexcept {
    return Task<Value>{std::coroutine_handle<TaskPromise>::from_promise(*this)};
}

inline Task<void> TaskPromise<void>::get_return_object() noexcept {
    return Task<void>{std::coroutine_handle<TaskPromise>::from_promise(*this)};
}

/// A coroutine that nobody awaits: once started it frees itself when it ends.
class DetachedCoroutine {
  public:
    struct promise_type { // NOLINT(readability-identifier-naming)
        DetachedCoroutine get_return_object() noexcept {
            return DetachedCoroutine{std::coroutine_handle<promise_type>::from_promise(*this)};
        }
        std::suspend_always initial_suspend() noexcept { return {}; }
        std::suspend_never final_suspend() noexcept { return {}; }
        void return_void() noexcept {}
        void unhandled_exception() noexcept { std::terminate(); }
    };

    /// Once only.
    void start() const { coroutine_.resume(); }
    /// Ends it at the point where it waits. Only while it waits.
    void destroy() const { coroutine_.destroy(); }

  private:
    explicit DetachedCoroutine(std::coroutine_handle<promise_type> coroutine) noexcept
        : coroutine_{coroutine} {}

    std::coroutine_handle<promise_type> coroutine_;
};

inline DetachedCoroutine runDetached(Task<void> task, std::function<void()> whenDone) {
    co_await std::move(task);
    if (whenDone) {
        whenDone();
    }
}

} // namespace detail

/// Starts the task now; it keeps itself alive until it ends, and then calls `whenDone`.
inline void startDetached(Task<void> task, std::function<void()> whenDone = {}) {
    detail::runDetached(std::move(task), std::move(whenDone)).start();
}

} // namespace brindle
