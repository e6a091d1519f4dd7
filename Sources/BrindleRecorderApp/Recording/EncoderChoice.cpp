#include "BrindleRecorderApp/Recording/EncoderChoice.hpp"

#include "BrindleRecorderApp/Platform/VideoEncoders.hpp"
#include "BrindleRecorderApp/Shell/Notifier.hpp"
#include "BrindleRecorderApp/Words/EncoderTexts.hpp"
#include "BrindleRecorderCore/Base/Language.hpp"

namespace brindle {

EncoderChoice::EncoderChoice(
    VideoEncoders* encoders, MainLoop& mainLoop, const EventLog& log, Notifier& notifier)
    : encoders_{encoders}, log_{log}, notifier_{notifier}, work_{mainLoop} {}

void EncoderChoice::choose() {
    if (encoders_ != nullptr) {
        work_.enqueue([this] { return search(); });
    }
}

Task<void> EncoderChoice::search() {
    const auto outcome =
        co_await EncoderSearch::run(*encoders_, EncoderSearch::Extent::untilOneIsChosen);
    for (const std::string& line : EncoderTexts::lines(outcome)) {
        log_.both(outcome.chosen ? EventLog::Level::info : EventLog::Level::error, line);
    }
    canRecordPictures_ = outcome.chosen || outcome.isUndecided;
    if (outcome.chosen) {
        encoders_->use(*outcome.chosen);
    } else if (!outcome.isUndecided) {
        notifier_.tell(EncoderTexts::noneWorks(Language::ofTheUser()));
    }
}

} // namespace brindle
