#include "BrindleRecorderLinux/Capture/Record/MediaEncoder.hpp"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <utility>

extern "C" {
#include <libavutil/log.h>
}

namespace brindle::media {

namespace {

/// A picture may be this late before its predecessor is held in its place.
constexpr std::chrono::milliseconds holdAfter{500};
/// A track that delivered nothing for so long counts as standing still.
constexpr std::chrono::seconds standstill{1};
/// Sound is always a little behind; so much less of it than of pictures is no hole at the end.
constexpr std::chrono::milliseconds usualLateness{100};

/// What stands in the place of pictures that have not come yet.
CapturedPicture blackPicture(Moment time) {
    constexpr int size = 16;
    constexpr std::uint8_t black = 16;
    constexpr std::uint8_t colorless = 128;
    CapturedPicture picture;
    picture.time = time;
    picture.format.width = size;
    picture.format.height = size;
    picture.format.pixelFormat = AV_PIX_FMT_YUV420P;
    picture.strides = {size, size / 2, size / 2};
    picture.bytes.assign(std::size_t{size} * size, black);
    picture.bytes.insert(picture.bytes.end(), std::size_t{size} * size / 2, colorless);
    return picture;
}

} // namespace

Expected<std::unique_ptr<MediaEncoder>, PlatformError> MediaEncoder::open(
    const std::optional<VideoOutputSettings>& video,
    const std::optional<AudioOutputSettings>& audio, std::chrono::nanoseconds fragmentInterval,
    Sink sink, const std::optional<std::string>& videoEncoder) {
    // What goes wrong comes back as values; the library would also tell it on our standard error,
    // with every damaged picture of a camera and the story of every encoder.
    av_log_set_level(AV_LOG_FATAL);
    // The constructor is private, which make_unique cannot reach.
    std::unique_ptr<MediaEncoder> encoder{new MediaEncoder{fragmentInterval, std::move(sink)}};
    if (video) {
        auto opened = VideoEncoder::open(*video, videoEncoder);
        if (!opened) {
            return unexpected{opened.error()};
        }
        encoder->video_.emplace(Video{
            .encoder = std::move(*opened),
            .converter = PictureConverter{video->width, video->height},
            .pacer = FramePacer{video->expectedSourceFrameRate},
            .firstPictureWithin = video->firstPictureWithin,
            .cuts = {}});
    }
    if (audio) {
        auto opened = AudioEncoder::open(*audio);
        if (!opened) {
            return unexpected{opened.error()};
        }
        encoder->audio_.emplace(Audio{
            .encoder = std::move(*opened),
            .converter = SoundConverter{audio->sampleRate, audio->numberOfChannels},
            .timeline = AudioTimeline{audio->sampleRate},
            .sampleRate = audio->sampleRate,
            .channels = audio->numberOfChannels,
            .early = {}});
    }
    return encoder;
}

std::vector<const AVCodecContext*> MediaEncoder::encoders() const {
    std::vector<const AVCodecContext*> contexts;
    if (video_) {
        contexts.push_back(&video_->encoder.context());
    }
    if (audio_) {
        contexts.push_back(&audio_->encoder.context());
    }
    return contexts;
}

MediaEncoder::Result MediaEncoder::addPicture(const CapturedPicture& picture) {
    if (!video_) {
        return {};
    }
    Video& video = *video_;
    if (video.held == nullptr) {
        video.held = video.converter.convert(picture);
        if (video.held == nullptr) {
            return {};
        }
        video.lastPictureAt = picture.time;
        return beginAt(picture.time);
    }
    const FramePacer::Decision decision = video.pacer.pictureAt(picture.time - *origin_);
    // Before the conversion, which takes the held picture's place.
    if (auto repeated = encodeHeld(decision.repeated); !repeated) {
        return repeated;
    }
    if (AVFrame* fresh = video.converter.convert(picture); fresh != nullptr) {
        video.held = fresh;
        video.isBlack = false;
        video.lastPictureAt = std::max(video.lastPictureAt, picture.time);
    }
    return decision.shown ? encodeHeld({.first = *decision.shown, .count = 1}) : Result{};
}

MediaEncoder::Result MediaEncoder::addSound(CapturedSound sound) {
    if (!audio_ || !isComplete(sound)) {
        return {};
    }
    audio_->lastSoundAt = std::max(audio_->lastSoundAt, sound.time);
    if (origin_) {
        return placeSound(sound);
    }
    if (!video_) {
        if (auto begun = beginAt(sound.time); !begun) {
            return begun;
        }
        return placeSound(sound);
    }
    auto& early = audio_->early;
    early.push_back(std::move(sound));
    return early.back().time - early.front().time > video_->firstPictureWithin
               ? beginWithoutPicture()
               : Result{};
}

MediaEncoder::Result MediaEncoder::passTime(Moment now) {
    if (!origin_ || !video_ || !audio_) {
        return {};
    }
    if (now - audio_->lastSoundAt < standstill) {
        const FrameRange held = video_->pacer.holdUntil(now - holdAfter - *origin_);
        if (auto encoded = encodeHeld(held); !encoded) {
            return encoded;
        }
    }
    const bool soundStandsStill = now - audio_->lastSoundAt >= standstill;
    if (soundStandsStill && now - video_->lastPictureAt < standstill) {
        return writeSilence(audio_->timeline.missingBefore(samplesUntil(now - standstill)));
    }
    return {};
}

MediaEncoder::Result MediaEncoder::end(Moment now) {
    if (!origin_ && audio_ && !audio_->early.empty()) {
        if (auto begun = beginWithoutPicture(); !begun) {
            return begun;
        }
    }
    if (video_ && audio_) {
        // What neither device has delivered is not made up: the movie ends with the last that came.
        // Some may have come behind `now`, while whoever asked for the end was kept from saying so.
        const Moment last = std::max(video_->lastPictureAt, audio_->lastSoundAt);
        now = now - last >= standstill ? last : std::max(now, last);
    }
    if (origin_ && video_) {
        if (auto held = encodeHeld(video_->pacer.holdUntil(now - *origin_)); !held) {
            return held;
        }
    }
    if (origin_ && video_ && audio_) {
        const std::int64_t missing = audio_->timeline.missingBefore(samplesUntil(now));
        const auto usual = std::int64_t{audio_->sampleRate} * usualLateness.count() / 1000;
        if (missing > usual) {
            if (auto filled = writeSilence(missing); !filled) {
                return filled;
            }
        }
    }
    if (video_) {
        auto packets = video_->encoder.flush();
        if (!packets) {
            return unexpected{packets.error()};
        }
        deliverVideo(std::move(*packets));
    }
    if (audio_) {
        auto packets = audio_->encoder.flush();
        if (!packets) {
            return unexpected{packets.error()};
        }
        deliverAudio(std::move(*packets));
    }
    return {};
}

MediaEncoder::Result MediaEncoder::beginWithoutPicture() {
    const Moment origin = audio_->early.front().time;
    video_->held = video_->converter.convert(blackPicture(origin));
    video_->isBlack = true;
    return beginAt(origin);
}

MediaEncoder::Result MediaEncoder::beginAt(Moment origin) {
    origin_ = origin;
    if (video_) {
        static_cast<void>(video_->pacer.pictureAt(std::chrono::nanoseconds{0}));
        if (auto encoded = encodeHeld({.first = 0, .count = 1}); !encoded) {
            return encoded;
        }
    }
    if (!audio_) {
        return {};
    }
    for (const CapturedSound& sound : std::exchange(audio_->early, {})) {
        if (auto placed = placeSound(sound); !placed) {
            return placed;
        }
    }
    return {};
}

MediaEncoder::Result MediaEncoder::encodeHeld(FrameRange frames) {
    for (std::int64_t frame = frames.first; frame < frames.first + frames.count; ++frame) {
        const auto time = video_->pacer.timeOf(frame);
        const bool startsFragment = schedule_.isDue(time);
        if (startsFragment) {
            schedule_.endedAt(time);
            video_->cuts.push_back(frame);
        }
        auto packets = video_->encoder.encode(*video_->held, frame, startsFragment);
        if (!packets) {
            return unexpected{packets.error()};
        }
        deliverVideo(std::move(*packets));
    }
    return {};
}

MediaEncoder::Result MediaEncoder::placeSound(const CapturedSound& sound) {
    Audio& audio = *audio_;
    const std::vector<float> samples = audio.converter.convert(sound);
    const auto channels = static_cast<std::size_t>(audio.channels);
    const auto count = static_cast<std::int64_t>(samples.size() / channels);
    const AudioTimeline::Placement placement =
        audio.timeline.place(samplesUntil(sound.time), count, samplesIn(sound.lostBefore));
    if (placement.silenceBefore > 0) {
        if (auto filled = writeSilence(placement.silenceBefore); !filled) {
            return filled;
        }
        // Placed by this very block, which needs no second look.
        audio.timeline.resume();
    }
    audio.converter.setStretch(placement.stretch);
    audio.timeline.wrote(count - placement.skipped);
    return writeSamples(
        std::span{samples}.subspan(static_cast<std::size_t>(placement.skipped) * channels));
}

MediaEncoder::Result MediaEncoder::writeSilence(std::int64_t samples) {
    // In portions, for a hole may be long.
    const std::vector<float> second(
        static_cast<std::size_t>(audio_->sampleRate) * static_cast<std::size_t>(audio_->channels));
    while (samples > 0) {
        const std::int64_t count = std::min<std::int64_t>(samples, audio_->sampleRate);
        const auto size =
            static_cast<std::size_t>(count) * static_cast<std::size_t>(audio_->channels);
        if (auto written = writeSamples(std::span{second}.first(size)); !written) {
            return written;
        }
        audio_->timeline.wroteSilence(count);
        samples -= count;
    }
    return {};
}

MediaEncoder::Result MediaEncoder::writeSamples(std::span<const float> samples) {
    auto packets = audio_->encoder.encode(samples);
    if (!packets) {
        return unexpected{packets.error()};
    }
    deliverAudio(std::move(*packets));
    return {};
}

void MediaEncoder::deliverVideo(std::vector<PacketHandle> packets) {
    for (PacketHandle& packet : packets) {
        const std::int64_t frame = packet->pts;
        packet->duration = 1;
        const bool startsFragment = std::erase(video_->cuts, frame) > 0;
        sink_(EncodedPacket{
            .track = 0,
            .packet = std::move(packet),
            .start = video_->pacer.timeOf(frame),
            .end = video_->pacer.timeOf(frame + 1),
            .startsFragment = startsFragment});
    }
}

void MediaEncoder::deliverAudio(std::vector<PacketHandle> packets) {
    const auto timeOf = [this](std::int64_t sample) {
        constexpr std::int64_t second = std::chrono::nanoseconds{std::chrono::seconds{1}}.count();
        return std::chrono::nanoseconds{
            sample / audio_->sampleRate * second +
            sample % audio_->sampleRate * second / audio_->sampleRate};
    };
    for (PacketHandle& packet : packets) {
        const auto start = timeOf(packet->pts);
        const auto end = timeOf(packet->pts + packet->duration);
        const bool startsFragment = !video_ && schedule_.isDue(start);
        if (startsFragment) {
            schedule_.endedAt(start);
        }
        sink_(EncodedPacket{
            .track = video_ ? std::size_t{1} : std::size_t{0},
            .packet = std::move(packet),
            .start = start,
            .end = end,
            .startsFragment = startsFragment});
    }
}

std::int64_t MediaEncoder::samplesUntil(Moment moment) const {
    return samplesIn(moment - *origin_);
}

std::int64_t MediaEncoder::samplesIn(std::chrono::nanoseconds length) const {
    return std::llround(std::chrono::duration<double>{length}.count() * audio_->sampleRate);
}

} // namespace brindle::media
