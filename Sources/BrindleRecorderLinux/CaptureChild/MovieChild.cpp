#include "BrindleRecorderLinux/CaptureChild/MovieChild.hpp"

#include "BrindleRecorderLinux/CaptureChild/SecondName.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"
#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"

#include <array>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <span>
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
    bool hasBegun = false; ///< the child's thread alone
    double progress = 0;
    std::optional<Expected<Message, PlatformError>> result; ///< of what was asked last

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
            return cancelled();
        }
        if (!order.destination) {
            return ask(Measure{}, std::array{source->number()});
        }
        if (auto completed = completeInPlace()) {
            return std::move(*completed);
        }
        return copy(*source);
    }

    /// Nothing when the source has to be copied.
    std::optional<Expected<Message, PlatformError>> completeInPlace() {
        const auto second = SecondName::give(order.source, *order.destination);
        if (!second) {
            tellOfACopy("it cannot have a second name here");
            return std::nullopt;
        }
        const auto outcome =
            ask(Complete{.isAsWritten = order.isAsWritten}, std::array{second->number()});
        const auto* const completed = outcome ? std::get_if<Completed>(&*outcome) : nullptr;
        if (completed != nullptr && !completed->why) {
            return Message{Converted{}};
        }
        second->takeBack();
        {
            const Lock lock{mutex};
            if (isCancelled) {
                return cancelled();
            }
        }
        tellOfACopy(
            completed != nullptr ? *completed->why
            : outcome            ? "the capture program answers something else"
                                 : outcome.error().description);
        return std::nullopt;
    }

    void tellOfACopy(const std::string& why) const {
        if (order.copies) {
            order.copies(why);
        }
    }

    Expected<Message, PlatformError> copy(const FileDescriptor& source) {
        const auto destination = OutputFile::create(*order.destination);
        if (!destination) {
            return unexpected{destination.error()};
        }
        auto outcome = ask(Convert{}, std::array{source.number(), destination->number()});
        if (!outcome && destination->size() == 0) {
            // As if it had never been made.
            std::error_code ignored;
            std::filesystem::remove(*order.destination, ignored);
        }
        return outcome;
    }

    static Expected<Message, PlatformError> cancelled() {
        return unexpected{systemError(ECANCELED)};
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

    Expected<Message, PlatformError> ask(const Message& message, std::span<const int> files) {
        {
            const Lock lock{mutex};
            result.reset();
        }
        // A conversion begins with a new one: what another movie has done to it is that one's.
        const bool begins = order.destination && !std::exchange(hasBegun, true);
        auto started = begins ? children.takeForConversion() : children.takeForMovie();
        if (!started) {
            return unexpected{std::move(started.error())};
        }
        const std::shared_ptr<CaptureChild> running = *started;
        running->listen(
            {.told = [this](const Message& said) { told(said); },
             .ended =
                 [this](const PlatformError& how) {
                     settle(unexpected{how});
                 }});
        static_cast<void>(running->send(message, files));
        Lock lock{mutex};
        child = running;
        if (isCancelled) {
            static_cast<void>(running->send(Cancel{}));
        }
        changed.wait(lock, [this] { return result.has_value(); });
        child.reset();
        auto outcome = *result;
        const bool mayDoMore = outcome && isAnswerTo(message, *outcome) && !isCancelled;
        lock.unlock();
        running->stopListening();
        if (mayDoMore) {
            children.keepForMovie(running);
            return outcome;
        }
        running->letGo();
        // Its memory is given back, and its hold of the files.
        if (!running->waitUntilEnded(std::chrono::seconds{5})) {
            running->kill();
        }
        if (outcome && !isAnswerTo(message, *outcome)) {
            return unexpected{recordingError("the capture program answers something else")};
        }
        return outcome;
    }

    static bool isAnswerTo(const Message& message, const Message& answer) {
        return (std::holds_alternative<Complete>(message) &&
                std::holds_alternative<Completed>(answer)) ||
               (std::holds_alternative<Convert>(message) &&
                std::holds_alternative<Converted>(answer)) ||
               (std::holds_alternative<Measure>(message) &&
                std::holds_alternative<Measured>(answer));
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
