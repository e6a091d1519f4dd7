#include "BrindleRecorderCore/Base/HomeDirectory.hpp"

#include "Support/EnvironmentVariable.hpp"

#include <cerrno>
#include <dlfcn.h>
#include <gtest/gtest.h>
#include <pwd.h>
#include <string>
#include <unistd.h>

namespace {

/// Whether the user database is to answer, and with what.
enum class UserDatabase { asItIs, fails, knowsNobody, knowsARelativeHome };
UserDatabase userDatabase = UserDatabase::asItIs;

} // namespace

// Takes the place of the C library's function in this program.
extern "C" int
getpwuid_r(uid_t user, passwd* record, char* buffer, std::size_t size, passwd** found) {
    static const auto real =
        reinterpret_cast<decltype(&getpwuid_r)>(::dlsym(RTLD_NEXT, "getpwuid_r"));
    const int result = real(user, record, buffer, size, found);
    static std::string relative = "relative/path";
    switch (userDatabase) {
    case UserDatabase::asItIs:
        break;
    case UserDatabase::fails:
        return EIO;
    case UserDatabase::knowsNobody:
        *found = nullptr;
        return 0;
    case UserDatabase::knowsARelativeHome:
        record->pw_dir = relative.data();
        *found = record;
        return 0;
    }
    return result;
}

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

TEST(HomeDirectory, IsTheRootWhereNobodyKnowsBetter) {
    const EnvironmentVariable home{"HOME", std::nullopt};
    for (const UserDatabase useless :
         {UserDatabase::fails, UserDatabase::knowsNobody, UserDatabase::knowsARelativeHome}) {
        userDatabase = useless;
        EXPECT_EQ(homeDirectory(), "/");
    }
    userDatabase = UserDatabase::asItIs;
}

} // namespace
} // namespace brindle
