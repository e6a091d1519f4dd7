#include "BrindleRecorderApp/Words/DeviceReport.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using testing::ElementsAre;

const CaptureDeviceInfo desk{.uniqueID = "usb-1", .localizedName = "Desk Camera"};
const CaptureDeviceInfo builtIn{
    .uniqueID = "pci-0", .localizedName = "Integrated Camera", .isBuiltIn = true};

TEST(DeviceReport, MarksTheDefaultAndWhatWouldBeRecorded) {
    EXPECT_THAT(
        DeviceReport::lines(
            {.kind = "camera",
             .devices = {desk, builtIn},
             .preferredID = {},
             .defaultID = "usb-1"}),
        ElementsAre(
            "camera: Desk Camera (usb-1, the system's default, would be recorded)",
            "camera: Integrated Camera (pci-0, built in)"));
}

TEST(DeviceReport, PutsTheUsersPickBeforeTheDefault) {
    EXPECT_THAT(
        DeviceReport::lines(
            {.kind = "camera",
             .devices = {desk, builtIn},
             .preferredID = "pci-0",
             .defaultID = "usb-1"}),
        ElementsAre(
            "camera: Desk Camera (usb-1, the system's default)",
            "camera: Integrated Camera (pci-0, built in, picked in the settings, would be "
            "recorded)"));
}

TEST(DeviceReport, SaysWhenThePickIsNotThere) {
    EXPECT_THAT(
        DeviceReport::lines(
            {.kind = "microphone", .devices = {desk}, .preferredID = "gone", .defaultID = {}}),
        ElementsAre(
            "microphone: Desk Camera (usb-1, would be recorded)",
            "microphone: gone was picked in the settings and is not there"));
}

TEST(DeviceReport, NamesThoseWhoUseADevice) {
    EXPECT_THAT(
        DeviceReport::lines(
            {.kind = "camera",
             .devices = {desk, builtIn},
             .preferredID = {},
             .defaultID = {},
             .users = {{"usb-1", {"Discord", "Firefox"}}}}),
        ElementsAre(
            "camera: Desk Camera (usb-1, in use by Discord and Firefox)",
            "camera: Integrated Camera (pci-0, built in, would be recorded)"));
}

TEST(DeviceReport, SaysWhenThereIsNothing) {
    EXPECT_THAT(
        DeviceReport::lines(
            {.kind = "microphone", .devices = {}, .preferredID = {}, .defaultID = {}}),
        ElementsAre("microphone: none"));
}

} // namespace
} // namespace brindle
