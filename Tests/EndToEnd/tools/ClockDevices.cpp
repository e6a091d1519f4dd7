// A camera and a microphone that show and sound the same clock, so that a recording of them says
// when its pictures and its sound were taken.
//
// Usage: clock-devices [--camera NAME] [--microphone NAME] [--grain LEVELS]   until a termination
// signal
//
// The upper half of each picture holds the monotonic time in milliseconds, modulo 2^32, as 32
// stripes from the highest bit on the left, light for 1. The lower half is light for the first
// tenth of each second, and for as long the microphone sounds 1 kHz; else it is dark and silent.
// With grain, half of the picture is grey that differs by so many levels of brightness from point
// to point and from picture to picture, which costs an encoder what a camera in a dim room costs
// it. SIGUSR1 changes the camera's format, from one of two to the other.
#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>
#include <spa/param/buffers.h>
#include <spa/param/video/format-utils.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <csignal>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <numbers>
#include <random>
#include <string>
#include <string_view>
#include <vector>

namespace {

constexpr std::int64_t second = 1'000'000'000;
constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t signalLength = second / 10;
constexpr std::int64_t frameRate = 30;
constexpr int soundRate = 48'000;
constexpr std::uint8_t light = 235;
constexpr std::uint8_t dark = 16;

std::int64_t now() {
    timespec time{};
    clock_gettime(CLOCK_MONOTONIC, &time);
    return time.tv_sec * second + time.tv_nsec;
}

bool isSignalled(std::int64_t time) {
    return time % second < signalLength;
}

struct Size {
    int width;
    int height;
};
constexpr std::array<Size, 2> sizes{{{1280, 720}, {640, 480}}};

/// A random row of points, of which pictures show parts.
std::vector<std::uint8_t> makeGrain(int levels) {
    constexpr std::size_t length = 1U << 16U;
    constexpr int grey = 128;
    std::minstd_rand random; // NOLINT(cert-msc51-cpp): always the same
    std::uniform_int_distribution<int> brightness{grey - levels, grey + levels};
    std::vector<std::uint8_t> grain(levels > 0 ? length : 0);
    for (std::uint8_t& point : grain) {
        point = static_cast<std::uint8_t>(brightness(random));
    }
    return grain;
}

class Camera {
  public:
    Camera(pw_core* core, pw_loop* loop, const char* name, int grain)
        : loop_{loop}, grain_{makeGrain(grain)} {
        timer_ = pw_loop_add_timer(
            loop, [](void* data, std::uint64_t) { static_cast<Camera*>(data)->tick(); }, this);
        stream_ = pw_stream_new(
            core, name,
            pw_properties_new(
                PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_MEDIA_ROLE, "Camera", PW_KEY_NODE_NAME,
                name, PW_KEY_NODE_DESCRIPTION, "Clock Camera", nullptr));
        pw_stream_add_listener(stream_, &listener_, &events, this);
        std::array<std::uint8_t, 512> memory{};
        const spa_pod* offer = offeredFormat(memory);
        pw_stream_connect(
            stream_, PW_DIRECTION_OUTPUT, PW_ID_ANY,
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS),
            &offer, 1);
    }

    void changeFormat() {
        size_ = (size_ + 1) % sizes.size();
        std::array<std::uint8_t, 512> memory{};
        const spa_pod* offer = offeredFormat(memory);
        pw_stream_update_params(stream_, &offer, 1);
    }

