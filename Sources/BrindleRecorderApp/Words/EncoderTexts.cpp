#include "BrindleRecorderApp/Words/EncoderTexts.hpp"

#include <fmt/format.h>

namespace brindle {

namespace {

std::string line(const EncoderTrial& trial) {
    if (const auto& refusal = trial.refusal) {
        return fmt::format(
            "encoder: {} {}: {}", trial.encoder.name,
            refusal->isCertain ? "does not work here" : "gave no answer", refusal->why);
    }
    return fmt::format(
        "encoder: {} ({})", trial.encoder.name,
        trial.encoder.isChosenByItself ? "used" : "works, is not used");
}

} // namespace

std::vector<std::string> EncoderTexts::lines(const EncoderSearch::Outcome& outcome) {
    std::vector<std::string> lines;
    for (const EncoderTrial& trial : outcome.trials) {
        lines.push_back(line(trial));
    }
    if (outcome.isUndecided) {
        lines.push_back("encoder: not decided; each recording takes what it finds");
    } else if (!outcome.chosen) {
        lines.push_back(fmt::format("encoder: none. {}", noneWorks(Language::english())));
    }
    return lines;
}

} // namespace brindle
