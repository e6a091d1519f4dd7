#include "BrindleRecorderLinux/CaptureChild/ChildExportSession.hpp"

#include "BrindleRecorderLinux/CaptureChild/MovieChild.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"

#include <cassert>
#include <cerrno>
#include <mutex>
#include <utility>
#include <variant>

namespace brindle {

namespace {

bool isCancellation(const PlatformError& error) {
    return error.domain == "POSIX" && error.code == ECANCELED;
}

} // namespace

struct ChildExportSession::State {
    std::mutex mutex; ///< guards `child` and `isCancelled`, which any thread asks for
    std::unique_ptr<capture::MovieChild> child;
    bool isCancelled = false;

    // Main thread.
    Status status = Status::unknown;
    std::optional<PlatformError> error;
    std::int64_t damagedBytes = 0;
    std::function<void()> completion;

    void take(const Expected<capture::Message, PlatformError>& outcome) {
        const auto* const converted =
            outcome ? std::get_if<capture::Converted>(&*outcome) : nullptr;
        if (converted != nullptr) {
            status = Status::completed;
            damagedBytes = converted->damagedBytes;
        } else if (!outcome && isCancellation(outcome.error())) {
            status = Status::cancelled;
        } else {
            status = Status::failed;
            error = outcome ? capture::recordingError("there is no answer") : outcome.error();
        }
        if (const auto completed = std::exchange(completion, nullptr)) {
            completed();
        }
    }
};

ChildExportSession::ChildExportSession(
    MainLoop& mainLoop, SystemLog& systemLog, capture::CaptureChildren& children,
    std::filesystem::path source, MovieOrigin origin)
    : mainLoop_{mainLoop}, systemLog_{systemLog}, children_{children}, source_{std::move(source)},
      origin_{origin}, state_{std::make_shared<State>()} {}

ChildExportSession::~ChildExportSession() {
    // Nobody is told any more, and what was written by then is all.
    state_->child.reset();
}

std::vector<MovieFileType> ChildExportSession::supportedFileTypes() const {
    return {MovieFileType::mpeg4};
}

void ChildExportSession::setOutput(const std::filesystem::path& path, MovieFileType fileType) {
    destination_ = path;
    fileType_ = fileType;
}

void ChildExportSession::exportAsynchronously(std::function<void()> completion) {
    assert(state_->status == Status::unknown && "a session exports once");
    state_->status = Status::exporting;
    state_->completion = std::move(completion);
    // A session that has gone is told nothing.
    const auto answered = [&mainLoop = mainLoop_, session = std::weak_ptr{state_}](
                              Expected<capture::Message, PlatformError> outcome) {
        mainLoop.post([session, outcome = std::move(outcome)] {
            if (const auto told = session.lock()) {
                told->take(outcome);
            }
        });
    };
    if (fileType_ != MovieFileType::mpeg4) {
        answered(unexpected{capture::systemError(ENOTSUP)});
        return;
    }
    const std::lock_guard lock{state_->mutex};
    if (state_->isCancelled) {
        answered(unexpected{capture::systemError(ECANCELED)});
        return;
    }
    state_->child = std::make_unique<capture::MovieChild>(
        children_,
        capture::MovieChild::Order{
            .source = source_,
            .destination = destination_,
            .isAsWritten = origin_ == MovieOrigin::justRecorded,
            .copies =
                [&systemLog = systemLog_,
                 name = source_.filename().string()](const std::string& why) {
                    systemLog.write(SystemLog::Level::info, "remux copies: " + name + ": " + why);
                }},
        answered);
}

void ChildExportSession::cancel() {
    const std::lock_guard lock{state_->mutex};
    state_->isCancelled = true;
    if (state_->child) {
        state_->child->cancel();
    }
}

ExportSession::Status ChildExportSession::status() const {
    return state_->status;
}

std::optional<PlatformError> ChildExportSession::error() const {
    return state_->error;
}

std::int64_t ChildExportSession::damagedBytesLeftOut() const {
    return state_->damagedBytes;
}

double ChildExportSession::progress() const {
    if (state_->status == Status::completed) {
        return 1;
    }
    const std::lock_guard lock{state_->mutex};
    return state_->child ? state_->child->progress() : 0;
}

} // namespace brindle
