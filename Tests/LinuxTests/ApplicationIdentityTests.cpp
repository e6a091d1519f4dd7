// How a process and its relatives lead to an application. The programs themselves are in the corpus
// of microphone users.
#include "BrindleRecorderApp/AppInfo.hpp"
#include "BrindleRecorderCore/Calls/CallCatalog.hpp"
#include "BrindleRecorderLinux/Processes/ApplicationIdentity.hpp"
#include "BrindleRecorderLinux/Processes/ProcProcessRegistry.hpp"
#include "BrindleRecorderLinux/Program/SiblingProgram.hpp"
#include "LinuxTests/FakeProc.hpp"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brindle {
namespace {

constexpr std::int32_t pid = 4000;

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
const std::string slack = "com.tinyspeck.slackmacgap";
const std::string signalMessenger = "org.whispersystems.signal-desktop";
const std::string telegram = "org.telegram.desktop";
const std::string meetApp = "com.google.Chrome.app.kjgfgldnnfoeklkmfkjfagphfepbbdan";
const std::string chrome = "com.google.Chrome";
const std::string firefox = "org.mozilla.firefox";

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

TEST(ApplicationIdentity, KnowsItselfInEveryProgramThatItIsMadeOf) {
    for (const std::string name : {SiblingProgram::commandLine}) {
        EXPECT_EQ(identified(program("/usr/bin/" + name)), AppInfo::bundleIdentifier) << name;
        ClientClaims claims;
        claims.binary = name;
        const auto fromElsewhere = identityOfClient(claims, std::nullopt);
        ASSERT_TRUE(fromElsewhere) << name;
        EXPECT_EQ(fromElsewhere->identifier, AppInfo::bundleIdentifier) << name;
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
