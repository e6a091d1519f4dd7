// Where a picture goes in a frame of another shape.
#pragma once

namespace brindle::media {

/// Pixels; all four numbers are even, as pictures with halved colour resolution need them.
struct PictureRectangle {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    friend bool operator==(const PictureRectangle&, const PictureRectangle&) = default;
};

/// The shape of a picture: its size in pixels and how wide one pixel is for its height.
struct PictureShape {
    int width = 0;
    int height = 0;
    int pixelAspectNumerator = 1; ///< both 0 where the camera does not say: square pixels
    int pixelAspectDenominator = 1;
};

/// The largest rectangle of the picture's shape in the middle of a frame of `width` by `height`
/// pixels (both even). The picture's size is more than zero.
PictureRectangle fitPicture(const PictureShape& picture, int width, int height);

} // namespace brindle::media
