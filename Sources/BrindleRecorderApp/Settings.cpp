#include "BrindleRecorderApp/Settings.hpp"

#include <vector>

namespace brindle {

namespace {

Preference<std::optional<std::string>> deviceID(DefaultsStore& defaults, const std::string& key) {
    return {defaults.string(key), [&defaults, key](const std::optional<std::string>& value) {
                if (value) {
                    defaults.setString(key, *value);
                } else {
                    defaults.remove(key);
                }
            }};
}

Preference<bool> flag(DefaultsStore& defaults, const std::string& key) {
    return {defaults.boolean(key).value_or(false), [&defaults, key](const bool& value) {
                defaults.setBoolean(key, value);
            }};
}

Preference<std::set<std::string>>
familySet(DefaultsStore& defaults, const std::string& key, std::set<std::string> whenMissing) {
    const auto stored = defaults.stringArray(key);
    return {
        stored ? std::set<std::string>{stored->begin(), stored->end()} : std::move(whenMissing),
        [&defaults, key](const std::set<std::string>& value) {
            // A set is in ascending order, so equal sets are stored alike.
            defaults.setStringArray(key, {value.begin(), value.end()});
        }};
}

} // namespace

Settings::Settings(DefaultsStore& defaults)
    : preferredVideoDeviceID{deviceID(defaults, "preferredVideoDeviceID")},
      preferredAudioDeviceID{deviceID(defaults, "preferredAudioDeviceID")},
      hasShownFirstRunWindow{flag(defaults, "hasShownFirstRunWindow")},
      disabledCallFamilies{familySet(defaults, "disabledCallFamilies", {"other"})},
      askBeforeRecording{flag(defaults, "askBeforeRecording")} {}

} // namespace brindle
