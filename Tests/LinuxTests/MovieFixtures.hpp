// Movies for tests: made with the ffmpeg command, damaged on purpose, looked into.
#pragma once

#include "BrindleRecorderLinux/Capture/Boxes/ByteSource.hpp"

#include <cstdint>
#include <filesystem>
#include <map>
#include <random>
#include <string>
#include <vector>

namespace brindle::test {

using Bytes = std::vector<std::uint8_t>;

/// A folder that goes with its owner.
class MovieFolder {
  public:
    MovieFolder();
    ~MovieFolder();
    MovieFolder(const MovieFolder&) = delete;
    MovieFolder& operator=(const MovieFolder&) = delete;

    [[nodiscard]] const std::filesystem::path& path() const { return path_; }
    /// A path in the folder that no other call has answered.
    [[nodiscard]] std::filesystem::path fresh(const std::string& ending);

  private:
    std::filesystem::path path_;
    int given_ = 0;
};

/// Bytes in memory that tests can watch being read.
class MemoryBytes : public media::ByteSource {
  public:
    explicit MemoryBytes(Bytes bytes) : bytes_{std::move(bytes)} {}
    [[nodiscard]] std::int64_t size() const override {
        return static_cast<std::int64_t>(bytes_.size());
    }
    Expected<std::size_t, int> readAt(std::int64_t offset, std::span<std::uint8_t> buffer) override;

  private:
    Bytes bytes_;
};

Bytes readFile(const std::filesystem::path& path);
void writeFile(const std::filesystem::path& path, const Bytes& bytes);

/// Runs a shell command. Answers what it printed, its errors included, preceded by "exit N: " when
/// it failed; so nothing when it was content.
std::string run(const std::string& command);

/// A movie of 30 s, 30 pictures a second with a key frame every 2 s and a tone, one fragment every
/// 5 s, as recordings are. `extraOptions` are the command's, for the output.
void makeRecording(const std::filesystem::path& path, const std::string& extraOptions = {});

/// What `makeRecording` makes, with the opening that recordings of ours have.
Bytes recordingOfOurs(const std::string& extraOptions = {});

struct Packet {
    int track = 0;
    std::int64_t position = 0; ///< in the file
    std::int64_t size = 0;
    double decodeTime = 0; ///< seconds
    double start = 0;      ///< seconds
    bool isKey = false;
    std::size_t hash = 0; ///< of the content
};

/// A track's packets in order of decode time.
using Packets = std::vector<Packet>;

/// Every packet of every track, as the container library hands them out.
std::vector<Packets> readPackets(const std::filesystem::path& movie);

/// How long each track is by the tables of the movie, in seconds.
std::vector<double> trackDurations(const std::filesystem::path& movie);

struct TopLevelBox {
    std::string type;
    std::int64_t offset = 0;
    std::int64_t size = 0;
    [[nodiscard]] std::int64_t end() const { return offset + size; }
};

std::vector<TopLevelBox> topLevelBoxes(const Bytes& movie);

/// A number as boxes hold it, the highest of its bytes first.
Bytes bigEndian(std::uint64_t value, std::size_t size);

/// The movie with other contents in the boxes of those types, at whatever depth of the header they
/// stand. Right only where the header follows the media data, which stays where it is.
Bytes withBoxContents(const Bytes& movie, const std::map<std::string, Bytes>& contents);

/// Random, but the same for the same BRINDLE_SEED, which is printed.
std::mt19937_64 seededRandom();

} // namespace brindle::test
