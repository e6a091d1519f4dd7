// Preferences that live as long as the test, and a journal of what was written.
#pragma once

#include "BrindleRecorderApp/Platform/DefaultsStore.hpp"

#include <map>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace brindle::test {

class InMemoryDefaultsStore final : public DefaultsStore {
  public:
    /// A list with a number in it, as another program may have left it. Reads as no list.
    struct MixedList {
        friend bool operator==(const MixedList&, const MixedList&) = default;
    };
    using Value = std::variant<std::string, bool, std::vector<std::string>, MixedList>;

    /// What the store holds; a test may fill and change it.
    std::map<std::string, Value> values;
    /// The keys that were written or removed, in order.
    std::vector<std::string> writtenKeys;

    [[nodiscard]] std::optional<std::string> string(const std::string& key) const override {
        return valueOf<std::string>(key);
    }
    [[nodiscard]] std::optional<bool> boolean(const std::string& key) const override {
        return valueOf<bool>(key);
    }
    [[nodiscard]] std::optional<std::vector<std::string>>
    stringArray(const std::string& key) const override {
        return valueOf<std::vector<std::string>>(key);
    }

    void setString(const std::string& key, const std::string& value) override { put(key, value); }
    void setBoolean(const std::string& key, bool value) override { put(key, value); }
    void setStringArray(const std::string& key, const std::vector<std::string>& value) override {
        put(key, value);
    }
    void remove(const std::string& key) override {
        writtenKeys.push_back(key);
        values.erase(key);
    }

  private:
    template <class Wanted>
    [[nodiscard]] std::optional<Wanted> valueOf(const std::string& key) const {
        const auto found = values.find(key);
        if (found == values.end() || !std::holds_alternative<Wanted>(found->second)) {
            return std::nullopt;
        }
        return std::get<Wanted>(found->second);
    }
    void put(const std::string& key, Value value) {
        writtenKeys.push_back(key);
        values.insert_or_assign(key, std::move(value));
    }
};

} // namespace brindle::test
