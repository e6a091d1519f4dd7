// Who uses the microphone, as Core Audio's objects tell it.
#include "BrindleRecorderMac/CoreAudio/CoreAudioObjects.hpp"

#include "GNUstep/AudioStandIn.hpp"
#include "GNUstep/SystemStandIn.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using test::audioStandIn;
using test::eventually;
using test::systemStandIn;
using testing::Optional;

constexpr auto list = kAudioHardwarePropertyProcessObjectList;

class CoreAudioObjectsTest : public testing::Test {
  protected:
    CoreAudioObjectsTest() {
        test::SystemStandIn::reset();
        test::AudioStandIn::reset();
        audioStandIn.set(kAudioObjectSystemObject, list, {40, 41});
        audioStandIn.set(40, kAudioProcessPropertyPID, {1234});
        audioStandIn.set(41, kAudioProcessPropertyPID, {static_cast<UInt32>(-1)});
    }
    ~CoreAudioObjectsTest() override { EXPECT_TRUE(audioStandIn.listening.empty()); }

    AudioObjectID only() const {
        audioStandIn.set(kAudioObjectSystemObject, list, {40});
        return objects_.processes()->at(0);
    }

    CoreAudioObjects objects_;
};

TEST(CoreAudioObjects, TellProcessesApartFrom14_2On) {
    test::SystemStandIn::reset();
    for (const auto& [version, can] :
         {std::pair{NSOperatingSystemVersion{14, 1, 9}, false},
          {{14, 2, 0}, true},
          {{15, 0, 0}, true},
          {{13, 9, 9}, false}}) {
        systemStandIn.version = version;
        EXPECT_EQ(CoreAudioObjects{}.canListProcesses(), can);
    }
    test::SystemStandIn::reset();
}

TEST_F(CoreAudioObjectsTest, ListsProcessesInTheServersOrder) {
    const auto processes = objects_.processes();
    ASSERT_THAT(processes, Optional(testing::SizeIs(2)));
    EXPECT_EQ(objects_.processIdentifier(processes->at(0)), 1234);
    EXPECT_EQ(objects_.processIdentifier(processes->at(1)), -1);
    EXPECT_EQ(objects_.processes(), processes) << "names stay";
}

TEST_F(CoreAudioObjectsTest, KeepsWhatTheListStillHoldsWhenItIsRead) {
    audioStandIn.goneInBetween = 3;
    EXPECT_THAT(objects_.processes(), Optional(testing::SizeIs(2)));
}

TEST_F(CoreAudioObjectsTest, WhatCannotBeReadIsAbsent) {
    const AudioObjectID process = only();
    audioStandIn.numbers.clear();
    EXPECT_EQ(objects_.processes(), std::nullopt);
    EXPECT_EQ(objects_.isRunningInput(process), std::nullopt);
    EXPECT_EQ(objects_.processIdentifier(process), std::nullopt);
    EXPECT_EQ(objects_.bundleIdentifier(process), std::nullopt);
    EXPECT_EQ(objects_.defaultInputDevice(), std::nullopt);
}

TEST_F(CoreAudioObjectsTest, AValueOfAnotherSizeIsNotTakenForOne) {
    const AudioObjectID process = only();
    audioStandIn.set(40, kAudioProcessPropertyIsRunningInput, {});
    EXPECT_EQ(objects_.isRunningInput(process), std::nullopt);
}

TEST_F(CoreAudioObjectsTest, ReadsWhatAProcessDoes) {
    const AudioObjectID process = only();
    audioStandIn.set(40, kAudioProcessPropertyIsRunningInput, {0});
    EXPECT_EQ(objects_.isRunningInput(process), false);
    audioStandIn.set(40, kAudioProcessPropertyIsRunningInput, {1});
    EXPECT_EQ(objects_.isRunningInput(process), true);
    audioStandIn.texts[{40, kAudioProcessPropertyBundleID}] = "us.zoom.xos";
    EXPECT_EQ(objects_.bundleIdentifier(process), "us.zoom.xos");
}

