// The user's preferences: kept in the defaults store, published to menus and windows.
#pragma once

#include "BrindleRecorderApp/Async/Published.hpp"
#include "BrindleRecorderApp/Platform/DefaultsStore.hpp"
#include "BrindleRecorderCore/Calls/CallDetectorConfig.hpp"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace brindle {

/// One preference. Main thread only.
template <class Value>
class Preference {
  public:
    using Observer = typename Published<Value>::Observer;

    /// `changes` counts every change and must outlive the preference.
    Preference(
        Value initial, std::function<void(const Value&)> store, Published<std::uint64_t>& changes)
        : value_{std::move(initial)}, store_{std::move(store)}, changes_{changes} {}

    [[nodiscard]] const Value& get() const { return value_.get(); }

    /// Stores the value, even one equal to the present one (it may be a default that was never
    /// stored), and then publishes a change. Stored first, so that an observer that sets the
    /// preference again has the last word in the store too.
    void set(Value value) {
        store_(value);
        if (value != value_.get()) {
            value_.set(std::move(value));
            changes_.set(changes_.get() + 1);
        }
    }

    /// Calls the observer after each change, when `get` already answers the new value.
    [[nodiscard]] std::unique_ptr<Observation> observe(Observer observer) {
        return value_.observe(std::move(observer));
    }

  private:
    Published<Value> value_;
    std::function<void(const Value&)> store_;
    Published<std::uint64_t>& changes_;
};

/// Main thread only. Reads the store once, at construction, and writes nothing then; from there on
/// every assignment is written at once. A value that is missing from the store or malformed there
/// counts as its default.
class Settings {
    Published<std::uint64_t> changes_; ///< before the preferences, which count theirs in it

  public:
    /// The store must outlive the settings.
    explicit Settings(DefaultsStore& defaults);
    Settings(const Settings&) = delete;
    Settings& operator=(const Settings&) = delete;

    /// The unique identifiers of the devices that the user picked. Default: absent.
    Preference<std::optional<std::string>> preferredVideoDeviceID;
    Preference<std::optional<std::string>> preferredAudioDeviceID;
    /// Default: false.
    Preference<bool> hasShownFirstRunWindow;
    /// The ids of the call families (`CallAppFamily::id`) that the user switched off. Default: only
    /// the family of unknown programs. An empty set is a choice of its own: everything is on.
    Preference<std::set<std::string>> disabledCallFamilies;
    /// Default: false.
    Preference<bool> askBeforeRecording;

    /// What the detector is to heed of them at this moment.
    [[nodiscard]] CallDetectorConfig callDetection() const;

    /// How often any of them has changed: for whoever shows them all.
    [[nodiscard]] const Published<std::uint64_t>& changes() const { return changes_; }
};

} // namespace brindle
