#include "BrindleRecorderLinux/PipeWire/MirroredObjects.hpp"

#include "BrindleRecorderLinux/PipeWire/Calls.hpp"
#include "BrindleRecorderLinux/PipeWire/PictureKinds.hpp"
#include "BrindleRecorderLinux/PipeWire/PropertyReading.hpp"

#include <pipewire/extensions/metadata.h>

#include <algorithm>
#include <span>
#include <string_view>
#include <utility>

namespace brindle::pipewire {

namespace {

/// Speaks the newest version of the interface that both sides know.
ProxyHandle bindNewest(const MirrorSource& source, const char* type, std::uint32_t knownVersion) {
    return ProxyHandle{
        bind(source.registry, source.id, type, std::min(source.version, knownVersion))};
}

NodeState stateOf(pw_node_state state) {
    switch (state) {
    case PW_NODE_STATE_CREATING:
        return NodeState::creating;
    case PW_NODE_STATE_SUSPENDED:
        return NodeState::suspended;
    case PW_NODE_STATE_IDLE:
        return NodeState::idle;
    case PW_NODE_STATE_RUNNING:
        return NodeState::running;
    case PW_NODE_STATE_ERROR:
        break;
    }
    return NodeState::error;
}

} // namespace

MirroredNode::MirroredNode(MirrorSource source)
    : source_{std::move(source)}, proxy_{bindNewest(
                                      source_, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE)} {
    static const pw_node_events events = [] {
        pw_node_events callbacks{};
        callbacks.version = PW_VERSION_NODE_EVENTS;
        callbacks.info = [](void* self, const pw_node_info* info) {
            static_cast<MirroredNode*>(self)->update(*info);
        };
        callbacks.param = [](void* self, int /*sequence*/, std::uint32_t kind,
                             std::uint32_t /*index*/, std::uint32_t /*next*/,
                             const spa_pod* parameter) {
            if (kind == SPA_PARAM_EnumFormat) {
                static_cast<MirroredNode*>(self)->pictures_.merge(pictureKindsOf(parameter));
            }
        };
        return callbacks;
    }();
    static const pw_proxy_events answers = [] {
        pw_proxy_events callbacks{};
        callbacks.version = PW_VERSION_PROXY_EVENTS;
        callbacks.done = [](void* self, int answer) {
            static_cast<MirroredNode*>(self)->takePictures(answer);
        };
        return callbacks;
    }();
    if (proxy_ != nullptr) {
        pw_proxy_add_object_listener(proxy_.get(), listener_.get(), &events, this);
        pw_proxy_add_listener(proxy_.get(), answers_.get(), &answers, this);
    }
}

void MirroredNode::update(const pw_node_info& info) {
    NodeRecord updated = record_.value_or(NodeRecord{source_.serial, source_.id, {}, {}, {}});
    if ((info.change_mask & PW_NODE_CHANGE_MASK_STATE) != 0) {
        updated.state = stateOf(info.state);
    }
    if ((info.change_mask & PW_NODE_CHANGE_MASK_PROPS) != 0) {
        updated.properties = propertiesOf(info.props);
    }
    if (updated != record_) {
        record_ = std::move(updated);
        source_.changed();
    }
    if ((info.change_mask & PW_NODE_CHANGE_MASK_PARAMS) != 0 &&
        property(record_->properties, "media.class") == "Video/Source") {
        askForPictures(info);
    }
}

void MirroredNode::askForPictures(const pw_node_info& info) {
    const std::span parameters{info.params, info.n_params};
    const auto formats = std::ranges::find(parameters, SPA_PARAM_EnumFormat, &spa_param_info::id);
    const bool canBeRead =
        formats != parameters.end() && (formats->flags & SPA_PARAM_INFO_READ) != 0;
    if (canBeRead && std::exchange(formats_, formats->flags) != formats->flags) {
        pictures_.clear();
        enumerate(proxy_.get(), SPA_PARAM_EnumFormat);
        question_ = pw_proxy_sync(proxy_.get(), 0);
    }
}

void MirroredNode::takePictures(int answer) {
    if (answer == question_ && record_->pictures != pictures_) {
        record_->pictures = pictures_;
        source_.changed();
    }
}

MirroredDevice::MirroredDevice(MirrorSource source)
    : source_{std::move(source)}, proxy_{bindNewest(
                                      source_, PW_TYPE_INTERFACE_Device, PW_VERSION_DEVICE)} {
    static const pw_device_events events = [] {
        pw_device_events callbacks{};
        callbacks.version = PW_VERSION_DEVICE_EVENTS;
        callbacks.info = [](void* self, const pw_device_info* info) {
            static_cast<MirroredDevice*>(self)->update(*info);
        };
        return callbacks;
    }();
    if (proxy_ != nullptr) {
        pw_proxy_add_object_listener(proxy_.get(), listener_.get(), &events, this);
    }
}

void MirroredDevice::update(const pw_device_info& info) {
    DeviceRecord updated = record_.value_or(DeviceRecord{source_.serial, source_.id, {}});
    if ((info.change_mask & PW_DEVICE_CHANGE_MASK_PROPS) != 0) {
        updated.properties = propertiesOf(info.props);
    }
    if (updated != record_) {
        record_ = std::move(updated);
        source_.changed();
    }
}

MirroredClient::MirroredClient(MirrorSource source)
    : source_{std::move(source)}, proxy_{bindNewest(
                                      source_, PW_TYPE_INTERFACE_Client, PW_VERSION_CLIENT)} {
    static const pw_client_events events = [] {
        pw_client_events callbacks{};
        callbacks.version = PW_VERSION_CLIENT_EVENTS;
        callbacks.info = [](void* self, const pw_client_info* info) {
            static_cast<MirroredClient*>(self)->update(*info);
        };
        return callbacks;
    }();
    if (proxy_ != nullptr) {
        pw_proxy_add_object_listener(proxy_.get(), listener_.get(), &events, this);
    }
}

void MirroredClient::update(const pw_client_info& info) {
    ClientRecord updated = record_.value_or(ClientRecord{source_.serial, source_.id, {}});
    if ((info.change_mask & PW_CLIENT_CHANGE_MASK_PROPS) != 0) {
        updated.properties = propertiesOf(info.props);
    }
    if (updated != record_) {
        record_ = std::move(updated);
        source_.changed();
    }
}

MirroredLink::MirroredLink(MirrorSource source)
    : source_{std::move(source)}, proxy_{bindNewest(
                                      source_, PW_TYPE_INTERFACE_Link, PW_VERSION_LINK)} {
    static const pw_link_events events = [] {
        pw_link_events callbacks{};
        callbacks.version = PW_VERSION_LINK_EVENTS;
        callbacks.info = [](void* self, const pw_link_info* info) {
            static_cast<MirroredLink*>(self)->update(*info);
        };
        return callbacks;
    }();
    if (proxy_ != nullptr) {
        pw_proxy_add_object_listener(proxy_.get(), listener_.get(), &events, this);
    }
}

void MirroredLink::update(const pw_link_info& info) {
    const LinkRecord updated{
        source_.serial, info.output_node_id, info.input_node_id,
        info.state == PW_LINK_STATE_ACTIVE};
    if (updated != record_) {
        record_ = updated;
        source_.changed();
    }
}

MirroredDefaults::MirroredDefaults(MirrorSource source)
    : source_{std::move(source)}, proxy_{bindNewest(
                                      source_, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA)} {
    static const pw_metadata_events events = [] {
        pw_metadata_events callbacks{};
        callbacks.version = PW_VERSION_METADATA_EVENTS;
        callbacks.property = [](void* self, std::uint32_t subject, const char* key,
                                const char* /*type*/, const char* value) {
            static_cast<MirroredDefaults*>(self)->update(subject, key, value);
            return 0;
        };
        return callbacks;
    }();
    if (proxy_ != nullptr) {
        pw_proxy_add_object_listener(proxy_.get(), listener_.get(), &events, this);
    }
}

std::unique_ptr<MirroredDefaults> MirroredDefaults::readAgain() const {
    MirrorSource source = source_;
    source.changed = [] {
    };
    return std::make_unique<MirroredDefaults>(std::move(source));
}

void MirroredDefaults::take(const MirroredDefaults& read) {
    if (read.sourceName_ != sourceName_ || read.cameraName_ != cameraName_) {
        sourceName_ = read.sourceName_;
        cameraName_ = read.cameraName_;
        source_.changed();
    }
}

void MirroredDefaults::update(std::uint32_t subject, const char* key, const char* value) {
    if (subject != PW_ID_CORE) {
        return;
    }
    // No key means that all of the subject's values are gone.
    if (key == nullptr || std::string_view{key} == "default.audio.source") {
        set(sourceName_, key == nullptr ? nullptr : value);
    }
    if (key == nullptr || std::string_view{key} == "default.video.source") {
        set(cameraName_, key == nullptr ? nullptr : value);
    }
}

void MirroredDefaults::set(std::optional<std::string>& name, const char* value) const {
    auto newName = value == nullptr ? std::nullopt : nodeNameIn(value);
    if (newName != name) {
        name = std::move(newName);
        source_.changed();
    }
}

} // namespace brindle::pipewire
