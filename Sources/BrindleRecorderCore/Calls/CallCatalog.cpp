#include "BrindleRecorderCore/Calls/CallCatalog.hpp"

#include <algorithm>

namespace brindle {

namespace {

/// Lower-cases A to Z and leaves every other byte alone, independent of locale and encoding.
std::string lowercasedAscii(std::string_view text) {
    std::string lowercased{text};
    for (char& character : lowercased) {
        if (character >= 'A' && character <= 'Z') {
            character = static_cast<char>(character - 'A' + 'a');
        }
    }
    return lowercased;
}

const CallAppFamily*
firstMatch(const std::vector<CallAppFamily>& families, std::string_view bundleID) {
    const auto found =
        std::find_if(families.begin(), families.end(), [bundleID](const CallAppFamily& family) {
            return family.matches(bundleID);
        });
    return found == families.end() ? nullptr : &*found;
}

} // namespace

bool CallAppFamily::matches(std::string_view bundleID) const {
    return std::any_of(bundleIDs.begin(), bundleIDs.end(), [bundleID](const std::string& stem) {
        return bundleID.starts_with(stem) &&
               (bundleID.size() == stem.size() || bundleID[stem.size()] == '.');
    });
}

const std::vector<CallAppFamily>& CallCatalog::apps() {
    static const std::vector<CallAppFamily> families{
        {"zoom", "zoom.us", {"us.zoom.xos", "us.zoom.CptHost", "us.zoom.caphost"}},
        {"teams", "Microsoft Teams", {"com.microsoft.teams2", "com.microsoft.teams"}},
        {"slack", "Slack", {"com.tinyspeck.slackmacgap"}},
        {"webex",
         "Webex",
         {"Cisco-Systems.Spark", "com.webex.meetingmanager", "com.cisco.webexmeetingsapp"}},
        // With the daemons that carry phone calls relayed through the computer.
        {"facetime",
         "FaceTime / Phone",
         {"com.apple.FaceTime", "com.apple.avconferenced", "com.apple.TelephonyUtilities"}},
        {"whatsapp", "WhatsApp", {"net.whatsapp.WhatsApp", "desktop.WhatsApp"}},
        {"discord", "Discord", {"com.hnc.Discord"}},
        {"skype", "Skype", {"com.skype.skype"}},
        {"goto", "GoTo Meeting", {"com.logmein.GoToMeeting", "com.logmein.goto"}},
        {"whereby", "Whereby", {"com.whereby.app"}},
        {"around", "Around", {"co.teamport.around"}},
        {"signal", "Signal", {"org.whispersystems.signal-desktop"}},
        {"telegram", "Telegram", {"ru.keepcoder.Telegram", "org.telegram.desktop"}},
        // An installed web app. It continues the browser's identifier, so it is a call program only
        // because call programs are looked up before browsers.
        {"meet-pwa", "Google Meet app", {"com.google.Chrome.app.kjgfgldnnfoeklkmfkjfagphfepbbdan"}},
    };
    return families;
}

const std::vector<CallAppFamily>& CallCatalog::browsers() {
    static const std::vector<CallAppFamily> families{
        {"chrome", "Google Chrome", {"com.google.Chrome"}, true},
        // The engine's own processes take the microphone in the browser's stead.
        {"safari", "Safari", {"com.apple.Safari", "com.apple.WebKit"}, true},
        {"arc", "Arc", {"company.thebrowser.Browser"}, true},
        {"edge", "Microsoft Edge", {"com.microsoft.edgemac"}, true},
        {"brave", "Brave", {"com.brave.Browser"}, true},
        {"firefox", "Firefox", {"org.mozilla.firefox"}, true},
    };
    return families;
}

const CallAppFamily& CallCatalog::otherApps() {
    static const CallAppFamily family{"other", "Other apps using the microphone", {}};
    return family;
}

std::set<std::string> CallCatalog::familiesOffAtFirst() {
    return {otherApps().id};
}

const std::vector<CallAppFamily>& CallCatalog::allFamilies() {
    static const std::vector<CallAppFamily> families = [] {
        std::vector<CallAppFamily> all = apps();
        all.insert(all.end(), browsers().begin(), browsers().end());
        all.push_back(otherApps());
        return all;
    }();
    return families;
}

const std::vector<CallSite>& CallCatalog::sites() {
    static const std::vector<CallSite> all{
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
    return all;
}

const std::vector<std::string>& CallCatalog::ignoredBundlePrefixes() {
    static const std::vector<std::string> prefixes{
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
        "com.tamsworth.brindlerecorder", // this program
        "com.tamsworth.callminder",      // its predecessor
        "video.fathom",
        "com.superwhisper",
        "com.electron.wispr-flow",
    };
    return prefixes;
}

const CallAppFamily* CallCatalog::family(std::string_view bundleID) {
    const CallAppFamily* app = firstMatch(apps(), bundleID);
    return app != nullptr ? app : firstMatch(browsers(), bundleID);
}

bool CallCatalog::isIgnored(std::string_view bundleID) {
    const auto& prefixes = ignoredBundlePrefixes();
    return std::any_of(prefixes.begin(), prefixes.end(), [bundleID](const std::string& prefix) {
        return bundleID.starts_with(prefix);
    });
}

const CallSite* CallCatalog::site(const std::vector<std::string>& titles) {
    for (const std::string& title : titles) {
        const std::string lowercased = lowercasedAscii(title);
        for (const CallSite& site : sites()) {
            for (const std::string& fragment : site.titleFragments) {
                if (lowercased.find(fragment) != std::string::npos) {
                    return &site;
                }
            }
        }
    }
    return nullptr;
}

} // namespace brindle
