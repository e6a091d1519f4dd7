#include "BrindleRecorderLinux/Capture/Record/FragmentSchedule.hpp"

#include <gtest/gtest.h>

#include <vector>

namespace brindle::media {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

std::vector<long> endsWithin(std::chrono::nanoseconds interval, seconds length) {
    FragmentSchedule schedule{interval};
    std::vector<long> ends;
    for (milliseconds time{0}; time < length; time += milliseconds{100}) {
        if (schedule.isDue(time)) {
            schedule.endedAt(time);
            ends.push_back(time.count());
        }
    }
    return ends;
}

TEST(FragmentSchedule, EndsTheFirstFragmentsEarlyAndThenOneEachInterval) {
    EXPECT_EQ(
        endsWithin(seconds{5}, seconds{20}), (std::vector<long>{1000, 2000, 7000, 12'000, 17'000}));
}

TEST(FragmentSchedule, NeverLetsAFragmentCoverMoreThanAShortInterval) {
    EXPECT_EQ(
        endsWithin(milliseconds{500}, seconds{3}),
        (std::vector<long>{500, 1000, 1500, 2000, 2500}));
}

TEST(FragmentSchedule, DoesNotMakeUpForEndsThatAHoleSwallowed) {
    FragmentSchedule schedule{seconds{5}};
    ASSERT_TRUE(schedule.isDue(seconds{30}));
    schedule.endedAt(seconds{30});
    EXPECT_FALSE(schedule.isDue(seconds{31}));
    EXPECT_TRUE(schedule.isDue(seconds{32}));
}

} // namespace
} // namespace brindle::media
