#include "BrindleRecorderLinux/Capture/Convert/PassthroughCopy.hpp"

#include "BrindleRecorderLinux/Capture/Boxes/MovieBoxScan.hpp"
#include "BrindleRecorderLinux/Capture/Convert/MovieReader.hpp"
#include "BrindleRecorderLinux/Capture/Convert/Mp4Writer.hpp"
#include "BrindleRecorderLinux/Capture/Media/MediaError.hpp"

#include <algorithm>
#include <cerrno>
#include <limits>
#include <new>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>

namespace brindle::media {

namespace {

PlatformError unreadableMovie(std::string description) {
    return {.domain = "Movie", .code = 0, .description = std::move(description), .underlying = {}};
}

/// A small file could ask for any amount of disk.
PlatformError repeatedMedia() {
    return unreadableMovie("The movie uses the same media data more than once");
}

PlatformError errorOf(const MovieScanError& error) {
    switch (error.reason) {
    case MovieScanError::Reason::readFailed:
        return systemError(error.errorNumber);
    case MovieScanError::Reason::noMovieHeader:
        break;
    case MovieScanError::Reason::tooLarge:
        return unreadableMovie("The movie claims more samples than fit into a day");
    case MovieScanError::Reason::overlapping:
        return repeatedMedia();
    case MovieScanError::Reason::tooDamaged:
        return unreadableMovie("The movie is damaged in too many places");
    }
    return unreadableMovie("The file is not a movie, or the movie's header is damaged");
}

/// What is known of a source before its samples are read.
struct Survey {
    MovieLayout layout;
    MovieIndexSize index;
};

Expected<Survey, MovieScanError> survey(ByteSource& source) {
    Survey result;
    auto layout = scanMovie(source, [&result](const std::vector<FragmentSample>& samples) {
        for (const FragmentSample& sample : samples) {
            result.index.add(
                {.track = sample.track,
                 .size = sample.size,
                 .decodeTime = sample.decodeTime,
                 .compositionOffset = sample.compositionOffset,
                 .isSync = sample.isSync});
        }
    });
    if (!layout) {
        return unexpected{layout.error()};
    }
    result.layout = std::move(*layout);
    return result;
}

std::vector<const AVStream*> streamsWithSamples(MovieReader& reader) {
    std::vector<const AVStream*> streams;
    const AVFormatContext& format = reader.format();
    for (const AVStream* stream : std::span{format.streams, format.nb_streams}) {
        if (reader.hasSamples(stream->index)) {
            streams.push_back(stream);
        }
    }
    return streams;
}

/// 0, which puts the index at the end, when its length is not known.
std::int64_t roomForIndex(const Survey& survey, std::span<const AVStream* const> streams) {
    if (!survey.layout.fragmented) {
        return 0;
    }
    std::int64_t configurationBytes = 0;
    for (const AVStream* stream : streams) {
        configurationBytes += stream->codecpar->extradata_size;
    }
    constexpr std::int64_t leftOver = 8;
    const std::int64_t room = survey.index.upperBound(configurationBytes) + leftOver;
    return room <= std::numeric_limits<int>::max() ? room : 0;
}

} // namespace

Expected<void, PlatformError>
copyMovie(ByteSource& source, const MakeDestination& makeDestination, CopyControl& control) {
    const auto surveyed = survey(source);
    if (!surveyed) {
        return unexpected{errorOf(surveyed.error())};
    }
    const MovieLayout& layout = surveyed->layout;
    const auto reader = MovieReader::open(
        source, layout,
        layout.fragmented ? MovieView::Access::inOneGo : MovieView::Access::anywhere);
    if (!reader) {
        return unexpected{reader.error()};
    }
    const PacketHandle packet{av_packet_alloc()};
    if (!packet) {
        throw std::bad_alloc{};
    }
    auto hasSample = (*reader)->next(*packet);
    if (hasSample && !*hasSample) {
        return unexpected{unreadableMovie("The movie holds no sample that can be read")};
    }
    if (!hasSample) {
        return unexpected{std::move(hasSample.error())};
    }
    const auto streams = streamsWithSamples(**reader);
    auto destination = makeDestination();
    if (!destination) {
        return unexpected{std::move(destination.error())};
    }
    const auto writer = Mp4Writer::create(
        std::move(*destination), streams, MovieTags::of((*reader)->format()),
        roomForIndex(*surveyed, streams),
        // What stands in for damage is in no file.
        layout.standIns.empty() ? source.file() : std::nullopt);
    if (!writer) {
        return unexpected{writer.error()};
    }
    std::int64_t mediaBytes = 0;
    while (*hasSample) {
        mediaBytes += packet->size;
        if (mediaBytes > layout.end) {
            return unexpected{repeatedMedia()};
        }
        if (auto written = (*writer)->write(*packet); !written) {
            return written;
        }
        control.progress =
            static_cast<double>((*reader)->reached()) / static_cast<double>(layout.end);
        if (control.cancelled) {
            return unexpected{systemError(ECANCELED)};
        }
        hasSample = (*reader)->next(*packet);
        if (!hasSample) {
            return unexpected{std::move(hasSample.error())};
        }
    }
    auto finished = (*writer)->finish();
    if (finished) {
        control.damagedBytes = (*reader)->damagedBytesPassed();
        control.progress = 1;
    }
    return finished;
}

} // namespace brindle::media
