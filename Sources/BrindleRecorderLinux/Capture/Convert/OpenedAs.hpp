// Shows a movie of ours as if it had its other opening.
#pragma once

#include "BrindleRecorderLinux/Capture/Boxes/ByteSource.hpp"
#include "BrindleRecorderLinux/Capture/Boxes/MovieOpening.hpp"

#include <algorithm>

namespace brindle::media {

/// The source must outlive this, and begin with an opening.
class OpenedAs final : public ByteSource {
  public:
    OpenedAs(ByteSource& source, const MovieOpening& opening)
        : source_{source}, opening_{opening.bytes()} {}

    [[nodiscard]] std::int64_t size() const override { return source_.size(); }
    Expected<std::size_t, int>
    readAt(std::int64_t offset, std::span<std::uint8_t> buffer) override {
        auto count = source_.readAt(offset, buffer);
        if (count && offset < static_cast<std::int64_t>(opening_.size())) {
            const auto shown = std::span{opening_}.subspan(static_cast<std::size_t>(offset));
            std::copy_n(shown.begin(), std::min(shown.size(), *count), buffer.begin());
        }
        return count;
    }

  private:
    ByteSource& source_;
    MovieOpening::Bytes opening_;
};

} // namespace brindle::media
