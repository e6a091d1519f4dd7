// The seam to what is kept from one launch to the next: typed values by key.
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace brindle {

/// Main thread only. A key that is missing, or whose value has another type, reads as absent; an
/// empty list is a value. Every write is kept at once.
class DefaultsStore {
  public:
    virtual ~DefaultsStore() = default;

    [[nodiscard]] virtual std::optional<std::string> string(const std::string& key) const = 0;
    [[nodiscard]] virtual std::optional<bool> boolean(const std::string& key) const = 0;
    /// Absent also when any element is not a string.
    [[nodiscard]] virtual std::optional<std::vector<std::string>>
    stringArray(const std::string& key) const = 0;

    virtual void setString(const std::string& key, const std::string& value) = 0;
    virtual void setBoolean(const std::string& key, bool value) = 0;
    virtual void setStringArray(const std::string& key, const std::vector<std::string>& value) = 0;
    virtual void remove(const std::string& key) = 0;
};

} // namespace brindle
