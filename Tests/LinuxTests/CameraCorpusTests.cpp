// The cameras of known laptops, as the sound server tells of them, and which of them are offered.
#include "BrindleRecorderCore/Recordings/DeviceSelection.hpp"
#include "BrindleRecorderLinux/Devices/DeviceDiscovery.hpp"
#include "BrindleRecorderLinux/PipeWire/PictureKinds.hpp"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <spa/param/format.h>
#include <spa/param/param.h>
#include <spa/param/video/raw.h>
#include <spa/pod/builder.h>

#include <array>
#include <cstdint>
#include <fstream>
#include <map>
#include <set>
#include <string>

namespace brindle::pipewire {
namespace {

using nlohmann::json;

/// One announced format, as the server sends it.
class AnnouncedFormat {
  public:
    AnnouncedFormat(std::uint32_t subtype, std::uint32_t raw) {
        spa_pod_builder builder{};
        spa_pod_builder_init(&builder, bytes_.data(), static_cast<std::uint32_t>(bytes_.size()));
        spa_pod_frame frame{};
        spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Format, SPA_PARAM_EnumFormat);
        spa_pod_builder_prop(&builder, SPA_FORMAT_mediaType, 0);
        spa_pod_builder_id(&builder, SPA_MEDIA_TYPE_video);
        spa_pod_builder_prop(&builder, SPA_FORMAT_mediaSubtype, 0);
        spa_pod_builder_id(&builder, subtype);
        if (subtype == SPA_MEDIA_SUBTYPE_raw) {
            spa_pod_builder_prop(&builder, SPA_FORMAT_VIDEO_format, 0);
            spa_pod_builder_id(&builder, raw);
        }
        pod_ = static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
    }
    [[nodiscard]] const spa_pod* pod() const { return pod_; }

  private:
    alignas(std::uint64_t) std::array<std::uint8_t, 512> bytes_{};
    const spa_pod* pod_ = nullptr;
};

std::set<PictureKind> kindsOf(const std::string& format) {
    static const std::map<std::string, std::uint32_t> rawFormats{
        {"GRAY8", SPA_VIDEO_FORMAT_GRAY8}, {"GRAY16_LE", SPA_VIDEO_FORMAT_GRAY16_LE},
        {"NV12", SPA_VIDEO_FORMAT_NV12},   {"UYVY", SPA_VIDEO_FORMAT_UYVY},
        {"YUY2", SPA_VIDEO_FORMAT_YUY2},   {"unknown", SPA_VIDEO_FORMAT_UNKNOWN}};
    if (format == "MJPG") {
        return pictureKindsOf(AnnouncedFormat{SPA_MEDIA_SUBTYPE_mjpg, 0}.pod());
    }
    if (format == "bayer") {
        return pictureKindsOf(AnnouncedFormat{SPA_MEDIA_SUBTYPE_bayer, 0}.pod());
    }
    return pictureKindsOf(AnnouncedFormat{SPA_MEDIA_SUBTYPE_raw, rawFormats.at(format)}.pod());
}

AudioGraph graphOf(const json& machine) {
    constexpr std::uint32_t firstDevice = 100;
    AudioGraph graph;
    for (const auto& properties : machine.at("devices")) {
        const auto id = firstDevice + static_cast<std::uint32_t>(graph.devices.size());
        graph.devices.push_back(
            {.serial = id, .id = id, .properties = properties.get<Properties>()});
    }
    for (const auto& node : machine.at("nodes")) {
        const auto id = static_cast<std::uint32_t>(graph.nodes.size() + 1);
        NodeRecord record{
            .serial = id,
            .id = id,
            .state = NodeState::suspended,
            .properties = {
                {"media.class", "Video/Source"},
                {"media.role", "Camera"},
                {"node.name", node.at("node.name")},
                {"node.description", node.at("node.description")},
                {"device.id",
                 std::to_string(firstDevice + node.at("device").get<std::uint32_t>())}}};
        if (node.contains("formats")) {
            record.pictures.emplace();
            for (const auto& format : node.at("formats")) {
                record.pictures->merge(kindsOf(format));
            }
        }
        graph.nodes.push_back(std::move(record));
    }
    return graph;
}

TEST(CameraCorpus, OffersTheCamerasOfKnownMachinesAndNothingElse) {
    std::ifstream file{BRINDLE_FIXTURES "/Cameras.json"};
    const json machines = json::parse(file);
    ASSERT_FALSE(machines.empty());
    for (const auto& machine : machines) {
        std::vector<std::string> expected;
        for (const auto& node : machine.at("nodes")) {
            if (node.at("offered").get<bool>()) {
                expected.push_back(node.at("node.name"));
            }
        }
        std::vector<std::string> offered;
        for (const auto& camera :
             DeviceSelection::selectable(discoverDevices(graphOf(machine)).cameras)) {
            offered.push_back(camera.uniqueID);
        }
        EXPECT_EQ(offered, expected) << machine.at("name");
    }
}

TEST(PictureKinds, AreReadFromWhatTheServerAnnounces) {
    EXPECT_EQ(kindsOf("GRAY8"), std::set{PictureKind::grey});
    EXPECT_EQ(kindsOf("GRAY16_LE"), std::set{PictureKind::grey});
    EXPECT_EQ(kindsOf("YUY2"), std::set{PictureKind::color});
    EXPECT_EQ(kindsOf("MJPG"), std::set{PictureKind::compressed});
    EXPECT_TRUE(kindsOf("bayer").empty());
    EXPECT_TRUE(kindsOf("unknown").empty());
    EXPECT_TRUE(pictureKindsOf(nullptr).empty());
}

} // namespace
} // namespace brindle::pipewire
