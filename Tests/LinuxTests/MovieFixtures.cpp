#include "LinuxTests/MovieFixtures.hpp"

#include "BrindleRecorderLinux/Capture/Boxes/MovieOpening.hpp"
#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <string_view>

#include <sys/wait.h>

namespace brindle::test {

MovieFolder::MovieFolder() {
    std::string name = (std::filesystem::temp_directory_path() / "brindle-movies.XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::system_error{errno, std::generic_category(), name};
    }
    path_ = name;
}

MovieFolder::~MovieFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path_, ignored);
}

std::filesystem::path MovieFolder::fresh(const std::string& ending) {
    return path_ / (std::to_string(++given_) + ending);
}

Expected<std::size_t, int>
MemoryBytes::readAt(std::int64_t offset, std::span<std::uint8_t> buffer) {
    const auto start = std::min(static_cast<std::size_t>(offset), bytes_.size());
    const std::size_t count = std::min(buffer.size(), bytes_.size() - start);
    std::copy_n(bytes_.begin() + static_cast<std::ptrdiff_t>(start), count, buffer.begin());
    return count;
}

Bytes readFile(const std::filesystem::path& path) {
    std::ifstream file{path, std::ios::binary};
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>{file}, {}};
}

void writeFile(const std::filesystem::path& path, const Bytes& bytes) {
    std::ofstream file{path, std::ios::binary | std::ios::trunc};
    std::copy(bytes.begin(), bytes.end(), std::ostreambuf_iterator<char>{file});
    EXPECT_TRUE(file.flush()) << path;
}

std::string run(const std::string& command) {
    FILE* const pipe = popen(("( " + command + " ) 2>&1 </dev/null").c_str(), "r");
    if (pipe == nullptr) {
        return "cannot run " + command;
    }
    std::string output;
    std::array<char, 4096> buffer{};
    for (std::size_t count = 0; (count = fread(buffer.data(), 1, buffer.size(), pipe)) > 0;) {
        output.append(buffer.data(), count);
    }
    const int status = pclose(pipe);
    return status == 0 ? output : "exit " + std::to_string(WEXITSTATUS(status)) + ": " + output;
}

void makeRecording(const std::filesystem::path& path, const std::string& extraOptions) {
    const std::string layout = extraOptions.find("-movflags") == std::string::npos
                                   ? "-movflags empty_moov+default_base_moof "
                                     "-frag_duration 5000000 "
                                   : "";
    ASSERT_EQ(
        run("ffmpeg -nostdin -v error -f lavfi -i testsrc2=size=320x180:rate=30 "
            "-f lavfi -i sine=frequency=440:sample_rate=48000 -t 30 -c:v libx264 "
            "-preset ultrafast -b:v 1500k -bf 0 -g 60 -pix_fmt yuv420p -c:a aac -b:a 96k " +
            layout + extraOptions + " " + path.string()),
        "");
}

Bytes recordingOfOurs(const std::string& extraOptions) {
    MovieFolder folder;
    const auto path = folder.fresh(".mov");
    // The index of the fragments would name places in front of the opening.
    makeRecording(
        path, "-movflags empty_moov+default_base_moof+skip_trailer -frag_duration 5000000 " +
                  extraOptions);
    const Bytes movie = readFile(path);
    const media::MovieOpening opening{.roomSize = media::leastMovieRoom, .index = std::nullopt};
    const auto written = opening.bytes();
    Bytes ours{written.begin(), written.end()};
    ours.insert(ours.end(), movie.begin() + topLevelBoxes(movie).at(0).end(), movie.end());
    return ours;
}

namespace {

struct InputCloser {
    void operator()(AVFormatContext* format) const { avformat_close_input(&format); }
};
using InputHandle = std::unique_ptr<AVFormatContext, InputCloser>;

/// Nothing when it cannot be opened.
InputHandle openMovie(const std::filesystem::path& movie) {
    AVFormatContext* opened = nullptr;
    avformat_open_input(&opened, movie.c_str(), nullptr, nullptr);
    return InputHandle{opened};
}

} // namespace

