#include "BrindleRecorderLinux/Files/JsonDefaultsStore.hpp"

#include "BrindleRecorderCore/Base/PosixFileManager.hpp"
#include "Support/InMemoryFileManager.hpp"
#include "Support/TemporaryFolder.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace brindle {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Optional;
using testing::SizeIs;
using Operation = test::InMemoryFileManager::Operation;
using Strings = std::vector<std::string>;

class JsonDefaultsStoreTest : public testing::Test {
  protected:
    const std::filesystem::path folder_ = "/home/user/.config/brindle-recorder";
    const std::filesystem::path file_ = folder_ / "preferences.json";
    test::InMemoryFileManager disk_;
    Strings log_;

    JsonDefaultsStore open() {
        return {disk_, file_, [this](const std::string& line) {
                    log_.push_back(line);
                }};
    }
    void put(std::string contents) { disk_.putFile(file_, std::move(contents)); }
    [[nodiscard]] std::filesystem::path damaged(int number) const {
        return folder_ / ("preferences.json.damaged-" + std::to_string(number));
    }
    /// What the file holds, as JSON.
    [[nodiscard]] nlohmann::json stored() const {
        return nlohmann::json::parse(disk_.contents(file_).value_or("\"no file\""));
    }
};

TEST_F(JsonDefaultsStoreTest, WithoutAFileEverythingIsAbsentAndNothingIsTouched) {
    const auto store = open();
    EXPECT_EQ(store.string("preferredVideoDeviceID"), std::nullopt);
    EXPECT_EQ(store.boolean("askBeforeRecording"), std::nullopt);
    EXPECT_EQ(store.stringArray("disabledCallFamilies"), std::nullopt);
    EXPECT_THAT(disk_.files(), IsEmpty());
    EXPECT_FALSE(disk_.isDirectory(folder_));
    EXPECT_THAT(log_, IsEmpty());
}

TEST_F(JsonDefaultsStoreTest, WhatIsSetIsThereForTheNextStore) {
    {
        auto store = open();
        store.setString("preferredVideoDeviceID", "Käfer \"cam\" \n 1");
        store.setBoolean("hasShownFirstRunWindow", true);
        store.setBoolean("askBeforeRecording", false);
        store.setStringArray("disabledCallFamilies", {"teams", "zoom"});
        store.setStringArray("empty", {});
    }
    const auto store = open();
    EXPECT_EQ(store.string("preferredVideoDeviceID"), "Käfer \"cam\" \n 1");
    EXPECT_EQ(store.boolean("hasShownFirstRunWindow"), true);
    EXPECT_EQ(store.boolean("askBeforeRecording"), false);
    EXPECT_THAT(store.stringArray("disabledCallFamilies"), Optional(ElementsAre("teams", "zoom")));
    EXPECT_THAT(store.stringArray("empty"), Optional(IsEmpty())) << "empty is not absent";
    EXPECT_THAT(log_, IsEmpty());
}

TEST_F(JsonDefaultsStoreTest, EveryWriteIsKeptAtOnce) {
    auto store = open();
    store.setBoolean("a", true);
    EXPECT_EQ(stored(), nlohmann::json({{"a", true}}));
    store.setString("b", "text");
    EXPECT_EQ(stored(), nlohmann::json({{"a", true}, {"b", "text"}}));
    store.remove("a");
    EXPECT_EQ(stored(), nlohmann::json({{"b", "text"}}));
    EXPECT_THAT(disk_.files(), ElementsAre(file_)) << "nothing is left beside the file";
}

TEST_F(JsonDefaultsStoreTest, AWriteSurvivesALossOfPower) {
    auto store = open();
    store.setBoolean("a", true);
    disk_.losePower();
    EXPECT_EQ(stored(), nlohmann::json({{"a", true}}));
}

TEST_F(JsonDefaultsStoreTest, RemovingAMissingKeyIsHarmless) {
    auto store = open();
    store.remove("nothing");
    EXPECT_EQ(stored(), nlohmann::json::object());
}

