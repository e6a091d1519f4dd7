// What a text calls the things that every desktop has of its own: its settings, the place of the
// icon, the programs that people know there.
#pragma once

#include <set>
#include <string>

namespace brindle {

/// A value. As it is made, it holds the words of macOS.
struct DesktopWords {
    // How to mend what the setup list finds missing; whole sentences.
    std::string cameraHint =
        "System Settings > Privacy & Security > Camera > enable Brindle Recorder.";
    std::string microphoneHint =
        "System Settings > Privacy & Security > Microphone > enable Brindle Recorder.";
    std::string windowTitlesHint =
        "Optional: System Settings > Privacy & Security > Screen & System Audio Recording > "
        "enable Brindle Recorder.";
    /// What the user must do before the program may start at login.
    std::string loginApproval = "Approve in System Settings > General > Login Items";

    /// "a call app (…)"
    std::string callPrograms = "Zoom, Teams, Meet, Slack, FaceTime and more";
    /// "start and stop it from …"
    std::string placeOfTheIcon = "the menu bar";
    /// What window titles are good for; a whole sentence.
    std::string windowTitlesNote =
        "Optional: allow Screen & System Audio Recording to let it read window titles, so browser "
        "calls are recognised faster.";

    /// The ids of the families that cannot exist on this desktop (`CallAppFamily::id`). They are
    /// not offered; what the user once chose for them is kept.
    std::set<std::string> absentFamilies;
};

} // namespace brindle