  private:
    const spa_pod* offeredFormat(std::array<std::uint8_t, 512>& memory) const {
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory.data(), sizeof(memory));
        spa_video_info_raw info{};
        info.format = SPA_VIDEO_FORMAT_I420;
        info.size = {
            static_cast<std::uint32_t>(sizes.at(size_).width),
            static_cast<std::uint32_t>(sizes.at(size_).height)};
        info.framerate = {frameRate, 1};
        return spa_format_video_raw_build(&builder, SPA_PARAM_EnumFormat, &info);
    }

    void formatChanged(const spa_pod* format) {
        spa_video_info_raw info{};
        if (format == nullptr || spa_format_video_raw_parse(format, &info) < 0) {
            return;
        }
        agreed_ = {static_cast<int>(info.size.width), static_cast<int>(info.size.height)};
        std::array<std::uint8_t, 1024> memory{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory.data(), sizeof(memory));
        const auto* const buffers = static_cast<const spa_pod*>(spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
            SPA_POD_CHOICE_RANGE_Int(8, 2, 16), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1),
            SPA_PARAM_BUFFERS_size, SPA_POD_Int(agreed_.width * agreed_.height * 3 / 2),
            SPA_PARAM_BUFFERS_stride, SPA_POD_Int(agreed_.width)));
        const auto* const header = static_cast<const spa_pod*>(spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
            SPA_POD_Id(SPA_META_Header), SPA_PARAM_META_size,
            SPA_POD_Int(static_cast<int>(sizeof(spa_meta_header)))));
        std::array<const spa_pod*, 2> params{buffers, header};
        pw_stream_update_params(stream_, params.data(), params.size());
    }

    void stateChanged(pw_stream_state state) {
        const bool runs = state == PW_STREAM_STATE_STREAMING;
        frame_ = now() * frameRate / second + 1;
        setTimer(runs);
    }

    /// To the moment of the next picture: a whole number of frames of the clock itself.
    void setTimer(bool runs) {
        const std::int64_t next = timeOf(frame_);
        timespec at{.tv_sec = next / second, .tv_nsec = next % second};
        if (!runs) {
            at = {};
        }
        pw_loop_update_timer(loop_, timer_, &at, nullptr, true);
    }

    static std::int64_t timeOf(std::int64_t frame) {
        return frame / frameRate * second + frame % frameRate * second / frameRate;
    }

    void tick() {
        pw_stream_trigger_process(stream_);
        frame_ = std::max(frame_ + 1, now() * frameRate / second);
        setTimer(true);
    }

    void deliver() {
        pw_buffer* const buffer = pw_stream_dequeue_buffer(stream_);
        if (buffer == nullptr) {
            return;
        }
        spa_data& data = buffer->buffer->datas[0];
        const auto wanted = static_cast<std::uint32_t>(agreed_.width * agreed_.height * 3 / 2);
        const bool fits = data.data != nullptr && data.maxsize >= wanted;
        const std::int64_t time = timeOf(now() * frameRate / second);
        if (fits) {
            paint(static_cast<std::uint8_t*>(data.data), time);
        }
        data.chunk->offset = 0;
        data.chunk->size = fits ? wanted : 0;
        data.chunk->stride = agreed_.width;
        data.chunk->flags = 0;
        void* const meta =
            spa_buffer_find_meta_data(buffer->buffer, SPA_META_Header, sizeof(spa_meta_header));
        if (auto* const header = static_cast<spa_meta_header*>(meta); header != nullptr) {
            header->flags = 0;
            header->pts = time;
        }
        pw_stream_queue_buffer(stream_, buffer);
    }

    void paint(std::uint8_t* picture, std::int64_t time) const {
        constexpr int bits = 32;
        constexpr int colourless = 128;
        const auto stamp = static_cast<std::uint32_t>(time / millisecond);
        const auto width = static_cast<std::size_t>(agreed_.width);
        const auto height = static_cast<std::size_t>(agreed_.height);
        for (std::size_t x = 0; x < width; ++x) {
            const std::size_t bit = bits - 1 - x * bits / width;
            picture[x] = (stamp >> bit & 1U) != 0 ? light : dark;
        }
        for (std::size_t y = 1; y < height / 2; ++y) {
            std::memcpy(picture + y * width, picture, width);
        }
        std::memset(
            picture + height / 2 * width, isSignalled(time) ? light : dark,
            (height - height / 2) * width);
        std::memset(picture + height * width, colourless, width * height / 2);
        // Not where the clock and the light are measured.
        if (!grain_.empty()) {
            for (std::size_t y = 0; y < height; ++y) {
                const std::size_t eighth = y * 8 / height;
                if (eighth == 0 || eighth == 3 || eighth == 4 || eighth == 7) {
                    constexpr std::size_t step = 7919; // a prime
                    const std::size_t from = (y * step + stamp) % (grain_.size() - width);
                    std::memcpy(picture + y * width, grain_.data() + from, width);
                }
            }
        }
    }

    static const pw_stream_events events;

    pw_loop* loop_;
    spa_source* timer_ = nullptr;
    pw_stream* stream_ = nullptr;
    spa_hook listener_{};
    std::size_t size_ = 0;
    Size agreed_{0, 0};
    std::vector<std::uint8_t> grain_;
    std::int64_t frame_ = 0;
};

