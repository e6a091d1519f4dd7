// One property of one object of Core Audio: read, and listened to.
#pragma once

#include "BrindleRecorderApp/Platform/AudioObjects.hpp"

#import <CoreAudio/CoreAudio.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// Whatever cannot be read is absent.
class AudioProperty {
  public:
    AudioProperty(::AudioObjectID object, AudioObjectPropertySelector selector)
        : object_{object}, address_{
                               selector, kAudioObjectPropertyScopeGlobal,
                               kAudioObjectPropertyElementMain} {}

    [[nodiscard]] std::optional<std::uint32_t> number() const;
    [[nodiscard]] std::optional<std::int32_t> signedNumber() const;
    [[nodiscard]] std::optional<bool> flag() const;
    [[nodiscard]] std::optional<std::string> text() const;
    [[nodiscard]] std::optional<std::vector<::AudioObjectID>> objects() const;

    /// Calls the listener on the main thread after every change; nothing when that is refused.
    [[nodiscard]] std::unique_ptr<Observation> observe(AudioObjects::Listener listener) const;

  private:
    template <class Value>
    std::optional<Value> value() const;

    ::AudioObjectID object_;
    AudioObjectPropertyAddress address_;
};

} // namespace brindle
