#include "BrindleRecorderLinux/Capture/Record/PictureFit.hpp"

#include <gtest/gtest.h>

namespace brindle::media {
namespace {

struct Case {
    const char* what;
    PictureShape picture;
    PictureRectangle expected;
};

TEST(PictureFit, KeepsTheShapeInTheMiddleOfTheFrame) {
    for (const Case& given :
         {Case{"same size", {1920, 1080}, {0, 0, 1920, 1080}},
          Case{"same shape", {1280, 720}, {0, 0, 1920, 1080}},
          Case{"same shape, larger", {3840, 2160}, {0, 0, 1920, 1080}},
          Case{"television", {640, 480}, {240, 0, 1440, 1080}},
          Case{"upright", {1080, 1920}, {656, 0, 608, 1080}},
          Case{"square", {500, 500}, {420, 0, 1080, 1080}},
          Case{"wide", {2560, 1080}, {0, 134, 1920, 810}},
          Case{"wide pixels", {720, 576, 64, 45}, {0, 0, 1920, 1080}},
          Case{"narrow pixels", {1920, 1080, 1, 2}, {480, 0, 960, 1080}},
          Case{"aspect not told", {1280, 720, 0, 0}, {0, 0, 1920, 1080}},
          Case{"aspect that is noise", {1280, 720, 1'000'000, 1}, {0, 0, 1920, 1080}},
          Case{"one pixel", {1, 1}, {420, 0, 1080, 1080}},
          Case{"a line", {16'384, 1}, {0, 538, 1920, 2}}}) {
        const PictureRectangle fit = fitPicture(given.picture, 1920, 1080);
        EXPECT_EQ(fit, given.expected)
            << given.what << ": " << fit.x << "," << fit.y << " " << fit.width << "x" << fit.height;
    }
}

} // namespace
} // namespace brindle::media
