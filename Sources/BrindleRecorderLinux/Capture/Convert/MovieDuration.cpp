#include "BrindleRecorderLinux/Capture/Convert/MovieDuration.hpp"

#include "BrindleRecorderLinux/Capture/Boxes/MovieBoxScan.hpp"
#include "BrindleRecorderLinux/Capture/Convert/MovieReader.hpp"

#include <algorithm>
#include <new>

namespace brindle::media {

namespace {

/// When a sample is shown.
struct Presentation {
    Seconds start;
    Seconds end;
};

Presentation presentationOf(MovieReader& reader, const AVPacket& packet) {
    const double tick = av_q2d(reader.format().streams[packet.stream_index]->time_base);
    return {
        Seconds{static_cast<double>(packet.pts) * tick},
        Seconds{
            static_cast<double>(packet.pts + std::max<std::int64_t>(packet.duration, 0)) * tick}};
}

/// The start of the earliest readable sample, but not before the movie's own beginning.
std::optional<Seconds> firstStart(MovieReader& reader, AVPacket& packet) {
    // The library hands out picture and sound at most a second apart from one another.
    constexpr Seconds disorder{2};
    std::optional<Seconds> first;
    while (reader.next(packet).value_or(false)) {
        const Seconds start = std::max(presentationOf(reader, packet).start, Seconds{0});
        if (first && start > *first + disorder) {
            break;
        }
        first = std::min(first.value_or(start), start);
    }
    return first;
}

std::optional<Seconds> lastEnd(MovieReader& reader, AVPacket& packet) {
    std::optional<Seconds> last;
    while (reader.next(packet).value_or(false)) {
        const Seconds end = presentationOf(reader, packet).end;
        last = std::max(last.value_or(end), end);
    }
    return last;
}

} // namespace

std::optional<Seconds> readableDuration(ByteSource& source) {
    const auto layout = scanMovie(source);
    if (!layout) {
        return std::nullopt;
    }
    const auto reader = MovieReader::open(source, *layout, MovieView::Access::anywhere);
    if (!reader) {
        return std::nullopt;
    }
    const PacketHandle packet{av_packet_alloc()};
    if (!packet) {
        throw std::bad_alloc{};
    }
    const auto first = firstStart(**reader, *packet);
    if (!first) {
        return std::nullopt;
    }
    // The last sample is near the end as a rule. Where the end is damaged, look ever further back:
    // no more than a few times what is damaged is read.
    const Seconds listed = (*reader)->listedDuration();
    for (Seconds back{10}; back < listed; back *= 4) {
        if (!(*reader)->seek(listed - back)) {
            break;
        }
        if (const auto last = lastEnd(**reader, *packet)) {
            return *last - *first;
        }
    }
    if (!(*reader)->seek(Seconds{0})) {
        return std::nullopt;
    }
    const auto last = lastEnd(**reader, *packet);
    return last ? std::optional{*last - *first} : std::nullopt;
}

} // namespace brindle::media
