// A settings portal on the session bus with the settings that a test gives it.
#pragma once

#include "LinuxTests/ScriptedBusObject.hpp"

#include <functional>
#include <map>
#include <string>
#include <utility>

namespace brindle::test {

/// Serves while `serve` is called. Destroyed, it is gone from the bus.
class ScriptedSettingsPortal {
  public:
    using Key = std::pair<std::string, std::string>; ///< group and key
    /// Appends one variant.
    using Value = std::function<int(sd_bus_message*)>;

    static Value number(unsigned value) {
        return [value](sd_bus_message* to) {
            return sd_bus_message_append(to, "v", "u", value);
        };
    }
    static Value truth(bool value) {
        return [value](sd_bus_message* to) {
            return sd_bus_message_append(to, "v", "b", value ? 1 : 0);
        };
    }
    static Value text(std::string value) {
        return [value = std::move(value)](sd_bus_message* to) {
            return sd_bus_message_append(to, "v", "s", value.c_str());
        };
    }

    /// Throws std::runtime_error when there is no bus, or when another one serves already.
    explicit ScriptedSettingsPortal(std::map<Key, Value> settings);
    ScriptedSettingsPortal(const ScriptedSettingsPortal&) = delete;
    ScriptedSettingsPortal& operator=(const ScriptedSettingsPortal&) = delete;

    /// Answers what has been asked. Never waits.
    void serve() { portal_.serve(); }
    void change(const Key& key, const Value& value);
    [[nodiscard]] int questions() const { return questions_; }

  private:
    static const sd_bus_vtable* table();
    static int read(sd_bus_message* call, void* self, sd_bus_error* error);

    ScriptedBusObject portal_;
    std::map<Key, Value> settings_;
    int questions_ = 0;
};

} // namespace brindle::test
