#include "BrindleRecorderApp/AppInfo.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using testing::ElementsAre;

TEST(AppInfo, WithoutACurrentIdentifierGivesTheFixedList) {
    EXPECT_THAT(
        AppInfo::sameAppBundleIdentifiers(std::nullopt),
        ElementsAre("com.tamsworth.brindlerecorder", "com.tamsworth.callminder"));
}

TEST(AppInfo, WithAnIdentifierOfTheListGivesTheFixedList) {
    for (const char* current : {"com.tamsworth.brindlerecorder", "com.tamsworth.callminder"}) {
        EXPECT_THAT(
            AppInfo::sameAppBundleIdentifiers(current),
            ElementsAre("com.tamsworth.brindlerecorder", "com.tamsworth.callminder"))
            << current;
    }
}

TEST(AppInfo, AppendsAnIdentifierOutsideTheList) {
    EXPECT_THAT(
        AppInfo::sameAppBundleIdentifiers("com.tamsworth.brindlerecorder.nightly"),
        ElementsAre(
            "com.tamsworth.brindlerecorder", "com.tamsworth.callminder",
            "com.tamsworth.brindlerecorder.nightly"));
}

} // namespace
} // namespace brindle
