#include "BrindleRecorderLinux/CommandLine/Options.hpp"

#include "BrindleRecorderLinux/CommandLine/CommandTable.hpp"
#include "BrindleRecorderLinux/CommandLine/HelpText.hpp"
#include "BrindleRecorderLinux/CommandLine/TerminalLine.hpp"

#include <array>
#include <filesystem>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <regex>
#include <set>
#include <sstream>
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

/// The program's help and those of all its commands.
std::string everyHelp() {
    std::string text = HelpText::ofTheProgram();
    for (const auto& entry : CommandTable::entries()) {
        text += HelpText::of(entry.command);
    }
    return text;
}

TEST(Options, SaysMoreAboutACommand) {
    for (const auto& entry : CommandTable::entries()) {
        const auto options = Options::parse({entry.name, "--help"});
        ASSERT_TRUE(options) << entry.name;
        EXPECT_EQ(options->command, Command::showHelp) << entry.name;
        EXPECT_EQ(options->helpOf, entry.command) << entry.name;
    }
    EXPECT_EQ(Options::parse({"--help"})->helpOf, std::nullopt);
}

TEST(Options, NamesTheArgumentThatIsWrong) {
    EXPECT_EQ(Options::parse({"--headles"}).error(), "unrecognized option '--headles'");
    EXPECT_EQ(Options::parse({"records"}).error(), "unrecognized argument 'records'");
    EXPECT_EQ(Options::parse({"status", "now"}).error(), "unrecognized argument 'now'");
}

TEST(Options, EveryCommandIsKnownByItsNameAndByItsOption) {
    for (const auto& entry : CommandTable::entries()) {
        std::vector<std::string_view> words{entry.name};
        if (entry.argument != CommandTable::Argument::none) {
            const auto choices = CommandTable::choices(entry.argument);
            words.push_back(choices.empty() ? "a.mov" : choices.front());
        }
        const auto options = Options::parse(words);
        ASSERT_TRUE(options) << entry.name << ": " << options.error();
        EXPECT_EQ(options->command, entry.command) << entry.name;
        if (!entry.alias.empty()) {
            words.front() = entry.alias;
            EXPECT_EQ(Options::parse(words), options) << entry.alias;
        }
    }
}

TEST(Options, AsksWhoOnceOrOnAndOn) {
    EXPECT_EQ(*Options::parse({"who"}), (Options{.command = Command::showWho}));
    EXPECT_EQ(
        *Options::parse({"who", "--once"}), (Options{.command = Command::showWho, .once = true}));
    EXPECT_EQ(
        *Options::parse({"--once", "--who"}), (Options{.command = Command::showWho, .once = true}));
}

TEST(Options, TellsTheStatusInMoreThanOneWay) {
    EXPECT_EQ(*Options::parse({"status"}), (Options{.command = Command::showStatus}));
    EXPECT_EQ(
        *Options::parse({"status", "--watch", "--json"}),
        (Options{.command = Command::showStatus, .json = true, .watch = true}));
}

TEST(Options, AnswersWithOneOfTwoWords) {
    EXPECT_EQ(
        *Options::parse({"answer", "skip"}),
        (Options{.command = Command::answer, .words = {"skip"}}));
    EXPECT_EQ(Options::parse({"answer"}).error(), "answer needs the word record or skip");
    EXPECT_EQ(Options::parse({"answer", "maybe"}).error(), "answer needs the word record or skip");
    EXPECT_EQ(Options::parse({"answer", "record", "skip"}).error(), "unrecognized argument 'skip'");
}

TEST(Options, ConvertsTheMovieThatIsNamed) {
    const auto options = Options::parse({"--convert", "folder/a b.mov"});
    ASSERT_TRUE(options);
    EXPECT_EQ(options->command, Command::convertMovie);
    EXPECT_EQ(options->words, std::vector<std::string>{"folder/a b.mov"});
    EXPECT_EQ(Options::parse({"convert", "record"})->words, std::vector<std::string>{"record"});
}

TEST(Options, NeedsExactlyOneMovieToConvert) {
    EXPECT_EQ(Options::parse({"--convert"}).error(), "--convert needs the name of a .mov file");
    EXPECT_EQ(Options::parse({"convert", ""}).error(), "convert needs the name of a .mov file");
    EXPECT_EQ(
        Options::parse({"--convert", "a.mov", "b.mov"}).error(), "unrecognized argument 'b.mov'");
    EXPECT_EQ(Options::parse({"a.mov", "--convert"}).error(), "unrecognized argument 'a.mov'");
}

TEST(Options, RefusesWhatDoesNotGoTogether) {
    EXPECT_EQ(Options::parse({"--once"}).error(), "--once goes with who");
    EXPECT_EQ(Options::parse({"--headless", "--once"}).error(), "--once goes with who");
    EXPECT_EQ(Options::parse({"who", "--json"}).error(), "--json goes with status");
    EXPECT_EQ(
        Options::parse({"--headless", "--who"}).error(), "--headless and --who exclude each other");
    EXPECT_EQ(
        Options::parse({"--convert", "a.mov", "--devices"}).error(),
        "--convert and --devices exclude each other");
    EXPECT_EQ(Options::parse({"record", "stop"}).error(), "record and stop exclude each other");
}

TEST(Options, PicksALineOfTheMenu) {
    EXPECT_EQ(Options::parse({"--menu"})->command, Command::showMenu);
    const auto pick = Options::parse({"--pick", "Settings", "--once"});
    EXPECT_EQ(pick->command, Command::pick);
    EXPECT_EQ(pick->words, (std::vector<std::string>{"Settings", "--once"}));
    EXPECT_EQ(Options::parse({"--pick"}).error(), "--pick needs the words of a line of the menu");
}

TEST(Options, RunsOnTheDesktopUnlessToldOtherwise) {
    EXPECT_EQ(Options::parse({})->command, Command::runDesktop);
}

TEST(HelpText, NamesTheSameOptionsAsTheManualPage) {
    const auto options = optionsIn(everyHelp());
    EXPECT_THAT(
        options,
        testing::IsSupersetOf({"--headless", "--who", "--convert", "--json", "--version"}));
    EXPECT_EQ(optionsIn(manualPage()), options);
}

TEST(HelpText, NamesTheSameCommandsAndExamplesAsTheManualPage) {
    const std::string page = manualPage();
    for (const auto& entry : CommandTable::entries()) {
        EXPECT_THAT(page, testing::ContainsRegex("\n\\.[BIR]+ \"?" + std::string{entry.name}));
        EXPECT_THAT(HelpText::ofTheProgram(), testing::HasSubstr("\n  " + std::string{entry.name}));
        for (const auto& example : entry.examples) {
            EXPECT_THAT(
                std::regex_replace(page, std::regex{R"(\\\(dq)"}, "\""),
                testing::HasSubstr(std::string{example.line}));
            EXPECT_THAT(HelpText::of(entry.command), testing::HasSubstr(std::string{example.line}));
        }
    }
}

TEST(HelpText, FitsATerminal) {
    std::istringstream lines{everyHelp()};
    for (std::string line; std::getline(lines, line);) {
        EXPECT_LE(line.size(), 81U) << line; // the first has stood so for long
    }
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
