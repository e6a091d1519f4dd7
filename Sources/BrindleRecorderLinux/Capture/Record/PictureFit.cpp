#include "BrindleRecorderLinux/Capture/Record/PictureFit.hpp"

#include <algorithm>
#include <cstdint>

namespace brindle::media {

namespace {

/// Real pixels are at most twice as wide as high or the other way round; what is far beyond is
/// noise.
constexpr int largestAspectPart = 1000;

/// The nearest even number to value/divisor, from 2 to limit.
int nearestEven(std::int64_t value, std::int64_t divisor, int limit) {
    const std::int64_t halves = (value + divisor) / (2 * divisor);
    return static_cast<int>(std::clamp<std::int64_t>(2 * halves, 2, limit));
}

} // namespace

PictureRectangle fitPicture(const PictureShape& picture, int width, int height) {
    const auto plausible = [](int part) {
        return part > 0 && part <= largestAspectPart;
    };
    const bool aspectKnown =
        plausible(picture.pixelAspectNumerator) && plausible(picture.pixelAspectDenominator);
    // The picture's proportions as shown, in 64 bits: sizes and aspects come from outside.
    const std::int64_t shownWidth =
        std::int64_t{picture.width} * (aspectKnown ? picture.pixelAspectNumerator : 1);
    const std::int64_t shownHeight =
        std::int64_t{picture.height} * (aspectKnown ? picture.pixelAspectDenominator : 1);

    PictureRectangle fit{.x = 0, .y = 0, .width = width, .height = height};
    if (shownWidth * height > shownHeight * width) {
        fit.height = nearestEven(shownHeight * width, shownWidth, height);
    } else {
        fit.width = nearestEven(shownWidth * height, shownHeight, width);
    }
    // Rounded down to even, so a remainder of two pixels goes to the right and the bottom.
    fit.x = (width - fit.width) / 4 * 2;
    fit.y = (height - fit.height) / 4 * 2;
    return fit;
}

} // namespace brindle::media
