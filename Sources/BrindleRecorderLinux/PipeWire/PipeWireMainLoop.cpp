#include "BrindleRecorderLinux/PipeWire/PipeWireMainLoop.hpp"

#include "BrindleRecorderLinux/PipeWire/Handles.hpp"
#include "BrindleRecorderLinux/PipeWire/TimerQueue.hpp"

#include <cerrno>
#include <csignal>
#include <deque>
#include <list>
#include <mutex>
#include <system_error>
#include <utility>

namespace brindle {

namespace {

/// Work from any thread, run in order on the loop.
class PostedWork {
  public:
    explicit PostedWork(pw_loop* loop)
        : loop_{loop}, wakeUp_{
                           pipewire::addEvent(
                               loop,
                               [](void* self, std::uint64_t) {
                                   static_cast<PostedWork*>(self)->runPending();
                               },
                               this),
                           {loop}} {
        if (wakeUp_ == nullptr) {
            throw std::system_error{errno, std::generic_category(), "PipeWire loop event"};
        }
    }

    void add(MainLoop::Work work) {
        // Woken under the lock, so that the loop cannot go between the two.
        const std::lock_guard lock{mutex_};
        pending_.push_back(std::move(work));
        pipewire::signalEvent(loop_, wakeUp_.get());
    }

  private:
    /// Work that is posted meanwhile waits for the next turn, so that timers and descriptors get
    /// theirs.
    void runPending() {
        std::size_t remaining = 0;
        {
            const std::lock_guard lock{mutex_};
            remaining = pending_.size();
        }
        for (; remaining > 0; --remaining) {
            MainLoop::Work work;
            {
                const std::lock_guard lock{mutex_};
                if (pending_.empty()) {
                    return;
                }
                work = std::move(pending_.front());
                pending_.pop_front();
            }
            work();
        }
    }

    pw_loop* loop_;
    pipewire::SourceHandle wakeUp_;
    std::mutex mutex_;
    std::deque<MainLoop::Work> pending_;
};

/// Lets the signal through again, if it was let through before, when it goes.
class BlockedSignal {
  public:
    explicit BlockedSignal(int number) {
        sigemptyset(&signal_);
        sigset_t blocked;
        pthread_sigmask(SIG_BLOCK, nullptr, &blocked);
        if (sigismember(&blocked, number) == 0) {
            sigaddset(&signal_, number);
        }
    }
    ~BlockedSignal() { pthread_sigmask(SIG_UNBLOCK, &signal_, nullptr); }
    BlockedSignal(const BlockedSignal&) = delete;
    BlockedSignal& operator=(const BlockedSignal&) = delete;

  private:
    sigset_t signal_{};
};

struct SignalHandler {
    SignalHandler(int number, std::function<void()> handler)
        : blocked{number}, call{std::move(handler)} {}

    BlockedSignal blocked;
    std::function<void()> call;
    pipewire::SourceHandle source;
};

pipewire::MainLoopHandle makeMainLoop() {
    pipewire::MainLoopHandle mainLoop{pw_main_loop_new(nullptr)};
    if (mainLoop == nullptr) {
        throw std::system_error{errno, std::generic_category(), "PipeWire main loop"};
    }
    return mainLoop;
}

} // namespace

class PipeWireMainLoop::Implementation {
  public:
    Implementation()
        : mainLoop{makeMainLoop()}, loop{pw_main_loop_get_loop(mainLoop.get())}, posted{loop},
          timerSource{
              pipewire::addReader(
                  loop, timers.descriptor(),
                  [](void* self, int, std::uint32_t) { static_cast<TimerQueue*>(self)->runDue(); },
                  &timers),
              {loop}} {
        if (timerSource == nullptr) {
            throw std::system_error{errno, std::generic_category(), "PipeWire loop timer"};
        }
    }

    // What is made on the loop is declared after it and goes before it.
    pipewire::Library library;
    pipewire::MainLoopHandle mainLoop;
    pw_loop* loop;
    TimerQueue timers;
    PostedWork posted;
    pipewire::SourceHandle timerSource;
    std::list<SignalHandler> signalHandlers;
};

PipeWireMainLoop::PipeWireMainLoop() : implementation_{std::make_unique<Implementation>()} {}

PipeWireMainLoop::~PipeWireMainLoop() = default;

void PipeWireMainLoop::post(Work work) {
    implementation_->posted.add(std::move(work));
}

std::unique_ptr<MainLoop::Timer>
PipeWireMainLoop::after(std::chrono::nanoseconds delay, Work work) {
    return implementation_->timers.after(delay, std::move(work));
}

void PipeWireMainLoop::run() {
    pw_main_loop_run(implementation_->mainLoop.get());
}

void PipeWireMainLoop::quit() {
    post([mainLoop = implementation_->mainLoop.get()] { pw_main_loop_quit(mainLoop); });
}

bool PipeWireMainLoop::onSignal(int signalNumber, std::function<void()> handler) {
    auto& handlers = implementation_->signalHandlers;
    auto& added = handlers.emplace_back(signalNumber, std::move(handler));
    added.source = pipewire::SourceHandle{
        pipewire::addSignal(
            implementation_->loop, signalNumber,
            [](void* self, int) { static_cast<SignalHandler*>(self)->call(); }, &added),
        {implementation_->loop}};
    if (added.source == nullptr) {
        handlers.pop_back();
        return false;
    }
    return true;
}

int PipeWireMainLoop::descriptor() const {
    return pipewire::descriptorOf(implementation_->loop);
}

void PipeWireMainLoop::iterate() {
    pipewire::iterateOnce(implementation_->loop);
}

pw_loop* PipeWireMainLoop::loop() const {
    return implementation_->loop;
}

} // namespace brindle
