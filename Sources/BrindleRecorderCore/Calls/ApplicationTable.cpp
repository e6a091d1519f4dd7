#include "BrindleRecorderCore/Calls/ApplicationTable.hpp"

#include "BrindleRecorderCore/Calls/CallCatalog.hpp"

#include <cstddef>
#include <functional>
#include <unordered_map>
#include <utility>

namespace brindle {

namespace {

using enum IdentitySource;
using enum Children;

// Call programs.
constexpr KnownProgram zoom{"us.zoom.xos"};
constexpr KnownProgram teams{"com.microsoft.teams2"};
constexpr KnownProgram oldTeams{"com.microsoft.teams"};
constexpr KnownProgram slack{"com.tinyspeck.slackmacgap"};
constexpr KnownProgram webex{"Cisco-Systems.Spark"};
constexpr KnownProgram whatsApp{"net.whatsapp.WhatsApp"};
constexpr KnownProgram discord{"com.hnc.Discord"};
constexpr KnownProgram skype{"com.skype.skype"};
constexpr KnownProgram signalMessenger{"org.whispersystems.signal-desktop"};
constexpr KnownProgram telegram{"org.telegram.desktop"};
constexpr KnownProgram meetApp{"com.google.Chrome.app.kjgfgldnnfoeklkmfkjfagphfepbbdan"};

// Browsers. Chromium is Chrome without the name.
constexpr KnownProgram chrome{"com.google.Chrome"};
constexpr KnownProgram edge{"com.microsoft.edgemac"};
constexpr KnownProgram brave{"com.brave.Browser"};
constexpr KnownProgram firefox{"org.mozilla.firefox"};

// What holds the microphone without being a call, by the part that it plays.
constexpr std::string_view desktopControls = "com.apple.controlcenter";
constexpr std::string_view soundService = "com.apple.audio";
constexpr std::string_view cameraService = "com.apple.cmio";
constexpr std::string_view speechService = "com.apple.CoreSpeech";
constexpr std::string_view assistant = "com.apple.assistantd";
constexpr std::string_view dictation = "com.apple.dictation";
constexpr std::string_view screenReader = "com.apple.VoiceOver";
constexpr std::string_view recorder = "com.apple.replayd";

constexpr KnownProgram volumeControl{desktopControls, "PulseAudio Volume Control"};
constexpr KnownProgram pwvucontrol{desktopControls, "Pwvucontrol"};
constexpr KnownProgram ncpamixer{desktopControls, "ncpamixer"};
constexpr KnownProgram pulsemixer{desktopControls, "pulsemixer"};
constexpr KnownProgram gnomeSettings{desktopControls, "GNOME Settings"};
constexpr KnownProgram kdeSettings{desktopControls, "KDE System Settings"};
constexpr KnownProgram cinnamonSettings{desktopControls, "Cinnamon System Settings"};
constexpr KnownProgram mateVolume{desktopControls, "MATE Volume Control"};
constexpr KnownProgram plasma{desktopControls, "Plasma"};
constexpr KnownProgram gnomeShell{desktopControls, "GNOME Shell"};
constexpr KnownProgram kdeServices{desktopControls, "KDE's background services"};
constexpr KnownProgram cinnamon{desktopControls, "Cinnamon"};
constexpr KnownProgram xfcePanel{desktopControls, "Xfce Panel"};
constexpr KnownProgram matePanel{desktopControls, "MATE Panel"};
constexpr KnownProgram lxqtPanel{desktopControls, "LXQt Panel"};
constexpr KnownProgram waybar{desktopControls, "Waybar"};

constexpr KnownProgram pipeWire{soundService, "PipeWire"};
constexpr KnownProgram wirePlumber{soundService, "WirePlumber"};
constexpr KnownProgram pulseAudio{soundService, "PulseAudio"};
constexpr KnownProgram jack{soundService, "JACK"};
constexpr KnownProgram easyEffects{soundService, "Easy Effects"};
constexpr KnownProgram noiseTorch{soundService, "NoiseTorch"};
constexpr KnownProgram qpwgraph{soundService, "qpwgraph"};
constexpr KnownProgram helvum{soundService, "Helvum"};
constexpr KnownProgram cadmus{soundService, "Cadmus"};

constexpr KnownProgram desktopPortal{cameraService, "Desktop portal"};

constexpr KnownProgram speechDispatcher{speechService, "Speech Dispatcher"};

constexpr KnownProgram rhasspy{assistant, "Rhasspy"};
constexpr KnownProgram mycroft{assistant, "Mycroft"};
constexpr KnownProgram wyoming{assistant, "Wyoming Satellite"};

constexpr KnownProgram nerdDictation{dictation, "nerd-dictation"};
constexpr KnownProgram numen{dictation, "Numen"};
constexpr KnownProgram talon{dictation, "Talon"};
constexpr KnownProgram speechNote{dictation, "Speech Note"};
constexpr KnownProgram buzz{dictation, "Buzz"};

constexpr KnownProgram orca{screenReader, "Orca"};

constexpr KnownProgram obs{recorder, "OBS Studio"};
constexpr KnownProgram simpleScreenRecorder{recorder, "SimpleScreenRecorder"};
constexpr KnownProgram kooha{recorder, "Kooha"};
constexpr KnownProgram gpuScreenRecorder{recorder, "GPU Screen Recorder"};
constexpr KnownProgram vokoscreen{recorder, "vokoscreenNG"};
constexpr KnownProgram audacity{recorder, "Audacity"};
constexpr KnownProgram soundRecorder{recorder, "GNOME Sound Recorder"};
constexpr KnownProgram ardour{recorder, "Ardour"};
constexpr KnownProgram ourselves{"com.tamsworth.brindlerecorder", "Brindle Recorder"};

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
        {executable, "pavucontrol", volumeControl, upstream},
        {executable, "pavucontrol-qt", volumeControl, known},
        {executable, "pwvucontrol", pwvucontrol, upstream},
        {executable, "ncpamixer", ncpamixer, known},
        {executable, "pulsemixer", pulsemixer, known},
        {executable, "gnome-control-center", gnomeSettings, upstream},
        {executable, "gnome-volume-control", gnomeSettings, known},
        {executable, "systemsettings", kdeSettings, streamDump},
        {executable, "cinnamon-settings", cinnamonSettings, known},
        {executable, "mate-volume-control", mateVolume, known},
        {flatpak, "com.saivert.pwvucontrol", pwvucontrol, known},
        {desktopEntry, "org.PulseAudio.pavucontrol", volumeControl, upstream},
        {desktopEntry, "org.gnome.VolumeControl", gnomeSettings, upstream},
        {desktopEntry, "org.gnome.Settings", gnomeSettings, known},
        {desktopEntry, "org.kde.plasma-pa", plasma, upstream},
        {executable, "gnome-shell", gnomeShell, upstream, areOthers},
        {executable, "plasmashell", plasma, streamDump, areOthers},
        {executable, "kded5", kdeServices, known, areOthers},
        {executable, "kded6", kdeServices, known, areOthers},
        {executable, "cinnamon", cinnamon, known, areOthers},
        {executable, "xfce4-panel", xfcePanel, known, areOthers},
        {executable, "mate-panel", matePanel, known, areOthers},
        {executable, "lxqt-panel", lxqtPanel, known, areOthers},
        {executable, "waybar", waybar, known, areOthers},

