// Copies of single objects of the server, kept up to date by its events. An object counts only once
// its particulars have been seen: what the registry announces lacks most properties.
#pragma once

#include "BrindleRecorderLinux/PipeWire/AudioGraph.hpp"
#include "BrindleRecorderLinux/PipeWire/Handles.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>

struct pw_client_info;
struct pw_device_info;
struct pw_link_info;
struct pw_node_info;
struct pw_registry;

namespace brindle::pipewire {

/// Where an object is found, and whom to tell that its record has changed.
struct MirrorSource {
    pw_registry* registry = nullptr;
    std::uint32_t id = 0;
    std::uint32_t version = 0; ///< of its interface, as the server offers it
    std::uint64_t serial = 0;
    std::function<void()> changed;
};

class MirroredNode {
  public:
    explicit MirroredNode(MirrorSource source);
    [[nodiscard]] const std::optional<NodeRecord>& record() const { return record_; }

  private:
    void update(const pw_node_info& info);
    void askForPictures(const pw_node_info& info);
    void takePictures(int answer);

    MirrorSource source_;
    std::optional<NodeRecord> record_;
    std::optional<std::uint32_t> formats_; ///< by which the server tells that they have changed
    std::optional<int> question_;          ///< about the formats
    std::set<PictureKind> pictures_;       ///< of the answer so far
    ProxyHandle proxy_;
    Hook listener_;
    Hook answers_;
};

class MirroredDevice {
  public:
    explicit MirroredDevice(MirrorSource source);
    [[nodiscard]] const std::optional<DeviceRecord>& record() const { return record_; }

  private:
    void update(const pw_device_info& info);

    MirrorSource source_;
    std::optional<DeviceRecord> record_;
    ProxyHandle proxy_;
    Hook listener_;
};

class MirroredClient {
  public:
    explicit MirroredClient(MirrorSource source);
    [[nodiscard]] const std::optional<ClientRecord>& record() const { return record_; }

  private:
    void update(const pw_client_info& info);

    MirrorSource source_;
    std::optional<ClientRecord> record_;
    ProxyHandle proxy_;
    Hook listener_;
};

class MirroredLink {
  public:
    explicit MirroredLink(MirrorSource source);
    [[nodiscard]] const std::optional<LinkRecord>& record() const { return record_; }

  private:
    void update(const pw_link_info& info);

    MirrorSource source_;
    std::optional<LinkRecord> record_;
    ProxyHandle proxy_;
    Hook listener_;
};

/// The session manager's choice of default devices.
class MirroredDefaults {
  public:
    explicit MirroredDefaults(MirrorSource source);
    [[nodiscard]] const std::optional<std::string>& sourceName() const { return sourceName_; }
    [[nodiscard]] const std::optional<std::string>& cameraName() const { return cameraName_; }

    /// Asks the server anew for all that it knows, which is told to the answer alone.
    [[nodiscard]] std::unique_ptr<MirroredDefaults> readAgain() const;
    /// Takes over what has been read anew.
    void take(const MirroredDefaults& read);

  private:
    void update(std::uint32_t subject, const char* key, const char* value);
    void set(std::optional<std::string>& name, const char* value) const;

    MirrorSource source_;
    std::optional<std::string> sourceName_;
    std::optional<std::string> cameraName_;
    ProxyHandle proxy_;
    Hook listener_;
};

} // namespace brindle::pipewire