std::vector<double> trackDurations(const std::filesystem::path& movie) {
    const InputHandle format = openMovie(movie);
    std::vector<double> durations;
    for (unsigned track = 0; format && track < format->nb_streams; ++track) {
        const AVStream* stream = format->streams[track];
        durations.push_back(static_cast<double>(stream->duration) * av_q2d(stream->time_base));
    }
    return durations;
}

std::vector<Packets> readPackets(const std::filesystem::path& movie) {
    const InputHandle format = openMovie(movie);
    if (!format) {
        return {};
    }
    std::vector<Packets> tracks(format->nb_streams);
    const media::PacketHandle packet{av_packet_alloc()};
    while (av_read_frame(format.get(), packet.get()) >= 0) {
        const double tick = av_q2d(format->streams[packet->stream_index]->time_base);
        const std::string_view content{
            static_cast<const char*>(static_cast<const void*>(packet->data)),
            static_cast<std::size_t>(packet->size)};
        tracks[static_cast<std::size_t>(packet->stream_index)].push_back(
            {.track = packet->stream_index,
             .position = packet->pos,
             .size = packet->size,
             .decodeTime = static_cast<double>(packet->dts) * tick,
             .start = static_cast<double>(packet->pts) * tick,
             .isKey = (packet->flags & AV_PKT_FLAG_KEY) != 0,
             .hash = std::hash<std::string_view>{}(content)});
        av_packet_unref(packet.get());
    }
    return tracks;
}

std::vector<TopLevelBox> topLevelBoxes(const Bytes& movie) {
    std::vector<TopLevelBox> boxes;
    const auto number = [&](std::size_t offset, std::size_t size) {
        std::uint64_t value = 0;
        for (std::size_t byte = 0; byte < size; ++byte) {
            value = value << 8U | movie.at(offset + byte);
        }
        return value;
    };
    for (std::size_t offset = 0; offset < movie.size();) {
        std::uint64_t size = number(offset, 4);
        std::string type{
            movie.begin() + static_cast<std::ptrdiff_t>(offset + 4),
            movie.begin() + static_cast<std::ptrdiff_t>(offset + 8)};
        if (size == 1) {
            size = number(offset + 8, 8);
        }
        if (size < 8) {
            ADD_FAILURE() << "an illegal box at " << offset;
            break;
        }
        boxes.push_back(
            {std::move(type), static_cast<std::int64_t>(offset), static_cast<std::int64_t>(size)});
        offset += size;
    }
    return boxes;
}

Bytes bigEndian(std::uint64_t value, std::size_t size) {
    Bytes bytes(size);
    for (auto byte = bytes.rbegin(); byte != bytes.rend(); ++byte, value >>= 8U) {
        *byte = static_cast<std::uint8_t>(value & 0xFFU);
    }
    return bytes;
}

Bytes withBoxContents(const Bytes& movie, const std::map<std::string, Bytes>& contents) {
    constexpr std::array<std::string_view, 6> containers{"moov", "trak", "edts",
                                                         "mdia", "minf", "stbl"};
    Bytes result;
    for (const TopLevelBox& box : topLevelBoxes(movie)) {
        const auto begin = movie.begin() + box.offset;
        Bytes content{begin + 8, begin + box.size};
        if (const auto other = contents.find(box.type); other != contents.end()) {
            content = other->second;
        } else if (std::ranges::find(containers, box.type) != containers.end()) {
            content = withBoxContents(content, contents);
        }
        const Bytes size = bigEndian(content.size() + 8, 4);
        result.insert(result.end(), size.begin(), size.end());
        result.insert(result.end(), box.type.begin(), box.type.end());
        result.insert(result.end(), content.begin(), content.end());
    }
    return result;
}

std::mt19937_64 seededRandom() {
    const char* const given = std::getenv("BRINDLE_SEED");
    const std::uint64_t seed = given != nullptr ? std::stoull(given) : std::random_device{}();
    std::cout << "replay with BRINDLE_SEED=" << seed << '\n';
    return std::mt19937_64{seed};
}

} // namespace brindle::test
