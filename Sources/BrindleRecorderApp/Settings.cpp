#include "BrindleRecorderApp/Settings.hpp"

#include "BrindleRecorderCore/Calls/CallCatalog.hpp"

#include <vector>

namespace brindle {

namespace {

using Changes = Published<std::uint64_t>;

Preference<std::optional<std::string>>
deviceID(DefaultsStore& defaults, const std::string& key, Changes& changes) {
    return {
        defaults.string(key),
        [&defaults, key](const std::optional<std::string>& value) {
            if (value) {
                defaults.setString(key, *value);
            } else {
                defaults.remove(key);
            }
        },
        changes};
}

Preference<bool> flag(DefaultsStore& defaults, const std::string& key, Changes& changes) {
    return {
        defaults.boolean(key).value_or(false),
        [&defaults, key](const bool& value) { defaults.setBoolean(key, value); }, changes};
}

Preference<std::set<std::string>> familySet(
    DefaultsStore& defaults, const std::string& key, std::set<std::string> whenMissing,
    Changes& changes) {
    const auto stored = defaults.stringArray(key);
    return {
        stored ? std::set<std::string>{stored->begin(), stored->end()} : std::move(whenMissing),
        [&defaults, key](const std::set<std::string>& value) {
            // A set is in ascending order, so equal sets are stored alike.
            defaults.setStringArray(key, {value.begin(), value.end()});
        },
        changes};
}

} // namespace

Settings::Settings(DefaultsStore& defaults)
    : preferredVideoDeviceID{deviceID(defaults, "preferredVideoDeviceID", changes_)},
      preferredAudioDeviceID{deviceID(defaults, "preferredAudioDeviceID", changes_)},
      hasShownFirstRunWindow{flag(defaults, "hasShownFirstRunWindow", changes_)},
      disabledCallFamilies{
          familySet(defaults, "disabledCallFamilies", CallCatalog::familiesOffAtFirst(), changes_)},
      askBeforeRecording{flag(defaults, "askBeforeRecording", changes_)} {}

CallDetectorConfig Settings::callDetection() const {
    CallDetectorConfig config;
    config.disabledFamilies = disabledCallFamilies.get();
    config.askBeforeRecording = askBeforeRecording.get();
    return config;
}

} // namespace brindle
