#include "TestCamera.hpp"

#include "BrindleRecorderLinux/PipeWire/Handles.hpp"
#include "DesktopDevices.hpp"

#include <pipewire/pipewire.h>
#include <spa/param/buffers.h>
#include <spa/param/param.h>
#include <spa/param/video/format-utils.h>
#include <spa/pod/builder.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <utility>

namespace brindle::test {

using pipewire::ContextHandle;
using pipewire::CoreHandle;
using pipewire::Hook;
using pipewire::Library;
using pipewire::SourceHandle;

class TestCamera::Implementation {
  public:
    Implementation(const std::string& name, Format format) : format_{std::move(format)} {
        loop_.reset(pw_thread_loop_new("test-camera", nullptr));
        pw_loop* const loop = pw_thread_loop_get_loop(loop_.get());
        context_.reset(pw_context_new(loop, nullptr, 0));
        core_.reset(pw_context_connect(context_.get(), nullptr, 0));
        if (!core_) {
            return;
        }
        timer_ = SourceHandle{
            pw_loop_add_timer(
                loop,
                [](void* data, std::uint64_t) {
                    const auto* self = static_cast<Implementation*>(data);
                    if (!self->frozen_) {
                        pw_stream_trigger_process(self->stream_.get());
                    }
                },
                this),
            {loop}};
        stream_.reset(pw_stream_new(
            core_.get(), name.c_str(),
            pw_properties_new(
                PW_KEY_MEDIA_CLASS, "Video/Source", PW_KEY_MEDIA_ROLE, "Camera", PW_KEY_NODE_NAME,
                name.c_str(), PW_KEY_NODE_DESCRIPTION, "Test Camera", nullptr)));
        pw_stream_add_listener(stream_.get(), listener_.get(), &events, this);
        std::array<std::uint8_t, 1024> memory{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory.data(), memory.size());
        const spa_pod* offer = offeredFormat(builder);
        pw_stream_connect(
            stream_.get(), PW_DIRECTION_OUTPUT, PW_ID_ANY,
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_DRIVER | PW_STREAM_FLAG_MAP_BUFFERS),
            &offer, 1);
        pw_thread_loop_start(loop_.get());
    }

    // The stream comes to rest while its loop runs, and the loop before anything that runs on it
    // goes.
    ~Implementation() {
        pw_thread_loop_lock(loop_.get());
        pw_stream_disconnect(stream_.get());
        pw_thread_loop_unlock(loop_.get());
        pw_thread_loop_stop(loop_.get());
    }

    void freeze() { frozen_ = true; }
    [[nodiscard]] int delivered() const { return delivered_; }

  private:
    using StreamHandle = std::unique_ptr<pw_stream, Releaser<pw_stream_destroy>>;
    using ThreadLoopHandle = std::unique_ptr<pw_thread_loop, Releaser<pw_thread_loop_destroy>>;

    [[nodiscard]] std::size_t pictureSize() const {
        return format_.jpeg.empty()
                   ? static_cast<std::size_t>(
                         format_.bytesPerLine * format_.height * format_.linesInAll)
                   : format_.jpeg.size();
    }