TEST_F(JsonDefaultsStoreTest, AValueOfAnotherTypeReadsAsAbsent) {
    put(R"({"text": "t", "flag": true, "list": ["a"], "number": 1, "null": null,
            "object": {}, "mixed": ["a", 1], "nested": [["a"]]})");
    const auto store = open();
    for (const char* key : {"flag", "list", "number", "null", "object", "mixed", "nested"}) {
        EXPECT_EQ(store.string(key), std::nullopt) << key;
    }
    for (const char* key : {"text", "list", "number", "null", "object", "mixed", "nested"}) {
        EXPECT_EQ(store.boolean(key), std::nullopt) << key;
    }
    for (const char* key : {"text", "flag", "number", "null", "object", "mixed", "nested"}) {
        EXPECT_EQ(store.stringArray(key), std::nullopt) << key;
    }
    EXPECT_EQ(store.string("text"), "t");
    EXPECT_EQ(store.boolean("flag"), true);
    EXPECT_THAT(store.stringArray("list"), Optional(ElementsAre("a")));
    EXPECT_THAT(log_, IsEmpty()) << "it is no damage either";
}

TEST_F(JsonDefaultsStoreTest, UnknownKeysAndOtherTypesSurviveARewrite) {
    const std::string text =
        R"({"z of another version": {"deep": [1, 2.5, -3, 18446744073709551615, null]},
            "disabledCallFamilies": ["zoom", 7], "askBeforeRecording": false})";
    put(text);
    auto store = open();
    store.setBoolean("askBeforeRecording", true);
    auto expected = nlohmann::json::parse(text);
    expected["askBeforeRecording"] = true;
    EXPECT_EQ(stored(), expected);
    const auto contents = disk_.contents(file_).value_or("");
    EXPECT_LT(contents.find("z of another"), contents.find("disabledCall")) << "in their order";
}

