#include "BrindleRecorderLinux/Capture/Record/FramePacer.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

namespace brindle::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::nanoseconds;
using std::chrono::seconds;

/// Which picture each frame shows when pictures are taken at these moments.
std::vector<int> shownPictures(FramePacer& pacer, const std::vector<nanoseconds>& moments) {
    std::vector<int> shown;
    for (std::size_t picture = 0; picture < moments.size(); ++picture) {
        const FramePacer::Decision decision = pacer.pictureAt(moments[picture]);
        for (std::int64_t frame = 0; frame < decision.repeated.count; ++frame) {
            shown.push_back(static_cast<int>(picture) - 1);
        }
        if (decision.shown) {
            shown.push_back(static_cast<int>(picture));
        }
    }
    return shown;
}

std::vector<nanoseconds> everySoOften(double framesPerSecond, int count, double shakenBy = 0) {
    std::vector<nanoseconds> moments;
    for (int picture = 0; picture < count; ++picture) {
        const double shake = picture == 0 ? 0 : (picture % 2 == 0 ? shakenBy : -shakenBy);
        moments.push_back(std::chrono::duration_cast<nanoseconds>(
            std::chrono::duration<double>{(picture + shake) / framesPerSecond}));
    }
    return moments;
}

TEST(FramePacer, GivesEveryPictureOfAnExactCameraAFrame) {
    FramePacer pacer{30};
    const auto shown = shownPictures(pacer, everySoOften(30, 100));
    ASSERT_EQ(shown.size(), 100U);
    EXPECT_EQ(shown.front(), 0);
    EXPECT_EQ(shown.back(), 99);
}

TEST(FramePacer, NeitherDropsNorRepeatsForJitterOfLessThanHalfAFrame) {
    FramePacer pacer{30};
    const auto shown = shownPictures(pacer, everySoOften(30, 300, 0.35));
    ASSERT_EQ(shown.size(), 300U);
    for (int frame = 0; frame < 300; ++frame) {
        ASSERT_EQ(shown[static_cast<std::size_t>(frame)], frame);
    }
}

TEST(FramePacer, RepeatsThePicturesOfASlowerCamera) {
    FramePacer pacer{30};
    EXPECT_EQ(shownPictures(pacer, everySoOften(15, 4)), (std::vector<int>{0, 0, 1, 1, 2, 2, 3}));
}

TEST(FramePacer, DropsPicturesOfAFasterCamera) {
    FramePacer pacer{30};
    const auto shown = shownPictures(pacer, everySoOften(60, 120));
    EXPECT_NEAR(static_cast<double>(shown.size()), 60, 1);
    EXPECT_TRUE(std::is_sorted(shown.begin(), shown.end()));
}

TEST(FramePacer, KeepsTheRateOfACameraThatIsALittleOff) {
    for (const double rate : {29.97, 30.03, 25.0, 24.0}) {
        FramePacer pacer{30};
        const auto shown = shownPictures(pacer, everySoOften(rate, static_cast<int>(rate * 20)));
        EXPECT_NEAR(static_cast<double>(shown.size()), 600, 2) << rate;
    }
}

TEST(FramePacer, GivesTheFirstPictureTheFirstFrameWheneverItComes) {
    FramePacer pacer{30};
    const auto decision = pacer.pictureAt(milliseconds{40});
    EXPECT_EQ(decision.repeated.count, 0);
    EXPECT_EQ(decision.shown, 0);
}

TEST(FramePacer, HoldsTheLastPictureWhileTheCameraIsSilent) {
    FramePacer pacer{30};
    static_cast<void>(pacer.pictureAt(seconds{0}));
    EXPECT_EQ(pacer.holdUntil(seconds{1}), (FrameRange{.first = 1, .count = 29}));
    EXPECT_EQ(pacer.holdUntil(seconds{1}).count, 0) << "only once";
    EXPECT_EQ(pacer.pictureAt(seconds{1}).shown, 30);
}

TEST(FramePacer, ShowsOfABurstAfterAFreezeOnlyWhatIsNotLate) {
    FramePacer pacer{30};
    static_cast<void>(pacer.pictureAt(seconds{0}));
    static_cast<void>(pacer.holdUntil(seconds{3}));
    // The pictures of those three seconds come all at once, with the moments at which they were
    // taken; then the camera goes on.
    std::vector<nanoseconds> moments;
    for (int picture = 1; picture <= 91; ++picture) {
        moments.push_back(nanoseconds{seconds{1}} * picture / 30);
    }
    const auto shown = shownPictures(pacer, moments);
    EXPECT_EQ(shown, (std::vector<int>{89, 90}));
}

TEST(FramePacer, LeavesAVeryLongHoleOpenInsteadOfFillingItWithStills) {
    FramePacer pacer{30};
    static_cast<void>(pacer.pictureAt(seconds{0}));
    const auto decision = pacer.pictureAt(seconds{3600});
    EXPECT_EQ(decision.repeated.count, 0);
    EXPECT_EQ(decision.shown, 3600 * 30);
}

TEST(FramePacer, FillsAHoleOfTenSeconds) {
    FramePacer pacer{30};
    static_cast<void>(pacer.pictureAt(seconds{0}));
    EXPECT_EQ(pacer.pictureAt(seconds{10}).repeated, (FrameRange{.first = 1, .count = 299}));
}

} // namespace
} // namespace brindle::media
