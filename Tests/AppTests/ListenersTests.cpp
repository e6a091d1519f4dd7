// Listeners come and go, also while they are called.
#include "BrindleRecorderApp/Platform/Listeners.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <vector>

namespace brindle {
namespace {

using testing::ElementsAre;

TEST(Listeners, AreCalledInTheOrderOfTheirAddingWithWhatIsTold) {
    const Listeners<int> listeners;
    std::vector<int> called;
    const auto first = listeners.add([&](int told) { called.push_back(10 + told); });
    const auto second = listeners.add([&](int told) { called.push_back(20 + told); });
    EXPECT_EQ(listeners.count(), 2U);
    listeners.call(1);
    EXPECT_THAT(called, ElementsAre(11, 21));
}

TEST(Listeners, MayComeAndGoWhileTheyAreCalled) {
    const Listeners<> listeners;
    std::vector<int> called;
    std::unique_ptr<Observation> first;
    std::unique_ptr<Observation> second;
    std::unique_ptr<Observation> added;
    first = listeners.add([&] {
        called.push_back(1);
        added = listeners.add([&] { called.push_back(4); });
        second.reset();
        first.reset();
    });
    second = listeners.add([&] { called.push_back(2); });
    const auto third = listeners.add([&] { called.push_back(3); });
    listeners.call();
    EXPECT_THAT(called, ElementsAre(1, 3));
    listeners.call();
    EXPECT_THAT(called, ElementsAre(1, 3, 3, 4));
}

TEST(Listeners, AListenerThatGoesTakesWhatItHoldsAlong) {
    const Listeners<> listeners;
    std::unique_ptr<Observation> outer;
    {
        // Its captures own another observation of the same list.
        auto inner = std::make_shared<std::unique_ptr<Observation>>(listeners.add([] {}));
        outer = listeners.add([inner] {});
    }
    EXPECT_EQ(listeners.count(), 2U);
    outer.reset();
    EXPECT_EQ(listeners.count(), 0U);
}

TEST(Listeners, MayOutliveTheirList) {
    std::unique_ptr<Observation> observation;
    {
        const Listeners<> listeners;
        observation = listeners.add([] { FAIL(); });
    }
    observation.reset();
}

TEST(Listeners, OfACopyAreTheSame) {
    Listeners<> copy;
    int calls = 0;
    std::unique_ptr<Observation> observation;
    {
        const Listeners<> listeners;
        copy = listeners;
        observation = listeners.add([&] { ++calls; });
    }
    copy.call();
    EXPECT_EQ(calls, 1);
}

} // namespace
} // namespace brindle
