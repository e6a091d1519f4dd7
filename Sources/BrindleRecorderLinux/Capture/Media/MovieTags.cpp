#include "BrindleRecorderLinux/Capture/Media/MovieTags.hpp"

#include "BrindleRecorderCore/Base/InternetDateTime.hpp"
#include "BrindleRecorderLinux/CaptureLink/CaptureLaunch.hpp"

#include <algorithm>
#include <chrono>
#include <string_view>

namespace brindle::media {

namespace {

constexpr const char* creationTimeKey = "creation_time";
constexpr const char* programKey = "encoder";
constexpr const char* programKeyOfMp4 = "encoding_tool"; // when it is written

/// The index of a conversion has room for so much.
constexpr std::size_t longestTag = 64;

std::string plainText(const AVFormatContext& movie, const char* key) {
    const AVDictionaryEntry* const entry = av_dict_get(movie.metadata, key, nullptr, 0);
    const std::string_view text = entry != nullptr ? entry->value : "";
    const bool isPlain =
        std::ranges::all_of(text, [](char letter) { return letter >= ' ' && letter <= '~'; });
    return isPlain && text.size() <= longestTag ? std::string{text} : std::string{};
}

void set(AVFormatContext& movie, const char* key, const std::string& text) {
    // Without a text the entry goes.
    av_dict_set(&movie.metadata, key, text.empty() ? nullptr : text.c_str(), 0);
}

} // namespace

MovieTags MovieTags::ofNewMovie() {
    return {
        .creationTime = InternetDateTime::format(std::chrono::system_clock::now(), TimeZone::utc()),
        .program = "Brindle Recorder " + capture::programVersion()};
}

MovieTags MovieTags::of(const AVFormatContext& movie) {
    return {
        .creationTime = plainText(movie, creationTimeKey), .program = plainText(movie, programKey)};
}

int writeHeader(AVFormatContext& movie, const MovieTags& tags, Options& options) {
    // This names the library as the program.
    if (const int result = avformat_init_output(&movie, options.get()); result < 0) {
        return result;
    }
    set(movie, creationTimeKey, tags.creationTime);
    set(movie, programKey, tags.program);
    set(movie, programKeyOfMp4, tags.program);
    return avformat_write_header(&movie, options.get());
}

} // namespace brindle::media
