#include "BrindleRecorderLinux/Capture/Streams/CaptureStream.hpp"

#include "BrindleRecorderLinux/Capture/Streams/MicrophoneFormats.hpp"

#include <spa/buffer/meta.h>
#include <spa/param/buffers.h>
#include <spa/param/param.h>
#include <spa/pod/builder.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>
#include <utility>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/pixdesc.h>
#include <libavutil/samplefmt.h>
}

namespace brindle::pipewire {

namespace {

/// What one data block of a buffer holds, kept within the memory that is there.
struct Block {
    std::span<const std::uint8_t> bytes;
    int stride = 0;
    bool damaged = false;
};

std::vector<Block> blocksOf(const spa_buffer& buffer) {
    std::vector<Block> blocks;
    for (const spa_data& data : std::span{buffer.datas, buffer.n_datas}) {
        if (data.data == nullptr || data.chunk == nullptr) {
            return {};
        }
        const std::uint32_t offset = std::min(data.chunk->offset, data.maxsize);
        const std::uint32_t size = std::min(data.chunk->size, data.maxsize - offset);
        const auto* const start = static_cast<const std::uint8_t*>(data.data);
        blocks.push_back(
            {.bytes = {start + offset, size},
             .stride = data.chunk->stride,
             .damaged =
                 (static_cast<unsigned>(data.chunk->flags) & SPA_CHUNK_FLAG_CORRUPTED) != 0});
    }
    return blocks;
}

const spa_meta_header* headerOf(const spa_buffer& buffer) {
    const void* const header =
        spa_buffer_find_meta_data(&buffer, SPA_META_Header, sizeof(spa_meta_header));
    return static_cast<const spa_meta_header*>(header);
}

/// The strides of all planes, of which the server only tells the first, or one per block.
bool fillStrides(
    const media::PictureFormat& format, const std::vector<Block>& blocks,
    std::array<int, AV_NUM_DATA_POINTERS>& strides) {
    std::array<int, 4> tightest{};
    if (av_image_fill_linesizes(tightest.data(), format.pixelFormat, format.width) < 0) {
        return false;
    }
    for (std::size_t plane = 0; plane < tightest.size(); ++plane) {
        if (tightest.at(plane) == 0) {
            continue;
        }
        int stride = tightest.at(plane);
        if (plane < blocks.size() && blocks.at(plane).stride > 0) {
            stride = blocks.at(plane).stride;
        } else if (blocks.front().stride > 0) {
            // Wider by the same share as the first plane.
            stride = static_cast<int>(
                std::int64_t{blocks.front().stride} * tightest.at(plane) / tightest.front());
        }
        strides.at(plane) = stride;
    }
    return true;
}

media::CapturedPicture
rawPicture(const media::PictureFormat& format, const std::vector<Block>& blocks) {
    media::CapturedPicture picture{.format = format, .strides = {}, .bytes = {}};
    if (!fillStrides(format, blocks, picture.strides)) {
        return picture;
    }
    const std::size_t wanted = media::rawPictureSize(picture);
    if (blocks.size() == 1) {
        const auto bytes =
            blocks.front().bytes.first(std::min(wanted, blocks.front().bytes.size()));
        picture.bytes.assign(bytes.begin(), bytes.end());
        return picture;
    }
    std::array<std::ptrdiff_t, 4> strides{};
    std::copy_n(picture.strides.begin(), strides.size(), strides.begin());
    std::array<std::size_t, 4> sizes{};
    av_image_fill_plane_sizes(sizes.data(), format.pixelFormat, format.height, strides.data());
    picture.bytes.reserve(wanted);
    for (std::size_t plane = 0; plane < std::min(sizes.size(), blocks.size()); ++plane) {
        const auto& bytes = blocks.at(plane).bytes;
        if (bytes.size() < sizes.at(plane)) {
            return picture;
        }
        picture.bytes.insert(
            picture.bytes.end(), bytes.begin(),
            bytes.begin() + static_cast<std::ptrdiff_t>(sizes.at(plane)));
    }
    return picture;
}

} // namespace

const pw_stream_events CaptureStream::events = [] {
    pw_stream_events table{};
    table.version = PW_VERSION_STREAM_EVENTS;
    table.state_changed = [](void* data, pw_stream_state, pw_stream_state state, const char*) {
        const auto* self = static_cast<CaptureStream*>(data);
        if (self->stateChanged_) {
            self->stateChanged_(state);
        }
    };
    table.param_changed = [](void* data, std::uint32_t id, const spa_pod* param) {
        auto* self = static_cast<CaptureStream*>(data);
        if (id == SPA_PARAM_Format) {
            self->formatChanged(param);
            if (param != nullptr) {
                self->acceptBuffers();
            }
        }
    };
    table.process = [](void* data) {
        static_cast<CaptureStream*>(data)->takeWaiting();
    };
    return table;
}();

CaptureStream::CaptureStream(pw_core* core, Device device, pw_properties* properties)
    : device_{std::move(device)} {
    pw_properties_setf(
        properties, PW_KEY_TARGET_OBJECT, "%llu", static_cast<unsigned long long>(device_.serial));
    // When the device goes the stream ends with it, instead of being given another one.
    pw_properties_set(properties, PW_KEY_NODE_DONT_RECONNECT, "true");
    pw_properties_set(properties, "node.dont-fallback", "true");
    pw_properties_set(properties, PW_KEY_STREAM_CAPTURE_SINK, "false");
    pw_properties_set(properties, PW_KEY_NODE_NAME, "brindle-recorder");
    stream_.reset(pw_stream_new(core, "Brindle Recorder", properties));
    if (stream_) {
        pw_stream_add_listener(stream_.get(), listener_.get(), &events, this);
    }
}

bool CaptureStream::connect(std::vector<const spa_pod*> formats) {
    constexpr auto flags =
        static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS);
    return stream_ != nullptr &&
           pw_stream_connect(
               stream_.get(), PW_DIRECTION_INPUT, PW_ID_ANY, flags, formats.data(),
               static_cast<std::uint32_t>(formats.size())) >= 0;
}

