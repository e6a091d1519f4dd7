#include "BrindleRecorderLinux/Language/GettextLanguage.hpp"

#include "BrindleRecorderCore/Base/ByteCount.hpp"
#include "Support/EnvironmentVariable.hpp"

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <optional>
#include <string>

// Raised, it makes gettext read the environment again.
extern "C" int _nl_msg_cat_cntr; // NOLINT(bugprone-reserved-identifier)

namespace brindle {
namespace {

/// The built catalogues, in an environment of the test's own. The locale is one that every Debian
/// has, unless the test says otherwise.
struct Speaker {
    explicit Speaker(
        const std::optional<std::string>& language, const std::string& locale = "C.UTF-8")
        : language_{"LANGUAGE", language}, locale_{"LC_ALL", locale} {
        ++_nl_msg_cat_cntr;
    }

    test::EnvironmentVariable language_;
    test::EnvironmentVariable locale_;
    const GettextLanguage speaks{BRINDLE_CATALOGUES};
};

TEST(GettextLanguage, SpeaksWhatTheEnvironmentAsksFor) {
    const Speaker german{"de"};
    EXPECT_EQ(german.speaks.say("Stop recording"), "Aufnahme beenden");
    EXPECT_EQ(
        german.speaks.say("{program} is using the microphone.", fmt::arg("program", "Zoom")),
        "Zoom benutzt das Mikrofon.");
}

TEST(GettextLanguage, SpeaksTheNextBestOfSeveral) {
    EXPECT_EQ(Speaker{"xx:fr:de"}.speaks.say("Camera"), "Caméra");
}

TEST(GettextLanguage, TellsApartWhatIsOneWordInEnglish) {
    const Speaker german{"de"};
    EXPECT_EQ(german.speaks.sayOf("camera", "none"), "keine Kamera");
    EXPECT_EQ(german.speaks.sayOf("microphone", "none"), "kein Mikrofon");
    EXPECT_EQ(german.speaks.sayOf("elsewhere", "none"), "none");
}

TEST(GettextLanguage, CountsAsItsSpeakersDo) {
    const Speaker french{"fr"};
    EXPECT_EQ(ByteCount::format(0, french.speaks), "0 octet");
    EXPECT_EQ(ByteCount::format(2, french.speaks), "2 octets");
    EXPECT_EQ(ByteCount::format(1'230'000'000, french.speaks), "1,23\u00a0Go");
}

TEST(GettextLanguage, SpeaksEnglishWhereThereIsNoTranslation) {
    EXPECT_EQ(Speaker{"de"}.speaks.say("nobody has translated this"), "nobody has translated this");
    EXPECT_EQ(Speaker{"xx"}.speaks.say("Camera"), "Camera");
    EXPECT_EQ(Speaker{std::nullopt}.speaks.say("Camera"), "Camera");
}

TEST(GettextLanguage, SpeaksEnglishToWhomPrefersIt) {
    EXPECT_EQ(Speaker{"en:de"}.speaks.say("Camera"), "Camera");
    EXPECT_EQ(Speaker{"en_GB:de"}.speaks.say("Camera"), "Camera");
}

TEST(GettextLanguage, SpeaksEnglishWhereTheSystemHasNoSuchLocale) {
    EXPECT_EQ((Speaker{"de", "C"}.speaks.say("Camera")), "Camera");
    const Speaker nowhere{"de", "xx_XX.UTF-8"};
    EXPECT_EQ(nowhere.speaks.say("Camera"), "Camera");
    EXPECT_EQ(ByteCount::format(1, nowhere.speaks), "1 byte");
    EXPECT_EQ(ByteCount::format(2, nowhere.speaks), "2 bytes");
}

TEST(GettextLanguage, LeavesTheProcessInEnglish) {
    const Speaker german{"de"};
    ASSERT_EQ(german.speaks.say("Camera"), "Kamera");
    EXPECT_STREQ(std::strerror(ENOENT), "No such file or directory");
    EXPECT_EQ(std::to_string(1.5), "1.500000");
}

} // namespace
} // namespace brindle
