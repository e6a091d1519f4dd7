#include "BrindleRecorderLinux/CaptureChild/ChildVideoEncoders.hpp"

#include "BrindleRecorderLinux/CaptureLink/CaptureMessage.hpp"

#include <fmt/format.h>

#include <utility>
#include <variant>

namespace brindle {

struct ChildVideoEncoders::Trial {
    Answer answer;
    std::shared_ptr<capture::CaptureChild> child;
    std::unique_ptr<MainLoop::Timer> limit;
};

ChildVideoEncoders::ChildVideoEncoders(MainLoop& mainLoop, capture::CaptureChildren& children)
    : mainLoop_{mainLoop}, children_{children} {}

ChildVideoEncoders::~ChildVideoEncoders() {
    for (const auto& trial : trials_) {
        if (trial->child) {
            trial->child->kill();
        }
    }
}

void ChildVideoEncoders::tryOut(
    const EncoderCandidate& encoder, const VideoOutputSettings& settings, Answer answer) {
    const auto trial = std::make_shared<Trial>();
    trial->answer = std::move(answer);
    trials_.push_back(trial);
    // On the child's thread and later; by then this may have gone, and the trial with it.
    const auto tell = [this, weakly = std::weak_ptr{trial},
                       &loop = mainLoop_](std::optional<EncoderRefusal> refusal) {
        loop.post([this, weakly, refusal = std::move(refusal)] {
            if (const auto lasting = weakly.lock()) {
                end(*lasting, refusal);
            }
        });
    };
    const auto tellOfNoAnswer = [tell](std::string why) {
        tell(EncoderRefusal{.why = std::move(why), .isCertain = false});
    };
    auto child = children_.start(capture::CaptureProcess::leaveFor(encoder.usesGraphics));
    if (!child) {
        tellOfNoAnswer(child.error().description);
        return;
    }
    trial->child = std::move(*child);
    trial->limit = mainLoop_.after(answersWithin, [tellOfNoAnswer] {
        tellOfNoAnswer(fmt::format("{} s have passed", answersWithin.count()));
    });
    trial->child->listen(
        {.told =
             [tell](const capture::Message& message) {
                 if (const auto* tried = std::get_if<capture::EncoderTried>(&message)) {
                     tell(
                         tried->error ? std::optional{EncoderRefusal{tried->error->description}}
                                      : std::nullopt);
                 }
             },
         .ended =
             [tellOfNoAnswer](const PlatformError& how) {
                 tellOfNoAnswer(how.description);
             }});
    static_cast<void>(trial->child->send(
        capture::TryEncoder{.encoder = std::string{encoder.name}, .video = settings}));
}

void ChildVideoEncoders::end(Trial& trial, std::optional<EncoderRefusal> refusal) {
    const auto answer = std::move(trial.answer);
    if (trial.child) {
        trial.child->stopListening();
        children_.dismiss(std::move(trial.child));
    }
    std::erase_if(trials_, [&trial](const auto& other) { return other.get() == &trial; });
    answer(std::move(refusal));
}

void ChildVideoEncoders::use(const EncoderCandidate& encoder) {
    children_.useEncoder(
        std::string{encoder.name}, capture::CaptureProcess::leaveFor(encoder.usesGraphics));
}

} // namespace brindle
