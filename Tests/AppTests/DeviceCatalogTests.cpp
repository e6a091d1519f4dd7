#include "BrindleRecorderApp/Recording/DeviceCatalog.hpp"

#include "Support/FakeAudioObjects.hpp"
#include "Support/ScriptedCaptureSystem.hpp"

#include <gtest/gtest.h>

namespace brindle {
namespace {

using test::FakeAudioObjects;
using test::ScriptedCaptureSystem;

const CaptureDeviceInfo builtInCamera{"cam-1", "Integrated Camera", true};
const CaptureDeviceInfo phoneCamera{"cam-2", "Phone Camera", false};
const CaptureDeviceInfo deskView{"cam-3", "Phone Desk View Camera", false};
const CaptureDeviceInfo builtInMicrophone{"mic-1", "Integrated Microphone", true};
const CaptureDeviceInfo headset{"mic-2", "Headset", false};

class DeviceCatalogTest : public testing::Test {
  protected:
    DeviceCatalogTest() {
        capture.addCamera(phoneCamera);
        capture.addCamera(deskView);
        capture.addCamera(builtInCamera);
        capture.addMicrophone(headset);
        capture.addMicrophone(builtInMicrophone);
        audio.setDevice(5, {.uniqueID = headset.uniqueID});
    }

    ScriptedCaptureSystem capture;
    FakeAudioObjects audio;
};

TEST_F(DeviceCatalogTest, ReadsEverythingWhenMade) {
    capture.setSystemPreferredCamera(phoneCamera);
    audio.setDefaultInputDevice(5);
    const DeviceCatalog catalog{capture, audio};
    EXPECT_EQ(catalog.cameras().get(), (DeviceCatalog::Devices{phoneCamera, builtInCamera}));
    EXPECT_EQ(catalog.microphones().get(), (DeviceCatalog::Devices{headset, builtInMicrophone}));
    EXPECT_EQ(catalog.systemDefaultCamera().get(), phoneCamera);
    EXPECT_EQ(catalog.systemDefaultMicrophone().get(), headset);
}

TEST_F(DeviceCatalogTest, ListsAPhonesCameraButNotItsDeskView) {
    const DeviceCatalog catalog{capture, audio};
    EXPECT_EQ(catalog.cameras().get(), (DeviceCatalog::Devices{phoneCamera, builtInCamera}));
}

TEST_F(DeviceCatalogTest, DropsADeskViewAmongTheMicrophonesToo) {
    capture.addMicrophone({"mic-3", "Phone desk view microphone", false});
    const DeviceCatalog catalog{capture, audio};
    EXPECT_EQ(catalog.microphones().get(), (DeviceCatalog::Devices{headset, builtInMicrophone}));
}

TEST_F(DeviceCatalogTest, TakesTheDefaultCameraWhenTheSystemPrefersADeskView) {
    capture.setSystemPreferredCamera(deskView);
    capture.setDefaultCamera(builtInCamera);
    const DeviceCatalog catalog{capture, audio};
    EXPECT_EQ(catalog.systemDefaultCamera().get(), builtInCamera);
}

TEST_F(DeviceCatalogTest, TakesTheDefaultCameraWhenTheSystemPrefersNone) {
    capture.setDefaultCamera(builtInCamera);
    const DeviceCatalog catalog{capture, audio};
    EXPECT_EQ(catalog.systemDefaultCamera().get(), builtInCamera);
}

TEST_F(DeviceCatalogTest, PutsThePreferredCameraBeforeTheDefaultOne) {
    capture.setSystemPreferredCamera(phoneCamera);
    capture.setDefaultCamera(builtInCamera);
    const DeviceCatalog catalog{capture, audio};
    EXPECT_EQ(catalog.systemDefaultCamera().get(), phoneCamera);
}

TEST_F(DeviceCatalogTest, HasNoDefaultCameraWhenThePreferredOneIsNotListed) {
    capture.setSystemPreferredCamera(CaptureDeviceInfo{"gone", "Gone", false});
    capture.setDefaultCamera(builtInCamera);
    const DeviceCatalog catalog{capture, audio};
    EXPECT_EQ(catalog.systemDefaultCamera().get(), std::nullopt);
}

TEST_F(DeviceCatalogTest, HasNoDefaultCameraWhenTheDefaultOneIsADeskView) {
    capture.setDefaultCamera(deskView);
    const DeviceCatalog catalog{capture, audio};
    EXPECT_EQ(catalog.systemDefaultCamera().get(), std::nullopt);
}

TEST_F(DeviceCatalogTest, HasNoDefaultMicrophoneWhenTheDefaultInputIsNotListed) {
    audio.setDevice(6, {.uniqueID = "loopback"});
    audio.setDefaultInputDevice(6);
    const DeviceCatalog catalog{capture, audio};
    EXPECT_EQ(catalog.systemDefaultMicrophone().get(), std::nullopt);
}

TEST_F(DeviceCatalogTest, HasNoDefaultMicrophoneWhenThereIsNoDefaultInput) {
    const DeviceCatalog catalog{capture, audio};
    EXPECT_EQ(catalog.systemDefaultMicrophone().get(), std::nullopt);
}

TEST_F(DeviceCatalogTest, HasNoDefaultMicrophoneWhenTheDefaultInputIsDeviceZero) {
    audio.setDevice(0, {.uniqueID = headset.uniqueID});
    audio.setDefaultInputDevice(0);
    const DeviceCatalog catalog{capture, audio};
    EXPECT_EQ(catalog.systemDefaultMicrophone().get(), std::nullopt);
}

TEST_F(DeviceCatalogTest, HasNoDefaultMicrophoneWhenItsIdentifierCannotBeRead) {
    audio.setDevice(5, {.uniqueID = std::nullopt});
    audio.setDefaultInputDevice(5);
    const DeviceCatalog catalog{capture, audio};
    EXPECT_EQ(catalog.systemDefaultMicrophone().get(), std::nullopt);
}

TEST_F(DeviceCatalogTest, ForgetsACameraThatIsUnpluggedSoThatResolvingFallsBack) {
    capture.setSystemPreferredCamera(phoneCamera);
    const DeviceCatalog catalog{capture, audio};
    capture.removeDevice(phoneCamera.uniqueID);
    capture.fireDevicesChanged();
    EXPECT_EQ(catalog.cameras().get(), (DeviceCatalog::Devices{builtInCamera}));
    EXPECT_EQ(catalog.systemDefaultCamera().get(), std::nullopt);
    const auto resolution =
        DeviceSelection::resolve(phoneCamera.uniqueID, std::nullopt, catalog.cameras().get());
    EXPECT_EQ(resolution.device, builtInCamera);
    EXPECT_TRUE(resolution.fallbackUsed);
}

TEST_F(DeviceCatalogTest, FindsADeviceThatIsPluggedIn) {
    const DeviceCatalog catalog{capture, audio};
    const CaptureDeviceInfo added{"mic-9", "Added", false};
    capture.addMicrophone(added);
    EXPECT_EQ(catalog.microphones().get().size(), 2U);
    capture.fireDevicesChanged();
    EXPECT_EQ(
        catalog.microphones().get(), (DeviceCatalog::Devices{headset, builtInMicrophone, added}));
}

TEST_F(DeviceCatalogTest, TellsNobodyWhenARefreshFindsNothingNew) {
    capture.setSystemPreferredCamera(phoneCamera);
    audio.setDefaultInputDevice(5);
    DeviceCatalog catalog{capture, audio};
    int changes = 0;
    const auto count = [&](const auto&) {
        ++changes;
    };
    const auto cameras = catalog.cameras().observe(count);
    const auto microphones = catalog.microphones().observe(count);
    const auto camera = catalog.systemDefaultCamera().observe(count);
    const auto microphone = catalog.systemDefaultMicrophone().observe(count);
    catalog.refresh();
    EXPECT_EQ(changes, 0);
    capture.setSystemPreferredCamera(builtInCamera);
    catalog.refresh();
    EXPECT_EQ(changes, 1);
}

TEST_F(DeviceCatalogTest, ListensForDevicesAsLongAsItLives) {
    {
        const DeviceCatalog catalog{capture, audio};
        EXPECT_EQ(capture.deviceListeners(), 1U);
    }
    EXPECT_EQ(capture.deviceListeners(), 0U);
}

} // namespace
} // namespace brindle
