#include "BrindleRecorderLinux/Capture/Streams/CaptureConnection.hpp"

#include "BrindleRecorderLinux/Capture/Streams/CaptureCalls.hpp"
#include "BrindleRecorderLinux/Capture/Streams/CaptureStream.hpp"
#include "BrindleRecorderLinux/Capture/Streams/LinkGuard.hpp"
#include "BrindleRecorderLinux/Capture/Streams/MicrophoneFormats.hpp"
#include "BrindleRecorderLinux/Capture/Streams/ServerAnswers.hpp"
#include "BrindleRecorderLinux/Capture/Streams/WaitingMedia.hpp"
#include "BrindleRecorderLinux/PipeWire/Handles.hpp"

#include <spa/param/param.h>

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <map>
#include <string_view>
#include <utility>
#include <vector>

namespace brindle::pipewire {

namespace {

using ThreadLoopHandle = std::unique_ptr<pw_thread_loop, Releaser<pw_thread_loop_destroy>>;

constexpr std::chrono::seconds serverAnswersWithin{3};
constexpr std::chrono::seconds devicesRunWithin{3};
constexpr std::chrono::milliseconds settlesWithin{500};
/// A device that delivers nothing for so long is taken for dead.
constexpr std::chrono::seconds longestSilence{10};
constexpr std::size_t longestName = 1024;

PlatformError captureError(std::string description, int code = 0) {
    return {
        .domain = "PipeWire",
        .code = code,
        .description = std::move(description),
        .underlying = {}};
}

std::string_view lookUp(const spa_dict* dictionary, const char* key) {
    const char* const value = dictionary != nullptr ? spa_dict_lookup(dictionary, key) : nullptr;
    return value != nullptr ? std::string_view{value, strnlen(value, longestName)}
                            : std::string_view{};
}

template <class Number>
std::optional<Number> number(const spa_dict* dictionary, const char* key) {
    const std::string_view text = lookUp(dictionary, key);
    Number value{};
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    const bool isNumber = error == std::errc{} && end == text.data() + text.size();
    return isNumber && !text.empty() ? std::optional{value} : std::nullopt;
}

/// Holds the loop's lock, which its thread and its callers share.
class LoopLock {
  public:
    explicit LoopLock(pw_thread_loop* loop) : loop_{loop} { pw_thread_loop_lock(loop_); }
    ~LoopLock() { pw_thread_loop_unlock(loop_); }
    LoopLock(const LoopLock&) = delete;
    LoopLock& operator=(const LoopLock&) = delete;

  private:
    pw_thread_loop* loop_;
};

/// Waits until the condition holds; false after the limit. The lock, which the caller holds once,
/// is released meanwhile.
template <class Condition>
bool waitFor(pw_thread_loop* loop, std::chrono::nanoseconds limit, Condition condition) {
    timespec deadline{};
    pw_thread_loop_get_time(loop, &deadline, limit.count());
    while (!condition()) {
        if (pw_thread_loop_timed_wait_full(loop, &deadline) < 0) {
            return condition();
        }
    }
    return true;
}

} // namespace

class CaptureConnection::Implementation {
  public:
    Implementation(Devices devices, Handlers handlers);
    ~Implementation();

    Expected<void, PlatformError> start();
    void releaseCamera();
    void retakeCamera();
    void settle();

  private:
    bool connectToServer();
    /// Waits until the server has handled everything that was asked of it before.
    bool askServer();
    std::vector<OfferedFormat> offersOf(std::uint32_t cameraID);
    std::optional<PlatformError> openCamera();
    std::optional<PlatformError> openMicrophone();
    /// Waits until the stream runs, for some seconds at most; what has failed meanwhile.
    std::optional<PlatformError> runs(const CaptureStream& stream);
    void watch(CaptureStream& stream);

    void added(std::uint32_t id, std::string_view type, const spa_dict* properties);
    void linkAdded(std::uint32_t id, const spa_dict* properties);
    void removed(std::uint32_t id);
    void answered(int sequence);
    template <class Captured>
    void arrived(Captured captured);
    void checkSilence();
    void fail(PlatformError error);

    [[nodiscard]] std::vector<CaptureStream*> streams() const;

    static const pw_core_events coreEvents;
    static const pw_registry_events registryEvents;

    Library library_;
    Devices devices_;
    Handlers handlers_;
    LinkGuard guard_;
    struct Link {
        std::uint32_t from = 0; ///< a node's id
        std::uint32_t to = 0;   ///< likewise
    };
    std::map<std::uint32_t, Link> links_; ///< all of the server's, by their ids
    bool failed_ = false;
    bool starting_ = true;
    std::optional<PlatformError> startError_;

