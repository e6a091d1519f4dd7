#include "BrindleRecorderLinux/Capture/Streams/MicrophoneFormats.hpp"

#include <spa/param/audio/format-utils.h>
#include <spa/param/audio/raw-utils.h>
#include <spa/param/param.h>
#include <spa/pod/builder.h>

#include <algorithm>
#include <array>

namespace brindle::pipewire {

namespace {

struct SampleFormatName {
    std::uint32_t spa;
    AVSampleFormat ffmpeg;
};

constexpr std::array sampleFormats{
    SampleFormatName{SPA_AUDIO_FORMAT_F32, AV_SAMPLE_FMT_FLT},
    SampleFormatName{SPA_AUDIO_FORMAT_F32P, AV_SAMPLE_FMT_FLTP},
    SampleFormatName{SPA_AUDIO_FORMAT_F64, AV_SAMPLE_FMT_DBL},
    SampleFormatName{SPA_AUDIO_FORMAT_F64P, AV_SAMPLE_FMT_DBLP},
    SampleFormatName{SPA_AUDIO_FORMAT_S32, AV_SAMPLE_FMT_S32},
    SampleFormatName{SPA_AUDIO_FORMAT_S32P, AV_SAMPLE_FMT_S32P},
    SampleFormatName{SPA_AUDIO_FORMAT_S16, AV_SAMPLE_FMT_S16},
    SampleFormatName{SPA_AUDIO_FORMAT_S16P, AV_SAMPLE_FMT_S16P},
    SampleFormatName{SPA_AUDIO_FORMAT_U8, AV_SAMPLE_FMT_U8},
    SampleFormatName{SPA_AUDIO_FORMAT_U8P, AV_SAMPLE_FMT_U8P}};

constexpr std::uint32_t lowestRate = 4000;
constexpr std::uint32_t highestRate = 768'000;
constexpr std::uint32_t mostChannels = 64;

} // namespace

std::vector<const spa_pod*>
microphoneFormatRequest(int sampleRate, int channels, std::vector<std::uint8_t>& buffer) {
    constexpr std::size_t roomForAll = 4096;
    buffer.assign(roomForAll, 0);
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, buffer.data(), static_cast<std::uint32_t>(buffer.size()));

    spa_audio_info_raw wanted{};
    wanted.format = SPA_AUDIO_FORMAT_F32;
    wanted.rate = static_cast<std::uint32_t>(sampleRate);
    wanted.channels = static_cast<std::uint32_t>(channels);
    if (channels == 1) {
        wanted.position[0] = SPA_AUDIO_CHANNEL_MONO;
    } else {
        wanted.flags = SPA_AUDIO_FLAG_UNPOSITIONED;
    }
    std::vector<const spa_pod*> pods{
        spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &wanted)};

    spa_pod_frame object{};
    spa_pod_frame choice{};
    spa_pod_builder_push_object(&builder, &object, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
    spa_pod_builder_add(
        &builder, SPA_FORMAT_mediaType, SPA_POD_Id(SPA_MEDIA_TYPE_audio), SPA_FORMAT_mediaSubtype,
        SPA_POD_Id(SPA_MEDIA_SUBTYPE_raw), 0);
    spa_pod_builder_prop(&builder, SPA_FORMAT_AUDIO_format, 0);
    spa_pod_builder_push_choice(&builder, &choice, SPA_CHOICE_Enum, 0);
    spa_pod_builder_id(&builder, sampleFormats.front().spa);
    for (const SampleFormatName& format : sampleFormats) {
        spa_pod_builder_id(&builder, format.spa);
    }
    spa_pod_builder_pop(&builder, &choice);
    spa_pod_builder_add(
        &builder, SPA_FORMAT_AUDIO_rate,
        SPA_POD_CHOICE_RANGE_Int(
            sampleRate, static_cast<int>(lowestRate), static_cast<int>(highestRate)),
        SPA_FORMAT_AUDIO_channels,
        SPA_POD_CHOICE_RANGE_Int(channels, 1, static_cast<int>(mostChannels)), 0);
    void* const pod = spa_pod_builder_pop(&builder, &object);
    pods.push_back(static_cast<const spa_pod*>(pod));
    return pods;
}

std::optional<media::SoundFormat> agreedSoundFormat(const spa_pod* format) {
    std::uint32_t type = 0;
    std::uint32_t subtype = 0;
    spa_audio_info_raw raw{};
    if (format == nullptr || spa_format_parse(format, &type, &subtype) < 0 ||
        type != SPA_MEDIA_TYPE_audio || subtype != SPA_MEDIA_SUBTYPE_raw ||
        spa_format_audio_raw_parse(format, &raw) < 0) {
        return std::nullopt;
    }
    const auto* const name = std::find_if(
        sampleFormats.begin(), sampleFormats.end(),
        [&raw](const SampleFormatName& candidate) { return candidate.spa == raw.format; });
    if (name == sampleFormats.end() || raw.rate < lowestRate || raw.rate > highestRate ||
        raw.channels == 0 || raw.channels > mostChannels) {
        return std::nullopt;
    }
    return media::SoundFormat{
        .sampleFormat = name->ffmpeg,
        .sampleRate = static_cast<int>(raw.rate),
        .channels = static_cast<int>(raw.channels)};
}

} // namespace brindle::pipewire
