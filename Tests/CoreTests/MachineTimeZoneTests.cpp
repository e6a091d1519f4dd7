// The user's zone on machines whose own zone is not the one of the machine that runs the tests.
#include "BrindleRecorderCore/Base/TimeZone.hpp"

#include "BrindleRecorderCore/Base/InternetDateTime.hpp"

#include "Support/EnvironmentVariable.hpp"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <fstream>
#include <functional>
#include <optional>
#include <string>

#include <sched.h>
#include <sys/mount.h>
#include <sys/wait.h>
#include <unistd.h>

namespace brindle {
namespace {

using namespace std::chrono_literals;
using test::EnvironmentVariable;

const std::string zones = "/usr/share/zoneinfo/";
const Date winter = *InternetDateTime::parse("2025-01-14T09:30:12Z");
const Date summer = *InternetDateTime::parse("2025-07-14T09:30:12Z");

struct Answer {
    std::chrono::seconds inWinter{0};
    std::chrono::seconds inSummer{0};
    bool isUtc = false;
};

/// Another machine's /etc, for this process alone. False where that takes rights we do not have.
bool enterEmptyEtc() {
    const auto user = ::getuid();
    if (::unshare(CLONE_NEWNS) != 0) {
        if (::unshare(CLONE_NEWUSER | CLONE_NEWNS) != 0) {
            return false;
        }
        std::ofstream{"/proc/self/uid_map"} << "0 " << user << " 1";
    }
    return ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("tmpfs", "/etc", "tmpfs", 0, nullptr) == 0;
}

/// What the program says on a machine that `prepare` has set up, /etc being empty before. Nothing
/// where no such machine can be made.
std::optional<Answer> onAMachine(const std::function<void()>& prepare) {
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0) {
        return std::nullopt;
    }
    const ::pid_t child = ::fork();
    if (child == 0) {
        if (enterEmptyEtc()) {
            prepare();
            const TimeZone zone = TimeZone::current();
            const Answer answer{zone.offsetAt(winter), zone.offsetAt(summer), zone.isUtc()};
            if (::write(ends[1], &answer, sizeof answer) < 0) {
                ::_exit(1);
            }
        }
        ::_exit(0);
    }
    ::close(ends[1]);
    Answer answer;
    const bool hasAnswered = ::read(ends[0], &answer, sizeof answer) == sizeof answer;
    ::close(ends[0]);
    ::waitpid(child, nullptr, 0);
    return hasAnswered ? std::optional{answer} : std::nullopt;
}

void copyZone(const std::string& name) {
    std::error_code ignored;
    std::filesystem::copy_file(zones + name, "/etc/localtime", ignored);
}

void linkZone(const std::string& name) {
    std::error_code ignored;
    std::filesystem::create_symlink(zones + name, "/etc/localtime", ignored);
}

class MachineTimeZone : public testing::Test {
  protected:
    void SetUp() override {
        if (!onAMachine([] {})) {
            GTEST_SKIP() << "another /etc needs the right to mount one";
        }
        if (!std::filesystem::exists(zones + "Asia/Kathmandu")) {
            GTEST_SKIP() << "there are no zones in " << zones;
        }
    }
};

TEST_F(MachineTimeZone, IsFollowedWhereItIsALink) {
    const EnvironmentVariable variable{"TZ", std::nullopt};
    const auto answer = onAMachine([] { linkZone("Asia/Kathmandu"); });
    EXPECT_EQ(answer->inWinter, 5h + 45min);
    EXPECT_FALSE(answer->isUtc);
}

TEST_F(MachineTimeZone, IsFollowedWhereItIsAPlainCopy) {
    const EnvironmentVariable variable{"TZ", std::nullopt};
    const auto answer = onAMachine([] { copyZone("Europe/Berlin"); });
    EXPECT_EQ(answer->inWinter, 1h);
    EXPECT_EQ(answer->inSummer, 2h);
    EXPECT_FALSE(answer->isUtc);
}

TEST_F(MachineTimeZone, IsUtcWhereThatIsSetOrNothingIs) {
    const EnvironmentVariable variable{"TZ", std::nullopt};
    EXPECT_TRUE(onAMachine([] { copyZone("Etc/UTC"); })->isUtc);
    EXPECT_TRUE(onAMachine([] { linkZone("Etc/UTC"); })->isUtc);
    EXPECT_TRUE(onAMachine([] {})->isUtc);
    EXPECT_FALSE(onAMachine([] { copyZone("Europe/London"); })->isUtc) << "not even in winter";
    EXPECT_FALSE(onAMachine([] { copyZone("Africa/Abidjan"); })->isUtc) << "never ahead nor behind";
}

TEST_F(MachineTimeZone, YieldsToWhatTheEnvironmentSays) {
    struct Case {
        const char* variable;
        std::chrono::seconds inWinter;
        std::chrono::seconds inSummer;
        bool isUtc;
    };
    const std::string path = zones + "America/St_Johns";
    const std::string marked = ":" + path;
    for (const auto& [variable, inWinter, inSummer, isUtc] :
         {Case{"America/St_Johns", -3h - 30min, -2h - 30min, false},
          Case{":America/St_Johns", -3h - 30min, -2h - 30min, false},
          Case{path.c_str(), -3h - 30min, -2h - 30min, false},
          Case{marked.c_str(), -3h - 30min, -2h - 30min, false},
          Case{"CET-1CEST,M3.5.0,M10.5.0/3", 1h, 2h, false},
          Case{"<+0330>-3:30", 3h + 30min, 3h + 30min, false}, Case{"UTC0", 0h, 0h, true},
          Case{"UTC", 0h, 0h, true}, Case{":Etc/UTC", 0h, 0h, true}, Case{"", 0h, 0h, true},
          Case{"Nowhere/At All", 0h, 0h, false}}) {
        const EnvironmentVariable environment{"TZ", variable};
        const auto answer = onAMachine([] { linkZone("Asia/Kathmandu"); });
        EXPECT_EQ(answer->inWinter, inWinter) << variable;
        EXPECT_EQ(answer->inSummer, inSummer) << variable;
        EXPECT_EQ(answer->isUtc, isUtc) << variable;
    }
}

TEST_F(MachineTimeZone, IsFollowedWhenItChangesWhileTheProgramRuns) {
    const EnvironmentVariable variable{"TZ", std::nullopt};
    const auto answer = onAMachine([] {
        linkZone("Europe/Berlin");
        static_cast<void>(TimeZone::current().offsetAt(winter));
        std::filesystem::remove("/etc/localtime");
        linkZone("Asia/Kathmandu");
    });
    EXPECT_EQ(answer->inWinter, 5h + 45min);
}

} // namespace
} // namespace brindle