    ServerAnswers answers_;
    WaitingMedia arrivals_{
        {.ask = [this] { return calls::sync(core_.get()); },
         .picture =
             [this](media::CapturedPicture picture) {
                 lastPicture_ = media::monotonicNow();
                 handlers_.picture(std::move(picture));
             },
         .sound =
             [this](media::CapturedSound sound) {
                 lastSound_ = media::monotonicNow();
                 handlers_.sound(std::move(sound));
             }},
        devices_.waitingRoom};
    std::optional<media::Moment> lastPicture_;
    media::Moment lastSound_;

    ThreadLoopHandle loop_;
    ContextHandle context_;
    CoreHandle core_;
    Hook coreListener_;
    pw_registry* registry_ = nullptr;
    ProxyHandle registryProxy_;
    Hook registryListener_;
    std::unique_ptr<CameraStream> camera_;
    std::unique_ptr<MicrophoneStream> microphone_;
    SourceHandle silenceTimer_;
};

const pw_core_events CaptureConnection::Implementation::coreEvents = [] {
    pw_core_events events{};
    events.version = PW_VERSION_CORE_EVENTS;
    events.done = [](void* data, std::uint32_t id, int sequence) {
        if (id == PW_ID_CORE) {
            static_cast<Implementation*>(data)->answered(sequence);
        }
    };
    events.error = [](void* data, std::uint32_t id, int, int result, const char*) {
        // Errors of single objects show in those objects.
        if (id == PW_ID_CORE && result == -EPIPE) {
            static_cast<Implementation*>(data)->fail(
                captureError("the connection to PipeWire was lost", result));
        }
    };
    return events;
}();

const pw_registry_events CaptureConnection::Implementation::registryEvents = [] {
    pw_registry_events events{};
    events.version = PW_VERSION_REGISTRY_EVENTS;
    events.global = [](void* data, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
                       const spa_dict* properties) {
        static_cast<Implementation*>(data)->added(id, type, properties);
    };
    events.global_remove = [](void* data, std::uint32_t id) {
        static_cast<Implementation*>(data)->removed(id);
    };
    return events;
}();

CaptureConnection::Implementation::Implementation(Devices devices, Handlers handlers)
    : devices_{std::move(devices)}, handlers_{std::move(handlers)} {}

CaptureConnection::Implementation::~Implementation() {
    if (!loop_) {
        return;
    }
    {
        const LoopLock lock{loop_.get()};
        // Nothing that the objects do while they go is news.
        failed_ = true;
        arrivals_.clear();
        // While the loop runs, its thread alone calls us. Once it has stopped, the library's thread
        // for data would, even in the middle of our going.
        for (CaptureStream* stream : streams()) {
            stream->disconnect();
        }
    }
    pw_thread_loop_stop(loop_.get());
}

Expected<void, PlatformError> CaptureConnection::Implementation::start() {
    loop_.reset(pw_thread_loop_new("capture", nullptr));
    if (!loop_ || pw_thread_loop_start(loop_.get()) < 0) {
        return unexpected{captureError("no thread could be started")};
    }
    const LoopLock lock{loop_.get()};
    // The second question is answered after everything that the first answers set off.
    if (!connectToServer() || !askServer() || !askServer()) {
        return unexpected{captureError("PipeWire does not answer")};
    }
    // One after the other: a camera that does not come must not keep sound from coming.
    std::optional<PlatformError> error;
    if (devices_.microphone) {
        error = openMicrophone();
        error = error ? error : runs(*microphone_);
    }
    if (!error && devices_.camera) {
        error = openCamera();
        if (!error && !microphone_) {
            error = runs(*camera_);
        }
    }
    error = error ? error : startError_;
    starting_ = false;
    if (error) {
        failed_ = true;
        return unexpected{*error};
    }
    lastSound_ = media::monotonicNow();
    pw_loop* const loop = pw_thread_loop_get_loop(loop_.get());
    silenceTimer_ = SourceHandle{
        pw_loop_add_timer(
            loop,
            [](void* data, std::uint64_t) { static_cast<Implementation*>(data)->checkSilence(); },
            this),
        {loop}};
    timespec second{.tv_sec = 1, .tv_nsec = 0};
    pw_loop_update_timer(loop, silenceTimer_.get(), &second, &second, false);
    return {};
}

std::optional<PlatformError> CaptureConnection::Implementation::runs(const CaptureStream& stream) {
    waitFor(loop_.get(), devicesRunWithin, [this, &stream] {
        return failed_ || stream.state() == PW_STREAM_STATE_STREAMING;
    });
    return startError_;
}

bool CaptureConnection::Implementation::connectToServer() {
    context_.reset(pw_context_new(pw_thread_loop_get_loop(loop_.get()), nullptr, 0));
    if (!context_) {
        return false;
    }
    core_.reset(pw_context_connect(
        context_.get(), pw_properties_new(PW_KEY_APP_NAME, "Brindle Recorder", nullptr), 0));
    if (!core_) {
        return false;
    }
    calls::listen(core_.get(), coreListener_.get(), &coreEvents, this);
    registry_ = calls::registryOf(core_.get());
    if (registry_ == nullptr) {
        return false;
    }
    registryProxy_.reset(calls::proxyOf(registry_));
    calls::listen(registry_, registryListener_.get(), &registryEvents, this);
    return true;
}

std::optional<PlatformError> CaptureConnection::Implementation::openMicrophone() {
    const auto found = guard_.nodeNamed(*devices_.microphone, isMicrophoneClass);
    if (!found) {
        return captureError("the microphone was disconnected");
    }
    microphone_ = std::make_unique<MicrophoneStream>(
        core_.get(), found->second.serial,
        [this](media::CapturedSound sound) { arrived(std::move(sound)); });
    watch(*microphone_);
    std::vector<std::uint8_t> memory;
    return microphone_->connect(
               microphoneFormatRequest(devices_.sampleRate, devices_.channels, memory))
               ? std::nullopt
               : std::optional{captureError("the microphone could not be opened")};
}

std::optional<PlatformError> CaptureConnection::Implementation::openCamera() {
    const auto found = guard_.nodeNamed(*devices_.camera, isCameraClass);
    if (!found) {
        return captureError("the camera was disconnected");
    }
    const auto offers = bestFirst(offersOf(found->first), devices_.pictures);
    camera_ = std::make_unique<CameraStream>(
        core_.get(), found->second.serial,
        [this](media::CapturedPicture picture) { arrived(std::move(picture)); },
        [this](const AgreedPictures& agreed) {
            if (handlers_.agreed) {
                handlers_.agreed(agreed);
            }
        });
    watch(*camera_);
    std::vector<std::uint8_t> memory;
    return camera_->connect(cameraFormatRequest(offers, devices_.pictures, memory))
               ? std::nullopt
               : std::optional{captureError("the camera could not be opened")};
}

std::vector<OfferedFormat> CaptureConnection::Implementation::offersOf(std::uint32_t cameraID) {
    struct Answer {
        std::vector<OfferedFormat> offers;
        WantedPictures wanted;
    } answer{.offers = {}, .wanted = devices_.pictures};
    pw_node* const node = calls::bindNode(registry_, cameraID);
    if (node == nullptr) {
        return {};
    }
    const ProxyHandle proxy{calls::proxyOf(node)};
    static const pw_node_events events = [] {
        pw_node_events table{};
        table.version = PW_VERSION_NODE_EVENTS;
        table.param = [](void* data, int, std::uint32_t id, std::uint32_t, std::uint32_t,
                         const spa_pod* param) {
            if (id == SPA_PARAM_EnumFormat) {
                auto* const target = static_cast<Answer*>(data);
                for (const OfferedFormat& offer : offeredFormats(param, target->wanted)) {
                    target->offers.push_back(offer);
                }
            }
        };
        return table;
    }();
    Hook listener;
    calls::listen(node, listener.get(), &events, &answer);
    calls::enumerate(node, SPA_PARAM_EnumFormat);
    askServer();
    return answer.offers;
}

bool CaptureConnection::Implementation::askServer() {
    const int question = calls::sync(core_.get());
    return waitFor(
               loop_.get(), serverAnswersWithin,
               [this, question] { return failed_ || answers_.haveReached(question); }) &&
           !failed_;
}

void CaptureConnection::Implementation::watch(CaptureStream& stream) {
    stream.onStateChanged([this, &stream](pw_stream_state state) {
        if (state == PW_STREAM_STATE_ERROR || state == PW_STREAM_STATE_UNCONNECTED) {
            fail(captureError("the " + stream.device().role + " was disconnected"));
        }
        pw_thread_loop_signal(loop_.get(), false);
    });
}

void CaptureConnection::Implementation::added(
    std::uint32_t id, std::string_view type, const spa_dict* properties) {
    if (type == PW_TYPE_INTERFACE_Node) {
        guard_.addNode(
            id, {.serial = number<std::uint64_t>(properties, PW_KEY_OBJECT_SERIAL).value_or(0),
                 .name = std::string{lookUp(properties, PW_KEY_NODE_NAME)},
                 .mediaClass = std::string{lookUp(properties, PW_KEY_MEDIA_CLASS)}});
    } else if (type == PW_TYPE_INTERFACE_Port) {
        const auto node = number<std::uint32_t>(properties, PW_KEY_NODE_ID);
        if (node) {
            guard_.addPort(id, *node, lookUp(properties, PW_KEY_PORT_MONITOR) == "true");
        }
    } else if (type == PW_TYPE_INTERFACE_Link) {
        linkAdded(id, properties);
    }
}

void CaptureConnection::Implementation::linkAdded(std::uint32_t id, const spa_dict* properties) {
    const auto input = number<std::uint32_t>(properties, PW_KEY_LINK_INPUT_NODE);
    const auto node = number<std::uint32_t>(properties, PW_KEY_LINK_OUTPUT_NODE);
    const auto port = number<std::uint32_t>(properties, PW_KEY_LINK_OUTPUT_PORT);
    if (input && node) {
        links_[id] = {.from = *node, .to = *input};
    }
    for (const CaptureStream* stream : streams()) {
        if (!input || *input != stream->nodeID()) {
            continue;
        }
        if (!node || !port || !guard_.isGenuine(*node, *port, stream->device().serial)) {
            fail(captureError("the " + stream->device().role + " was replaced by something else"));
        }
    }
}

void CaptureConnection::Implementation::removed(std::uint32_t id) {
    for (const CaptureStream* stream : streams()) {
        if (guard_.isNode(id, stream->device().serial)) {
            fail(captureError("the " + stream->device().role + " was disconnected"));
        }
    }
    guard_.remove(id);
    links_.erase(id);
}

void CaptureConnection::Implementation::answered(int sequence) {
    answers_.answered(sequence);
    arrivals_.answered(sequence);
    pw_thread_loop_signal(loop_.get(), false);
}

template <class Captured>
void CaptureConnection::Implementation::arrived(Captured captured) {
    if (!failed_) {
        arrivals_.arrived(std::move(captured));
    }
}

void CaptureConnection::Implementation::releaseCamera() {
    if (!loop_) {
        return;
    }
    const LoopLock lock{loop_.get()};
    if (!camera_ || failed_) {
        return;
    }
    const auto found = guard_.nodeNamed(*devices_.camera, isCameraClass);
    const std::uint32_t stream = camera_->nodeID();
    camera_->onStateChanged([](pw_stream_state) {}); // its going is no failure
    camera_.reset();
    lastPicture_.reset(); // from now on nobody misses any
    if (!found) {
        return;
    }
    const auto isOthers = [camera = found->first, stream](const auto& link) {
        return link.second.from == camera && link.second.to != stream;
    };
    if (std::none_of(links_.begin(), links_.end(), isOthers)) {
        // The server would keep the device open for some seconds.
        if (pw_node* const node = calls::bindNode(registry_, found->first)) {
            const ProxyHandle proxy{calls::proxyOf(node)};
            calls::suspend(node);
        }
    }
}

void CaptureConnection::Implementation::retakeCamera() {
    if (!loop_) {
        return;
    }
    const LoopLock lock{loop_.get()};
    if (camera_ || !devices_.camera || failed_) {
        return;
    }
    lastPicture_ = media::monotonicNow(); // it has as long as a camera that has fallen silent
    if (auto error = openCamera()) {
        fail(*std::move(error));
    }
}

void CaptureConnection::Implementation::settle() {
    if (!loop_) {
        return;
    }
    const LoopLock lock{loop_.get()};
    waitFor(loop_.get(), settlesWithin, [this, wanted = arrivals_.arrivals()] {
        return failed_ || arrivals_.handedOn() >= wanted;
    });
}

void CaptureConnection::Implementation::checkSilence() {
    const media::Moment now = media::monotonicNow();
    // A camera that has never delivered is for others to notice, who tell it apart.
    if (camera_ && lastPicture_ && now - *lastPicture_ >= longestSilence) {
        fail(captureError("the camera stopped delivering pictures"));
    } else if (microphone_ && now - lastSound_ >= longestSilence) {
        fail(captureError("the microphone stopped delivering sound"));
    }
}

void CaptureConnection::Implementation::fail(PlatformError error) {
    if (std::exchange(failed_, true)) {
        return;
    }
    arrivals_.clear();
    if (starting_) {
        startError_ = std::move(error);
    } else if (handlers_.failed) {
        handlers_.failed(std::move(error));
    }
    pw_thread_loop_signal(loop_.get(), false);
}

std::vector<CaptureStream*> CaptureConnection::Implementation::streams() const {
    std::vector<CaptureStream*> all;
    if (camera_) {
        all.push_back(camera_.get());
    }
    if (microphone_) {
        all.push_back(microphone_.get());
    }
    return all;
}

CaptureConnection::CaptureConnection(Devices devices, Handlers handlers)
    : implementation_{std::make_unique<Implementation>(std::move(devices), std::move(handlers))} {}

CaptureConnection::~CaptureConnection() = default;

Expected<void, PlatformError> CaptureConnection::start() {
    return implementation_->start();
}

void CaptureConnection::releaseCamera() {
    implementation_->releaseCamera();
}

void CaptureConnection::retakeCamera() {
    implementation_->retakeCamera();
}

void CaptureConnection::settle() {
    implementation_->settle();
}

} // namespace brindle::pipewire
