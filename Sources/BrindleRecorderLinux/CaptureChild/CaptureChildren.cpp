#include "BrindleRecorderLinux/CaptureChild/CaptureChildren.hpp"

#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"
#include "BrindleRecorderLinux/CaptureLink/Silence.hpp"

#include <utility>

#include <fcntl.h>
#include <fmt/format.h>

namespace brindle::capture {

CaptureChildren::CaptureChildren(MainLoop& mainLoop, std::filesystem::path program, Log log)
    : mainLoop_{mainLoop}, file_{std::move(program)}, log_{std::move(log)},
      program_{FileDescriptor::open(file_, O_RDONLY)} {}

CaptureChildren::~CaptureChildren() = default;

Expected<std::shared_ptr<CaptureChild>, PlatformError> CaptureChildren::start() {
    if (!program_) {
        return unexpected{recordingError(
            fmt::format("{} is missing: {}", file_.string(), program_.error().message()))};
    }
    auto started = CaptureProcess::start(program_->number(), file_.filename().string());
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

void CaptureChildren::keepOneReady(bool isWanted) {
    {
        const std::lock_guard lock{mutex_};
        if (!isWanted && ready_) {
            ready_->letGo();
            leaving_.push_back(std::exchange(ready_, nullptr));
        }
        if (!isWanted || ready_) {
            return;
        }
    }
    if (auto child = start()) {
        const std::lock_guard lock{mutex_};
        ready_ = std::move(*child);
    }
}

Expected<std::shared_ptr<CaptureChild>, PlatformError> CaptureChildren::takeReady() {
    std::shared_ptr<CaptureChild> ready;
    {
        const std::lock_guard lock{mutex_};
        ready = std::exchange(ready_, nullptr);
    }
    if (ready && !ready->hasEnded()) {
        return ready;
    }
    return start();
}

Expected<std::shared_ptr<CaptureChild>, PlatformError> CaptureChildren::takeForMovie() {
    std::shared_ptr<CaptureChild> kept;
    {
        const std::lock_guard lock{mutex_};
        kept = std::exchange(forMovie_, nullptr);
    }
    if (kept && !kept->hasEnded()) {
        return kept;
    }
    return start();
}

void CaptureChildren::keepForMovie(std::shared_ptr<CaptureChild> child) {
    const std::lock_guard lock{mutex_};
    letMovieChildGo();
    forMovie_ = std::move(child);
    beatsForMovie_ = 0;
}

/// With the mutex held.
void CaptureChildren::letMovieChildGo() {
    if (forMovie_) {
        forMovie_->letGo();
        leaving_.push_back(std::exchange(forMovie_, nullptr));
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
        constexpr int keptFor = 2;
        if (forMovie_ && ++beatsForMovie_ > keptFor) {
            letMovieChildGo();
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
