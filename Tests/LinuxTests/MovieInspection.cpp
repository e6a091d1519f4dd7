#include "MovieInspection.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <numbers>

namespace brindle::test {

namespace {

using nlohmann::json;
using nlohmann::literals::operator""_json_pointer;

constexpr double soundRate = 48'000;
constexpr std::size_t pictureSize = 64 * 36;

struct Box {
    std::string type;
    std::size_t content = 0; ///< where it begins
    std::size_t end = 0;
};

std::string contentsOf(const std::filesystem::path& path) {
    std::ifstream file{path, std::ios::binary};
    return {std::istreambuf_iterator<char>{file}, {}};
}

std::vector<Box> boxesIn(const std::string& bytes, std::size_t begin, std::size_t end) {
    constexpr std::size_t headerSize = 8;
    std::vector<Box> found;
    while (begin + headerSize <= end) {
        std::size_t size = 0;
        for (std::size_t index = 0; index < 4; ++index) {
            size = size * 256 + static_cast<unsigned char>(bytes[begin + index]);
        }
        if (size < headerSize || begin + size > end) {
            break;
        }
        found.push_back(
            {.type = bytes.substr(begin + 4, 4),
             .content = begin + headerSize,
             .end = begin + size});
        begin += size;
    }
    return found;
}

std::optional<json>
probed(const std::filesystem::path& movie, const std::string& kind, const std::string& what) {
    const auto text = outputOf(
        "ffprobe -v error -of json -select_streams " + kind + " " + what + " " +
        quoted(movie.string()));
    return text ? std::optional{json::parse(*text, nullptr, false)} : std::nullopt;
}

double numberIn(const json& object, const char* key) {
    return object.contains(key) ? std::strtod(object[key].get<std::string>().c_str(), nullptr) : -1;
}

} // namespace

std::optional<std::string> outputOf(const std::string& command) {
    FILE* const pipe = popen(command.c_str(), "re");
    if (pipe == nullptr) {
        return std::nullopt;
    }
    std::string output;
    std::array<char, 65'536> buffer{};
    for (std::size_t count = 1; count > 0;) {
        count = fread(buffer.data(), 1, buffer.size(), pipe);
        output.append(buffer.data(), count);
    }
    return pclose(pipe) == 0 ? std::optional{output} : std::nullopt;
}

std::map<std::string, std::string> movieTags(const std::filesystem::path& movie) {
    const auto text =
        outputOf("ffprobe -v error -of json -show_entries format_tags " + quoted(movie.string()));
    const json answer = text ? json::parse(*text, nullptr, false) : json{};
    return answer.value("/format/tags"_json_pointer, std::map<std::string, std::string>{});
}

std::string quoted(const std::string& text) {
    std::string word = "'";
    for (const char letter : text) {
        word += letter == '\'' ? std::string{"'\\''"} : std::string{letter};
    }
    return word + "'";
}

std::vector<std::string> boxes(const std::filesystem::path& movie) {
    const std::string bytes = contentsOf(movie);
    std::vector<std::string> types;
    for (const Box& box : boxesIn(bytes, 0, bytes.size())) {
        types.push_back(box.type);
    }
    return types;
}

std::vector<int> tracksPerFragment(const std::filesystem::path& movie) {
    const std::string bytes = contentsOf(movie);
    std::vector<int> counts;
    for (const Box& box : boxesIn(bytes, 0, bytes.size())) {
        if (box.type == "moof") {
            const auto inside = boxesIn(bytes, box.content, box.end);
            counts.push_back(
                static_cast<int>(std::count_if(inside.begin(), inside.end(), [](const Box& part) {
                    return part.type == "traf";
                })));
        }
    }
    return counts;
}

std::optional<TrackFacts> trackFacts(const std::filesystem::path& movie, const std::string& kind) {
    const auto answer = probed(movie, kind, "-show_streams");
    if (!answer || !answer->contains("streams") || (*answer)["streams"].empty()) {
        return std::nullopt;
    }
    const json& stream = (*answer)["streams"][0];
    const auto text = [&stream](const char* key) {
        return stream.value(key, std::string{});
    };
    return TrackFacts{
        .codec = text("codec_name"),
        .profile = text("profile"),
        .width = stream.value("width", 0),
        .height = stream.value("height", 0),
        .frameRate = text("avg_frame_rate"),
        .sampleRate = static_cast<int>(numberIn(stream, "sample_rate")),
        .channels = stream.value("channels", 0),
        .pixelFormat = text("pix_fmt"),
        .colors = text("color_range") + " " + text("color_space") + " " + text("color_transfer") +
                  " " + text("color_primaries"),
        .start = numberIn(stream, "start_time"),
        .duration = numberIn(stream, "duration"),
        .bFrames = stream.value("has_b_frames", 0)};
}

std::vector<PacketFacts> packets(const std::filesystem::path& movie, const std::string& kind) {
    const auto answer = probed(movie, kind, "-show_entries packet=pts_time,flags");
    std::vector<PacketFacts> facts;
    if (answer && answer->contains("packets")) {
        for (const json& packet : (*answer)["packets"]) {
            facts.push_back(
                {.time = numberIn(packet, "pts_time"),
                 .isKey = packet.value("flags", std::string{}).starts_with('K')});
        }
    }
    return facts;
}

std::vector<float> decodedSound(const std::filesystem::path& movie) {
    const auto bytes = outputOf(
        "ffmpeg -v error -i " + quoted(movie.string()) + " -map 0:a -f f32le -ac 1 -ar 48000 -");
    std::vector<float> samples(bytes ? bytes->size() / sizeof(float) : 0);
    if (!samples.empty()) {
        std::memcpy(samples.data(), bytes->data(), samples.size() * sizeof(float));
    }
    return samples;
}

std::vector<std::vector<unsigned char>> decodedPictures(const std::filesystem::path& movie) {
    const auto bytes = outputOf(
        "ffmpeg -v error -i " + quoted(movie.string()) +
        " -map 0:v -vsync passthrough -vf scale=64:36 -f rawvideo -pix_fmt gray -");
    std::vector<std::vector<unsigned char>> pictures;
    for (std::size_t offset = 0; bytes && offset + pictureSize <= bytes->size();
         offset += pictureSize) {
        const std::string_view picture = std::string_view{*bytes}.substr(offset, pictureSize);
        pictures.emplace_back(picture.begin(), picture.end());
    }
    return pictures;
}

double strengthOf(
    double frequency, const std::vector<float>& samples, std::size_t first, std::size_t count) {
    double real = 0;
    double imaginary = 0;
    for (std::size_t index = 0; index < count && first + index < samples.size(); ++index) {
        const double phase =
            2 * std::numbers::pi * frequency * static_cast<double>(index) / soundRate;
        real += samples[first + index] * std::cos(phase);
        imaginary += samples[first + index] * std::sin(phase);
    }
    return 2 * std::hypot(real, imaginary) / static_cast<double>(count);
}

double loudness(const std::vector<float>& samples, std::size_t first, std::size_t count) {
    double sum = 0;
    std::size_t seen = 0;
    for (; seen < count && first + seen < samples.size(); ++seen) {
        sum += double{samples[first + seen]} * samples[first + seen];
    }
    return seen > 0 ? std::sqrt(sum / static_cast<double>(seen)) : 0;
}

} // namespace brindle::test
