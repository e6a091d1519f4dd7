#include "BrindleRecorderLinux/PipeWire/PropertyReading.hpp"

#include <nlohmann/json.hpp>
#include <spa/utils/dict.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

namespace brindle::pipewire {

namespace {

constexpr std::size_t longestValue = 1024;

constexpr std::array<std::string_view, 40> usedKeys{
    "api.libcamera.location",
    "api.libcamera.path",
    "api.v4l2.path",
    "application.id",
    "application.name",
    "application.process.binary",
    "application.process.id",
    "client.api",
    "client.id",
    "config.name",
    "device.api",
    "device.bus",
    "device.capabilities",
    "device.devids",
    "device.form-factor",
    "device.form_factor",
    "device.id",
    "device.sysfs.path",
    "media.category",
    "media.class",
    "media.name",
    "media.role",
    "node.description",
    "node.link-group",
    "node.name",
    "node.nick",
    "node.passive",
    "node.virtual",
    "object.path",
    "pipewire.access",
    "pipewire.access.portal.app_id",
    "pipewire.access.portal.instance_id",
    "pipewire.sec.pid",
    "pipewire.snap.id",
    "priority.session",
    "pulse.corked",
    "resample.peaks",
    "stream.capture.sink",
    "stream.monitor",
    "target.object"};
static_assert(std::is_sorted(usedKeys.begin(), usedKeys.end()));

} // namespace

Properties propertiesOf(const spa_dict* dictionary) {
    Properties properties;
    if (dictionary == nullptr) {
        return properties;
    }
    for (std::uint32_t index = 0; index < dictionary->n_items; ++index) {
        const spa_dict_item& item = dictionary->items[index];
        if (item.key != nullptr && item.value != nullptr &&
            std::binary_search(usedKeys.begin(), usedKeys.end(), std::string_view{item.key})) {
            properties.insert_or_assign(
                item.key, std::string{item.value, strnlen(item.value, longestValue)});
        }
    }
    return properties;
}

std::optional<std::string> nodeNameIn(const char* json) {
    const std::size_t length = strnlen(json, longestValue);
    const auto value =
        nlohmann::json::parse(json, json + length, nullptr, /*allow_exceptions=*/false);
    if (!value.is_object()) {
        return std::nullopt;
    }
    const auto name = value.find("name");
    if (name == value.end() || !name->is_string()) {
        return std::nullopt;
    }
    return name->get<std::string>();
}

} // namespace brindle::pipewire
