// What is kept from one launch to the next, in the user defaults.
#pragma once

#include "BrindleRecorderApp/Platform/DefaultsStore.hpp"
#include "BrindleRecorderMac/Foundation/Retained.hpp"

namespace brindle {

class UserDefaultsStore final : public DefaultsStore {
  public:
    explicit UserDefaultsStore(NSUserDefaults* defaults) : defaults_{keeping(defaults)} {}

    [[nodiscard]] std::optional<std::string> string(const std::string& key) const override;
    [[nodiscard]] std::optional<bool> boolean(const std::string& key) const override;
    [[nodiscard]] std::optional<std::vector<std::string>>
    stringArray(const std::string& key) const override;
    void setString(const std::string& key, const std::string& value) override;
    void setBoolean(const std::string& key, bool value) override;
    void setStringArray(const std::string& key, const std::vector<std::string>& value) override;
    void remove(const std::string& key) override;

  private:
    Retained<NSUserDefaults> defaults_;
};

} // namespace brindle
