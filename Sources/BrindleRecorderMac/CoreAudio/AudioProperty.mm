#include "BrindleRecorderMac/CoreAudio/AudioProperty.hpp"

#include "BrindleRecorderMac/Foundation/Retained.hpp"
#include "BrindleRecorderMac/Foundation/Text.hpp"

namespace brindle {

namespace {

class Registration final : public Observation {
  public:
    Registration(
        ::AudioObjectID object, const AudioObjectPropertyAddress& address,
        AudioObjects::Listener listener)
        : object_{object}, address_{address}, listener_{std::make_shared<AudioObjects::Listener>(
                                                  std::move(listener))} {
        // A call may be on its way through the queue when the block is removed.
        const std::weak_ptr<AudioObjects::Listener> weak{listener_};
        block_.emplace(^(UInt32, const AudioObjectPropertyAddress*) {
          if (const auto alive = weak.lock()) {
              @autoreleasepool {
                  (*alive)();
              }
          }
        });
        isRegistered_ = AudioObjectAddPropertyListenerBlock(
                            object_, &address_, dispatch_get_main_queue(), block_->get()) == noErr;
    }
    ~Registration() override {
        if (isRegistered_) {
            AudioObjectRemovePropertyListenerBlock(
                object_, &address_, dispatch_get_main_queue(), block_->get());
        }
    }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

    [[nodiscard]] bool isRegistered() const { return isRegistered_; }

  private:
    ::AudioObjectID object_;
    AudioObjectPropertyAddress address_;
    std::shared_ptr<AudioObjects::Listener> listener_;
    std::optional<RetainedBlock<AudioObjectPropertyListenerBlock>> block_;
    bool isRegistered_ = false;
};

} // namespace

template <class Value>
std::optional<Value> AudioProperty::value() const {
    Value value{};
    UInt32 size = sizeof value;
    const OSStatus status =
        AudioObjectGetPropertyData(object_, &address_, 0, nullptr, &size, &value);
    return status == noErr && size == sizeof value ? std::optional{value} : std::nullopt;
}

std::optional<std::uint32_t> AudioProperty::number() const {
    return value<std::uint32_t>();
}

std::optional<std::int32_t> AudioProperty::signedNumber() const {
    return value<std::int32_t>();
}

std::optional<bool> AudioProperty::flag() const {
    const auto number = value<std::uint32_t>();
    return number ? std::optional{*number != 0} : std::nullopt;
}

std::optional<std::string> AudioProperty::text() const {
    const CoreFoundationOwner<CFStringRef> text{value<CFStringRef>().value_or(nullptr)};
    if (!text) {
        return std::nullopt;
    }
    @autoreleasepool {
        return stringOf(bridged<NSString>(text.get()));
    }
}

std::optional<std::vector<::AudioObjectID>> AudioProperty::objects() const {
    UInt32 size = 0;
    if (AudioObjectGetPropertyDataSize(object_, &address_, 0, nullptr, &size) != noErr) {
        return std::nullopt;
    }
    std::vector<::AudioObjectID> objects(size / sizeof(::AudioObjectID));
    if (AudioObjectGetPropertyData(object_, &address_, 0, nullptr, &size, objects.data()) !=
        noErr) {
        return std::nullopt;
    }
    objects.resize(size / sizeof(::AudioObjectID)); // some may have gone in between
    return objects;
}

std::unique_ptr<Observation> AudioProperty::observe(AudioObjects::Listener listener) const {
    auto registration = std::make_unique<Registration>(object_, address_, std::move(listener));
    if (!registration->isRegistered()) {
        return nullptr;
    }
    return registration;
}

} // namespace brindle
