#include "BrindleRecorderLinux/Processes/ApplicationTable.hpp"

#include <cstddef>
#include <functional>
#include <unordered_map>
#include <utility>

namespace brindle {

namespace {

using enum IdentitySource;
using enum Children;

// Call programs.
constexpr std::string_view zoom = "us.zoom.xos";
constexpr std::string_view teams = "com.microsoft.teams2";
constexpr std::string_view oldTeams = "com.microsoft.teams";
constexpr std::string_view slack = "com.tinyspeck.slackmacgap";
constexpr std::string_view webex = "Cisco-Systems.Spark";
constexpr std::string_view whatsApp = "net.whatsapp.WhatsApp";
constexpr std::string_view discord = "com.hnc.Discord";
constexpr std::string_view skype = "com.skype.skype";
constexpr std::string_view signalMessenger = "org.whispersystems.signal-desktop";
constexpr std::string_view telegram = "org.telegram.desktop";
constexpr std::string_view meetApp = "com.google.Chrome.app.kjgfgldnnfoeklkmfkjfagphfepbbdan";

// Browsers. Chromium is Chrome without the name.
constexpr std::string_view chrome = "com.google.Chrome";
constexpr std::string_view edge = "com.microsoft.edgemac";
constexpr std::string_view brave = "com.brave.Browser";
constexpr std::string_view firefox = "org.mozilla.firefox";

// What holds the microphone without being a call, by the part that it plays.
constexpr std::string_view desktopControls = "com.apple.controlcenter";
constexpr std::string_view soundService = "com.apple.audio";
constexpr std::string_view cameraService = "com.apple.cmio";
constexpr std::string_view speechService = "com.apple.CoreSpeech";
constexpr std::string_view assistant = "com.apple.assistantd";
constexpr std::string_view dictation = "com.apple.dictation";
constexpr std::string_view screenReader = "com.apple.VoiceOver";
constexpr std::string_view recorder = "com.apple.replayd";
constexpr std::string_view ourselves = "com.tamsworth.brindlerecorder";

// Evidence.
constexpr std::string_view measured = "measured";
constexpr std::string_view flathub = "Flathub manifest";
constexpr std::string_view snapStore = "snap";
constexpr std::string_view vendor = "vendor's package";
constexpr std::string_view upstream = "upstream's build or sources";
constexpr std::string_view streamDump = "dump of a running stream";
constexpr std::string_view known = "common knowledge, not measured";

} // namespace

const std::vector<ApplicationRow>& ApplicationTable::rows() {
    static const std::vector<ApplicationRow> table{
        // Zoom
        {flatpak, "us.zoom.Zoom", zoom, flathub},
        {snap, "zoom-client", zoom, snapStore},
        {executable, "zoom", zoom, vendor},         // /opt/zoom/zoom
        {executable, "ZoomLauncher", zoom, vendor}, // starts it and stays
        {executable, "aomhost", zoom, known},       // its media host
        {desktopEntry, "Zoom", zoom, known},
        {streamName, "ZOOM VoiceEngine", zoom, streamDump},

        // Microsoft Teams: the retired program and the wrappers of its web client
        {flatpak, "com.github.IsmaelMartinez.teams_for_linux", teams, flathub},
        {snap, "teams-for-linux", teams, snapStore},
        {executable, "teams-for-linux", teams, upstream}, // deb, rpm, AppImage, tarball
        {desktopEntry, "teams-for-linux", teams, upstream},
        {flatpak, "com.microsoft.Teams", oldTeams, flathub},
        {snap, "teams", oldTeams, snapStore},
        {executable, "teams", oldTeams, vendor}, // /usr/share/teams/teams
        {executable, "teams-insiders", oldTeams, vendor},
        {desktopEntry, "teams", oldTeams, vendor},

        // Slack
        {flatpak, "com.slack.Slack", slack, flathub},
        {snap, "slack", slack, snapStore},
        {executable, "slack", slack, vendor}, // /usr/lib/slack/slack
        {executable, "slack-desktop", slack, known},
        {desktopEntry, "slack", slack, vendor},

        // Webex
        {executable, "CiscoCollabHost", webex, vendor}, // /opt/Webex/bin/CiscoCollabHost
        {executable, "CiscoCollabHostCef", webex, vendor},
        {executable, "CiscoCollabHostCefWM", webex, known},
        {executable, "webex", webex, known}, // wrappers of the web client
        {desktopEntry, "webex", webex, vendor},
        {snap, "webex", webex, known},

        // Discord, its channels and the wrappers of its web client
        {flatpak, "com.discordapp.Discord", discord, flathub},
        {flatpak, "com.discordapp.DiscordPTB", discord, known},
        {flatpak, "com.discordapp.DiscordCanary", discord, flathub},
        {snap, "discord", discord, snapStore},
        {snap, "discord-canary", discord, snapStore},
        {executable, "Discord", discord, vendor},
        {executable, "discord", discord, known}, // distributions' wrappers
        {executable, "DiscordPTB", discord, vendor},
        {executable, "DiscordCanary", discord, vendor},
        {executable, "DiscordDevelopment", discord, vendor},
        {desktopEntry, "discord", discord, vendor},
        {desktopEntry, "discord-ptb", discord, vendor},
        {desktopEntry, "discord-canary", discord, vendor},
        {flatpak, "dev.vencord.Vesktop", discord, flathub},
        {executable, "vesktop", discord, upstream},
        {executable, "vesktop.bin", discord, flathub},
        {desktopEntry, "vesktop", discord, upstream},
        {flatpak, "io.github.spacingbat3.webcord", discord, flathub},
        {executable, "webcord", discord, upstream},
        {executable, "WebCord", discord, upstream},
        {desktopEntry, "webcord", discord, upstream},
        {flatpak, "app.legcord.Legcord", discord, known},
        {executable, "legcord", discord, upstream},
        {desktopEntry, "legcord", discord, upstream},
        {flatpak, "xyz.armcord.ArmCord", discord, flathub},
        {executable, "armcord", discord, upstream},
        {flatpak, "org.equicord.equibop", discord, flathub},
        {executable, "equibop", discord, upstream},
        {flatpak, "de.shorsh.discord-screenaudio", discord, flathub},
        {executable, "discord-screenaudio", discord, upstream},

        // Skype, retired
        {flatpak, "com.skype.Client", skype, flathub},
        {snap, "skype", skype, snapStore},
        {executable, "skypeforlinux", skype, vendor}, // /usr/share/skypeforlinux/skypeforlinux
        {desktopEntry, "skypeforlinux", skype, vendor},

        // Signal
        {flatpak, "org.signal.Signal", signalMessenger, flathub},
        {snap, "signal-desktop", signalMessenger, snapStore},
        {executable, "signal-desktop", signalMessenger, vendor}, // /opt/Signal/signal-desktop
        {executable, "signal-desktop-beta", signalMessenger, vendor},
        {desktopEntry, "signal-desktop", signalMessenger, vendor},
        {desktopEntry, "signal-desktop-beta", signalMessenger, vendor},
        {streamName, "ringrtc", signalMessenger, upstream},

        // Telegram and its forks with calls
        {flatpak, "org.telegram.desktop", telegram, flathub},
        {snap, "telegram-desktop", telegram, snapStore},
        {executable, "telegram-desktop", telegram, upstream},
        {executable, "Telegram", telegram, upstream}, // the vendor's tarball
        {desktopEntry, "telegram-desktop", telegram, upstream},
        {desktopEntry, "telegramdesktop", telegram, known},
        {streamName, "Telegram Desktop", telegram, upstream},
        {executable, "ayugram-desktop", telegram, known},
        {executable, "kotatogram-desktop", telegram, known},

        // WhatsApp, wrappers of its web client only
        {flatpak, "com.rtosta.zapzap", whatsApp, flathub},
        {executable, "zapzap", whatsApp, upstream}, // a Python program
        {desktopEntry, "zapzap", whatsApp, upstream},
        {flatpak, "com.github.eneshecan.WhatsAppForLinux", whatsApp, flathub},
        {snap, "whatsapp-for-linux", whatsApp, known},
        {executable, "whatsapp-for-linux", whatsApp, known},
        {executable, "wasistlos", whatsApp, known},
        {snap, "whatsdesk", whatsApp, snapStore},
        {executable, "whatsdesk", whatsApp, known},
        {flatpak, "com.ktechpit.whatsie", whatsApp, flathub},
        {snap, "whatsie", whatsApp, snapStore},
        {executable, "whatsie", whatsApp, upstream},
        {flatpak, "io.github.tobagin.karere", whatsApp, flathub},
        {executable, "karere", whatsApp, upstream},

        // Google's meeting site as an installed web application
        {webApp, "kjgfgldnnfoeklkmfkjfagphfepbbdan", meetApp, upstream},

        // Chrome and Chromium: the file is called "chrome" in both, as in every build of one's own
        {flatpak, "com.google.Chrome", chrome, flathub},
        {flatpak, "com.google.ChromeDev", chrome, flathub},
        {executable, "chrome", chrome, measured}, // /opt/google/chrome{,-beta,-unstable}/chrome
        {desktopEntry, "google-chrome", chrome, vendor},
        {desktopEntry, "google-chrome-beta", chrome, vendor},
        {desktopEntry, "google-chrome-unstable", chrome, vendor},
        {streamName, "Google Chrome input", chrome, upstream},
        {flatpak, "org.chromium.Chromium", chrome, flathub},
        {flatpak, "io.github.ungoogled_software.ungoogled_chromium", chrome, flathub},
        {flatpak, "com.github.Eloston.UngoogledChromium", chrome, flathub},
        {snap, "chromium", chrome, snapStore},
        {executable, "chromium", chrome, measured}, // /usr/lib/chromium/chromium
        {executable, "chromium-browser", chrome, known},
        {desktopEntry, "chromium", chrome, measured},
        {desktopEntry, "chromium-browser", chrome, known},

        // Edge
        {flatpak, "com.microsoft.Edge", edge, flathub},
        {flatpak, "com.microsoft.EdgeDev", edge, flathub},
        {executable, "msedge", edge, vendor}, // /opt/microsoft/msedge{,-beta,-dev}/msedge
        {desktopEntry, "microsoft-edge", edge, vendor},
        {desktopEntry, "microsoft-edge-beta", edge, vendor},
        {desktopEntry, "microsoft-edge-dev", edge, vendor},
        {streamName, "Microsoft Edge input", edge, upstream},

        // Brave
        {flatpak, "com.brave.Browser", brave, flathub},
        {snap, "brave", brave, snapStore},
        {executable, "brave", brave, vendor}, // /opt/brave.com/brave{,-beta,-nightly}/brave
        {desktopEntry, "brave-browser", brave, vendor},
        {desktopEntry, "brave-browser-beta", brave, vendor},
        {desktopEntry, "brave-browser-nightly", brave, vendor},
        {streamName, "Brave input", brave, upstream},

        // Firefox; its forks have names of their own
        {flatpak, "org.mozilla.firefox", firefox, flathub},
        {snap, "firefox", firefox, snapStore},
        {executable, "firefox", firefox, vendor},
        {executable, "firefox-bin", firefox, vendor}, // the vendor's tarball
        {executable, "firefox-esr", firefox, measured},
        {executable, "firefox-beta", firefox, known},
        {executable, "firefox-devedition", firefox, known},
        {executable, "firefox-nightly", firefox, known},
        {desktopEntry, "firefox", firefox, measured},
        {desktopEntry, "firefox-esr", firefox, measured},
        {desktopEntry, "firefox_firefox", firefox, snapStore},

        // Volume controls and desktop shells
        {executable, "pavucontrol", desktopControls, upstream},
        {executable, "pavucontrol-qt", desktopControls, known},
        {executable, "pwvucontrol", desktopControls, upstream},
        {executable, "ncpamixer", desktopControls, known},
        {executable, "pulsemixer", desktopControls, known},
        {executable, "gnome-control-center", desktopControls, upstream},
        {executable, "gnome-volume-control", desktopControls, known},
        {executable, "systemsettings", desktopControls, streamDump},
        {executable, "cinnamon-settings", desktopControls, known},
        {executable, "mate-volume-control", desktopControls, known},
        {flatpak, "com.saivert.pwvucontrol", desktopControls, known},
        {desktopEntry, "org.PulseAudio.pavucontrol", desktopControls, upstream},
        {desktopEntry, "org.gnome.VolumeControl", desktopControls, upstream},
        {desktopEntry, "org.gnome.Settings", desktopControls, known},
        {desktopEntry, "org.kde.plasma-pa", desktopControls, upstream},
        {executable, "gnome-shell", desktopControls, upstream, areOthers},
        {executable, "plasmashell", desktopControls, streamDump, areOthers},
        {executable, "kded5", desktopControls, known, areOthers},
        {executable, "kded6", desktopControls, known, areOthers},
        {executable, "cinnamon", desktopControls, known, areOthers},
        {executable, "xfce4-panel", desktopControls, known, areOthers},
        {executable, "mate-panel", desktopControls, known, areOthers},
        {executable, "lxqt-panel", desktopControls, known, areOthers},
        {executable, "waybar", desktopControls, known, areOthers},

        // Sound servers, effects and echo cancellers
        {executable, "pipewire", soundService, measured, areOthers},
        {executable, "pipewire-pulse", soundService, measured, areOthers},
        {executable, "wireplumber", soundService, measured, areOthers},
        {executable, "pipewire-media-session", soundService, upstream, areOthers},
        {executable, "pulseaudio", soundService, upstream, areOthers},
        {executable, "jackd", soundService, known, areOthers},
        {executable, "jackdbus", soundService, known, areOthers},
        {executable, "easyeffects", soundService, upstream},
        {flatpak, "com.github.wwmm.easyeffects", soundService, upstream},
        {executable, "noisetorch", soundService, upstream},
        {executable, "qpwgraph", soundService, known},
        {executable, "helvum", soundService, known},
        {executable, "cadmus", soundService, known},
        {executable, "xdg-desktop-portal", cameraService, upstream, areOthers},

        // Speech, assistants, dictation, screen readers
        {executable, "speech-dispatcher", speechService, upstream},
        {executable, "orca", screenReader, known},
        {executable, "rhasspy", assistant, known},
        {executable, "mycroft", assistant, known},
        {executable, "wyoming-satellite", assistant, known},
        {executable, "nerd-dictation", dictation, upstream},
        {executable, "numen", dictation, known},
        {executable, "talon", dictation, known},
        {flatpak, "net.mkiol.SpeechNote", dictation, known},
        {executable, "dsnote", dictation, known},
        {flatpak, "io.github.chidiwilliams.Buzz", dictation, flathub},
        {executable, "buzz", dictation, known},

        // Recorders
        {executable, "obs", recorder, upstream},
        {flatpak, "com.obsproject.Studio", recorder, known},
        {snap, "obs-studio", recorder, snapStore},
        {executable, "simplescreenrecorder", recorder, known},
        {executable, "kooha", recorder, known},
        {flatpak, "io.github.seadve.Kooha", recorder, known},
        {executable, "gpu-screen-recorder", recorder, known},
        {flatpak, "com.dec05eba.gpu_screen_recorder", recorder, known},
        {executable, "vokoscreenNG", recorder, known},
        {executable, "audacity", recorder, known},
        {flatpak, "org.audacityteam.Audacity", recorder, known},
        {snap, "audacity", recorder, snapStore},
        {executable, "gnome-sound-recorder", recorder, known},
        {flatpak, "org.gnome.SoundRecorder", recorder, known},
        {executable, "ardour", recorder, known},
        {executable, "brindle-recorder", ourselves, upstream},
        {executable, "brindle-recorder-desktop", ourselves, upstream},
    };
    return table;
}

const ApplicationRow* ApplicationTable::find(IdentitySource source, std::string_view name) {
    using Key = std::pair<IdentitySource, std::string_view>;
    struct Hash {
        std::size_t operator()(const Key& key) const {
            constexpr std::size_t sources = 8; // a power of two, and no fewer than there are
            return std::hash<std::string_view>{}(key.second) * sources +
                   static_cast<std::size_t>(key.first);
        }
    };
    static const auto index = [] {
        std::unordered_map<Key, const ApplicationRow*, Hash> made;
        for (const ApplicationRow& row : rows()) {
            made.emplace(Key{row.source, row.name}, &row);
        }
        return made;
    }();
    const auto found = index.find({source, name});
    return found == index.end() ? nullptr : found->second;
}

} // namespace brindle
