#include "BrindleRecorderCore/Calls/CallSource.hpp"
#include "BrindleRecorderCore/Calls/MicUser.hpp"

#include <gtest/gtest.h>
#include <set>
#include <string>
#include <unordered_set>
#include <utility>
#include <vector>

namespace brindle {
namespace {

using Titles = std::vector<std::string>;

template <class Value>
std::set<std::size_t> hashesOf(const std::unordered_set<Value>& values) {
    std::set<std::size_t> hashes;
    for (const Value& value : values) {
        hashes.insert(std::hash<Value>{}(value));
    }
    return hashes;
}

TEST(CallSource, OfAManualRecordingIsFixed) {
    const CallSource manual = CallSource::manual();
    EXPECT_EQ(manual.app, "Manual");
    EXPECT_EQ(manual.bundleID, "");
    EXPECT_EQ(manual.kind, CallSource::Kind::manual);
    EXPECT_EQ(manual.site, std::nullopt);
    EXPECT_EQ(manual.familyID, "manual");
}

TEST(CallSource, KindsHaveWordsForFiles) {
    const std::pair<CallSource::Kind, const char*> words[] = {
        {CallSource::Kind::app, "app"},
        {CallSource::Kind::browser, "browser"},
        {CallSource::Kind::manual, "manual"},
        {CallSource::Kind::other, "other"},
    };
    for (const auto& [kind, word] : words) {
        EXPECT_EQ(CallSource::rawValue(kind), word);
        EXPECT_EQ(CallSource::kindFromRawValue(word), kind);
    }
}

TEST(CallSource, NoOtherWordIsAKind) {
    for (const char* word : {"", "App", "BROWSER", "app ", " app", "apps", "ap", "none"}) {
        EXPECT_EQ(CallSource::kindFromRawValue(word), std::nullopt) << word;
    }
}

TEST(CallSource, EveryFieldCountsForEqualityAndHash) {
    const CallSource zoom{"zoom.us", "us.zoom.xos", CallSource::Kind::app, std::nullopt, "zoom"};
    const std::unordered_set<CallSource> different{
        zoom,
        {"Zoom", "us.zoom.xos", CallSource::Kind::app, std::nullopt, "zoom"},
        {"zoom.us", "us.zoom", CallSource::Kind::app, std::nullopt, "zoom"},
        {"zoom.us", "us.zoom.xos", CallSource::Kind::other, std::nullopt, "zoom"},
        {"zoom.us", "us.zoom.xos", CallSource::Kind::app, "app.zoom.us", "zoom"},
        {"zoom.us", "us.zoom.xos", CallSource::Kind::app, "", "zoom"},
        {"zoom.us", "us.zoom.xos", CallSource::Kind::app, std::nullopt, "us.zoom.xos"},
    };
    EXPECT_EQ(different.size(), 7U);
    EXPECT_EQ(hashesOf(different).size(), 7U);
    EXPECT_TRUE(different.contains(zoom));
}

TEST(MicUser, EveryFieldCountsForEqualityAndHash) {
    const MicUser zoom{"us.zoom.xos", 7, std::nullopt};
    const std::unordered_set<MicUser> different{
        zoom,
        {"us.zoom", 7, std::nullopt},
        {"us.zoom.xos", 8, std::nullopt},
        {"us.zoom.xos", 7, Titles{}}, // titles can be read and there are none
        {"us.zoom.xos", 7, Titles{""}},
        {"us.zoom.xos", 7, Titles{"a", "b"}},
        {"us.zoom.xos", 7, Titles{"b", "a"}},
    };
    EXPECT_EQ(different.size(), 7U);
    EXPECT_EQ(hashesOf(different).size(), 7U);
    EXPECT_TRUE(different.contains(zoom));
}

TEST(MicUser, HasNoTitlesUnlessGiven) {
    EXPECT_EQ((MicUser{.bundleID = "us.zoom.xos", .pid = 7}).windowTitles, std::nullopt);
}

} // namespace
} // namespace brindle
