// Looks into finished movies with the ffmpeg programs and by reading the boxes.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace brindle::test {

/// Runs a shell command and returns what it prints; nothing when it fails.
std::optional<std::string> outputOf(const std::string& command);

/// A text as one word of a shell command.
std::string quoted(const std::string& text);

/// The types of the movie's boxes on the top level, in order; a damaged one ends the list.
std::vector<std::string> boxes(const std::filesystem::path& movie);

/// What the movie says of itself as a whole, by the names that ffprobe gives.
std::map<std::string, std::string> movieTags(const std::filesystem::path& movie);

/// For each fragment, how many tracks have samples in it.
std::vector<int> tracksPerFragment(const std::filesystem::path& movie);

struct TrackFacts {
    std::string codec;
    std::string profile;
    int width = 0;
    int height = 0;
    std::string frameRate; ///< as a fraction
    int sampleRate = 0;
    int channels = 0;
    std::string pixelFormat;
    std::string colors; ///< range, matrix, transfer, primaries
    double start = 0;   ///< seconds
    double duration = 0;
    int bFrames = 0;
};

/// Nothing when the movie has no track of that kind ("v" or "a") or cannot be read.
std::optional<TrackFacts> trackFacts(const std::filesystem::path& movie, const std::string& kind);

struct PacketFacts {
    double time = 0; ///< seconds
    bool isKey = false;
};
std::vector<PacketFacts> packets(const std::filesystem::path& movie, const std::string& kind);

/// The first channel of the sound from the movie's beginning on, at 48 kHz; a hole in the track's
/// times is no hole here.
std::vector<float> decodedSound(const std::filesystem::path& movie);

/// Every frame as a small grey picture of 64 by 36 pixels.
std::vector<std::vector<unsigned char>> decodedPictures(const std::filesystem::path& movie);

/// How strong one frequency is in the samples: about the amplitude of a sine of that frequency.
double strengthOf(
    double frequency, const std::vector<float>& samples, std::size_t first, std::size_t count);

/// The root of the mean square.
double loudness(const std::vector<float>& samples, std::size_t first, std::size_t count);

} // namespace brindle::test
