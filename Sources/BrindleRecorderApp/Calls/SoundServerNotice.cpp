#include "BrindleRecorderApp/Calls/SoundServerNotice.hpp"

#include "BrindleRecorderApp/Platform/UserNotifications.hpp"
#include "BrindleRecorderApp/Words/NoticeTexts.hpp"

namespace brindle {

SoundServerNotice::SoundServerNotice(MainLoop& mainLoop, UserNotifications& notifications)
    : mainLoop_{mainLoop}, notifications_{notifications} {}

void SoundServerNotice::soundGoesElsewhere(bool elsewhere) {
    if (!elsewhere) {
        waiting_.reset();
    } else if (!isTold_ && waiting_ == nullptr) {
        waiting_ = mainLoop_.after(patience, [this] { tell(); });
    }
}

void SoundServerNotice::tell() {
    isTold_ = true;
    notifications_.post(
        {.identifier = "sound-server",
         .title = NoticeTexts::soundServerTitle,
         .body = NoticeTexts::soundServerBody(),
         .categoryIdentifier = {},
         .label = {}});
    waiting_.reset();
}

} // namespace brindle