TEST_F(JsonDefaultsStoreTest, ADamagedFileIsSetAsideAndSaidOnce) {
    std::string deep = "{\"a\": ";
    deep.append(200'000, '[').append(200'000, ']').append("}");
    struct Case {
        const char* what;
        std::string contents;
    };
    for (const auto& [what, contents] : std::vector<Case>{
             {"empty", ""},
             {"cut off", R"({"askBeforeRecording": tr)"},
             {"another kind of file", "\x89PNG\r\n"},
             {"a list", "[]"},
             {"null", "null"},
             {"text after the object", "{} {}"},
             {"not UTF-8", "{\"a\": \"\xff\"}"},
             {"an impossible number", "{\"a\": 1e999}"},
             {"nested without end", deep}}) {
        disk_.removeTree("/home");
        log_.clear();
        put(contents);
        auto store = open();
        EXPECT_EQ(store.boolean("askBeforeRecording"), std::nullopt) << what;
        EXPECT_THAT(disk_.files(), ElementsAre(damaged(1))) << what;
        EXPECT_TRUE(disk_.contents(damaged(1)) == contents) << what;
        EXPECT_THAT(
            log_, ElementsAre("preferences set aside: preferences.json "
                              "as=preferences.json.damaged-1 reason=not an object of preferences"))
            << what;
        store.setBoolean("askBeforeRecording", true);
        EXPECT_EQ(stored(), nlohmann::json({{"askBeforeRecording", true}})) << what;
        EXPECT_TRUE(disk_.contents(damaged(1)) == contents) << what;
        EXPECT_THAT(log_, SizeIs(1)) << what;
    }
}

TEST_F(JsonDefaultsStoreTest, EarlierDamagedFilesAreNotReplaced) {
    disk_.putFile(damaged(1), "first");
    disk_.putFile(damaged(2), "second");
    put("third");
    open();
    EXPECT_EQ(disk_.contents(damaged(1)), "first");
    EXPECT_EQ(disk_.contents(damaged(2)), "second");
    EXPECT_EQ(disk_.contents(damaged(3)), "third");
}

TEST_F(JsonDefaultsStoreTest, AFileIsReadUpToTheLimitAndNoFurther) {
    const auto padded = [](std::int64_t size) {
        std::string text = R"({"askBeforeRecording": true})";
        text.resize(static_cast<std::size_t>(size), ' ');
        return text;
    };
    put(padded(JsonDefaultsStore::maxFileBytes));
    EXPECT_EQ(open().boolean("askBeforeRecording"), true);
    EXPECT_THAT(log_, IsEmpty());

    put(padded(JsonDefaultsStore::maxFileBytes + 1));
    EXPECT_EQ(open().boolean("askBeforeRecording"), std::nullopt);
    EXPECT_THAT(disk_.files(), ElementsAre(damaged(1)));
    EXPECT_THAT(log_, SizeIs(1));
}

TEST_F(JsonDefaultsStoreTest, NestingIsAcceptedUpToTheLimit) {
    const auto nested = [](int depth) {
        const auto lists = static_cast<std::size_t>(depth - 1); // the object is the first level
        return "{\"a\": " + std::string(lists, '[') + "1" + std::string(lists, ']') + "}";
    };
    put(nested(JsonDefaultsStore::maxDepth));
    open();
    EXPECT_THAT(log_, IsEmpty());
    put(nested(JsonDefaultsStore::maxDepth + 1));
    open();
    EXPECT_THAT(log_, SizeIs(1));
}

TEST_F(JsonDefaultsStoreTest, AFileThatCannotBeReadIsSetAsideToo) {
    put(R"({"askBeforeRecording": true})");
    disk_.failCall(Operation::readFile, 1, std::errc::permission_denied);
    EXPECT_EQ(open().boolean("askBeforeRecording"), std::nullopt);
    EXPECT_THAT(disk_.files(), ElementsAre(damaged(1)));
    EXPECT_THAT(log_, ElementsAre(AllOf(HasSubstr("set aside"), HasSubstr("ermission denied"))));
}

TEST_F(JsonDefaultsStoreTest, WhatCannotBeSetAsideIsNotOverwritten) {
    put("damaged");
    disk_.failEveryCall(Operation::moveFile, std::errc::read_only_file_system);
    auto store = open();
    EXPECT_THAT(log_, ElementsAre(HasSubstr("preferences unreadable: preferences.json")));
    store.setBoolean("askBeforeRecording", true);
    store.setBoolean("askBeforeRecording", false);
    EXPECT_EQ(disk_.contents(file_), "damaged");
    EXPECT_EQ(store.boolean("askBeforeRecording"), false);
    EXPECT_THAT(log_, ElementsAre(testing::_, HasSubstr("preferences not saved")));

    disk_.stopFailing();
    store.setBoolean("askBeforeRecording", true);
    EXPECT_EQ(disk_.contents(damaged(1)), "damaged");
    EXPECT_EQ(stored(), nlohmann::json({{"askBeforeRecording", true}}));
}

TEST_F(JsonDefaultsStoreTest, AFailedWriteKeepsTheOldFileAndIsLoggedOnce) {
    for (const Operation operation :
         {Operation::createDirectory, Operation::createSyncedFile, Operation::moveFile}) {
        disk_.stopFailing();
        log_.clear();
        put(R"({"kept": true})");
        auto store = open();
        disk_.failEveryCall(operation, std::errc::no_space_on_device);
        store.setBoolean("first", true);
        store.setString("second", "text");
        EXPECT_EQ(stored(), nlohmann::json({{"kept", true}}));
        EXPECT_THAT(disk_.files(), ElementsAre(file_)) << "nothing is left beside the file";
        EXPECT_EQ(store.boolean("first"), true) << "what was set holds while the program runs";
        EXPECT_THAT(
            log_, ElementsAre("preferences not saved: preferences.json "
                              "reason=No space left on device"));

        disk_.stopFailing();
        store.setBoolean("third", true);
        EXPECT_EQ(
            stored(),
            nlohmann::json({{"kept", true}, {"first", true}, {"second", "text"}, {"third", true}}))
            << "the next write takes everything along";
        EXPECT_THAT(log_, SizeIs(1));

        disk_.failEveryCall(operation, std::errc::no_space_on_device);
        store.setBoolean("fourth", true);
        EXPECT_THAT(log_, SizeIs(2)) << "a new trouble is said again";
    }
}

TEST_F(JsonDefaultsStoreTest, AFileThatWouldBeTooLargeToReadIsNotWritten) {
    auto store = open();
    store.setBoolean("kept", true);
    store.setString("large", std::string(JsonDefaultsStore::maxFileBytes, 'x'));
    EXPECT_EQ(stored(), nlohmann::json({{"kept", true}}));
    EXPECT_THAT(log_, ElementsAre(HasSubstr("reason=too large")));
}

TEST_F(JsonDefaultsStoreTest, TextThatIsNotUtf8IsStoredWithReplacements) {
    auto store = open();
    store.setString("preferredVideoDeviceID", "cam\xff!");
    store.setStringArray("key \xc3", {"\x80"});
    EXPECT_EQ(store.string("preferredVideoDeviceID"), "cam\xff!");
    EXPECT_EQ(
        stored(),
        nlohmann::json({{"preferredVideoDeviceID", "cam\uFFFD!"}, {"key \uFFFD", {"\uFFFD"}}}));
    EXPECT_THAT(log_, IsEmpty());
}

/// Gives a variable of the environment another value for the length of a test.
class ScopedVariable {
  public:
    ScopedVariable(const char* name, const char* value) : name_{name} {
        if (const char* before = std::getenv(name)) {
            before_ = before;
        }
        set(value);
    }
    ~ScopedVariable() { set(before_ ? before_->c_str() : nullptr); }
    ScopedVariable(const ScopedVariable&) = delete;
    ScopedVariable& operator=(const ScopedVariable&) = delete;

  private:
    void set(const char* value) const {
        if (value != nullptr) {
            ::setenv(name_, value, 1);
        } else {
            ::unsetenv(name_);
        }
    }

    const char* name_;
    std::optional<std::string> before_;
};

TEST(JsonDefaultsStoreFile, IsTheUsersAloneWhateverTheUmaskSays) {
    using std::filesystem::perms;
    const test::TemporaryFolder temporary;
    const auto file = temporary.path() / "brindle-recorder" / "preferences.json";
    PosixFileManager files;
    const mode_t before = umask(0);
    JsonDefaultsStore{
        files, file,
        [](std::string_view) {
        }}
        .setString("key", "value");
    umask(before);
    EXPECT_EQ(std::filesystem::status(file).permissions(), perms::owner_read | perms::owner_write);
    EXPECT_EQ(std::filesystem::status(file.parent_path()).permissions(), perms::owner_all);
}

TEST(JsonDefaultsStoreFile, LiesInTheUsersConfigurationFolder) {
    struct Case {
        const char* configuration;
        const char* file;
    };
    const ScopedVariable home{"HOME", "/home/user"};
    for (const auto& [configuration, file] : std::vector<Case>{
             {nullptr, "/home/user/.config/brindle-recorder/preferences.json"},
             {"", "/home/user/.config/brindle-recorder/preferences.json"},
             {"relative", "/home/user/.config/brindle-recorder/preferences.json"},
             {"/elsewhere", "/elsewhere/brindle-recorder/preferences.json"}}) {
        const ScopedVariable variable{"XDG_CONFIG_HOME", configuration};
        EXPECT_EQ(JsonDefaultsStore::standardFile(), file);
    }
}

TEST(JsonDefaultsStoreFile, OfStateLiesInTheUsersFolderForState) {
    struct Case {
        const char* state;
        const char* file;
    };
    const ScopedVariable home{"HOME", "/home/user"};
    for (const auto& [state, file] : std::vector<Case>{
             {nullptr, "/home/user/.local/state/brindle-recorder/state.json"},
             {"", "/home/user/.local/state/brindle-recorder/state.json"},
             {"relative", "/home/user/.local/state/brindle-recorder/state.json"},
             {"/elsewhere", "/elsewhere/brindle-recorder/state.json"}}) {
        const ScopedVariable variable{"XDG_STATE_HOME", state};
        EXPECT_EQ(JsonDefaultsStore::standardStateFile(), file);
    }
}

TEST(JsonDefaultsStoreFile, WithoutAHomeInTheEnvironmentTheUserDatabaseKnows) {
    const ScopedVariable configuration{"XDG_CONFIG_HOME", nullptr};
    const ScopedVariable home{"HOME", nullptr};
    EXPECT_TRUE(JsonDefaultsStore::standardFile().is_absolute());
}

} // namespace
} // namespace brindle
