// A corpus of programs as desktops run them, each packaging with the paths, control groups and
// sandboxes that it brings, and what each has to be recognised as.
#include "BrindleRecorderCore/CallCatalog.hpp"
#include "BrindleRecorderLinux/Processes/ApplicationIdentity.hpp"
#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"
#include "LinuxTests/FakeProc.hpp"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace brindle {
namespace {

constexpr std::int32_t pid = 4000;

enum class Packaging { native, tarball, flatpak, snap, appImage, wrapper };

struct KnownProgram {
    std::string expected;
    Packaging packaging;
    FakeProcess process;
};

FakeProcess program(std::string executable, std::vector<std::string> arguments = {}) {
    return {.pid = pid, .executable = std::move(executable), .arguments = std::move(arguments)};
}

FakeProcess inGroup(FakeProcess process, std::string unit) {
    process.controlGroup =
        "/user.slice/user-1000.slice/user@1000.service/app.slice/" + std::move(unit);
    return process;
}

/// As Flatpak runs it: the executable's path is the sandbox's.
FakeProcess inFlatpak(const std::string& id, std::string executable) {
    FakeProcess process =
        inGroup(program(std::move(executable)), "app-flatpak-" + id + "-77.scope");
    process.flatpakID = id;
    return process;
}

FakeProcess inSnap(const std::string& name, const std::string& path) {
    return inGroup(
        program("/snap/" + name + "/42/" + path),
        "snap." + name + "." + name + "-0f6a11b2-9f0a-4b0e.scope");
}

const std::string zoom = "us.zoom.xos";
const std::string teams = "com.microsoft.teams2";
const std::string oldTeams = "com.microsoft.teams";
const std::string slack = "com.tinyspeck.slackmacgap";
const std::string webex = "Cisco-Systems.Spark";
const std::string whatsApp = "net.whatsapp.WhatsApp";
const std::string discord = "com.hnc.Discord";
const std::string skype = "com.skype.skype";
const std::string signalMessenger = "org.whispersystems.signal-desktop";
const std::string telegram = "org.telegram.desktop";
const std::string meetApp = "com.google.Chrome.app.kjgfgldnnfoeklkmfkjfagphfepbbdan";
const std::string chrome = "com.google.Chrome";
const std::string edge = "com.microsoft.edgemac";
const std::string brave = "com.brave.Browser";
const std::string firefox = "org.mozilla.firefox";

std::vector<KnownProgram> callProgramsAndBrowsers() {
    using enum Packaging;
    const std::string meet = "--app-id=kjgfgldnnfoeklkmfkjfagphfepbbdan";
    return {
        {zoom, native, program("/opt/zoom/zoom")},
        {zoom, native, program("/opt/zoom/zoom (deleted)")},
        {zoom, native, program("/opt/zoom/ZoomLauncher")},
        {zoom, native, program("/nix/store/0abc-zoom-6.1/opt/zoom/.zoom-wrapped")},
        {zoom, tarball, program("/home/ann/zoom/zoom")},
        {zoom, flatpak, inFlatpak("us.zoom.Zoom", "/app/extra/zoom/zoom")},
        {zoom, snap, inSnap("zoom-client", "zoom/zoom")},
        {teams, native, program("/opt/teams-for-linux/teams-for-linux")},
        {teams, appImage, program("/tmp/.mount_teams-qHd4a/teams-for-linux")},
        {teams, flatpak,
         inFlatpak(
             "com.github.IsmaelMartinez.teams_for_linux", "/app/teams-for-linux/teams-for-linux")},
        {teams, snap, inSnap("teams-for-linux", "teams-for-linux")},
        {teams, wrapper,
         program(
             "/usr/lib/electron37/electron", {"/usr/lib/electron37/electron", "--no-sandbox",
                                              "/usr/lib/teams-for-linux/app.asar"})},
        {oldTeams, native, program("/usr/share/teams/teams")},
        {oldTeams, native, program("/usr/share/teams-insiders/teams-insiders")},
        {oldTeams, flatpak, inFlatpak("com.microsoft.Teams", "/app/extra/share/teams/teams")},
        {slack, native, program("/usr/lib/slack/slack")},
        {slack, flatpak, inFlatpak("com.slack.Slack", "/app/extra/slack")},
        {slack, snap, inSnap("slack", "usr/lib/slack/slack")},
        {slack, wrapper,
         program(
             "/usr/lib/electron/electron",
             {"electron", "/usr/lib/slack/resources/app.asar", "--silent"})},
        {webex, native, program("/opt/Webex/bin/CiscoCollabHost")},
        {webex, native, program("/opt/Webex/bin/CiscoCollabHostCef")},
        {webex, tarball, program("/home/ann/webex/opt/Webex/bin/CiscoCollabHost")},
        {discord, native, program("/usr/share/discord/Discord")},
        {discord, native, program("/usr/share/discord-ptb/DiscordPTB")},
        {discord, native, program("/usr/share/discord-canary/DiscordCanary")},
        {discord, tarball, program("/home/ann/Discord/Discord")},
        {discord, flatpak, inFlatpak("com.discordapp.Discord", "/app/discord/Discord")},
        {discord, flatpak,
         inFlatpak("com.discordapp.DiscordCanary", "/app/discord-canary/DiscordCanary")},
        {discord, flatpak, inFlatpak("dev.vencord.Vesktop", "/app/bin/vesktop/vesktop.bin")},
        {discord, snap, inSnap("discord", "usr/share/discord/Discord")},
        {discord, appImage, program("/tmp/.mount_VesktoA1b2C3/vesktop")},
        {discord, wrapper, program("/usr/lib/webcord/webcord")},
        {skype, native, program("/usr/share/skypeforlinux/skypeforlinux")},
        {skype, flatpak, inFlatpak("com.skype.Client", "/app/extra/skypeforlinux")},
        {skype, snap, inSnap("skype", "usr/share/skypeforlinux/skypeforlinux")},
        {signalMessenger, native, program("/opt/Signal/signal-desktop")},
        {signalMessenger, native, program("/opt/Signal Beta/signal-desktop-beta")},
        {signalMessenger, flatpak, inFlatpak("org.signal.Signal", "/app/Signal/signal-desktop")},
        {signalMessenger, snap, inSnap("signal-desktop", "opt/Signal/signal-desktop")},
        {telegram, native, program("/usr/bin/telegram-desktop")},
        {telegram, tarball, program("/home/ann/Telegram/Telegram")},
        {telegram, flatpak, inFlatpak("org.telegram.desktop", "/app/bin/telegram-desktop")},
        {telegram, snap, inSnap("telegram-desktop", "usr/bin/telegram-desktop")},
        {whatsApp, flatpak, inFlatpak("com.rtosta.zapzap", "/usr/bin/python3.12")},
        {whatsApp, wrapper,
         program("/usr/bin/python3.11", {"/usr/bin/python3", "/usr/bin/zapzap", "--hideStart"})},
        {whatsApp, wrapper, program("/usr/bin/python3.11", {"python3", "-m", "zapzap"})},
        {whatsApp, snap, inSnap("whatsdesk", "whatsdesk")},
        {whatsApp, native, program("/usr/bin/whatsie")},
        {chrome, native, program("/opt/google/chrome/chrome")},
        {chrome, native, program("/opt/google/chrome-beta/chrome")},
        {chrome, native, program("/opt/google/chrome-unstable/chrome")},
        {chrome, flatpak, inFlatpak("com.google.Chrome", "/app/extra/chrome")},
        {chrome, flatpak, inFlatpak("com.google.ChromeDev", "/app/extra/chrome")},
        {chrome, native, program("/usr/lib/chromium/chromium")},
        {chrome, flatpak, inFlatpak("org.chromium.Chromium", "/app/chromium/chrome")},
        {chrome, snap, inSnap("chromium", "usr/lib/chromium-browser/chrome")},
        {chrome, tarball, program("/home/ann/chromium/src/out/Release/chrome")},
        {meetApp, native,
         program(
             "/opt/google/chrome/chrome",
             {"/opt/google/chrome/chrome", "--profile-directory=Default", meet})},
        {meetApp, flatpak,
         [&] {
             FakeProcess process = inFlatpak("org.chromium.Chromium", "/app/chromium/chrome");
             process.arguments = {"/app/chromium/chrome", meet};
             return process;
         }()},
        {edge, native, program("/opt/microsoft/msedge/msedge")},
        {edge, native, program("/opt/microsoft/msedge-beta/msedge")},
        {edge, native, program("/opt/microsoft/msedge-dev/msedge")},
        {edge, flatpak, inFlatpak("com.microsoft.Edge", "/app/extra/msedge")},
        {brave, native, program("/opt/brave.com/brave/brave")},
        {brave, native, program("/opt/brave.com/brave-nightly/brave")},
        {brave, flatpak, inFlatpak("com.brave.Browser", "/app/brave/brave")},
        {brave, snap, inSnap("brave", "opt/brave.com/brave/brave")},
        {firefox, native, program("/usr/lib/firefox/firefox")},
        {firefox, native, program("/usr/lib/firefox-esr/firefox-esr")},
        {firefox, native, program("/usr/lib/firefox-esr/firefox-esr (deleted)")},
        {firefox, tarball, program("/home/ann/firefox/firefox-bin")},
        {firefox, flatpak, inFlatpak("org.mozilla.firefox", "/app/lib/firefox/firefox")},
        {firefox, snap, inSnap("firefox", "usr/lib/firefox/firefox")},
    };
}

std::string describe(const FakeProcess& process) {
    std::string text = process.executable;
    for (const auto& argument : process.arguments) {
        text += " [" + argument + "]";
    }
    return text + " in " + process.controlGroup + " " + process.flatpakID;
}

std::string identified(const FakeProcess& process) {
    const FakeProc proc;
    proc.add(process);
    return ProcProcessRegistry{proc.folder()}.bundleIdentifier(process.pid).value_or("nothing");
}

TEST(ApplicationIdentity, KnowsEveryCallProgramAndBrowserInItsPackagings) {
    const auto corpus = callProgramsAndBrowsers();
    EXPECT_GE(corpus.size(), 40U);
    for (const KnownProgram& known : corpus) {
        EXPECT_EQ(identified(known.process), known.expected) << describe(known.process);
    }
}

TEST(ApplicationIdentity, TheCorpusHasEveryFamilyOfThisSystemInTwoPackagings) {
    // The others have no program here: they are met in a browser, or not at all.
    const std::set<std::string> elsewhere{"facetime", "goto", "whereby", "around", "safari", "arc"};
    std::map<std::string, std::set<Packaging>> packagings;
    for (const KnownProgram& known : callProgramsAndBrowsers()) {
        const auto* const family = CallCatalog::family(known.expected);
        ASSERT_NE(family, nullptr) << known.expected;
        packagings[family->id].insert(known.packaging);
    }
    for (const auto* families : {&CallCatalog::apps(), &CallCatalog::browsers()}) {
        for (const auto& family : *families) {
            if (!elsewhere.contains(family.id)) {
                EXPECT_GE(packagings[family.id].size(), 2U) << family.id;
            }
        }
    }
}

TEST(ApplicationIdentity, EveryRowLeadsToAFamilyOrToAnIgnoredIdentifier) {
    std::set<std::pair<IdentitySource, std::string_view>> seen;
    for (const ApplicationRow& row : ApplicationTable::rows()) {
        EXPECT_NE(
            CallCatalog::family(row.identifier) != nullptr, CallCatalog::isIgnored(row.identifier))
            << row.name;
        EXPECT_FALSE(row.name.empty());
        EXPECT_FALSE(row.evidence.empty()) << row.name;
        EXPECT_TRUE(seen.emplace(row.source, row.name).second) << row.name << " is there twice";
    }
}

TEST(ApplicationIdentity, IgnoresWhatHoldsTheMicrophoneWithoutACall) {
    const std::vector<FakeProcess> programs{
        program("/usr/bin/pavucontrol"),
        program("/usr/bin/gnome-control-center"),
        program("/usr/bin/gnome-shell"),
        program("/usr/bin/plasmashell"),
        program("/usr/bin/pipewire"),
        program("/usr/bin/pipewire-pulse"),
        program("/usr/bin/wireplumber"),
        program("/usr/bin/pulseaudio"),
        program("/usr/bin/easyeffects"),
        inFlatpak("com.github.wwmm.easyeffects", "/app/bin/easyeffects"),
        program("/usr/bin/noisetorch"),
        program("/usr/bin/speech-dispatcher"),
        program("/usr/bin/python3.11", {"/usr/bin/python3", "/usr/bin/orca"}),
        program(
            "/usr/bin/python3.11", {"python3", "/home/ann/nerd-dictation/nerd-dictation", "begin"}),
        program("/usr/bin/obs"),
        inFlatpak("com.obsproject.Studio", "/app/bin/obs"),
        inSnap("obs-studio", "usr/bin/obs"),
        program("/usr/bin/simplescreenrecorder"),
        program("/usr/bin/audacity"),
        program("/usr/bin/brindle-recorder"),
    };
    for (const FakeProcess& each : programs) {
        EXPECT_TRUE(CallCatalog::isIgnored(identified(each)))
            << describe(each) << " is " << identified(each);
    }
}

TEST(ApplicationIdentity, LabelsUnknownProgramsReadably) {
    const std::vector<std::pair<FakeProcess, std::string>> cases{
        {program("/usr/bin/arecord"), "arecord"},
        {program("/usr/bin/mumble (deleted)"), "mumble"},
        {program("/usr/bin/python3.11", {"python3", "/home/ann/bin/dictate.py"}), "dictate"},
        {program("/usr/bin/python3.11", {"python3", "-c", "pass"}), "python3.11"},
        {program("/usr/bin/python3.11", {"python3"}), "python3.11"},
        {program("/usr/bin/java", {"java", "-Xmx1g", "-jar", "/opt/phone/phone.jar"}), "phone"},
        {inFlatpak("info.mumble.Mumble", "/app/bin/mumble"), "info.mumble.Mumble"},
        {inSnap("linphone", "usr/bin/linphone"), "linphone"},
        {inGroup(program("/usr/libexec/WebKitWebProcess"), "app-gnome-org.gnome.Epiphany-81.scope"),
         "org.gnome.Epiphany"},
        {{.pid = pid, .executable = "", .arguments = {"x"}, .command = "hidden"}, "hidden"},
        {program("/usr/bin/zoomx"), "zoomx"},
        {program("/usr/bin/Zoom"), "Zoom"},
    };
    for (const auto& [process, label] : cases) {
        EXPECT_EQ(identified(process), label) << describe(process);
    }
}

TEST(ApplicationIdentity, AProgramLinkedUnderAnotherNameIsThatName) {
    FakeProcess linked = program("/usr/bin/pw-cat", {"/home/ann/bin/zoom", "--record", "-"});
    linked.command = "zoom";
    EXPECT_EQ(identified(linked), zoom);

    FakeProcess longName = program("/usr/bin/pw-cat", {"signal-desktop-beta"});
    longName.command = "signal-desktop-";
    EXPECT_EQ(identified(longName), signalMessenger);

    // Either alone can be set by the program itself.
    FakeProcess onlyArgument = program("/usr/bin/pw-cat", {"zoom"});
    EXPECT_EQ(identified(onlyArgument), "pw-cat");
    FakeProcess onlyCommand = program("/usr/bin/pw-cat", {"pw-cat"});
    onlyCommand.command = "zoom";
    EXPECT_EQ(identified(onlyCommand), "pw-cat");
}

TEST(ApplicationIdentity, AnUnreadableExecutableLeavesTheNameItWasStartedBy) {
    EXPECT_EQ(
        identified(
            {.pid = pid, .executable = "", .arguments = {"/opt/zoom/zoom"}, .command = "zoom"}),
        zoom);
}

TEST(ApplicationIdentity, TheProgramCountsMoreThanTheApplicationThatStartedIt) {
    // Opened from a link in Slack, and so within Slack's scope.
    EXPECT_EQ(
        identified(inGroup(program("/usr/lib/firefox/firefox"), "app-gnome-slack-9.scope")),
        firefox);
    // A program without a name of its own is what the desktop started.
    EXPECT_EQ(identified(inGroup(program("/usr/bin/electron"), "app-gnome-slack-9.scope")), slack);
    EXPECT_EQ(
        identified(inGroup(program("/usr/bin/electron"), "app-gnome-signal\\x2ddesktop-9.scope")),
        signalMessenger);
}

class Family : public testing::Test {
  protected:
    static constexpr std::int32_t grandparent = 3998;
    static constexpr std::int32_t parent = 3999;

