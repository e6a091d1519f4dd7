#include "BrindleRecorderLinux/CaptureChild/CaptureChild.hpp"

#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureLaunch.hpp"
#include "BrindleRecorderLinux/CaptureLink/Silence.hpp"

#include <array>
#include <utility>
#include <variant>

#include <fmt/format.h>
#include <poll.h>
#include <pthread.h>

namespace brindle::capture {

namespace {

/// A child that nobody wants any more ends a movie first, if there is one.
constexpr std::chrono::seconds goesWithin{2};

} // namespace

CaptureChild::CaptureChild(CaptureProcess::Started started)
    : process_{std::move(started.process)}, socket_{std::move(started.socket)} {
    static_cast<void>(send(Hello{.version = programVersion()}));
    thread_ = std::thread{[this] {
        pthread_setname_np(pthread_self(), "capture-child");
        run();
    }};
}

CaptureChild::~CaptureChild() {
    letGo();
    if (!waitUntilEnded(goesWithin)) {
        kill();
    }
    thread_.join();
}

void CaptureChild::listen(Listener listener) {
    const std::lock_guard lock{mutex_};
    if (hasEnded_) {
        listener.ended(*how_);
    } else {
        listener_ = std::move(listener);
    }
}

void CaptureChild::stopListening() {
    const std::lock_guard lock{mutex_};
    listener_.reset();
}

bool CaptureChild::send(const Message& message, std::span<const int> descriptors) const {
    return socket_.send(encode(message), descriptors).has_value();
}

bool CaptureChild::waitUntilEnded(std::chrono::nanoseconds limit) const {
    std::unique_lock lock{mutex_};
    return changed_.wait_for(lock, limit, [this] { return hasEnded_; });
}

bool CaptureChild::hasEnded() const {
    const std::lock_guard lock{mutex_};
    return hasEnded_;
}

std::optional<Hello> CaptureChild::greeting() const {
    const std::lock_guard lock{mutex_};
    return greeting_;
}

void CaptureChild::run() {
    using Clock = std::chrono::steady_clock;
    Silence silence;
    auto lastLook = Clock::now();
    bool listens = true;
    for (;;) {
        std::array<pollfd, 2> watched{
            pollfd{.fd = process_.descriptor(), .events = POLLIN, .revents = 0},
            pollfd{.fd = listens ? socket_.number() : -1, .events = POLLIN, .revents = 0}};
        poll(
            watched.data(), watched.size(),
            static_cast<int>(std::chrono::milliseconds{betweenBeats}.count()));
        const auto now = Clock::now();
        silence.passed(now - std::exchange(lastLook, now));
        if (watched[1].revents != 0) {
            silence.heard();
            listens = hear();
        }
        if (watched[0].revents != 0) {
            // What it said last may have come in between.
            static_cast<void>(listens && hear());
            end();
            return;
        }
        const auto limit = greeting() ? longestSilence : beginsWithin;
        if (silence.length() >= limit) {
            giveUp(fmt::format("it did not answer for {} s", limit.count()));
        }
    }
}

bool CaptureChild::hear() {
    using What = MessageSocket::Received::What;
    for (;;) {
        const auto received = socket_.receive();
        if (received.what == What::nothingYet) {
            return true;
        }
        if (received.what == What::end) {
            return false;
        }
        const auto message = received.what == What::message && received.descriptors.empty()
                                 ? decode(received.bytes)
                                 : unexpected{std::string{"what is no message"}};
        if (!message) {
            giveUp("it sends " + message.error());
            return false;
        }
        if (const auto* hello = std::get_if<Hello>(&*message)) {
            if (hello->protocol != protocolVersion || hello->version != programVersion()) {
                giveUp("it belongs to another version of Brindle Recorder");
                return false;
            }
            const std::lock_guard lock{mutex_};
            greeting_ = *hello;
            continue;
        }
        if (!greeting()) {
            giveUp("it does not say who it is");
            return false;
        }
        if (!tell(*message)) {
            giveUp("it answers what nobody has asked");
            return false;
        }
    }
}

bool CaptureChild::tell(const Message& message) {
    const std::lock_guard lock{mutex_};
    if (listener_) {
        listener_->told(message);
    }
    return listener_.has_value() || std::holds_alternative<Beat>(message);
}

void CaptureChild::giveUp(std::string reason) {
    kill();
    const std::lock_guard lock{mutex_};
    if (reason_.empty()) {
        reason_ = std::move(reason);
    }
}

void CaptureChild::end() {
    const std::string how = process_.waitForEnd();
    {
        const std::lock_guard lock{mutex_};
        how_ = recordingError(
            "the capture program stopped unexpectedly: " + (reason_.empty() ? how : reason_));
        if (const auto listener = std::exchange(listener_, std::nullopt)) {
            listener->ended(*how_);
        }
        hasEnded_ = true;
    }
    changed_.notify_all();
}

} // namespace brindle::capture
