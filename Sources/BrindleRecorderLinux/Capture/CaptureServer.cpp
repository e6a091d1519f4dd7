#include "BrindleRecorderLinux/Capture/CaptureServer.hpp"

#include "BrindleRecorderLinux/Capture/Record/EncoderTrial.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureErrors.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureLaunch.hpp"

#include <algorithm>
#include <cstdio>
#include <future>
#include <memory>
#include <utility>
#include <variant>

#include <poll.h>

namespace brindle::capture {

namespace {

/// A stop waits for the encoder and then for the disk, and an opening for the server.
constexpr std::chrono::seconds workEndsWithin{20};

constexpr const char* endOfTheConversation = "";

template <class... Functions>
struct Overloaded : Functions... {
    using Functions::operator()...;
};
template <class... Functions>
Overloaded(Functions...) -> Overloaded<Functions...>;

/// Work has to be copyable, and a descriptor is not.
std::shared_ptr<FileDescriptor> shared(FileDescriptor& file) {
    return std::make_shared<FileDescriptor>(std::move(file));
}

} // namespace

CaptureServer::CaptureServer(MessageSocket socket, bool isConfined)
    : socket_{std::move(socket)}, isConfined_{isConfined} {}

CaptureServer::Outcome CaptureServer::run() {
    tell(Hello{.version = programVersion(), .isConfined = isConfined_});
    std::optional<std::string> end;
    std::optional<PlatformError> why;
    while (!end) {
        const auto untilBeat =
            std::chrono::ceil<std::chrono::milliseconds>(nextBeat_ - Clock::now());
        pollfd watched{.fd = socket_.number(), .events = POLLIN, .revents = 0};
        poll(&watched, 1, static_cast<int>(std::max<std::int64_t>(0, untilBeat.count())));
        const auto now = Clock::now();
        silence_.passed(now - std::exchange(lastLook_, now));
        end = hear();
        if (!end && silence_.length() >= longestSilence) {
            end = "the recorder does not answer";
            why = recordingError("the recorder did not answer");
            why->recordingSuccessfullyFinished = true;
        }
        tellBeat();
    }
    const bool inGoodOrder = end == endOfTheConversation;
    if (!inGoodOrder) {
        std::fprintf(stderr, "brindle-recorder-capture: %s\n", end->c_str());
    }
    return {.inGoodOrder = inGoodOrder, .hangs = !endWork(std::move(why))};
}

std::optional<std::string> CaptureServer::hear() {
    using What = MessageSocket::Received::What;
    for (;;) {
        auto received = socket_.receive();
        switch (received.what) {
        case What::nothingYet:
            return std::nullopt;
        case What::end:
            return endOfTheConversation;
        case What::broken:
            return "the recorder sends what is no message";
        case What::message:
            break;
        }
        silence_.heard();
        const auto message = decode(received.bytes);
        if (!message) {
            return "the recorder sends " + message.error();
        }
        if (auto refused = obey(*message, std::move(received.descriptors))) {
            return refused;
        }
    }
}

std::optional<std::string>
CaptureServer::obey(const Message& message, std::vector<FileDescriptor> files) {
    if (const auto* hello = std::get_if<Hello>(&message)) {
        if (hello->protocol != protocolVersion || hello->version != programVersion()) {
            return "the recorder is of another version (" + hello->version + ")";
        }
        isGreeted_ = true;
        return std::nullopt;
    }
    if (!isGreeted_) {
        return refuse("an order without a greeting");
    }
    return std::visit(
        Overloaded{
            [](const Beat&) -> std::optional<std::string> { return std::nullopt; },
            [&](const OpenDevices& order) -> std::optional<std::string> {
                worker_.async([this, order] { recording_.open(order); });
                return std::nullopt;
            },
            [&](const BeginMovie& order) -> std::optional<std::string> {
                if (files.size() != 1 || order.fragmentInterval <= Seconds{0}) {
                    return refuse("a movie without its file");
                }
                worker_.async([this, order, file = shared(files[0])] {
                    recording_.begin(order, std::move(*file));
                });
                return std::nullopt;
            },
            [&](const ReleaseCamera&) -> std::optional<std::string> {
                worker_.async([this] { recording_.releaseCamera(); });
                return std::nullopt;
            },
            [&](const RetakeCamera&) -> std::optional<std::string> {
                worker_.async([this] { recording_.retakeCamera(); });
                return std::nullopt;
            },
            [&](const FinishMovie&) -> std::optional<std::string> {
                worker_.async([this] { recording_.finish(); });
                return std::nullopt;
            },
            [&](const Complete& order) -> std::optional<std::string> {
                if (files.size() != 1) {
                    return refuse("a completion without its file");
                }
                worker_.async([this, order, movie = shared(files[0])] {
                    const auto answer = conversion_.complete(std::move(*movie), order.isAsWritten);
                    tell(answer); // with the file closed
                });
                return std::nullopt;
            },
            [&](const Convert&) -> std::optional<std::string> {
                if (files.size() != 2) {
                    return refuse("a conversion without its files");
                }
                worker_.async([this, source = shared(files[0]), destination = shared(files[1])] {
                    const auto answer =
                        conversion_.convert(std::move(*source), std::move(*destination));
                    tell(answer);
                });
                return std::nullopt;
            },
            [&](const Measure&) -> std::optional<std::string> {
                if (files.size() != 1) {
                    return refuse("a measurement without its file");
                }
                worker_.async([this, movie = shared(files[0])] {
                    tell(conversion_.measure(std::move(*movie)));
                });
                return std::nullopt;
            },
            [&](const TryEncoder& order) -> std::optional<std::string> {
                worker_.async([this, order] {
                    const auto tried = media::tryEncoder(order.encoder, order.video);
                    tell(
                        EncoderTried{.error = tried ? std::nullopt : std::optional{tried.error()}});
                });
                return std::nullopt;
            },
            [&](const Cancel&) -> std::optional<std::string> {
                conversion_.cancel();
                return std::nullopt;
            },
            [&](const auto&) -> std::optional<std::string> {
                return refuse("a message that is not the recorder's");
            }},
        message);
}

std::optional<std::string> CaptureServer::refuse(const char* what) {
    return std::string{"the recorder sends "} + what;
}

void CaptureServer::tell(const Message& message) const {
    // A recorder that has gone, or hangs, is noticed elsewhere.
    static_cast<void>(socket_.send(encode(message)));
}

void CaptureServer::tellBeat() {
    const auto now = Clock::now();
    if (now >= nextBeat_) {
        nextBeat_ = now + betweenBeats;
        tell(Beat{.recorded = recording_.recordedDuration(), .converted = conversion_.progress()});
    }
}

bool CaptureServer::endWork(std::optional<PlatformError> why) {
    conversion_.cancel();
    auto done = std::make_shared<std::promise<void>>();
    auto isDone = done->get_future();
    worker_.async([this, why = std::move(why), done] {
        recording_.finish(why);
        recording_.close();
        done->set_value();
    });
    // A recorder that is still there shall not take a long ending for a hanging one.
    const auto limit = Clock::now() + workEndsWithin;
    while (isDone.wait_for(betweenBeats) != std::future_status::ready) {
        if (Clock::now() >= limit) {
            return false;
        }
        tellBeat();
    }
    return true;
}

} // namespace brindle::capture