    void add(std::int32_t number, std::int32_t above, FakeProcess process) const {
        process.pid = number;
        process.parent = above;
        proc_.add(process);
    }
    [[nodiscard]] std::string identity() const {
        return ProcProcessRegistry{proc_.folder()}.bundleIdentifier(pid).value_or("nothing");
    }

  private:
    FakeProc proc_;
};

TEST_F(Family, AHelperBelongsToTheApplicationAboveIt) {
    add(grandparent, 1, program("/usr/lib/slack/slack"));
    add(parent, grandparent, program("/usr/lib/slack/chrome_crashpad_handler"));
    add(pid, parent, program("/usr/lib/slack/audio-helper"));
    EXPECT_EQ(identity(), slack);
}

TEST_F(Family, ARecorderThatADictationToolStartsIsDictation) {
    add(parent, 1, program("/usr/bin/python3.11", {"python3", "/usr/bin/nerd-dictation", "begin"}));
    add(pid, parent, program("/usr/bin/pacat", {"parec", "--record"}));
    EXPECT_TRUE(CallCatalog::isIgnored(identity())) << identity();
}

TEST_F(Family, TheBrowsersAudioServiceBelongsToTheWebApplicationThatTheBrowserWasStartedFor) {
    const std::string browser = "/opt/google/chrome/chrome";
    add(grandparent, 1, program(browser, {browser, "--app-id=kjgfgldnnfoeklkmfkjfagphfepbbdan"}));
    add(parent, grandparent, program(browser, {browser, "--type=zygote"}));
    add(pid, parent, program(browser, {browser + " --type=utility --lang=en"}));
    EXPECT_EQ(identity(), meetApp);
}

TEST_F(Family, AnotherWebApplicationIsTheBrowser) {
    const std::string browser = "/opt/google/chrome/chrome";
    add(parent, 1, program(browser, {browser, "--app-id=abcdefghijklmnopabcdefghijklmnop"}));
    add(pid, parent, program(browser, {browser, "--type=utility"}));
    EXPECT_EQ(identity(), chrome);
}

TEST_F(Family, WhatAShellStartsIsNotTheApplicationAboveTheShell) {
    add(grandparent, 1, program("/usr/share/discord/Discord"));
    add(parent, grandparent, program("/bin/dash"));
    add(pid, parent, program("/usr/bin/pw-cat"));
    EXPECT_EQ(identity(), "pw-cat");
}

TEST_F(Family, WhatIsTypedIntoATerminalIsNotTheTerminal) {
    const std::string scope = "app-org.kde.konsole-123.scope";
    add(parent, 1, inGroup(program("/bin/bash"), scope));
    add(pid, parent, inGroup(program("/usr/bin/arecord"), scope));
    EXPECT_EQ(identity(), "arecord");
}

TEST_F(Family, TheLeaderOfASessionBelongsToNobodyAbove) {
    add(parent, 1, program("/usr/lib/slack/slack"));
    FakeProcess leader = program("/usr/bin/pw-cat");
    leader.session = pid;
    add(pid, parent, leader);
    EXPECT_EQ(identity(), "pw-cat");
}

TEST_F(Family, WhatADesktopShellStartsIsNotTheShell) {
    add(parent, 1, program("/usr/bin/gnome-shell"));
    add(pid, parent, program("/usr/bin/mumble"));
    EXPECT_EQ(identity(), "mumble");
}

TEST_F(Family, AnotherApplicationsProcessIsNotInherited) {
    add(parent, 1, inGroup(program("/usr/lib/slack/slack"), "app-gnome-slack-1.scope"));
    add(pid, parent, inGroup(program("/usr/bin/mumble"), "app-gnome-mumble-2.scope"));
    EXPECT_EQ(identity(), "mumble");
}

TEST_F(Family, ASandboxIsNotInheritedFromOutside) {
    add(parent, 1, program("/usr/lib/slack/slack"));
    add(pid, parent, inFlatpak("info.mumble.Mumble", "/app/bin/mumble"));
    EXPECT_EQ(identity(), "info.mumble.Mumble");
}

TEST_F(Family, ParentsThatRunInCirclesEnd) {
    add(parent, pid, program("/usr/bin/a"));
    add(pid, parent, program("/usr/bin/b"));
    EXPECT_EQ(identity(), "b");
}

TEST(ClientIdentity, TheServersWordAboutASandboxCountsMost) {
    const ClientClaims claims{
        .sandboxID = "us.zoom.Zoom",
        .snapName = "",
        .binary = "firefox",
        .applicationID = "",
        .applicationName = "Firefox"};
    EXPECT_EQ(
        identityOfClient(claims, ApplicationIdentity{firefox, true}),
        (ApplicationIdentity{zoom, true}));
    EXPECT_EQ(
        identityOfClient(
            {.sandboxID = "",
             .snapName = "zoom-client",
             .binary = "x",
             .applicationID = "",
             .applicationName = ""},
            std::nullopt),
        (ApplicationIdentity{zoom, true}));
}

TEST(ClientIdentity, ClaimsStandInForAProcessThatIsNotKnown) {
    const auto claim = [](std::string binary, std::string id, std::string name) {
        return identityOfClient(
            {.sandboxID = "",
             .snapName = "",
             .binary = std::move(binary),
             .applicationID = std::move(id),
             .applicationName = std::move(name)},
            std::nullopt);
    };
    EXPECT_EQ(claim("zoom", "", "ZOOM VoiceEngine"), (ApplicationIdentity{zoom, true}));
    EXPECT_EQ(claim("zoom (deleted)", "", ""), (ApplicationIdentity{zoom, true}));
    EXPECT_EQ(claim("", "", "Google Chrome input"), (ApplicationIdentity{chrome, true}));
    EXPECT_EQ(claim("python3.11", "", "ZOOM VoiceEngine"), (ApplicationIdentity{zoom, true}));
    EXPECT_TRUE(CallCatalog::isIgnored(claim("", "org.gnome.VolumeControl", "")->identifier));
    EXPECT_TRUE(CallCatalog::isIgnored(claim("", "org.PulseAudio.pavucontrol", "")->identifier));
    // Too many programs call themselves so.
    EXPECT_EQ(claim("", "", "Chromium input"), (ApplicationIdentity{"Chromium input", false}));
    EXPECT_EQ(claim("mumble", "", "Skype"), (ApplicationIdentity{"mumble", false}));
    EXPECT_EQ(
        claim("mumble", "info.mumble.Mumble", ""),
        (ApplicationIdentity{"info.mumble.Mumble", false}));
    EXPECT_EQ(claim("", "", ""), std::nullopt);
}

TEST(ClientIdentity, AnUnknownProcessIsNamedByTheSandboxThenByItself) {
    const ApplicationIdentity process{"recordbox", false};
    EXPECT_EQ(
        identityOfClient(
            {.sandboxID = "org.example.Box",
             .snapName = "",
             .binary = "recordbox",
             .applicationID = "",
             .applicationName = ""},
            process),
        (ApplicationIdentity{"org.example.Box", false}));
    EXPECT_EQ(
        identityOfClient(
            {.sandboxID = "",
             .snapName = "",
             .binary = "recordbox",
             .applicationID = "box",
             .applicationName = "Box"},
            process),
        process);
}

} // namespace
} // namespace brindle
