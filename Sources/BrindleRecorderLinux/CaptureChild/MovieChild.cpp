#include "BrindleRecorderLinux/CaptureChild/MovieChild.hpp"

#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"
#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"

#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <system_error>
#include <utility>
#include <variant>

#include <fcntl.h>
#include <pthread.h>
#include <sys/stat.h>

namespace brindle::capture {

namespace {

/// The program closes a movie within that, or leaves it as it is.
constexpr std::chrono::seconds closesWithin{25};
constexpr std::chrono::milliseconds betweenLooks{50};

} // namespace

struct MovieChild::State {
    using Lock = std::unique_lock<std::mutex>;

    State(CaptureChildren& theChildren, Order theOrder, Answer theAnswer)
        : children{theChildren}, order{std::move(theOrder)}, answer{std::move(theAnswer)} {}

    CaptureChildren& children;
    const Order order;
    const Answer answer;
    std::mutex mutex; ///< guards everything below
    std::condition_variable changed;
    std::shared_ptr<CaptureChild> child;
    bool isCancelled = false;
    double progress = 0;
    std::optional<Expected<Message, PlatformError>> result;

    void settle(Expected<Message, PlatformError> outcome) {
        const Lock lock{mutex};
        if (!result) {
            result = std::move(outcome);
        }
        changed.notify_all();
    }

    void run() {
        Expected<Message, PlatformError> outcome = work();
        answer(std::move(outcome));
    }

  private:
    Expected<Message, PlatformError> work() {
        const auto source = openSource();
        if (!source) {
            return unexpected{source.error()};
        }
        if (!waitForItsWriter()) {
            return unexpected{systemError(ECANCELED)};
        }
        std::optional<OutputFile> destination;
        if (order.destination) {
            auto created = OutputFile::create(*order.destination);
            if (!created) {
                return unexpected{std::move(created.error())};
            }
            destination = std::move(*created);
        }
        auto outcome = ask(*source, destination);
        if (destination && !outcome && destination->size() == 0) {
            // As if it had never been made.
            std::error_code ignored;
            std::filesystem::remove(*order.destination, ignored);
        }
        return outcome;
    }

    [[nodiscard]] Expected<FileDescriptor, PlatformError> openSource() const {
        // Without O_NONBLOCK a pipe under that name would hold us until somebody writes to it.
        auto source = FileDescriptor::open(order.source, O_RDONLY | O_NONBLOCK);
        if (!source) {
            return unexpected{systemError(source.error().value())};
        }
        return std::move(*source);
    }

    /// False when it has been cancelled in the meantime.
    bool waitForItsWriter() {
        const auto limit = std::chrono::steady_clock::now() + closesWithin;
        Lock lock{mutex};
        while (!isCancelled && std::chrono::steady_clock::now() < limit &&
               OutputFile::isBeingWritten(order.source)) {
            changed.wait_for(lock, betweenLooks);
        }
        return !isCancelled;
    }

    Expected<Message, PlatformError>
    ask(const FileDescriptor& source, const std::optional<OutputFile>& destination) {
        auto started = children.start();
        if (!started) {
            return unexpected{std::move(started.error())};
        }
        const std::shared_ptr<CaptureChild> running = *started;
        running->listen(
            {.told = [this](const Message& message) { told(message); },
             .ended =
                 [this](const PlatformError& how) {
                     settle(unexpected{how});
                 }});
        if (destination) {
            const std::array<int, 2> files{source.number(), destination->number()};
            static_cast<void>(running->send(Convert{}, files));
        } else {
            const std::array<int, 1> files{source.number()};
            static_cast<void>(running->send(Measure{}, files));
        }
        Lock lock{mutex};
        child = running;
        if (isCancelled) {
            static_cast<void>(running->send(Cancel{}));
        }
        changed.wait(lock, [this] { return result.has_value(); });
        child.reset();
        auto outcome = *result;
        lock.unlock();
        running->letGo();
        // Its memory is given back, and its hold of the files.
        if (!running->waitUntilEnded(std::chrono::seconds{5})) {
            running->kill();
        }
        return outcome;
    }

    void told(const Message& message) {
        if (const auto* beat = std::get_if<Beat>(&message)) {
            const Lock lock{mutex};
            progress = beat->converted;
            return;
        }
        const auto* const converted = std::get_if<Converted>(&message);
        if (converted != nullptr && converted->error) {
            settle(unexpected{*converted->error});
        } else if ((converted != nullptr) != order.destination.has_value()) {
            settle(unexpected{recordingError("the capture program answers something else")});
        } else {
            settle(message);
        }
    }
};

MovieChild::MovieChild(CaptureChildren& children, Order order, Answer answer)
    : state_{std::make_shared<State>(children, std::move(order), std::move(answer))},
      thread_{[state = state_] {
          pthread_setname_np(pthread_self(), "movie-child");
          state->run();
      }} {}

MovieChild::~MovieChild() {
    cancel();
    thread_.join();
}

void MovieChild::cancel() {
    const State::Lock lock{state_->mutex};
    state_->isCancelled = true;
    if (state_->child) {
        static_cast<void>(state_->child->send(Cancel{}));
    }
    state_->changed.notify_all();
}

double MovieChild::progress() const {
    const State::Lock lock{state_->mutex};
    return state_->progress;
}

} // namespace brindle::capture
