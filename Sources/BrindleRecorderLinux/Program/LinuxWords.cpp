#include "BrindleRecorderLinux/Program/LinuxWords.hpp"

#include "BrindleRecorderCore/Calls/ApplicationTable.hpp"

namespace brindle {

DesktopWords linuxWords() {
    return {
        .cameraHint =
            "Cameras come through PipeWire, which must be running; where this program runs "
            "in a sandbox, allow it the camera in the desktop's settings.",
        .microphoneHint = "Sound comes through PipeWire, which must be running.",
        .windowTitlesHint =
            "Optional: not every desktop shows window titles to other programs; the "
            "user guide says which do, and what they ask for.",
        .loginApproval = "Allow it in the desktop's settings for what starts at login",
        .callPrograms = "Zoom, Teams, Meet, Slack, Discord and more",
        .placeOfTheIcon = "its icon in the panel",
        .windowTitlesNote = "Optional: where the desktop lets it read window titles, browser calls "
                            "are recognised faster.",
        .absentFamilies = ApplicationTable::absentFamilies(),
    };
}

} // namespace brindle
