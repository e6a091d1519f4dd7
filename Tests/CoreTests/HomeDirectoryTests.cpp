#include "BrindleRecorderCore/HomeDirectory.hpp"

#include "Support/EnvironmentVariable.hpp"

#include <gtest/gtest.h>
#include <pwd.h>
#include <unistd.h>

namespace brindle {
namespace {

using test::EnvironmentVariable;

TEST(HomeDirectory, IsWhatTheEnvironmentSays) {
    const EnvironmentVariable home{"HOME", "/somewhere/else"};
    EXPECT_EQ(homeDirectory(), "/somewhere/else");
}

TEST(HomeDirectory, IsWhatTheUserDatabaseSaysWhenTheEnvironmentIsNoHelp) {
    const passwd* user = ::getpwuid(::getuid());
    if (user == nullptr || user->pw_dir == nullptr) {
        GTEST_SKIP() << "this user is in no user database";
    }
    const std::filesystem::path expected = user->pw_dir;
    for (const std::optional<std::string>& useless :
         {std::optional<std::string>{}, std::optional<std::string>{""},
          std::optional<std::string>{"relative/path"}}) {
        const EnvironmentVariable home{"HOME", useless};
        EXPECT_EQ(homeDirectory(), expected);
    }
}

} // namespace
} // namespace brindle
