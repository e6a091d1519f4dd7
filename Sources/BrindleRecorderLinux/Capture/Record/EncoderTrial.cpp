#include "BrindleRecorderLinux/Capture/Record/EncoderTrial.hpp"

#include "BrindleRecorderLinux/Capture/Media/MediaError.hpp"
#include "BrindleRecorderLinux/Capture/Record/VideoEncoder.hpp"

#include <algorithm>
#include <array>
#include <cstdarg>
#include <cstddef>
#include <cstdio>
#include <iterator>
#include <mutex>
#include <utility>

extern "C" {
#include <libavutil/imgutils.h>
#include <libavutil/log.h>
}

namespace brindle::media {

namespace {

/// What the library says of an error: its codes name no driver and no missing library.
class Complaints {
  public:
    Complaints() {
        const std::lock_guard lock{mutex};
        firstComplaint.clear();
        av_log_set_callback(&Complaints::hear);
    }
    ~Complaints() { av_log_set_callback(av_log_default_callback); }
    Complaints(const Complaints&) = delete;
    Complaints& operator=(const Complaints&) = delete;

    /// The first, which explains those that follow; empty where there was none.
    [[nodiscard]] static std::string first() {
        const std::lock_guard lock{mutex};
        return firstComplaint;
    }

  private:
    static void hear(void* /*sender*/, int level, const char* format, va_list arguments) {
        constexpr std::size_t longest = 200;
        if (level > AV_LOG_ERROR) {
            return;
        }
        std::array<char, longest> line{};
        std::vsnprintf(line.data(), line.size(), format, arguments);
        std::string words{line.data()};
        std::erase_if(words, [](char letter) { return static_cast<unsigned char>(letter) < ' '; });
        const std::lock_guard lock{mutex};
        if (firstComplaint.empty()) {
            firstComplaint = std::move(words);
        }
    }

    inline static std::mutex mutex; ///< drivers complain on threads of their own
    inline static std::string firstComplaint;
};

Expected<FrameHandle, PlatformError> blackFrame(const VideoOutputSettings& settings) {
    FrameHandle frame{av_frame_alloc()};
    if (!frame) {
        return unexpected{mediaError(AVERROR(ENOMEM))};
    }
    frame->format = AV_PIX_FMT_YUV420P;
    frame->width = settings.width;
    frame->height = settings.height;
    int result = av_frame_get_buffer(frame.get(), 0);
    if (result >= 0) {
        std::array<std::ptrdiff_t, 4> strides{};
        std::copy_n(std::begin(frame->linesize), strides.size(), strides.begin());
        result = av_image_fill_black(
            frame->data, strides.data(), AV_PIX_FMT_YUV420P, AVCOL_RANGE_MPEG, frame->width,
            frame->height);
    }
    if (result < 0) {
        return unexpected{mediaError(result)};
    }
    return frame;
}

Expected<void, PlatformError>
compressOne(const std::string& name, const VideoOutputSettings& settings) {
    auto encoder = VideoEncoder::open(settings, name);
    if (!encoder) {
        return unexpected{encoder.error()};
    }
    const auto frame = blackFrame(settings);
    if (!frame) {
        return unexpected{frame.error()};
    }
    auto packets = encoder->encode(**frame, 0, true);
    if (!packets) {
        return unexpected{packets.error()};
    }
    auto rest = encoder->flush();
    if (!rest) {
        return unexpected{rest.error()};
    }
    std::ranges::move(*rest, std::back_inserter(*packets));
    const bool isAPicture = packets->size() == 1 && packets->front()->size > 0 &&
                            (packets->front()->flags & AV_PKT_FLAG_KEY) != 0;
    // A movie names what its pictures are made with before the first of them.
    if (!isAPicture || encoder->context().extradata_size == 0) {
        return unexpected{recordingError("it makes nothing that a movie could begin with")};
    }
    return {};
}

} // namespace

Expected<void, PlatformError>
tryEncoder(const std::string& name, const VideoOutputSettings& settings) {
    const Complaints complaints;
    auto result = compressOne(name, settings);
    if (!result) {
        if (auto words = Complaints::first(); !words.empty()) {
            result.error().description += " (" + words + ")";
        }
    }
    return result;
}

} // namespace brindle::media
