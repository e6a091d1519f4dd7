#include "BrindleRecorderLinux/Media/QueuedExportSession.hpp"

#include "BrindleRecorderLinux/Media/CopyControl.hpp"
#include "BrindleRecorderLinux/Media/MediaEngine.hpp"
#include "BrindleRecorderLinux/Media/MediaEngineModule.hpp"
#include "BrindleRecorderLinux/Media/MediaError.hpp"

#include <atomic>
#include <cassert>
#include <cerrno>
#include <new>
#include <utility>

namespace brindle {

struct QueuedExportSession::State {
    enum class Phase { waiting, running, abandoned };

    // Any thread.
    media::CopyControl control;
    std::atomic<Phase> phase{Phase::waiting};

    // Main thread.
    Status status = Status::unknown;
    std::optional<PlatformError> error;
    std::function<void()> completion;
};

namespace {

Expected<void, PlatformError> copyWithinMemory(
    media::MediaEngineModule& module, const std::filesystem::path& source,
    const std::filesystem::path& destination, media::CopyControl& control) {
    try {
        const auto engine = module.engine();
        if (!engine) {
            return unexpected{engine.error()};
        }
        return (*engine)->copyMovie(source, destination, control);
    } catch (const std::bad_alloc&) {
        return unexpected{media::systemError(ENOMEM)};
    }
}

bool isCancellation(const PlatformError& error) {
    return error.domain == "POSIX" && error.code == ECANCELED;
}

} // namespace

QueuedExportSession::QueuedExportSession(
    MainLoop& mainLoop, media::MediaEngineModule& module, std::shared_ptr<SerialQueue> worker,
    std::filesystem::path source)
    : mainLoop_{mainLoop}, module_{module}, worker_{std::move(worker)}, source_{std::move(source)},
      state_{std::make_shared<State>()} {}

QueuedExportSession::~QueuedExportSession() {
    cancel();
    // An export that still waits for others to end never begins.
    auto phase = State::Phase::waiting;
    if (!state_->phase.compare_exchange_strong(phase, State::Phase::abandoned) && ended_.valid()) {
        ended_.wait();
    }
    // What it refers to belongs to the main thread and must go here, not with the job.
    state_->completion = nullptr;
}

std::vector<MovieFileType> QueuedExportSession::supportedFileTypes() const {
    return {MovieFileType::mpeg4};
}

void QueuedExportSession::setOutput(const std::filesystem::path& path, MovieFileType fileType) {
    destination_ = path;
    fileType_ = fileType;
}

void QueuedExportSession::exportAsynchronously(std::function<void()> completion) {
    assert(state_->status == Status::unknown && "a session exports once");
    state_->status = Status::exporting;
    state_->completion = std::move(completion);
    auto end = std::make_shared<std::promise<void>>();
    ended_ = end->get_future();
    // The job keeps the state alive and the outcome finds it only while the session does: a session
    // that has gone is told nothing.
    worker_->async([&mainLoop = mainLoop_, &module = module_, state = state_, source = source_,
                    destination = destination_, fileType = fileType_,
                    end = std::move(end)]() mutable {
        auto phase = State::Phase::waiting;
        if (!state->phase.compare_exchange_strong(phase, State::Phase::running)) {
            return;
        }
        Expected<void, PlatformError> outcome = unexpected{media::systemError(ENOTSUP)};
        if (fileType == MovieFileType::mpeg4) {
            outcome = copyWithinMemory(module, source, destination, state->control);
        }
        const std::weak_ptr<State> session = state;
        mainLoop.post([session, outcome = std::move(outcome)] {
            const auto told = session.lock();
            if (!told) {
                return;
            }
            if (outcome) {
                told->status = Status::completed;
            } else if (isCancellation(outcome.error())) {
                told->status = Status::cancelled;
            } else {
                told->status = Status::failed;
                told->error = outcome.error();
            }
            if (const auto completed = std::exchange(told->completion, nullptr)) {
                completed();
            }
        });
        state.reset();
        end->set_value();
    });
}

void QueuedExportSession::cancel() {
    state_->control.cancelled = true;
}

ExportSession::Status QueuedExportSession::status() const {
    return state_->status;
}

std::optional<PlatformError> QueuedExportSession::error() const {
    return state_->error;
}

std::int64_t QueuedExportSession::damagedBytesLeftOut() const {
    return state_->control.damagedBytes;
}

double QueuedExportSession::progress() const {
    return state_->control.progress;
}

} // namespace brindle
