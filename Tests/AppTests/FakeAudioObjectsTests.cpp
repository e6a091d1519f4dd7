#include "Support/FakeAudioObjects.hpp"

#include <gtest/gtest.h>

namespace brindle {
namespace {

using test::FakeAudioObjects;

TEST(FakeAudioObjects, KeepsTheOrderInWhichProcessesCame) {
    FakeAudioObjects audio;
    audio.setProcess(7, {.pid = 70});
    audio.setProcess(3, {.pid = 30});
    audio.setProcess(7, {.pid = 71});
    EXPECT_EQ(audio.processes(), (std::vector<AudioObjectID>{7, 3}));
    EXPECT_EQ(audio.processIdentifier(7), 71);
}

TEST(FakeAudioObjects, CallsListenersAsLongAsTheyAreRegistered) {
    FakeAudioObjects audio;
    audio.setProcess(7, {});
    int calls = 0;
    auto observation = audio.observeRunningInput(7, [&] { ++calls; });
    audio.fireRunningInput(7);
    EXPECT_EQ(audio.runningInputListeners(7), 1U);
    observation.reset();
    audio.fireRunningInput(7);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(audio.runningInputListeners(7), 0U);
}

TEST(FakeAudioObjects, LetsAListenerUnregisterItselfAndTheNext) {
    FakeAudioObjects audio;
    int calls = 0;
    std::unique_ptr<Observation> first;
    std::unique_ptr<Observation> second;
    first = audio.observeProcesses([&] {
        ++calls;
        first.reset();
        second.reset();
    });
    second = audio.observeProcesses([&] { ++calls; });
    audio.fireProcesses();
    EXPECT_EQ(calls, 1);
}

TEST(FakeAudioObjects, RefusesListenersWhenTold) {
    FakeAudioObjects audio;
    audio.refuseRunningInputListener(7);
    EXPECT_EQ(audio.observeRunningInput(7, [] {}), nullptr);
    audio.refuseRunningInputListener(7, false);
    EXPECT_NE(audio.observeRunningInput(7, [] {}), nullptr);
}

} // namespace
} // namespace brindle
