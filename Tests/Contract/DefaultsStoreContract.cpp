#include "Contract/DefaultsStoreContract.hpp"

#include <optional>
#include <string>
#include <vector>

namespace brindle::test {
namespace {

using Strings = std::vector<std::string>;

TEST_P(DefaultsStoreContract, WhatIsMissingIsAbsent) {
    EXPECT_EQ(subject_->store().string("missing"), std::nullopt);
    EXPECT_EQ(subject_->store().boolean("missing"), std::nullopt);
    EXPECT_EQ(subject_->store().stringArray("missing"), std::nullopt);
}

TEST_P(DefaultsStoreContract, EveryWriteIsKeptAtOnce) {
    const std::string text = "K\xC3\xA4"
                             "fer \"cam\" \n \xF0\x9F\x8E\xA5";
    const auto expectAll = [&](const char* when) {
        const auto& store = subject_->store();
        EXPECT_EQ(store.string("text"), text) << when;
        EXPECT_EQ(store.string("no text"), "") << when;
        EXPECT_EQ(store.boolean("yes"), true) << when;
        EXPECT_EQ(store.boolean("no"), false) << when;
        EXPECT_EQ(store.stringArray("list"), (Strings{"b", "", "a", text})) << when;
        EXPECT_EQ(store.stringArray("empty list"), Strings{}) << when;
    };
    subject_->store().setString("text", text);
    subject_->store().setString("no text", "");
    subject_->store().setBoolean("yes", true);
    subject_->store().setBoolean("no", false);
    subject_->store().setStringArray("list", {"b", "", "a", text});
    subject_->store().setStringArray("empty list", {});
    expectAll("as written");
    subject_->startAgain();
    expectAll("after another launch");
}

TEST_P(DefaultsStoreContract, AWriteIsKeptWithoutAnother) {
    subject_->store().setString("text", "a");
    subject_->startAgain();
    EXPECT_EQ(subject_->store().string("text"), "a");
    subject_->store().setBoolean("flag", true);
    subject_->startAgain();
    EXPECT_EQ(subject_->store().boolean("flag"), true);
    subject_->store().setStringArray("list", {"a"});
    subject_->startAgain();
    EXPECT_EQ(subject_->store().stringArray("list"), Strings{"a"});
}

TEST_P(DefaultsStoreContract, AValueOfAnotherTypeIsAbsent) {
    subject_->store().setString("text", "YES");
    subject_->store().setBoolean("flag", true);
    subject_->store().setStringArray("list", {"true"});
    subject_->putMixedList("mixed");
    for (const char* key : {"flag", "list", "mixed"}) {
        EXPECT_EQ(subject_->store().string(key), std::nullopt) << key;
    }
    for (const char* key : {"text", "list", "mixed"}) {
        EXPECT_EQ(subject_->store().boolean(key), std::nullopt) << key;
    }
    for (const char* key : {"text", "flag", "mixed"}) {
        EXPECT_EQ(subject_->store().stringArray(key), std::nullopt) << key;
    }
}

TEST_P(DefaultsStoreContract, TheLastWriteCountsWhateverItsType) {
    subject_->store().setString("key", "text");
    subject_->store().setBoolean("key", true);
    EXPECT_EQ(subject_->store().string("key"), std::nullopt);
    EXPECT_EQ(subject_->store().boolean("key"), true);
    subject_->store().setStringArray("key", {"a"});
    subject_->startAgain();
    EXPECT_EQ(subject_->store().boolean("key"), std::nullopt);
    EXPECT_EQ(subject_->store().stringArray("key"), Strings{"a"});
}

TEST_P(DefaultsStoreContract, WhatIsRemovedIsAbsent) {
    subject_->store().setBoolean("removed", true);
    subject_->store().setBoolean("kept", true);
    subject_->store().remove("removed");
    subject_->store().remove("never there");
    EXPECT_EQ(subject_->store().boolean("removed"), std::nullopt);
    subject_->startAgain();
    EXPECT_EQ(subject_->store().boolean("removed"), std::nullopt);
    EXPECT_EQ(subject_->store().boolean("kept"), true);
}

} // namespace
} // namespace brindle::test
