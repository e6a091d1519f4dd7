#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"

#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"
#include "BrindleRecorderLinux/CaptureLink/Silence.hpp"

#include <utility>

#include <fcntl.h>
#include <fmt/format.h>

namespace brindle::capture {

namespace {

constexpr int beatsBetweenPiecesOfWork = 2;
constexpr int beatsUntilMovieIsClosed = 20;

} // namespace

CaptureChildren::CaptureChildren(MainLoop& mainLoop, std::filesystem::path program, Log log)
    : mainLoop_{mainLoop}, file_{std::move(program)}, log_{std::move(log)},
      program_{FileDescriptor::open(file_, O_RDONLY)} {}

CaptureChildren::~CaptureChildren() = default;

Expected<std::shared_ptr<CaptureChild>, PlatformError>
CaptureChildren::start(CaptureProcess::Leave leave) {
    if (!program_) {
        return unexpected{recordingError(
            fmt::format("{} is missing: {}", file_.string(), program_.error().message()))};
    }
    auto started = CaptureProcess::start(program_->number(), file_.filename().string(), leave);
    if (!started) {
        return unexpected{std::move(started.error())};
    }
    auto child = std::make_shared<CaptureChild>(std::move(*started));
    {
        const std::lock_guard lock{mutex_};
        children_.push_back(child);
    }
    mainLoop_.post([weakly = std::weak_ptr{self_}] {
        const auto self = weakly.lock();
        if (self && !(*self)->nextBeat_) {
            (*self)->beatLater();
        }
    });
    return child;
}

void CaptureChildren::dismiss(std::shared_ptr<CaptureChild> child) {
    child->kill();
    const std::lock_guard lock{mutex_};
    leaving_.push_back(std::move(child));
}

void CaptureChildren::useEncoder(std::string name, CaptureProcess::Leave leave) {
    const std::lock_guard lock{mutex_};
    encoder_ = std::move(name);
    if (std::exchange(leave_, leave) != leave && ready_) {
        // It could not use it.
        ready_->letGo();
        leaving_.push_back(std::exchange(ready_, nullptr));
    }
}

std::optional<std::string> CaptureChildren::encoder() const {
    const std::lock_guard lock{mutex_};
    return encoder_;
}

void CaptureChildren::keepOneReady(bool isWanted) {
    CaptureProcess::Leave leave{};
    {
        const std::lock_guard lock{mutex_};
        leave = leave_;
        if (!isWanted && ready_) {
            ready_->letGo();
            leaving_.push_back(std::exchange(ready_, nullptr));
        }
        if (!isWanted || ready_) {
            return;
        }
    }
    if (auto child = start(leave)) {
        const std::lock_guard lock{mutex_};
        ready_ = std::move(*child);
    }
}

Expected<std::shared_ptr<CaptureChild>, PlatformError> CaptureChildren::takeReady() {
    std::shared_ptr<CaptureChild> ready;
    CaptureProcess::Leave leave{};
    {
        const std::lock_guard lock{mutex_};
        ready = std::exchange(ready_, nullptr);
        leave = leave_;
    }
    if (ready && !ready->hasEnded()) {
        return ready;
    }
    return start(leave);
}

void CaptureChildren::expectConversion() {
    {
        const std::lock_guard lock{mutex_};
        if (forConversion_.child) {
            return;
        }
    }
    if (auto child = start()) {
        const std::lock_guard lock{mutex_};
        letGo(forConversion_);
        forConversion_ = {.child = std::move(*child), .beats = beatsUntilMovieIsClosed};
    }
}

Expected<std::shared_ptr<CaptureChild>, PlatformError> CaptureChildren::takeForConversion() {
    return take(forConversion_);
}

Expected<std::shared_ptr<CaptureChild>, PlatformError> CaptureChildren::takeForMovie() {
    return take(forMovie_);
}

void CaptureChildren::keepForMovie(std::shared_ptr<CaptureChild> child) {
    const std::lock_guard lock{mutex_};
    letGo(forMovie_);
    forMovie_ = {.child = std::move(child), .beats = beatsBetweenPiecesOfWork};
}

Expected<std::shared_ptr<CaptureChild>, PlatformError> CaptureChildren::take(Kept& kept) {
    std::shared_ptr<CaptureChild> taken;
    {
        const std::lock_guard lock{mutex_};
        taken = std::exchange(kept.child, nullptr);
    }
    if (taken && !taken->hasEnded()) {
        return taken;
    }
    return start();
}

/// With the mutex held.
void CaptureChildren::letGo(Kept& kept) {
    if (kept.child) {
        kept.child->letGo();
        leaving_.push_back(std::exchange(kept.child, nullptr));
    }
}

void CaptureChildren::beatLater() {
    nextBeat_ = mainLoop_.after(betweenBeats, [this] { beat(); });
}

void CaptureChildren::beat() {
    nextBeat_.reset();
    std::vector<std::shared_ptr<CaptureChild>> living;
    {
        const std::lock_guard lock{mutex_};
        std::erase_if(children_, [&living](const auto& weakly) {
            auto child = weakly.lock();
            const bool lives = child && !child->hasEnded();
            if (lives) {
                living.push_back(std::move(child));
            }
            return !lives;
        });
        for (Kept* const kept : {&forConversion_, &forMovie_}) {
            if (--kept->beats < 0) {
                letGo(*kept);
            }
        }
        std::erase_if(leaving_, [](const auto& child) { return child->hasEnded(); });
    }
    for (const auto& child : living) {
        static_cast<void>(child->send(Beat{}));
        sayIfUnconfined(*child);
    }
    if (!living.empty()) {
        beatLater();
    }
}

void CaptureChildren::sayIfUnconfined(const CaptureChild& child) {
    const auto greeting = child.greeting();
    if (!saidThatUnconfined_ && greeting && !greeting->isConfined) {
        saidThatUnconfined_ = true;
        log_("this kernel has no Landlock: what records and converts is not confined");
    }
}

} // namespace brindle::capture
