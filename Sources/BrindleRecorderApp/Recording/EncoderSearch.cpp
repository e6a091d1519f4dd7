#include "BrindleRecorderApp/Recording/EncoderSearch.hpp"

#include "BrindleRecorderApp/Async/Continuation.hpp"
#include "BrindleRecorderApp/Recording/CaptureConfiguration.hpp"

namespace brindle {

Task<EncoderSearch::Outcome> EncoderSearch::run(
    VideoEncoders& encoders, Extent extent, std::span<const EncoderCandidate> candidates) {
    Outcome outcome;
    for (const EncoderCandidate& candidate : candidates) {
        const bool isWanted = candidate.isChosenByItself ? !outcome.chosen && !outcome.isUndecided
                                                         : extent == Extent::withTheUnchosen;
        if (!isWanted) {
            continue;
        }
        const Continuation<std::optional<EncoderRefusal>> answered;
        encoders.tryOut(
            candidate, CaptureConfiguration::videoSettings,
            [answered](std::optional<EncoderRefusal> refusal) {
                answered.resume(std::move(refusal));
            });
        auto refusal = co_await answered;
        if (!refusal && candidate.isChosenByItself) {
            outcome.chosen = candidate;
        } else if (refusal && !refusal->isCertain && !candidate.usesGraphics) {
            outcome.isUndecided = true;
        }
        outcome.trials.push_back({.encoder = candidate, .refusal = std::move(refusal)});
    }
    co_return outcome;
}

} // namespace brindle
