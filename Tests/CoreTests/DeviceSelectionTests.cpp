#include "BrindleRecorderCore/Recordings/DeviceSelection.hpp"

#include <gtest/gtest.h>

#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace brindle {
namespace {

const CaptureDeviceInfo builtIn{
    .uniqueID = "built-in", .localizedName = "Integrated Camera", .isBuiltIn = true};
const CaptureDeviceInfo secondBuiltIn{
    .uniqueID = "built-in-2", .localizedName = "Infrared Camera", .isBuiltIn = true};
const CaptureDeviceInfo usb{.uniqueID = "usb", .localizedName = "USB Webcam", .isBuiltIn = false};
const CaptureDeviceInfo otherUsb{
    .uniqueID = "usb-2", .localizedName = "Document Camera", .isBuiltIn = false};
const CaptureDeviceInfo deskView{
    .uniqueID = "desk", .localizedName = "Phone Desk View Camera", .isBuiltIn = true};

DeviceResolution chosen(const CaptureDeviceInfo& device) {
    return {.device = device, .fallbackUsed = false};
}

DeviceResolution fallback(const CaptureDeviceInfo& device) {
    return {.device = device, .fallbackUsed = true};
}

const DeviceResolution nothing{.device = std::nullopt, .fallbackUsed = false};
const DeviceResolution nothingLeft{.device = std::nullopt, .fallbackUsed = true};

CaptureDeviceInfo partOf(
    const std::string& hardware, const std::string& name,
    std::optional<std::set<PictureKind>> pictures) {
    return {
        .uniqueID = name,
        .localizedName = name,
        .pictures = std::move(pictures),
        .hardware = hardware};
}

std::vector<std::string> idsOfSelectable(const std::vector<CaptureDeviceInfo>& devices) {
    std::vector<std::string> ids;
    for (const auto& device : DeviceSelection::selectable(devices)) {
        ids.push_back(device.uniqueID);
    }
    return ids;
}

TEST(DeviceSelection, AnInfraredCameraIsNotOffered) {
    using enum PictureKind;
    const std::vector<CaptureDeviceInfo> devices{
        partOf("laptop", "grey", {{grey}}),
        partOf("laptop", "grey and packed", {{grey, compressed}}),
        partOf("laptop", "colours", {{color}}),
        partOf("laptop", "colours and packed", {{color, compressed}}),
        partOf("laptop", "packed", {{compressed}}),
        partOf("laptop", "also grey", {{grey, color}}),
        partOf("laptop", "not told", std::nullopt)};
    EXPECT_EQ(
        idsOfSelectable(devices),
        (std::vector<std::string>{
            "colours", "colours and packed", "packed", "also grey", "not told"}));
}

TEST(DeviceSelection, WhatOffersNothingIsNotOfferedBesideAPartThatDoes) {
    using enum PictureKind;
    const std::set<PictureKind> nothingAtAll;
    const CaptureDeviceInfo silent = partOf("laptop", "silent", nothingAtAll);
    const CaptureDeviceInfo works = partOf("laptop", "works", {{color}});
    const CaptureDeviceInfo unknown = partOf("laptop", "unknown", std::nullopt);
    const CaptureDeviceInfo elsewhere = partOf("desk", "elsewhere", {{color}});
    using IDs = std::vector<std::string>;
    EXPECT_EQ(idsOfSelectable({silent, works}), IDs{"works"});
    EXPECT_EQ(idsOfSelectable({silent}), IDs{"silent"});
    EXPECT_EQ(idsOfSelectable({silent, unknown}), (IDs{"silent", "unknown"}));
    EXPECT_EQ(idsOfSelectable({silent, elsewhere}), (IDs{"silent", "elsewhere"}));
    // Two of which nobody knows what they are part of are not one.
    EXPECT_EQ(
        idsOfSelectable({partOf("", "silent", nothingAtAll), partOf("", "works", {{color}})}),
        (IDs{"silent", "works"}));
}

struct ResolutionCase {
    const char* name;
    std::optional<std::string> preferred;
    std::optional<std::string> systemDefault;
    std::vector<CaptureDeviceInfo> devices;
    DeviceResolution expected;
};

class DeviceResolutionTable : public testing::TestWithParam<ResolutionCase> {};

TEST_P(DeviceResolutionTable, ChoosesAsStated) {
    const auto& [name, preferred, systemDefault, devices, expected] = GetParam();
    const auto resolution = DeviceSelection::resolve(preferred, systemDefault, devices);
    EXPECT_EQ(resolution.fallbackUsed, expected.fallbackUsed);
    ASSERT_EQ(resolution.device.has_value(), expected.device.has_value());
    if (expected.device) {
        EXPECT_EQ(resolution.device->id(), expected.device->id());
        EXPECT_EQ(resolution.device, expected.device);
    }
}

constexpr auto none = std::nullopt;

INSTANTIATE_TEST_SUITE_P(
    DeviceSelection, DeviceResolutionTable,
    testing::Values(
        // Nothing to choose from
        ResolutionCase{"NoDevicesNoWish", none, none, {}, nothing},
        ResolutionCase{"NoDevicesWithPreference", "usb", none, {}, nothingLeft},
        ResolutionCase{"NoDevicesWithDefault", none, "usb", {}, nothingLeft},
        ResolutionCase{"NoDevicesWithPreferenceAndDefault", "usb", "built-in", {}, nothingLeft},
        ResolutionCase{"OnlyDeskViewNoWish", none, none, {deskView}, nothing},
        ResolutionCase{"OnlyDeskViewPreferred", "desk", none, {deskView}, nothingLeft},
        // A preference
        ResolutionCase{"PreferenceFound", "usb", "built-in", {builtIn, usb}, chosen(usb)},
        ResolutionCase{"PreferenceFoundNoDefault", "usb", none, {builtIn, usb}, chosen(usb)},
        ResolutionCase{
            "PreferenceMissingDefaultFound", "gone", "usb", {builtIn, usb}, fallback(usb)},
        ResolutionCase{
            "PreferenceMissingDefaultMissing",
            "gone",
            "gone too",
            {usb, builtIn},
            fallback(builtIn)},
        ResolutionCase{
            "PreferenceMissingNoDefault", "gone", none, {usb, builtIn}, fallback(builtIn)},
        ResolutionCase{
            "PreferenceMissingNothingBuiltIn", "gone", none, {usb, otherUsb}, fallback(usb)},
        ResolutionCase{"PreferenceDiffersInLetterCase", "USB", none, {usb}, fallback(usb)},
        // No preference
        ResolutionCase{"DefaultFound", none, "usb", {builtIn, usb}, chosen(usb)},
        ResolutionCase{
            "DefaultMissingTakesFirstBuiltIn",
            none,
            "gone",
            {usb, builtIn, secondBuiltIn},
            fallback(builtIn)},
        ResolutionCase{
            "DefaultMissingNothingBuiltIn", none, "gone", {otherUsb, usb}, fallback(otherUsb)},
        ResolutionCase{
            "DefaultDiffersInLetterCase", none, "Usb", {builtIn, usb}, fallback(builtIn)},
        ResolutionCase{"NoWishTakesFirstBuiltIn", none, none, {usb, builtIn}, chosen(builtIn)},
        ResolutionCase{"NoWishNothingBuiltIn", none, none, {otherUsb, usb}, chosen(otherUsb)},
        // Desk views are never chosen
        ResolutionCase{"DeskViewPreferred", "desk", "usb", {deskView, usb}, fallback(usb)},
        ResolutionCase{"DeskViewDefault", none, "desk", {deskView, usb}, fallback(usb)},
        ResolutionCase{"DeskViewBuiltIn", none, none, {deskView, usb, builtIn}, chosen(builtIn)}),
    [](const auto& test) { return test.param.name; });

TEST(DeviceSelection, TakesTheFirstOfTwoDevicesWithOneIdentifier) {
    const CaptureDeviceInfo twin{
        .uniqueID = "usb", .localizedName = "Twin Webcam", .isBuiltIn = false};
    EXPECT_EQ(DeviceSelection::resolve("usb", none, {twin, usb}), chosen(twin));
    EXPECT_EQ(DeviceSelection::resolve(none, "usb", {usb, twin}), chosen(usb));
}

TEST(DeviceSelection, PassesOverADeskViewThatSharesThePreferredIdentifier) {
    CaptureDeviceInfo sharing = deskView;
    sharing.uniqueID = usb.uniqueID;
    EXPECT_EQ(DeviceSelection::resolve("usb", none, {sharing, usb}), chosen(usb));
}

TEST(DeviceSelection, KnowsADeskViewByItsNameInAnyLetterCase) {
    for (const char* name :
         {"desk view", "Phone Desk View Camera", "DESK VIEW", "my dEsK vIeW", "xdesk viewx"}) {
        EXPECT_TRUE(DeviceSelection::isDeskView(name)) << name;
    }
    for (const char* name :
         {"", "desk", "view", "deskview", "desk  view", "desk-view", "desk vie", "view desk",
          "Desk\u00a0View"}) {
        EXPECT_FALSE(DeviceSelection::isDeskView(name)) << name;
    }
}

TEST(DeviceSelection, KeepsTheOrderOfWhatCanBeSelected) {
    const std::vector<CaptureDeviceInfo> expected{usb, builtIn, otherUsb};
    EXPECT_EQ(DeviceSelection::selectable({usb, deskView, builtIn, deskView, otherUsb}), expected);
    EXPECT_TRUE(DeviceSelection::selectable({}).empty());
}

} // namespace
} // namespace brindle
