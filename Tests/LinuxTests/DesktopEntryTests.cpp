#include "BrindleRecorderLinux/Desktop/DesktopEntry.hpp"

#include "Support/EnvironmentVariable.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>

namespace brindle {
namespace {

DesktopEntry entry(const std::string& lines) {
    return DesktopEntry::read("[Desktop Entry]\n" + lines).value();
}

TEST(DesktopEntry, ReadsItsOwnGroupAlone) {
    const auto read = DesktopEntry::read("# made by hand\n\n[Desktop Entry]\nName = A b \r\n"
                                         "#Name=C\nName[de]=D\nno line\n[Other]\nExec=/bin/true\n");
    ASSERT_TRUE(read);
    EXPECT_EQ(read->value("Name"), "A b");
    EXPECT_EQ(read->value("Exec"), std::nullopt);
    EXPECT_EQ(DesktopEntry::read(""), std::nullopt);
    EXPECT_EQ(DesktopEntry::read("[Other]\nName=A\n"), std::nullopt);
    EXPECT_EQ(DesktopEntry::read("Name=A\n"), std::nullopt);
}

TEST(DesktopEntry, TakesTheEscapesOff) {
    EXPECT_EQ(entry("Name=a\\sb\\nc\\td\\re\\\\f\\").value("Name"), "a b\nc\td\re\\f\\");
    const std::string hard = "a\\b\nc\td\re\"f";
    EXPECT_EQ(entry("Name=" + DesktopEntry::escaped(hard)).value("Name"), hard);
}

TEST(DesktopEntry, AFlagIsOnWhereItSaysSo) {
    EXPECT_EQ(entry("Hidden=true").flag("Hidden"), true);
    EXPECT_EQ(entry("Hidden=1").flag("Hidden"), true);
    for (const char* off : {"Hidden=false", "Hidden=", "Hidden=yes"}) {
        EXPECT_EQ(entry(off).flag("Hidden"), false) << off;
    }
    EXPECT_EQ(entry("").flag("Hidden"), std::nullopt);
}

TEST(DesktopEntry, KnowsTheProgramOfItsCommand) {
    EXPECT_EQ(entry("Exec=/bin/true --all %F").program(), "/bin/true");
    EXPECT_EQ(entry("Exec=\"/bin/true\" %F").program(), "/bin/true");
    EXPECT_EQ(entry("Exec=  /bin/true").program(), "/bin/true");
    for (const char* none :
         {"", "Exec=", "Exec=/nowhere/true", "Exec=/tmp", "Exec=/etc/passwd",
          "Exec=/bin/true\nTryExec=/nowhere/true"}) {
        EXPECT_EQ(entry(none).program(), std::nullopt) << none;
    }
}

TEST(DesktopEntry, FindsItsProgramAsAShellDoes) {
    const test::TemporaryFolder folder;
    std::filesystem::create_directory(folder.path() / "there");
    std::filesystem::create_symlink("/bin/true", folder.path() / "there" / "brindle-test");
    const auto path = folder.path().string();
    const test::EnvironmentVariable search{"PATH", path + "/nowhere:" + path + "/there"};
    EXPECT_EQ(entry("Exec=brindle-test").program(), path + "/there/brindle-test");
    EXPECT_EQ(entry("Exec=brindle-other").program(), std::nullopt);
    EXPECT_EQ(findProgram(""), std::nullopt);
}

} // namespace
} // namespace brindle
