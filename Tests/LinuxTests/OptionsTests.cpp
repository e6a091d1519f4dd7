#include "BrindleRecorderLinux/CommandLine/Options.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"

#include <array>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <string>

namespace brindle {
namespace {

using Command = Options::Command;

/// Every option that the text names in full.
std::set<std::string> optionsIn(const std::string& text) {
    static const std::regex option{"--[a-z]+"};
    std::set<std::string> names;
    for (std::sregex_iterator each{text.begin(), text.end(), option}, end; each != end; ++each) {
        names.insert(each->str());
    }
    return names;
}

/// With its hyphens as a reader sees them.
std::string manualPage() {
    std::ifstream file{
        std::filesystem::path{BRINDLE_SOURCE_DIR} / "Packaging" / "brindle-recorder.1"};
    const std::string source{std::istreambuf_iterator<char>{file}, {}};
    return std::regex_replace(source, std::regex{R"(\\-)"}, "-");
}

TEST(Options, RunsHeadless) {
    EXPECT_EQ(Options::parse({"--headless"})->command, Command::runHeadless);
}

TEST(Options, HelpAndVersionWinOverWhatFollows) {
    EXPECT_EQ(Options::parse({"--help", "--nonsense"})->command, Command::showHelp);
    EXPECT_EQ(Options::parse({"-h"})->command, Command::showHelp);
    EXPECT_EQ(Options::parse({"--headless", "--version"})->command, Command::showVersion);
    EXPECT_EQ(Options::parse({"-V"})->command, Command::showVersion);
}

TEST(Options, NamesTheArgumentThatIsWrong) {
    EXPECT_EQ(Options::parse({"--headles"}).error(), "unrecognized option '--headles'");
    EXPECT_EQ(Options::parse({"record"}).error(), "unrecognized argument 'record'");
}

TEST(Options, AsksWhoOnceOrOnAndOn) {
    EXPECT_EQ(*Options::parse({"--who"}), (Options{Command::showWho, /*once=*/false}));
    EXPECT_EQ(*Options::parse({"--who", "--once"}), (Options{Command::showWho, /*once=*/true}));
    EXPECT_EQ(*Options::parse({"--once", "--who"}), (Options{Command::showWho, /*once=*/true}));
}

TEST(Options, ListsDevices) {
    EXPECT_EQ(*Options::parse({"--devices"}), (Options{Command::showDevices}));
}

TEST(Options, ConvertsTheMovieThatIsNamed) {
    const auto options = Options::parse({"--convert", "folder/a b.mov"});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->command, Command::convertMovie);
    EXPECT_EQ(options->movie, "folder/a b.mov");
}

TEST(Options, NeedsExactlyOneMovieToConvert) {
    EXPECT_EQ(Options::parse({"--convert"}).error(), "--convert needs the name of a .mov file");
    EXPECT_EQ(Options::parse({"--convert", ""}).error(), "--convert needs the name of a .mov file");
    EXPECT_EQ(
        Options::parse({"--convert", "a.mov", "b.mov"}).error(), "unrecognized argument 'b.mov'");
    EXPECT_EQ(Options::parse({"a.mov", "--convert"}).error(), "unrecognized argument 'a.mov'");
}

TEST(Options, RefusesWhatDoesNotGoTogether) {
    EXPECT_EQ(Options::parse({"--once"}).error(), "--once goes with --who");
    EXPECT_EQ(Options::parse({"--headless", "--once"}).error(), "--once goes with --who");
    EXPECT_EQ(
        Options::parse({"--headless", "--who"}).error(), "--headless and --who exclude each other");
    EXPECT_EQ(
        Options::parse({"--convert", "a.mov", "--devices"}).error(),
        "--convert and --devices exclude each other");
}

TEST(Options, PicksALineOfTheMenu) {
    EXPECT_EQ(Options::parse({"--menu"})->command, Command::showMenu);
    const auto pick = Options::parse({"--pick", "Settings", "--once"});
    EXPECT_EQ(pick->command, Command::pick);
    EXPECT_EQ(pick->words, (std::vector<std::string>{"Settings", "--once"}));
    EXPECT_EQ(Options::parse({"--pick"}).error(), "--pick needs the words of a line of the menu");
}

TEST(Options, HelpAndTheManualPageNameTheSameOptions) {
    const auto options = optionsIn(std::string{Options::helpText()});
    EXPECT_THAT(options, testing::IsSupersetOf({"--headless", "--who", "--convert", "--version"}));
    EXPECT_EQ(optionsIn(manualPage()), options);
}

TEST(Options, RunsOnTheDesktopUnlessToldOtherwise) {
    EXPECT_EQ(Options::parse({})->command, Command::runDesktop);
}

TEST(TerminalLine, NeverSteersTheTerminal) {
    std::FILE* file = std::tmpfile();
    ASSERT_NE(file, nullptr);
    printLine(file, "Recording \x1b[2J — Cam\nera\x7f");
    std::rewind(file);
    std::array<char, 128> buffer{};
    ASSERT_NE(std::fgets(buffer.data(), buffer.size(), file), nullptr);
    EXPECT_STREQ(buffer.data(), "Recording  [2J — Cam era \n");
    std::fclose(file);
}

} // namespace
} // namespace brindle
