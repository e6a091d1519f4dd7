#include "BrindleRecorderLinux/Capture/Record/EncoderOutput.hpp"

#include "BrindleRecorderLinux/Capture/Media/MediaError.hpp"

#include <utility>

namespace brindle::media {

Expected<std::vector<PacketHandle>, PlatformError>
encodeFrame(AVCodecContext& encoder, const AVFrame* frame) {
    if (const int result = avcodec_send_frame(&encoder, frame); result < 0) {
        return unexpected{mediaError(result)};
    }
    std::vector<PacketHandle> packets;
    for (;;) {
        PacketHandle packet{av_packet_alloc()};
        if (!packet) {
            return unexpected{mediaError(AVERROR(ENOMEM))};
        }
        const int result = avcodec_receive_packet(&encoder, packet.get());
        if (result == AVERROR(EAGAIN) || result == AVERROR_EOF) {
            return packets;
        }
        if (result < 0) {
            return unexpected{mediaError(result)};
        }
        packets.push_back(std::move(packet));
    }
}

} // namespace brindle::media
