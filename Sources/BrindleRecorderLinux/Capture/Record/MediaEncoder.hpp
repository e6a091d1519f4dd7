// Makes the tracks of a recording from what the devices deliver: paces, converts and compresses.
#pragma once

#include "BrindleRecorderApp/Platform/CaptureSystem.hpp"
#include "BrindleRecorderApp/Platform/PlatformError.hpp"
#include "BrindleRecorderCore/Base/Expected.hpp"
#include "BrindleRecorderLinux/Capture/Media/CapturedMedia.hpp"
#include "BrindleRecorderLinux/Capture/Media/EncodedPacket.hpp"
#include "BrindleRecorderLinux/Capture/Record/AudioEncoder.hpp"
#include "BrindleRecorderLinux/Capture/Record/AudioTimeline.hpp"
#include "BrindleRecorderLinux/Capture/Record/FragmentSchedule.hpp"
#include "BrindleRecorderLinux/Capture/Record/FramePacer.hpp"
#include "BrindleRecorderLinux/Capture/Record/PictureConverter.hpp"
#include "BrindleRecorderLinux/Capture/Record/SoundConverter.hpp"
#include "BrindleRecorderLinux/Capture/Record/VideoEncoder.hpp"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <vector>

namespace brindle::media {

/// One thread at a time. After an error only `encoders` may be used.
class MediaEncoder {
  public:
    using Sink = std::function<void(EncodedPacket)>;
    using Result = Expected<void, PlatformError>;

    /// With video settings the first track is the picture's and media time begins with the first
    /// picture that can be shown; sound from before it is left out. When none comes within
    /// `firstPictureWithin` of sound, media time begins with the first sound, and black stands
    /// until one comes. Without video settings media time begins with the first sound.
    /// `videoEncoder` as `VideoEncoder::open` takes it.
    static Expected<std::unique_ptr<MediaEncoder>, PlatformError> open(
        const std::optional<VideoOutputSettings>& video,
        const std::optional<AudioOutputSettings>& audio, std::chrono::nanoseconds fragmentInterval,
        Sink sink, const std::optional<std::string>& videoEncoder = std::nullopt);

    /// In the order of the tracks.
    [[nodiscard]] std::vector<const AVCodecContext*> encoders() const;

    /// Whether there is a picture track and no camera's picture in it yet.
    [[nodiscard]] bool awaitsPictures() const {
        return video_ && (video_->held == nullptr || video_->isBlack);
    }

    Result addPicture(const CapturedPicture& picture);
    Result addSound(CapturedSound sound);

    /// To be called often while nothing arrives. Holds the last picture while only sound goes on,
    /// and fills in silence while only pictures go on; when both stand still, so does this.
    Result passTime(Moment now);

    /// Brings both tracks to the same end and empties the encoders. The last operation.
    Result end(Moment now);

  private:
    struct Video {
        VideoEncoder encoder;
        PictureConverter converter;
        FramePacer pacer;
        Seconds firstPictureWithin{};
        AVFrame* held = nullptr; ///< the picture that is shown now
        bool isBlack = false;    ///< it stands for those that have not come yet
        Moment lastPictureAt{};
        std::vector<std::int64_t> cuts; ///< frames that a fragment starts with
    };
    struct Audio {
        AudioEncoder encoder;
        SoundConverter converter;
        AudioTimeline timeline;
        int sampleRate = 0;
        int channels = 0;
        Moment lastSoundAt{};
        std::deque<CapturedSound> early; ///< from before media time began
    };

    MediaEncoder(std::chrono::nanoseconds fragmentInterval, Sink sink)
        : schedule_{fragmentInterval}, sink_{std::move(sink)} {}

    Result beginWithoutPicture();
    Result beginAt(Moment origin);
    Result encodeHeld(FrameRange frames);
    Result placeSound(const CapturedSound& sound);
    Result writeSilence(std::int64_t samples);
    Result writeSamples(std::span<const float> samples);
    void deliverVideo(std::vector<PacketHandle> packets);
    void deliverAudio(std::vector<PacketHandle> packets);
    [[nodiscard]] std::int64_t samplesUntil(Moment moment) const;
    [[nodiscard]] std::int64_t samplesIn(std::chrono::nanoseconds length) const;

    FragmentSchedule schedule_;
    Sink sink_;
    std::optional<Video> video_;
    std::optional<Audio> audio_;
    std::optional<Moment> origin_;
};

} // namespace brindle::media