const pw_stream_events Camera::events = [] {
    pw_stream_events table{};
    table.version = PW_VERSION_STREAM_EVENTS;
    table.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char*) {
        static_cast<Camera*>(data)->stateChanged(state);
    };
    table.param_changed = [](void* data, std::uint32_t id, const spa_pod* param) {
        if (id == SPA_PARAM_Format) {
            static_cast<Camera*>(data)->formatChanged(param);
        }
    };
    table.process = [](void* data) {
        static_cast<Camera*>(data)->deliver();
    };
    return table;
}();

/// Drives the graph as the microphone of a sound card does. Without a driver of its own it would
/// follow the camera, which asks for sound only thirty times a second.
class Microphone {
  public:
    Microphone(pw_core* core, pw_loop* loop, const char* name) : loop_{loop} {
        timer_ = pw_loop_add_timer(
            loop, [](void* data, std::uint64_t) { static_cast<Microphone*>(data)->tick(); }, this);
        stream_ = pw_stream_new(
            core, name,
            pw_properties_new(
                PW_KEY_MEDIA_CLASS, "Audio/Source", PW_KEY_NODE_NAME, name, PW_KEY_NODE_DESCRIPTION,
                "Clock Microphone", PW_KEY_NODE_LATENCY, "1024/48000", PW_KEY_PRIORITY_DRIVER,
                "2000", nullptr));
        pw_stream_add_listener(stream_, &listener_, &events, this);
        std::array<std::uint8_t, 512> memory{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory.data(), sizeof(memory));
        spa_audio_info_raw info{};
        info.format = SPA_AUDIO_FORMAT_F32;
        info.rate = soundRate;
        info.channels = 1;
        info.position[0] = SPA_AUDIO_CHANNEL_MONO;
        const spa_pod* offer = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &info);
        pw_stream_connect(
            stream_, PW_DIRECTION_OUTPUT, PW_ID_ANY,
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS),
            &offer, 1);
    }

  private:
    void stateChanged(pw_stream_state state) {
        runs_ = state == PW_STREAM_STATE_STREAMING;
        cycle_ = now();
        setTimer();
    }

    void setTimer() {
        timespec at{.tv_sec = cycle_ / second, .tv_nsec = cycle_ % second};
        if (!runs_) {
            at = {};
        }
        pw_loop_update_timer(loop_, timer_, &at, nullptr, true);
    }

    [[nodiscard]] std::int64_t cycleLength() const {
        constexpr std::uint64_t usualLength = 1024;
        const bool known = position_ != nullptr && position_->clock.duration > 0;
        return static_cast<std::int64_t>(known ? position_->clock.duration : usualLength);
    }

    /// Cycles follow one another without a seam; after a long delay the time between is left out.
    void tick() {
        constexpr std::int64_t largestDelay = 40 * millisecond;
        if (now() - cycle_ > largestDelay) {
            cycle_ = now();
        }
        const std::int64_t next = cycle_ + cycleLength() * second / soundRate;
        if (position_ != nullptr) {
            position_->clock.nsec = static_cast<std::uint64_t>(cycle_);
            position_->clock.rate = {1, soundRate};
            position_->clock.position += static_cast<std::uint64_t>(cycleLength());
            position_->clock.rate_diff = 1;
            position_->clock.next_nsec = static_cast<std::uint64_t>(next);
        }
        if (pw_stream_is_driving(stream_)) {
            pw_stream_trigger_process(stream_);
        }
        cycle_ = next;
        setTimer();
    }

    void deliver() {
        pw_buffer* const buffer = pw_stream_dequeue_buffer(stream_);
        if (buffer == nullptr) {
            return;
        }
        spa_data& data = buffer->buffer->datas[0];
        const auto room = static_cast<std::uint32_t>(data.maxsize / sizeof(float));
        const std::uint32_t count = std::min(room, static_cast<std::uint32_t>(cycleLength()));
        const std::int64_t start =
            position_ != nullptr ? static_cast<std::int64_t>(position_->clock.nsec) : now();
        auto* const samples = static_cast<float*>(data.data);
        for (std::uint32_t index = 0; index < count; ++index) {
            const std::int64_t time = start + std::int64_t{index} * second / soundRate;
            constexpr double frequency = 1000;
            const double phase =
                static_cast<double>(time % second) / second * frequency * 2 * std::numbers::pi;
            samples[index] = isSignalled(time) ? 0.5F * static_cast<float>(std::sin(phase)) : 0.0F;
        }
        data.chunk->offset = 0;
        data.chunk->size = count * static_cast<std::uint32_t>(sizeof(float));
        data.chunk->stride = sizeof(float);
        data.chunk->flags = 0;
        pw_stream_queue_buffer(stream_, buffer);
    }

    static const pw_stream_events events;

    pw_loop* loop_;
    spa_source* timer_ = nullptr;
    pw_stream* stream_ = nullptr;
    spa_hook listener_{};
    spa_io_position* position_ = nullptr;
    bool runs_ = false;
    std::int64_t cycle_ = 0; ///< when the next cycle begins
};