TEST_F(CoreAudioObjectsTest, ANumberThatAnotherProcessGetsIsAnotherName) {
    const AudioObjectID first = only();
    audioStandIn.set(40, kAudioProcessPropertyPID, {4321});
    const AudioObjectID second = only();
    EXPECT_NE(first, second);
    audioStandIn.set(kAudioObjectSystemObject, list, {});
    EXPECT_THAT(objects_.processes(), Optional(testing::IsEmpty()));
    EXPECT_NE(only(), second) << "it was gone in between";
    EXPECT_EQ(objects_.processIdentifier(only()), 4321);
}

TEST_F(CoreAudioObjectsTest, KnowsTheDefaultDeviceByItsIdentifier) {
    audioStandIn.set(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultInputDevice, {90});
    audioStandIn.texts[{90, kAudioDevicePropertyDeviceUID}] = "BuiltInMicrophone";
    audioStandIn.set(90, kAudioDevicePropertyDeviceIsRunningSomewhere, {1});
    const auto device = objects_.defaultInputDevice();
    ASSERT_TRUE(device);
    EXPECT_EQ(objects_.deviceUniqueID(*device), "BuiltInMicrophone");
    EXPECT_EQ(objects_.isRunningSomewhere(*device), true);
    EXPECT_EQ(objects_.defaultInputDevice(), device);
    audioStandIn.texts[{90, kAudioDevicePropertyDeviceUID}] = "Headset";
    EXPECT_NE(objects_.defaultInputDevice(), device);
    audioStandIn.set(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultInputDevice, {0});
    EXPECT_EQ(objects_.defaultInputDevice(), std::nullopt) << "there is none";
}

TEST_F(CoreAudioObjectsTest, ListenersHearOfTheirOwnPropertyAlone) {
    const AudioObjectID process = only();
    std::string heard;
    const auto processes = objects_.observeProcesses([&] { heard += 'p'; });
    const auto device = objects_.observeDefaultInputDevice([&] { heard += 'd'; });
    const auto input = objects_.observeRunningInput(process, [&] { heard += 'i'; });
    const auto somewhere = objects_.observeRunningSomewhere(90, [&] { heard += 's'; });
    audioStandIn.announce(40, kAudioProcessPropertyIsRunningInput);
    EXPECT_EQ(heard, "") << "from the main loop";
    EXPECT_TRUE(eventually([&] { return heard == "i"; }));
    audioStandIn.announce(kAudioObjectSystemObject, list);
    audioStandIn.announce(kAudioObjectSystemObject, kAudioHardwarePropertyDefaultInputDevice);
    audioStandIn.announce(90, kAudioDevicePropertyDeviceIsRunningSomewhere);
    EXPECT_TRUE(eventually([&] { return heard == "ipds"; })) << heard;
}

TEST_F(CoreAudioObjectsTest, AListenerThatIsGoneIsNotCalledAnyMore) {
    int calls = 0;
    auto observation = objects_.observeProcesses([&] { ++calls; });
    audioStandIn.announce(kAudioObjectSystemObject, list);
    observation.reset(); // with a call on its way
    test::drainMainQueue();
    EXPECT_EQ(calls, 0);
    EXPECT_TRUE(audioStandIn.listening.empty());
}

TEST_F(CoreAudioObjectsTest, AListenerMayEndItself) {
    std::unique_ptr<Observation> observation;
    int calls = 0;
    observation = objects_.observeProcesses([&] {
        ++calls;
        observation.reset();
    });
    audioStandIn.announce(kAudioObjectSystemObject, list);
    audioStandIn.announce(kAudioObjectSystemObject, list);
    test::drainMainQueue();
    EXPECT_EQ(calls, 1);
}

TEST_F(CoreAudioObjectsTest, SaysWhenAListenerWasRefused) {
    audioStandIn.refusesListeners = true;
    EXPECT_EQ(objects_.observeProcesses([] {}), nullptr);
    EXPECT_EQ(objects_.observeRunningInput(40, [] {}), nullptr);
}

} // namespace
} // namespace brindle
