#include "BrindleRecorderLinux/PipeWire/PictureKinds.hpp"

#include <spa/param/format.h>
#include <spa/param/video/raw.h>
#include <spa/pod/iter.h>

#include <algorithm>
#include <cstdint>
#include <span>
#include <vector>

namespace brindle::pipewire {

namespace {

/// The values of a property, alternatives or not; what a choice names first is repeated in it.
std::vector<std::uint32_t> valuesOf(const spa_pod* format, std::uint32_t key) {
    const spa_pod_prop* const property = spa_pod_find_prop(format, nullptr, key);
    if (property == nullptr) {
        return {};
    }
    std::uint32_t count = 0;
    std::uint32_t choice = SPA_CHOICE_None;
    const spa_pod* const pod = spa_pod_get_values(&property->value, &count, &choice);
    if (pod == nullptr || pod->type != SPA_TYPE_Id || pod->size != sizeof(std::uint32_t)) {
        return {};
    }
    const void* const body = SPA_POD_BODY_CONST(pod);
    const std::span all{static_cast<const std::uint32_t*>(body), count};
    return {all.begin(), all.end()};
}

bool isGrey(std::uint32_t format) {
    return format == SPA_VIDEO_FORMAT_GRAY8 || format == SPA_VIDEO_FORMAT_GRAY16_LE ||
           format == SPA_VIDEO_FORMAT_GRAY16_BE;
}

} // namespace

std::set<PictureKind> pictureKindsOf(const spa_pod* format) {
    if (format == nullptr || spa_pod_is_object_type(format, SPA_TYPE_OBJECT_Format) == 0) {
        return {};
    }
    const auto subtypes = valuesOf(format, SPA_FORMAT_mediaSubtype);
    const auto is = [&subtypes](std::uint32_t subtype) {
        return std::ranges::find(subtypes, subtype) != subtypes.end();
    };
    std::set<PictureKind> kinds;
    if (is(SPA_MEDIA_SUBTYPE_mjpg)) {
        kinds.insert(PictureKind::compressed);
    }
    if (is(SPA_MEDIA_SUBTYPE_raw)) {
        for (const std::uint32_t raw : valuesOf(format, SPA_FORMAT_VIDEO_format)) {
            if (raw != SPA_VIDEO_FORMAT_UNKNOWN) {
                kinds.insert(isGrey(raw) ? PictureKind::grey : PictureKind::color);
            }
        }
    }
    return kinds;
}

} // namespace brindle::pipewire
