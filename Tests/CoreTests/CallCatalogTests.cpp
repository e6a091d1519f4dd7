#include "BrindleRecorderCore/Calls/CallCatalog.hpp"

#include <algorithm>
#include <gtest/gtest.h>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace brindle {
namespace {

using Titles = std::vector<std::string>;

std::string familyOf(const std::string& bundleID) {
    const CallAppFamily* family = CallCatalog::family(bundleID);
    return family == nullptr ? "none" : family->id;
}

std::string hostIn(const Titles& titles) {
    const CallSite* site = CallCatalog::site(titles);
    return site == nullptr ? "none" : site->host;
}

TEST(CallCatalog, ListsTheCallProgramsInOrder) {
    const std::vector<CallAppFamily> expected{
        {"zoom", "zoom.us", {"us.zoom.xos", "us.zoom.CptHost", "us.zoom.caphost"}, false},
        {"teams", "Microsoft Teams", {"com.microsoft.teams2", "com.microsoft.teams"}, false},
        {"slack", "Slack", {"com.tinyspeck.slackmacgap"}, false},
        {"webex",
         "Webex",
         {"Cisco-Systems.Spark", "com.webex.meetingmanager", "com.cisco.webexmeetingsapp"},
         false},
        {"facetime",
         "FaceTime / Phone",
         {"com.apple.FaceTime", "com.apple.avconferenced", "com.apple.TelephonyUtilities"},
         false},
        {"whatsapp", "WhatsApp", {"net.whatsapp.WhatsApp", "desktop.WhatsApp"}, false},
        {"discord", "Discord", {"com.hnc.Discord"}, false},
        {"skype", "Skype", {"com.skype.skype"}, false},
        {"goto", "GoTo Meeting", {"com.logmein.GoToMeeting", "com.logmein.goto"}, false},
        {"whereby", "Whereby", {"com.whereby.app"}, false},
        {"around", "Around", {"co.teamport.around"}, false},
        {"signal", "Signal", {"org.whispersystems.signal-desktop"}, false},
        {"telegram", "Telegram", {"ru.keepcoder.Telegram", "org.telegram.desktop"}, false},
        {"meet-pwa",
         "Google Meet app",
         {"com.google.Chrome.app.kjgfgldnnfoeklkmfkjfagphfepbbdan"},
         false},
    };
    EXPECT_EQ(CallCatalog::apps(), expected);
}

TEST(CallCatalog, ListsTheBrowsersInOrder) {
    const std::vector<CallAppFamily> expected{
        {"chrome", "Google Chrome", {"com.google.Chrome"}, true},
        {"safari", "Safari", {"com.apple.Safari", "com.apple.WebKit"}, true},
        {"arc", "Arc", {"company.thebrowser.Browser"}, true},
        {"edge", "Microsoft Edge", {"com.microsoft.edgemac"}, true},
        {"brave", "Brave", {"com.brave.Browser"}, true},
        {"firefox", "Firefox", {"org.mozilla.firefox"}, true},
    };
    EXPECT_EQ(CallCatalog::browsers(), expected);
}

TEST(CallCatalog, HasOneFamilyForAllOtherPrograms) {
    EXPECT_EQ(
        CallCatalog::otherApps(),
        (CallAppFamily{"other", "Other apps using the microphone", {}, false}));
}

TEST(CallCatalog, ListsCallProgramsThenBrowsersThenTheOthers) {
    std::vector<CallAppFamily> expected = CallCatalog::apps();
    for (const CallAppFamily& browser : CallCatalog::browsers()) {
        expected.push_back(browser);
    }
    expected.push_back(CallCatalog::otherApps());
    EXPECT_EQ(CallCatalog::allFamilies(), expected);

    std::set<std::string> ids;
    for (const CallAppFamily& family : CallCatalog::allFamilies()) {
        ids.insert(family.id);
    }
    EXPECT_EQ(ids.size(), CallCatalog::allFamilies().size()) << "ids must tell families apart";
}

TEST(CallCatalog, ListsTheWebMeetingSitesInOrder) {
    const std::vector<CallSite> expected{
        {"meet.google.com", {"meet.google.com", "meet - ", "google meet"}},
        {"app.zoom.us", {"app.zoom.us", "zoom meeting", "zoom workplace"}},
        {"teams.microsoft.com", {"teams.microsoft.com", "teams.live.com", "microsoft teams"}},
        {"whereby.com", {"whereby.com", "whereby"}},
        {"webex.com", {"webex.com", "webex"}},
        {"around.co", {"around.co", "| around"}},
        {"discord.com", {"discord.com", "discord"}},
        {"app.slack.com", {"app.slack.com", "huddle"}},
        {"meet.jit.si", {"meet.jit.si", "jitsi meet"}},
    };
    EXPECT_EQ(CallCatalog::sites(), expected);
}

TEST(CallCatalog, SitesAreToldByTheirHostFirstAndInLowerCaseAscii) {
    for (const CallSite& site : CallCatalog::sites()) {
        ASSERT_FALSE(site.titleFragments.empty());
        EXPECT_EQ(site.titleFragments.front(), site.host);
        for (const std::string& fragment : site.titleFragments) {
            EXPECT_TRUE(std::all_of(fragment.begin(), fragment.end(), [](char character) {
                return character >= ' ' && character <= '~' && (character < 'A' || character > 'Z');
            })) << fragment;
        }
    }
}

TEST(CallCatalog, ListsTheIgnoredPrefixesInOrder) {
    const std::vector<std::string> expected{
        "com.apple.CoreSpeech",
        "com.apple.SpeechRecognitionCore",
        "com.apple.assistantd",
        "com.apple.Siri",
        "com.apple.siri",
        "com.apple.corespeechd",
        "com.apple.dictation",
        "com.apple.DictationIM",
        "com.apple.accessibility.heard",
        "com.apple.VoiceOver",
        "com.apple.audio",
        "com.apple.cmio",
        "com.apple.controlcenter",
        "com.apple.replayd",
        "com.tamsworth.brindlerecorder",
        "com.tamsworth.callminder",
        "video.fathom",
        "com.superwhisper",
        "com.electron.wispr-flow",
    };
    EXPECT_EQ(CallCatalog::ignoredBundlePrefixes(), expected);
}

TEST(CallCatalog, FindsEveryFamilyByEachOfItsIdentifiersAndTheirContinuations) {
    std::vector<CallAppFamily> families = CallCatalog::apps();
    families.insert(families.end(), CallCatalog::browsers().begin(), CallCatalog::browsers().end());
    for (const CallAppFamily& family : families) {
        for (const std::string& bundleID : family.bundleIDs) {
            EXPECT_EQ(familyOf(bundleID), family.id);
            EXPECT_EQ(familyOf(bundleID + ".helper"), family.id);
            EXPECT_EQ(familyOf(bundleID + "."), family.id);
            EXPECT_NE(familyOf(bundleID + "x"), family.id) << bundleID;
            EXPECT_NE(familyOf(bundleID + "-helper"), family.id) << bundleID;
            EXPECT_NE(familyOf("x" + bundleID), family.id) << bundleID;
        }
    }
}

TEST(CallCatalog, TellsZoomFromItsNeighbours) {
    EXPECT_EQ(familyOf("us.zoom.xos"), "zoom");
    EXPECT_EQ(familyOf("us.zoom.xos.something"), "zoom");
    EXPECT_EQ(familyOf("us.zoom.xosx"), "none");
    EXPECT_EQ(familyOf("us.zoom.xo"), "none");
    EXPECT_EQ(familyOf("us.zoom"), "none");
    EXPECT_EQ(familyOf("US.ZOOM.XOS"), "none");
}

TEST(CallCatalog, NoTeamsIdentifierCoversALongerWord) {
    EXPECT_EQ(familyOf("com.microsoft.teams2"), "teams");
    EXPECT_EQ(familyOf("com.microsoft.teams2x"), "none");
    EXPECT_EQ(familyOf("com.microsoft.teams3"), "none");
}

TEST(CallCatalog, AnInstalledMeetingAppIsACallProgramAndNotItsBrowser) {
    const std::string app = "com.google.Chrome.app.kjgfgldnnfoeklkmfkjfagphfepbbdan";
    EXPECT_EQ(familyOf(app), "meet-pwa");
    EXPECT_TRUE(CallCatalog::browsers().front().matches(app)) << "only the order decides";
    EXPECT_EQ(familyOf("com.google.Chrome.app.someotherapp"), "chrome");
    EXPECT_EQ(familyOf("com.google.Chrome.helper"), "chrome");
}

TEST(CallCatalog, ProcessesOfTheWebEngineBelongToItsBrowser) {
    EXPECT_EQ(familyOf("com.apple.WebKit.GPU"), "safari");
}

TEST(CallCatalog, TheOtherProgramsAreNeverLookedUp) {
    EXPECT_EQ(familyOf(""), "none");
    EXPECT_EQ(familyOf("other"), "none");
    EXPECT_FALSE(CallCatalog::otherApps().matches(""));
    EXPECT_FALSE(CallCatalog::otherApps().matches("other"));
}

TEST(CallCatalog, IgnoresWhateverBeginsWithAnIgnoredPrefix) {
    for (const std::string& prefix : CallCatalog::ignoredBundlePrefixes()) {
        EXPECT_TRUE(CallCatalog::isIgnored(prefix)) << prefix;
        EXPECT_TRUE(CallCatalog::isIgnored(prefix + ".helper")) << prefix;
        EXPECT_TRUE(CallCatalog::isIgnored(prefix + "x")) << prefix;
        EXPECT_FALSE(CallCatalog::isIgnored("x" + prefix)) << prefix;
    }
    EXPECT_TRUE(CallCatalog::isIgnored("com.apple.audio.SandboxHelper"));
    EXPECT_TRUE(CallCatalog::isIgnored("com.apple.audiomxd"));
}

TEST(CallCatalog, IgnoresBothSpellingsOfTheAssistantAndNoThird) {
    EXPECT_TRUE(CallCatalog::isIgnored("com.apple.Siri"));
    EXPECT_TRUE(CallCatalog::isIgnored("com.apple.siri"));
    EXPECT_FALSE(CallCatalog::isIgnored("com.apple.SIRI"));
}

TEST(CallCatalog, IgnoresNoCallProgramAndNoBrowser) {
    for (const CallAppFamily& family : CallCatalog::allFamilies()) {
        for (const std::string& bundleID : family.bundleIDs) {
            EXPECT_FALSE(CallCatalog::isIgnored(bundleID)) << bundleID;
        }
    }
    EXPECT_FALSE(CallCatalog::isIgnored(""));
    EXPECT_FALSE(CallCatalog::isIgnored("com.apple."));
}

TEST(CallCatalog, FindsEverySiteByEachOfItsFragments) {
    for (const CallSite& site : CallCatalog::sites()) {
        for (const std::string& fragment : site.titleFragments) {
            std::string shouted = fragment;
            std::transform(shouted.begin(), shouted.end(), shouted.begin(), [](char character) {
                return character >= 'a' && character <= 'z'
                           ? static_cast<char>(character - 'a' + 'A')
                           : character;
            });
            EXPECT_EQ(hostIn({fragment}), site.host);
            EXPECT_EQ(hostIn({"(1) " + fragment + "/room?x — Browser"}), site.host);
            EXPECT_EQ(hostIn({shouted}), site.host);
        }
    }
}

TEST(CallCatalog, FindsSitesInTitlesAsTheyAreSeen) {
    const std::pair<const char*, const char*> titles[] = {
        {"Weekly sync - Google Meet - Chromium", "meet.google.com"},
        {"Meet - abc-defg-hij", "meet.google.com"},
        {"Meet – abc-defg-hij", "none"}, // an en dash is no hyphen
        {"Zoom Meeting", "app.zoom.us"},
        {"Zoom Workplace - Home", "app.zoom.us"},
        {"Calendar | Microsoft Teams", "teams.microsoft.com"},
        {"teams.live.com/meet/123", "teams.microsoft.com"},
        {"my-room | Whereby", "whereby.com"},
        {"Cisco Webex", "webex.com"},
        {"Stand-up | Around", "around.co"},
        {"A walk around town", "none"},
        {"#general | Discord", "discord.com"},
        {"Huddle in #team", "app.slack.com"},
        {"Standup | Jitsi Meet — Mozilla Firefox", "meet.jit.si"},
        {"Inbox (3) - Mail", "none"},
        {"", "none"},
    };
    for (const auto& [title, host] : titles) {
        EXPECT_EQ(hostIn({title}), host) << title;
    }
}

TEST(CallCatalog, NoTitlesShowNoSite) {
    EXPECT_EQ(hostIn({}), "none");
}

TEST(CallCatalog, AmongTheSitesOfOneTitleTheFirstInTheTableWins) {
    EXPECT_EQ(hostIn({"huddle about discord"}), "discord.com");
    EXPECT_EQ(hostIn({"jitsi meet or google meet?"}), "meet.google.com");
}

TEST(CallCatalog, AnEarlierTitleWinsOverABetterSiteInALaterOne) {
    EXPECT_EQ(hostIn({"Inbox", "Standup | Jitsi Meet", "Google Meet"}), "meet.jit.si");
}

TEST(CallCatalog, OnlyAsciiLettersMatchInEitherCase) {
    EXPECT_EQ(hostIn({"GoOgLe MeEt"}), "meet.google.com");
    EXPECT_EQ(hostIn({"ÀÉ – ZOOM MEETING – ÖÜ"}), "app.zoom.us");
    EXPECT_EQ(hostIn({"ZOOM MEETİNG"}), "none");             // Turkish capital I with a dot
    EXPECT_EQ(hostIn({"app.slac\xe2\x84\xaa.com"}), "none"); // Kelvin sign
    EXPECT_EQ(hostIn({"ｇｏｏｇｌｅ ｍｅｅｔ"}), "none");    // full-width letters
    // The neighbours of the letters in ASCII have no case.
    EXPECT_EQ(hostIn({"@ AROUND"}), "none");
    EXPECT_EQ(hostIn({"\\ AROUND"}), "none");
    EXPECT_EQ(hostIn({"| AROUND"}), "around.co");
}

TEST(CallCatalog, HostileTitlesAreOnlyText) {
    const std::string invalid = "\xff\xfe\x80\xc3(\xed\xa0\x80\xf5\xc0";
    EXPECT_EQ(hostIn({invalid}), "none");
    EXPECT_EQ(hostIn({invalid + "Google Meet" + invalid}), "meet.google.com");

    const std::string withZero{"a\0Webex", 7};
    EXPECT_EQ(hostIn({withZero}), "webex.com");
    EXPECT_EQ(hostIn({std::string(1, '\0')}), "none");

    std::string everyByte;
    for (int byte = 0; byte < 256; ++byte) {
        everyByte.push_back(static_cast<char>(byte));
    }
    EXPECT_EQ(hostIn({everyByte}), "none");
    EXPECT_EQ(hostIn({everyByte + "HUDDLE"}), "app.slack.com");
}

TEST(CallCatalog, VeryLongTitlesAreReadToTheirEnd) {
    constexpr std::size_t oneMegabyte = 1'000'000;
    for (const char filler : {'m', 'a', ' ', '\xff', '\0'}) {
        const std::string filling(oneMegabyte, filler);
        EXPECT_EQ(hostIn({filling}), "none");
        EXPECT_EQ(hostIn({filling + "JITSI MEET"}), "meet.jit.si");
    }
}

} // namespace
} // namespace brindle
