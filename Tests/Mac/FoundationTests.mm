// Texts, errors, preferences and volumes across the border to Foundation.
#include "BrindleRecorderMac/Foundation/FoundationError.hpp"
#include "BrindleRecorderMac/Foundation/NotificationObservation.hpp"
#include "BrindleRecorderMac/Foundation/Retained.hpp"
#include "BrindleRecorderMac/Foundation/Text.hpp"
#include "BrindleRecorderMac/Foundation/UserDefaultsStore.hpp"
#include "BrindleRecorderMac/Foundation/Utf8.hpp"
#include "BrindleRecorderMac/Foundation/VolumeFileManager.hpp"

#include "GNUstep/SystemStandIn.hpp"

#import <AVFoundation/AVFoundation.h>

#include <atomic>
#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace brindle {
namespace {

using test::systemStandIn;

TEST(Retained, HoldsAsManyTimesAsThereAreHandles) {
    const auto first = taking([[NSObject alloc] init]);
    EXPECT_EQ([first.get() retainCount], 1U);
    {
        const auto second = first;
        EXPECT_EQ([first.get() retainCount], 2U);
        Retained<NSObject> third = keeping(first.get());
        EXPECT_EQ([first.get() retainCount], 3U);
        third = Retained<NSObject>{};
        EXPECT_EQ([first.get() retainCount], 2U);
    }
    EXPECT_EQ([first.get() retainCount], 1U);
    EXPECT_FALSE(Retained<NSObject>{});
}

TEST(Text, GoesThereAndBack) {
    for (const std::string& text :
         {std::string{}, std::string{"plain"}, std::string{"K\xC3\xB6nig \xF0\x9F\x8E\xA5"},
          std::string{"with\0zero", 9}}) {
        EXPECT_EQ(stringOf(nsString(text)), text);
    }
    EXPECT_EQ(stringOf(nil), "");
}

TEST(Text, ThatIsNoUtf8CanBeShownAllTheSame) {
    EXPECT_EQ(
        stringOf(nsString("a\xFF"
                          "b")),
        "a\xEF\xBF\xBD"
        "b");
    EXPECT_NE(nsString("\xC3"), nil);
}

TEST(Utf8, EveryByteThatBelongsToNoCharacterIsReplaced) {
    const std::string r = "\xEF\xBF\xBD";
    EXPECT_EQ(withReplacedInvalidUtf8(""), "");
    EXPECT_EQ(withReplacedInvalidUtf8("\xF0\x9F\x8E\xA5"), "\xF0\x9F\x8E\xA5");
    EXPECT_EQ(withReplacedInvalidUtf8("\xC0\x80"), r + r) << "too long";
    EXPECT_EQ(withReplacedInvalidUtf8("\xE0\x80\x80"), r + r + r) << "too long";
    EXPECT_EQ(withReplacedInvalidUtf8("\xED\xA0\x80"), r + r + r) << "half a surrogate pair";
    EXPECT_EQ(withReplacedInvalidUtf8("\xED\x9F\xBF"), "\xED\x9F\xBF");
    EXPECT_EQ(withReplacedInvalidUtf8("\xF4\x90\x80\x80"), r + r + r + r) << "beyond Unicode";
    EXPECT_EQ(withReplacedInvalidUtf8("\xF4\x8F\xBF\xBF"), "\xF4\x8F\xBF\xBF");
    EXPECT_EQ(withReplacedInvalidUtf8("a\xE2\x82"), "a" + r + r) << "cut off";
    EXPECT_EQ(
        withReplacedInvalidUtf8("\xC3"
                                "a"),
        r + "a");
}

TEST(Paths, AreThoseOfFilesAlone) {
    EXPECT_EQ(pathOf(fileUrl("/tmp/a b/\xC3\xB6.mov")), "/tmp/a b/\xC3\xB6.mov");
    EXPECT_EQ(pathOf([NSURL URLWithString:@"http://example.com/a"]), "");
    EXPECT_EQ(pathOf(nil), "");
}

TEST(FoundationError, CarriesEverythingThatTheErrorSays) {
    NSError* const cause = [NSError errorWithDomain:NSPOSIXErrorDomain code:ENOSPC userInfo:nil];
    NSDictionary* const info = [NSDictionary
        dictionaryWithObjectsAndKeys:cause, NSUnderlyingErrorKey, @"Disk full",
                                     NSLocalizedDescriptionKey, [NSNumber numberWithBool:YES],
                                     AVErrorRecordingSuccessfullyFinishedKey, @"x", @"Other", nil];
    const auto error = platformErrorOf([NSError errorWithDomain:@"AVFoundationErrorDomain"
                                                           code:-11810
                                                       userInfo:info]);
    EXPECT_EQ(error.domain, "AVFoundationErrorDomain");
    EXPECT_EQ(error.code, -11810);
    EXPECT_EQ(error.description, "Disk full");
    EXPECT_EQ(error.underlying, (PlatformError::Underlying{stringOf(NSPOSIXErrorDomain), ENOSPC}));
    EXPECT_TRUE(error.recordingSuccessfullyFinished);
    EXPECT_EQ(error.userInfo.at("Other"), "x");
    EXPECT_EQ(optionalErrorOf(nil), std::nullopt);
}

TEST(FoundationError, WithoutMoreIsNotTakenForACompleteRecording) {
    const auto error = platformErrorOf([NSError errorWithDomain:@"D" code:4 userInfo:nil]);
    EXPECT_FALSE(error.recordingSuccessfullyFinished);
    EXPECT_EQ(error.underlying, std::nullopt);
}

TEST(FoundationError, IsMadeOfWhatAFrameworkRaises) {
    const auto raised =
        raisedBy([] { [NSException raise:NSInvalidArgumentException format:@"no such preset"]; });
    ASSERT_TRUE(raised);
    EXPECT_EQ(raised->domain, "NSInvalidArgumentException");
    EXPECT_EQ(raised->description, "no such preset");
    bool wasCalled = false;
    EXPECT_EQ(raisedBy([&] { wasCalled = true; }), std::nullopt);
    EXPECT_TRUE(wasCalled);
}

class UserDefaultsStoreTest : public testing::Test {
  protected:
    NSUserDefaults* const standard_ = [NSUserDefaults standardUserDefaults];
    UserDefaultsStore store_{standard_};
};

TEST_F(UserDefaultsStoreTest, ReadsWhatItHasWritten) {
    store_.setString("name", "K\xC3\xB6nig");
    store_.setBoolean("flag", true);
    store_.setBoolean("other flag", false);
    store_.setStringArray("list", {"b", "a"});
    store_.setStringArray("nothing", {});
    EXPECT_EQ(store_.string("name"), "K\xC3\xB6nig");
    EXPECT_EQ(store_.boolean("flag"), true);
    EXPECT_EQ(store_.boolean("other flag"), false);
    EXPECT_EQ(store_.stringArray("list"), (std::vector<std::string>{"b", "a"}));
    EXPECT_EQ(store_.stringArray("nothing"), std::vector<std::string>{});
    store_.remove("name");
    EXPECT_EQ(store_.string("name"), std::nullopt);
}

TEST_F(UserDefaultsStoreTest, AnotherTypeReadsAsAbsent) {
    store_.setString("text", "YES");
    [standard_ setObject:[NSNumber numberWithInt:1] forKey:@"number"];
    [standard_ setObject:[NSArray arrayWithObjects:@"a", [NSNumber numberWithInt:1], nil]
                  forKey:@"mixed"];
    EXPECT_EQ(store_.boolean("text"), std::nullopt);
    EXPECT_EQ(store_.boolean("number"), std::nullopt) << "a number is no truth value";
    EXPECT_EQ(store_.string("number"), std::nullopt);
    EXPECT_EQ(store_.stringArray("mixed"), std::nullopt);
    EXPECT_EQ(store_.stringArray("text"), std::nullopt);
    for (const char* key : {"missing", ""}) {
        EXPECT_EQ(store_.string(key), std::nullopt);
        EXPECT_EQ(store_.boolean(key), std::nullopt);
        EXPECT_EQ(store_.stringArray(key), std::nullopt);
    }
}

TEST(VolumeFileManager, FreeSpaceIsWhatSomethingImportantWouldGet) {
    test::SystemStandIn::reset();
    const VolumeFileManager files;
    EXPECT_EQ(*files.availableCapacity("/tmp"), 1'000);
    systemStandIn.importantCapacity.reset();
    EXPECT_EQ(*files.availableCapacity("/tmp"), std::nullopt);
    systemStandIn.capacityError = ENOENT;
    const auto failed = files.availableCapacity("/nowhere");
    ASSERT_FALSE(failed);
    EXPECT_EQ(failed.error().code, std::errc::no_such_file_or_directory);
    EXPECT_EQ(failed.error().path, "/nowhere");
}

TEST(NotificationObservation, HearsOnTheMainThreadUntilItEnds) {
    NSNotificationCenter* const center = [NSNotificationCenter defaultCenter];
    int heard = 0;
    bool isMain = true;
    auto observation = observeNotifications(center, @"Test", nil, [&](NSNotification*) {
        ++heard;
        isMain &= [NSThread isMainThread] != NO;
    });
    std::atomic<bool> isPosted{false};
    test::onForeignThread([&] {
        [center postNotificationName:@"Test" object:nil];
        isPosted = true;
    });
    EXPECT_TRUE(test::eventually([&] { return heard == 1; }));
    EXPECT_TRUE(isMain);
    observation.reset();
    [center postNotificationName:@"Test" object:nil];
    test::drainMainQueue();
    EXPECT_EQ(heard, 1);
    EXPECT_TRUE(test::eventually([&] { return isPosted.load(); }));
}

} // namespace
} // namespace brindle
