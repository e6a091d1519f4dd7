#include "BrindleRecorderLinux/PipeWire/RegistryMirror.hpp"

#include "BrindleRecorderLinux/PipeWire/Calls.hpp"

#include <pipewire/extensions/metadata.h>

#include <algorithm>
#include <charconv>
#include <string_view>
#include <utility>
#include <vector>

namespace brindle::pipewire {

namespace {

std::string_view announcedProperty(const spa_dict* announced, const char* key) {
    const char* const value = announced == nullptr ? nullptr : spa_dict_lookup(announced, key);
    return value == nullptr ? std::string_view{} : std::string_view{value};
}

std::uint64_t serialOf(std::uint32_t id, const spa_dict* announced) {
    const std::string_view text = announcedProperty(announced, PW_KEY_OBJECT_SERIAL);
    std::uint64_t serial = id;
    std::from_chars(text.data(), text.data() + text.size(), serial);
    return serial;
}

template <class Record, class Mirrored>
std::vector<Record>
recordsInServerOrder(const std::map<std::uint32_t, std::unique_ptr<Mirrored>>& objects) {
    std::vector<Record> records;
    for (const auto& [id, object] : objects) {
        if (object->record()) {
            records.push_back(*object->record());
        }
    }
    std::sort(records.begin(), records.end(), [](const Record& left, const Record& right) {
        return left.serial < right.serial;
    });
    return records;
}

} // namespace

RegistryMirror::RegistryMirror(pw_core* core, std::function<void()> changed)
    : changed_{std::move(changed)}, registry_{registryOf(core)} {
    static const pw_registry_events events = [] {
        pw_registry_events callbacks{};
        callbacks.version = PW_VERSION_REGISTRY_EVENTS;
        callbacks.global = [](void* self, std::uint32_t id, std::uint32_t /*permissions*/,
                              const char* type, std::uint32_t version, const spa_dict* announced) {
            static_cast<RegistryMirror*>(self)->add(id, type, version, announced);
        };
        callbacks.global_remove = [](void* self, std::uint32_t id) {
            static_cast<RegistryMirror*>(self)->remove(id);
        };
        return callbacks;
    }();
    if (registry_ != nullptr) {
        pw_proxy_add_object_listener(registry_.get(), listener_.get(), &events, this);
    }
}

AudioGraph RegistryMirror::graph() const {
    AudioGraph graph;
    graph.nodes = recordsInServerOrder<NodeRecord>(nodes_);
    graph.devices = recordsInServerOrder<DeviceRecord>(devices_);
    graph.clients = recordsInServerOrder<ClientRecord>(clients_);
    graph.links = recordsInServerOrder<LinkRecord>(links_);
    for (const auto& [id, defaults] : defaults_) {
        if (defaults->sourceName()) {
            graph.defaultSourceName = defaults->sourceName();
        }
        if (defaults->cameraName()) {
            graph.defaultCameraName = defaults->cameraName();
        }
    }
    graph.hasAudioDevice = !audioDevices_.empty();
    return graph;
}

void RegistryMirror::readDefaultsAgain() {
    for (const auto& [id, defaults] : defaults_) {
        defaultsReadAgain_[id] = defaults->readAgain();
    }
}

void RegistryMirror::takeDefaults() {
    for (const auto& [id, read] : std::exchange(defaultsReadAgain_, {})) {
        if (const auto known = defaults_.find(id); known != defaults_.end()) {
            known->second->take(*read);
        }
    }
}

void RegistryMirror::add(
    std::uint32_t id, const char* type, std::uint32_t version, const spa_dict* announced) {
    const std::string_view kind = type;
    MirrorSource source{
        reinterpret_cast<pw_registry*>(registry_.get()), id, version, serialOf(id, announced),
        changed_};
    if (kind == PW_TYPE_INTERFACE_Node) {
        nodes_[id] = std::make_unique<MirroredNode>(std::move(source));
    } else if (kind == PW_TYPE_INTERFACE_Client) {
        clients_[id] = std::make_unique<MirroredClient>(std::move(source));
    } else if (kind == PW_TYPE_INTERFACE_Link) {
        links_[id] = std::make_unique<MirroredLink>(std::move(source));
    } else if (
        kind == PW_TYPE_INTERFACE_Metadata &&
        announcedProperty(announced, PW_KEY_METADATA_NAME) == "default") {
        defaults_[id] = std::make_unique<MirroredDefaults>(std::move(source));
    } else if (kind == PW_TYPE_INTERFACE_Device) {
        devices_[id] = std::make_unique<MirroredDevice>(std::move(source));
        if (announcedProperty(announced, PW_KEY_MEDIA_CLASS) == "Audio/Device") {
            audioDevices_.insert(id);
            changed_();
        }
    }
}

void RegistryMirror::remove(std::uint32_t id) {
    defaultsReadAgain_.erase(id);
    const std::size_t removed = nodes_.erase(id) + devices_.erase(id) + clients_.erase(id) +
                                links_.erase(id) + defaults_.erase(id) + audioDevices_.erase(id);
    if (removed > 0) {
        changed_();
    }
}

} // namespace brindle::pipewire