const pw_stream_events Microphone::events = [] {
    pw_stream_events table{};
    table.version = PW_VERSION_STREAM_EVENTS;
    table.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char*) {
        static_cast<Microphone*>(data)->stateChanged(state);
    };
    table.io_changed = [](void* data, std::uint32_t id, void* area, std::uint32_t size) {
        if (id == SPA_IO_Position) {
            const bool fits = area != nullptr && size >= sizeof(spa_io_position);
            static_cast<Microphone*>(data)->position_ =
                fits ? static_cast<spa_io_position*>(area) : nullptr;
        }
    };
    table.process = [](void* data) {
        static_cast<Microphone*>(data)->deliver();
    };
    return table;
}();

} // namespace

int main(int argumentCount, char** arguments) {
    const char* cameraName = nullptr;
    const char* microphoneName = nullptr;
    int grain = 0;
    for (int index = 1; index + 1 < argumentCount; index += 2) {
        const std::string_view option = arguments[index];
        if (option == "--camera") {
            cameraName = arguments[index + 1];
        } else if (option == "--microphone") {
            microphoneName = arguments[index + 1];
        } else if (option == "--grain") {
            grain = std::clamp(std::atoi(arguments[index + 1]), 0, 100);
        }
    }
    if (cameraName == nullptr && microphoneName == nullptr) {
        std::fputs(
            "Usage: clock-devices [--camera NAME] [--microphone NAME] [--grain LEVELS]\n", stderr);
        return 2;
    }
    // Before any thread starts, so that no thread takes the signals for itself.
    sigset_t handled;
    sigemptyset(&handled);
    for (const int signalNumber : {SIGINT, SIGTERM, SIGUSR1}) {
        sigaddset(&handled, signalNumber);
    }
    sigprocmask(SIG_BLOCK, &handled, nullptr);
    pw_init(nullptr, nullptr);
    pw_main_loop* const loop = pw_main_loop_new(nullptr);
    pw_context* const context = pw_context_new(pw_main_loop_get_loop(loop), nullptr, 0);
    pw_core* const core = pw_context_connect(context, nullptr, 0);
    if (core == nullptr) {
        std::fputs("clock-devices: PipeWire does not answer\n", stderr);
        return 1;
    }
    for (const int signalNumber : {SIGINT, SIGTERM}) {
        pw_loop_add_signal(
            pw_main_loop_get_loop(loop), signalNumber,
            [](void* data, int) { pw_main_loop_quit(static_cast<pw_main_loop*>(data)); }, loop);
    }
    Camera* camera = nullptr;
    if (cameraName != nullptr) {
        camera = new Camera{core, pw_main_loop_get_loop(loop), cameraName, grain};
        pw_loop_add_signal(
            pw_main_loop_get_loop(loop), SIGUSR1,
            [](void* data, int) { static_cast<Camera*>(data)->changeFormat(); }, camera);
    }
    if (microphoneName != nullptr) {
        new Microphone{core, pw_main_loop_get_loop(loop), microphoneName};
    }
    // The process's end takes everything with it.
    return pw_main_loop_run(loop) < 0 ? 1 : 0;
}
