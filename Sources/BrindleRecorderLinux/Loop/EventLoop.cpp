#include "BrindleRecorderLinux/Loop/EventLoop.hpp"

#include "BrindleRecorderLinux/Loop/EventSource.hpp"
#include "BrindleRecorderLinux/Loop/PostedWork.hpp"
#include "BrindleRecorderLinux/Loop/Waits.hpp"

#include <csignal>
#include <cstdint>
#include <list>
#include <system_error>
#include <utility>

namespace brindle {

namespace {

constexpr std::uint64_t untilSomethingHappens = UINT64_MAX;

/// Lets the signal through again, if it was let through before, when it goes. sd-event can do the
/// same since its version 251, which elogind's is not everywhere.
class BlockedSignal {
  public:
    explicit BlockedSignal(int number) {
        sigset_t wanted;
        sigset_t before;
        sigemptyset(&wanted);
        sigaddset(&wanted, number);
        pthread_sigmask(SIG_BLOCK, &wanted, &before);
        sigemptyset(&ours_);
        if (sigismember(&before, number) == 0) {
            sigaddset(&ours_, number);
        }
    }
    ~BlockedSignal() { pthread_sigmask(SIG_UNBLOCK, &ours_, nullptr); }
    BlockedSignal(const BlockedSignal&) = delete;
    BlockedSignal& operator=(const BlockedSignal&) = delete;

  private:
    sigset_t ours_{};
};

struct SignalHandler {
    SignalHandler(int number, std::function<void()> handler)
        : blocked{number}, call{std::move(handler)} {}

    BlockedSignal blocked;
    std::function<void()> call;
    EventSource source;
};

using EventsHandle = std::unique_ptr<sd_event, Releaser<sd_event_unref>>;

EventsHandle makeEvents() {
    sd_event* events = nullptr;
    if (const int made = sd_event_new(&events); made < 0) {
        throw std::system_error{-made, std::generic_category(), "event loop"};
    }
    return EventsHandle{events};
}

} // namespace

class EventLoop::Implementation {
  public:
    // What is made on the loop is declared after it and goes before it.
    EventsHandle events = makeEvents();
    Waits waits{events.get()};
    PostedWork posted{events.get()};
    std::list<SignalHandler> signalHandlers;
    bool isRunning = false;
};

EventLoop::EventLoop() : implementation_{std::make_unique<Implementation>()} {}

EventLoop::~EventLoop() = default;

void EventLoop::post(Work work) {
    implementation_->posted.add(std::move(work));
}

std::unique_ptr<MainLoop::Timer> EventLoop::after(std::chrono::nanoseconds delay, Work work) {
    return implementation_->waits.after(delay, std::move(work));
}

void EventLoop::run() {
    implementation_->isRunning = true;
    while (implementation_->isRunning) {
        const int handled = sd_event_run(implementation_->events.get(), untilSomethingHappens);
        if (handled < 0) {
            throw std::system_error{-handled, std::generic_category(), "event loop"};
        }
    }
}

void EventLoop::quit() {
    post([this] { implementation_->isRunning = false; });
}

bool EventLoop::onSignal(int signalNumber, std::function<void()> handler) {
    auto& handlers = implementation_->signalHandlers;
    auto& added = handlers.emplace_back(signalNumber, std::move(handler));
    sd_event_source* source = nullptr;
    const int result = sd_event_add_signal(
        implementation_->events.get(), &source, signalNumber,
        [](sd_event_source*, const signalfd_siginfo*, void* self) {
            static_cast<SignalHandler*>(self)->call();
            return 0;
        },
        &added);
    if (result < 0) {
        handlers.pop_back();
        return false;
    }
    added.source.reset(source);
    return true;
}

sd_event* EventLoop::events() const {
    return implementation_->events.get();
}

} // namespace brindle