        // Sound servers, effects and echo cancellers
        {executable, "pipewire", pipeWire, measured, areOthers},
        {executable, "pipewire-pulse", pipeWire, measured, areOthers},
        {executable, "wireplumber", wirePlumber, measured, areOthers},
        {executable, "pipewire-media-session", pipeWire, upstream, areOthers},
        {executable, "pulseaudio", pulseAudio, upstream, areOthers},
        {executable, "jackd", jack, known, areOthers},
        {executable, "jackdbus", jack, known, areOthers},
        {executable, "easyeffects", easyEffects, upstream},
        {flatpak, "com.github.wwmm.easyeffects", easyEffects, upstream},
        {executable, "noisetorch", noiseTorch, upstream},
        {executable, "qpwgraph", qpwgraph, known},
        {executable, "helvum", helvum, known},
        {executable, "cadmus", cadmus, known},
        {executable, "xdg-desktop-portal", desktopPortal, upstream, areOthers},

        // Speech, assistants, dictation, screen readers
        {executable, "speech-dispatcher", speechDispatcher, upstream},
        {executable, "orca", orca, known},
        {executable, "rhasspy", rhasspy, known},
        {executable, "mycroft", mycroft, known},
        {executable, "wyoming-satellite", wyoming, known},
        {executable, "nerd-dictation", nerdDictation, upstream},
        {executable, "numen", numen, known},
        {executable, "talon", talon, known},
        {flatpak, "net.mkiol.SpeechNote", speechNote, known},
        {executable, "dsnote", speechNote, known},
        {flatpak, "io.github.chidiwilliams.Buzz", buzz, flathub},
        {executable, "buzz", buzz, known},

        // Recorders
        {executable, "obs", obs, upstream},
        {flatpak, "com.obsproject.Studio", obs, known},
        {snap, "obs-studio", obs, snapStore},
        {executable, "simplescreenrecorder", simpleScreenRecorder, known},
        {executable, "kooha", kooha, known},
        {flatpak, "io.github.seadve.Kooha", kooha, known},
        {executable, "gpu-screen-recorder", gpuScreenRecorder, known},
        {flatpak, "com.dec05eba.gpu_screen_recorder", gpuScreenRecorder, known},
        {executable, "vokoscreenNG", vokoscreen, known},
        {executable, "audacity", audacity, known},
        {flatpak, "org.audacityteam.Audacity", audacity, known},
        {snap, "audacity", audacity, snapStore},
        {executable, "gnome-sound-recorder", soundRecorder, known},
        {flatpak, "org.gnome.SoundRecorder", soundRecorder, known},
        {executable, "ardour", ardour, known},
        {executable, "brindle-recorder", ourselves, upstream},
        {executable, "brindle-recorder-capture", ourselves, upstream},
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

std::set<std::string> ApplicationTable::absentFamilies() {
    std::set<std::string> absent;
    for (const CallAppFamily& family : CallCatalog::allFamilies()) {
        absent.insert(family.id);
    }
    absent.erase(CallCatalog::otherApps().id);
    for (const ApplicationRow& row : rows()) {
        if (const CallAppFamily* family = CallCatalog::family(row.program.identifier)) {
            absent.erase(family->id);
        }
    }
    return absent;
}

} // namespace brindle