void CaptureStream::acceptBuffers() {
    std::array<std::uint8_t, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    constexpr int wantedBuffers = 8;
    constexpr int fewestBuffers = 2;
    constexpr int mostBuffers = 32;
    // Only memory that can be read as it is; graphics memory would need a graphics library.
    constexpr int dataTypes = (1 << SPA_DATA_MemPtr) | (1 << SPA_DATA_MemFd);
    void* const buffers = spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamBuffers, SPA_PARAM_Buffers, SPA_PARAM_BUFFERS_buffers,
        SPA_POD_CHOICE_RANGE_Int(wantedBuffers, fewestBuffers, mostBuffers),
        SPA_PARAM_BUFFERS_dataType, SPA_POD_CHOICE_FLAGS_Int(dataTypes));
    void* const header = spa_pod_builder_add_object(
        &builder, SPA_TYPE_OBJECT_ParamMeta, SPA_PARAM_Meta, SPA_PARAM_META_type,
        SPA_POD_Id(SPA_META_Header), SPA_PARAM_META_size,
        SPA_POD_Int(static_cast<int>(sizeof(spa_meta_header))));
    std::array<const spa_pod*, 2> params{
        static_cast<const spa_pod*>(buffers), static_cast<const spa_pod*>(header)};
    pw_stream_update_params(stream_.get(), params.data(), params.size());
}

void CaptureStream::takeWaiting() {
    for (pw_buffer* buffer = pw_stream_dequeue_buffer(stream_.get()); buffer != nullptr;) {
        pw_buffer* const next = pw_stream_dequeue_buffer(stream_.get());
        take(*buffer->buffer, next == nullptr);
        pw_stream_queue_buffer(stream_.get(), buffer);
        buffer = next;
    }
    batchTaken();
}

CameraStream::CameraStream(pw_core* core, std::uint64_t serial, Handler handler, Agreed agreed)
    : CaptureStream{core, {.serial = serial, .role = "camera"}, pw_properties_new(PW_KEY_MEDIA_TYPE, "Video", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_MEDIA_ROLE, "Camera", nullptr)},
      handler_{std::move(handler)}, agreed_{std::move(agreed)} {}

void CameraStream::formatChanged(const spa_pod* format) {
    const auto agreed = agreedPictures(format);
    format_ = agreed ? std::optional{agreed->format} : std::nullopt;
    if (agreed) {
        agreed_(*agreed);
    }
}

