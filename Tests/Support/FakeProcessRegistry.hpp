// Processes and applications as a test describes them.
#pragma once

#include "BrindleRecorderApp/Platform/ProcessRegistry.hpp"

#include <cstdint>
#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace brindle::test {

class FakeProcessRegistry final : public ProcessRegistry {
  public:
    std::int32_t ownPid = 4242;
    std::map<std::int32_t, std::string> bundleIDs;
    std::map<std::int32_t, std::string> programNames;
    std::map<std::int32_t, std::filesystem::path> executablePaths;
    std::map<std::filesystem::path, std::string> applications;
    /// The processes whose identifier was asked for, in order.
    mutable std::vector<std::int32_t> lookups;

    [[nodiscard]] std::int32_t ownProcessIdentifier() const override { return ownPid; }
    [[nodiscard]] std::optional<std::string> bundleIdentifier(std::int32_t pid) const override {
        lookups.push_back(pid);
        return valueOf(bundleIDs, pid);
    }
    [[nodiscard]] std::optional<std::string> programName(std::int32_t pid) const override {
        return valueOf(programNames, pid);
    }
    [[nodiscard]] std::optional<std::filesystem::path>
    executablePath(std::int32_t pid) const override {
        return valueOf(executablePaths, pid);
    }
    [[nodiscard]] std::optional<std::string>
    bundleIdentifierOfApplication(const std::filesystem::path& folder) const override {
        return valueOf(applications, folder);
    }

  private:
    template <class Key, class Value>
    static std::optional<Value> valueOf(const std::map<Key, Value>& values, const Key& key) {
        const auto found = values.find(key);
        return found == values.end() ? std::nullopt : std::optional{found->second};
    }
};

} // namespace brindle::test