    void offerRates(spa_pod_builder& builder) const {
        spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_framerate, 0);
        if (format_.slowerRates.empty()) {
            spa_pod_builder_fraction(&builder, static_cast<std::uint32_t>(format_.frameRate), 1);
            return;
        }
        spa_pod_frame choice{};
        spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Enum, 0);
        const auto add = [&builder](int rate) {
            spa_pod_builder_fraction(&builder, static_cast<std::uint32_t>(rate), 1);
        };
        add(format_.slowerRates.front()); // which the camera takes when nobody chooses
        for (const int rate : format_.slowerRates) {
            add(rate);
        }
        add(format_.frameRate);
        spa_pod_builder_pop(&builder, &choice);
    }

    const spa_pod* offeredFormat(spa_pod_builder& builder) const {
        const spa_rectangle size{
            static_cast<std::uint32_t>(format_.width), static_cast<std::uint32_t>(format_.height)};
        spa_pod_frame object{};
        spa_pod_builder_push_object(
            &builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
        spa_pod_builder_add(
            &builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_video),
            SPA_FORMAT_mediaSubtype,
            SPA_POD_Id(format_.jpeg.empty() ? SPA_MEDIA_SUBTYPE_raw : SPA_MEDIA_SUBTYPE_mjpg),
            SPA_FORMAT_VIDEO_size, SPA_POD_Rectangle(&size), 0);
        offerRates(builder);
        if (format_.jpeg.empty()) {
            spa_pod_builder_add(
                &builder, SPA_FORMAT_VIDEO_format, SPA_POD_Id(format_.pixelFormat), 0);
        }
        void* const pod = spa_pod_builder_pop(&builder, &object);
        return static_cast<const spa_pod*>(pod);
    }

    void offerBuffers() {
        std::array<std::uint8_t, 1024> memory{};
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, memory.data(), memory.size());
        const int size = static_cast<int>(pictureSize());
        void* const buffers = spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
            SPA_POD_CHOICE_RANGE_Int(4, 2, 8), SPA_PARAM_BUFFERS_blocks, SPA_POD_Int(1),
            SPA_PARAM_BUFFERS_size, SPA_POD_Int(size), SPA_PARAM_BUFFERS_stride,
            SPA_POD_Int(format_.bytesPerLine));
        void* const header = spa_pod_builder_add_object(
            &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
            SPA_POD_Id(SPA_META_Header), SPA_PARAM_META_size,
            SPA_POD_Int(static_cast<int>(sizeof(spa_meta_header))));
        std::array<const spa_pod*, 2> params{
            static_cast<const spa_pod*>(buffers), static_cast<const spa_pod*>(header)};
        pw_stream_update_params(stream_.get(), params.data(), params.size());
    }

    void run(bool running) {
        timespec now{.tv_sec = 0, .tv_nsec = running ? 1 : 0};
        timespec interval{.tv_sec = 0, .tv_nsec = running ? 1'000'000'000 / format_.frameRate : 0};
        pw_loop_update_timer(
            pw_thread_loop_get_loop(loop_.get()), timer_.get(), &now, &interval, false);
    }

    void deliver() {
        pw_buffer* const buffer = pw_stream_dequeue_buffer(stream_.get());
        if (buffer == nullptr) {
            return;
        }
        spa_data& data = buffer->buffer->datas[0];
        const auto size = static_cast<std::uint32_t>(
            data.data != nullptr ? std::min<std::size_t>(pictureSize(), data.maxsize) : 0);
        data.chunk->offset = 0;
        data.chunk->size = size;
        data.chunk->stride = format_.bytesPerLine;
        data.chunk->flags = 0;
        if (size > 0) {
            paint(static_cast<std::uint8_t*>(data.data), size);
        }
        void* const meta =
            spa_buffer_find_meta_data(buffer->buffer, SPA_META_Header, sizeof(spa_meta_header));
        if (auto* const header = static_cast<spa_meta_header*>(meta); header != nullptr) {
            header->flags = 0;
            header->pts =
                format_.stamped
                    ? std::chrono::nanoseconds{std::chrono::steady_clock::now().time_since_epoch()}
                          .count()
                    : -1;
        }
        pw_stream_queue_buffer(stream_.get(), buffer);
        ++delivered_;
    }

    void paint(std::uint8_t* bytes, std::size_t size) {
        if (!format_.jpeg.empty()) {
            std::copy_n(format_.jpeg.begin(), size, bytes);
            return;
        }
        constexpr int grey = 128;
        constexpr int light = 235;
        constexpr int linesPerPicture = 4;
        std::memset(bytes, grey, size);
        const int barHeight = format_.height / 10;
        const int top = frame_++ * linesPerPicture % (format_.height - barHeight);
        std::memset(
            bytes + std::ptrdiff_t{top} * format_.bytesPerLine, light,
            static_cast<std::size_t>(barHeight * format_.bytesPerLine));
    }

    static const pw_stream_events events;

    Library library_;
    Format format_;
    std::atomic<bool> frozen_ = false;
    std::atomic<int> delivered_ = 0;
    int frame_ = 0;
    ThreadLoopHandle loop_;
    ContextHandle context_;
    CoreHandle core_;
    SourceHandle timer_;
    StreamHandle stream_;
    Hook listener_;
};

const pw_stream_events TestCamera::Implementation::events = [] {
    pw_stream_events table{};
    table.version = PW_VERSION_STREAM_EVENTS;
    table.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char*) {
        static_cast<Implementation*>(data)->run(state == PW_STREAM_STATE_STREAMING);
    };
    table.param_changed = [](void* data, std::uint32_t id, const spa_pod* param) {
        if (id == SPA_PARAM_Format && param != nullptr) {
            static_cast<Implementation*>(data)->offerBuffers();
        }
    };
    table.process = [](void* data) {
        static_cast<Implementation*>(data)->deliver();
    };
    return table;
}();

TestCamera::Format TestCamera::i420(int width, int height, int frameRate) {
    return {
        .pixelFormat = SPA_VIDEO_FORMAT_I420,
        .width = width,
        .height = height,
        .bytesPerLine = width,
        .linesInAll = 1.5,
        .frameRate = frameRate};
}

TestCamera::Format TestCamera::yuy2(int width, int height, int frameRate) {
    return {
        .pixelFormat = SPA_VIDEO_FORMAT_YUY2,
        .width = width,
        .height = height,
        .bytesPerLine = 2 * width,
        .linesInAll = 1,
        .frameRate = frameRate};
}

TestCamera::Format TestCamera::bgrx(int width, int height, int frameRate) {
    return {
        .pixelFormat = SPA_VIDEO_FORMAT_BGRx,
        .width = width,
        .height = height,
        .bytesPerLine = 4 * width,
        .linesInAll = 1,
        .frameRate = frameRate};
}

TestCamera::Format TestCamera::gray(int width, int height, int frameRate) {
    return {
        .pixelFormat = SPA_VIDEO_FORMAT_GRAY8,
        .width = width,
        .height = height,
        .bytesPerLine = width,
        .linesInAll = 1,
        .frameRate = frameRate};
}

TestCamera::Format
TestCamera::motionJpeg(std::vector<std::uint8_t> picture, int width, int height) {
    return {.width = width, .height = height, .jpeg = std::move(picture)};
}

TestCamera::TestCamera(const std::string& name, Format format)
    : implementation_{std::make_unique<Implementation>(name, std::move(format))} {
    waitForNode(name);
}

TestCamera::~TestCamera() = default;

int TestCamera::delivered() const {
    return implementation_->delivered();
}

void TestCamera::freeze() {
    implementation_->freeze();
}

void TestCamera::unplug() {
    implementation_.reset();
}

} // namespace brindle::test
