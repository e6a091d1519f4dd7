#include "BrindleRecorderLinux/Program/LinuxWords.hpp"

#include "BrindleRecorderCore/Base/Language.hpp"
#include "BrindleRecorderCore/Calls/ApplicationTable.hpp"

namespace brindle {

DesktopWords linuxWords() {
    return {
        .cameraHint =
            say("Cameras come through PipeWire, which must be running; where this program runs "
                "in a sandbox, allow it the camera in the desktop's settings."),
        .microphoneHint = say("Sound comes through PipeWire, which must be running."),
        .windowTitlesHint =
            say("Optional: not every desktop shows window titles to other programs; the "
                "user guide says which do, and what they ask for."),
        .loginApproval = say("Allow it in the desktop's settings for what starts at login"),
        // Translators: stands for {programs} in the text of the first launch's window.
        .callPrograms = say("Zoom, Teams, Meet, Slack, Discord and more"),
        // Translators: stands for {place} in the same text.
        .placeOfTheIcon = say("its icon in the panel"),
        .windowTitlesNote =
            say("Optional: where the desktop lets it read window titles, browser calls "
                "are recognised faster."),
        .absentFamilies = ApplicationTable::absentFamilies(),
    };
}

} // namespace brindle
