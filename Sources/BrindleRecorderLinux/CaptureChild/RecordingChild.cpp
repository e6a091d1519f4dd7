#include "BrindleRecorderLinux/CaptureChild/RecordingChild.hpp"

#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"
#include "BrindleRecorderLinux/CaptureLink/OutputFile.hpp"

#include <array>
#include <condition_variable>
#include <mutex>
#include <utility>
#include <variant>

namespace brindle::capture {

namespace {

/// The program waits for the server and for the devices, and gives each up before that.
constexpr std::chrono::seconds opensWithin{30};
constexpr std::chrono::seconds endsWithin{15};
constexpr std::chrono::seconds diesWithin{5};

} // namespace

/// What the child's thread and ours share.
struct RecordingChild::State {
    using Lock = std::unique_lock<std::mutex>;

    explicit State(Handlers given) : handlers{std::move(given)} {}

    const Handlers handlers;
    std::mutex mutex; ///< guards everything below
    std::condition_variable changed;
    std::optional<Opened> opened;
    std::filesystem::path path;
    MovieFileOutput::FinishCallback onFinish;
    bool isRecording = false; ///< the file is being written
    bool isOpen = false;      ///< the finish has not been reported yet
    bool isClosing = false;
    Seconds recorded{0};
    std::optional<PlatformError> ended;

    void told(const Message& message) {
        if (const auto* beat = std::get_if<Beat>(&message)) {
            const Lock lock{mutex};
            recorded = isRecording ? beat->recorded : recorded;
        } else if (const auto* answer = std::get_if<Opened>(&message)) {
            const Lock lock{mutex};
            opened = *answer;
            changed.notify_all();
        } else if (const auto* failure = std::get_if<CaptureFailed>(&message)) {
            handlers.failed(failure->error);
        } else if (const auto* finished = std::get_if<MovieFinished>(&message)) {
            if (finished->isEmpty) {
                removeFile();
            }
            report(finished->error, finished->recorded);
        } else if (const auto* dropped = std::get_if<PicturesDropped>(&message)) {
            handlers.droppedPictures(dropped->count);
        } else if (const auto* agreed = std::get_if<CameraAgreed>(&message)) {
            handlers.agreed(*agreed);
        }
    }

    void hasEnded(const PlatformError& how) {
        bool isNews = false;
        {
            const Lock lock{mutex};
            ended = how;
            isNews = !isOpen && !isClosing;
            changed.notify_all();
        }
        if (isNews) {
            handlers.failed(how);
            return;
        }
        // What is on the disk is whole: the fragments before the end. It is not the devices' fault.
        PlatformError error = how;
        error.recordingSuccessfullyFinished = true;
        report(error, std::nullopt);
    }

    void removeFile() {
        const Lock lock{mutex};
        if (isRecording) {
            std::error_code ignored;
            std::filesystem::remove(path, ignored);
        }
    }

    /// Once per movie.
    void report(const std::optional<PlatformError>& error, std::optional<Seconds> duration) {
        MovieFileOutput::FinishCallback told;
        {
            const Lock lock{mutex};
            if (!std::exchange(isRecording, false)) {
                return;
            }
            recorded = duration.value_or(recorded);
            told = std::exchange(onFinish, nullptr);
        }
        if (told) {
            told(path, error);
        }
        const Lock lock{mutex};
        isOpen = false;
        changed.notify_all();
    }

    bool waitFor(const std::function<bool()>& condition, std::chrono::nanoseconds limit) {
        Lock lock{mutex};
        return changed.wait_for(lock, limit, condition);
    }
};

RecordingChild::RecordingChild(std::shared_ptr<CaptureChild> child, Handlers handlers)
    : child_{std::move(child)}, state_{std::make_shared<State>(std::move(handlers))} {
    child_->listen(
        {.told = [state = state_](const Message& message) { state->told(message); },
         .ended =
             [state = state_](const PlatformError& how) {
                 state->hasEnded(how);
             }});
}

RecordingChild::~RecordingChild() {
    close();
}

std::optional<PlatformError> RecordingChild::open(const OpenDevices& devices) {
    auto& state = *state_;
    static_cast<void>(child_->send(devices));
    if (!state.waitFor([&state] { return state.opened || state.ended; }, opensWithin)) {
        child_->kill();
    }
    const State::Lock lock{state.mutex};
    return state.opened ? state.opened->error : std::nullopt;
}

void RecordingChild::begin(
    const std::filesystem::path& path, const BeginMovie& movie,
    MovieFileOutput::FinishCallback onFinish) {
    finish();
    auto& state = *state_;
    std::optional<PlatformError> error;
    {
        const State::Lock lock{state.mutex};
        error = state.ended;
    }
    if (error) {
        onFinish(path, error);
        return;
    }
    const auto file = OutputFile::create(path);
    if (!file) {
        onFinish(path, file.error());
        return;
    }
    {
        const State::Lock lock{state.mutex};
        state.path = path;
        state.onFinish = std::move(onFinish);
        state.isRecording = true;
        state.isOpen = true;
        state.recorded = Seconds{0};
        error = state.ended;
    }
    if (error) {
        state.report(error, std::nullopt);
        return;
    }
    const std::array<int, 1> descriptors{file->number()};
    if (!child_->send(movie, descriptors)) {
        child_->kill(); // its end is reported
    }
    OutputFile::keepNameOf(path);
}

void RecordingChild::finish() {
    auto& state = *state_;
    if (!isRecording()) {
        static_cast<void>(state.waitFor([&] { return !state.isOpen; }, diesWithin));
        return;
    }
    static_cast<void>(child_->send(FinishMovie{}));
    const auto isReported = [&state] {
        return !state.isOpen;
    };
    if (state.waitFor(isReported, finishesWithin)) {
        return;
    }
    child_->kill();
    if (!state.waitFor(isReported, diesWithin)) {
        state.report(recordingError("the capture program did not answer"), std::nullopt);
    }
}

void RecordingChild::close() {
    finish();
    {
        const State::Lock lock{state_->mutex};
        state_->isClosing = true;
    }
    child_->letGo();
    if (!child_->waitUntilEnded(endsWithin)) {
        child_->kill();
        static_cast<void>(child_->waitUntilEnded(diesWithin));
    }
}

bool RecordingChild::isRecording() const {
    const State::Lock lock{state_->mutex};
    return state_->isRecording;
}

Seconds RecordingChild::recordedDuration() const {
    const State::Lock lock{state_->mutex};
    return state_->recorded;
}

} // namespace brindle::capture