void CameraStream::take(const spa_buffer& buffer, bool /*isLast*/) {
    const media::Moment arrival = media::monotonicNow();
    const std::vector<Block> blocks = blocksOf(buffer);
    const spa_meta_header* const header = headerOf(buffer);
    const bool damaged =
        (header != nullptr && (header->flags & SPA_META_HEADER_FLAG_CORRUPTED) != 0) ||
        std::any_of(blocks.begin(), blocks.end(), [](const Block& block) { return block.damaged; });
    if (!format_ || blocks.empty() || damaged) {
        return;
    }
    media::CapturedPicture picture;
    if (format_->coding == media::PictureFormat::Coding::motionJpeg) {
        const auto& bytes = blocks.front().bytes;
        picture.format = *format_;
        picture.bytes.assign(bytes.begin(), bytes.end());
    } else {
        picture = rawPicture(*format_, blocks);
    }
    const auto stamp =
        header != nullptr ? std::optional{media::momentAt(header->pts)} : std::nullopt;
    picture.time = clock_.timeOf(stamp, arrival);
    if (media::isComplete(picture)) {
        handler_(std::move(picture));
    }
}

MicrophoneStream::MicrophoneStream(pw_core* core, std::uint64_t serial, Handler handler)
    : CaptureStream{core, {.serial = serial, .role = "microphone"}, pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Capture", PW_KEY_NODE_LATENCY, "1024/48000", nullptr)},
      handler_{std::move(handler)} {}

void MicrophoneStream::formatChanged(const spa_pod* format) {
    format_ = agreedSoundFormat(format);
}

void MicrophoneStream::take(const spa_buffer& buffer, bool /*isLast*/) {
    const std::vector<Block> blocks = blocksOf(buffer);
    if (!format_ || blocks.empty()) {
        return;
    }
    const auto sampleSize =
        static_cast<std::size_t>(av_get_bytes_per_sample(format_->sampleFormat));
    const bool planar = av_sample_fmt_is_planar(format_->sampleFormat) == 1;
    const auto channels = static_cast<std::size_t>(format_->channels);
    const std::size_t stride = planar ? sampleSize : sampleSize * channels;
    if (planar && blocks.size() < channels) {
        return;
    }
    media::CapturedSound sound{.format = *format_, .bytes = {}};
    std::size_t count = blocks.front().bytes.size() / stride;
    for (std::size_t block = 0; planar && block < channels; ++block) {
        count = std::min(count, blocks.at(block).bytes.size() / stride);
    }
    for (std::size_t block = 0; block < (planar ? channels : 1); ++block) {
        const auto bytes = blocks.at(block).bytes.first(count * stride);
        sound.bytes.insert(sound.bytes.end(), bytes.begin(), bytes.end());
    }
    sound.count = static_cast<int>(count);
    if (count > 0) {
        batch_.push_back(std::move(sound));
    }
}

void MicrophoneStream::batchTaken() {
    if (batch_.empty()) {
        return;
    }
    // The server tells when the newest block began; those before it end where the next begins.
    media::Moment time = media::monotonicNow();
    pw_time report{};
    if (pw_stream_get_time_n(stream(), &report, sizeof(report)) >= 0 && report.now > 0 &&
        report.rate.denom > 0) {
        const double seconds =
            static_cast<double>(report.delay) * report.rate.num / report.rate.denom +
            static_cast<double>(report.buffered) / format_->sampleRate;
        time = media::momentAt(report.now) - std::chrono::duration_cast<std::chrono::nanoseconds>(
                                                 std::chrono::duration<double>{seconds});
        const std::chrono::duration<double> unit{
            static_cast<double>(report.rate.num) / report.rate.denom};
        std::chrono::nanoseconds arrived{0};
        for (const media::CapturedSound& sound : batch_) {
            arrived += media::lengthOf(sound);
        }
        batch_.front().lostBefore = lost_.before(report.ticks, unit, arrived);
    }
    for (std::size_t index = batch_.size(); index-- > 0;) {
        if (index + 1 < batch_.size()) {
            time -= media::lengthOf(batch_.at(index));
        }
        batch_.at(index).time = time;
    }
    for (media::CapturedSound& sound : std::exchange(batch_, {})) {
        handler_(std::move(sound));
    }
}

} // namespace brindle::pipewire
