#include "BrindleRecorderApp/Shell/SingleInstance.hpp"

#include "Support/FakeRunningApplications.hpp"

#include <gtest/gtest.h>

namespace brindle {
namespace {

constexpr std::int32_t ownPid = 100;
const std::string ownIdentifier = "com.tamsworth.brindlerecorder";

struct InstanceCase {
    const char* what;
    std::string identifier;
    std::vector<RunningApplication> copies;
    bool expected;
};

TEST(SingleInstance, CountsOtherLivingCopiesOfTheSameApplication) {
    const InstanceCase cases[] = {
        {"nobody", ownIdentifier, {}, false},
        {"only this process", ownIdentifier, {{ownPid}}, false},
        {"a second copy", ownIdentifier, {{ownPid}, {200}}, true},
        {"a second copy, and this process unlisted", ownIdentifier, {{200}}, true},
        {"one that has ended", ownIdentifier, {{ownPid}, {200, true}}, false},
        {"one that has ended and one that lives", ownIdentifier, {{200, true}, {300}}, true},
        {"the earlier identifier", "com.tamsworth.callminder", {{200}}, true},
        {"the earlier identifier, ended", "com.tamsworth.callminder", {{200, true}}, false},
        {"another application", "com.tamsworth.brindlecontent", {{200}}, false},
    };
    for (const auto& [what, identifier, copies, expected] : cases) {
        test::FakeRunningApplications applications;
        applications.copies[identifier] = copies;
        EXPECT_EQ(SingleInstance::anotherCopyRuns(applications, ownPid, ownIdentifier), expected)
            << what;
    }
}

TEST(SingleInstance, CountsCopiesUnderAnIdentifierOfItsOwn) {
    test::FakeRunningApplications applications;
    applications.copies["com.tamsworth.nightly"] = {{200}};
    EXPECT_TRUE(SingleInstance::anotherCopyRuns(applications, ownPid, "com.tamsworth.nightly"));
    EXPECT_FALSE(SingleInstance::anotherCopyRuns(applications, ownPid, ownIdentifier));
}

TEST(SingleInstance, AProgramWithoutAnIdentifierSeesTheKnownOnes) {
    test::FakeRunningApplications applications;
    EXPECT_FALSE(SingleInstance::anotherCopyRuns(applications, ownPid, std::nullopt));
    applications.copies[ownIdentifier] = {{200}};
    EXPECT_TRUE(SingleInstance::anotherCopyRuns(applications, ownPid, std::nullopt));
}

} // namespace
} // namespace brindle
