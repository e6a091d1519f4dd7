#include "BrindleRecorderApp/Recording/EncoderSearch.hpp"

#include "BrindleRecorderApp/Async/Continuation.hpp"
#include "BrindleRecorderApp/Platform/VideoEncoders.hpp"
#include "BrindleRecorderApp/Recording/CaptureConfiguration.hpp"

namespace brindle {

Task<EncoderSearch::Outcome> EncoderSearch::run(
    VideoEncoders& encoders, Extent extent, std::span<const EncoderCandidate> candidates) {
    Outcome outcome;
    for (const EncoderCandidate& candidate : candidates) {
        const bool isWanted = candidate.isChosenByItself ? !outcome.chosen.has_value()
                                                         : extent == Extent::withTheUnchosen;
        if (!isWanted) {
            continue;
        }
        const Continuation<std::optional<std::string>> answered;
        encoders.tryOut(
            candidate, CaptureConfiguration::videoSettings,
            [answered](std::optional<std::string> whyNot) { answered.resume(std::move(whyNot)); });
        auto whyNot = co_await answered;
        if (!whyNot && candidate.isChosenByItself) {
            outcome.chosen = candidate;
        }
        outcome.trials.push_back({.encoder = candidate, .whyNot = std::move(whyNot)});
    }
    co_return outcome;
}

} // namespace brindle
