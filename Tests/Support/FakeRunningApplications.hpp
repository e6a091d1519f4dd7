// The running applications as a test describes them.
#pragma once

#include "BrindleRecorderApp/Platform/RunningApplications.hpp"

#include <map>
#include <string>
#include <vector>

namespace brindle::test {

class FakeRunningApplications final : public RunningApplications {
  public:
    std::map<std::string, std::vector<RunningApplication>> copies; ///< by identifier

    [[nodiscard]] std::vector<RunningApplication>
    withBundleIdentifier(const std::string& bundleIdentifier) const override {
        const auto found = copies.find(bundleIdentifier);
        return found == copies.end() ? std::vector<RunningApplication>{} : found->second;
    }
};

} // namespace brindle::test
