// Shows the media library the readable part of a movie.
#pragma once

#include "BrindleRecorderLinux/Capture/Boxes/ByteSource.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/MovieBoxScan.hpp"
#include "BrindleRecorderLinux/Capture/Media/Handles.hpp"

#include <cstdint>
#include <span>

namespace brindle::media {

/// The bytes of the source up to the layout's end, with the headers of its stand-in boxes laid over
/// the damaged stretches. Source and layout must outlive the view. One thread at a time.
class MovieView {
  public:
    enum class Access {
        inOneGo, ///< the library reads the samples in the order of their places
        anywhere ///< the library may go back and forth
    };

    MovieView(ByteSource& source, const MovieLayout& layout, Access access);
    MovieView(const MovieView&) = delete;
    MovieView& operator=(const MovieView&) = delete;

    [[nodiscard]] AVIOContext* io() { return io_.get(); }
    /// The furthest byte that has been read.
    [[nodiscard]] std::int64_t reached() const { return reached_; }
    /// Why reading the source failed (`errno`); 0 when it has not. The library does not always
    /// hand such an error through.
    [[nodiscard]] int readError() const { return readError_; }

  private:
    static int read(void* view, std::uint8_t* buffer, int size);
    static std::int64_t seek(void* view, std::int64_t offset, int whence);
    int readNext(std::span<std::uint8_t> buffer);
    void layStandInsOver(std::span<std::uint8_t> bytes) const;

    ByteSource& source_;
    const MovieLayout& layout_;
    std::int64_t position_ = 0;
    std::int64_t reached_ = 0;
    int readError_ = 0;
    IoHandle io_;
};

} // namespace brindle::media
