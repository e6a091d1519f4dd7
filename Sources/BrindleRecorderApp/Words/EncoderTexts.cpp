#include "BrindleRecorderApp/Words/EncoderTexts.hpp"

#include <fmt/format.h>

namespace brindle {

namespace {

std::string line(const EncoderTrial& trial) {
    if (trial.whyNot) {
        return fmt::format("encoder: {} does not work here: {}", trial.encoder.name, *trial.whyNot);
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
    if (!outcome.chosen) {
        lines.push_back(fmt::format("encoder: none. {}", noneWorks));
    }
    return lines;
}

} // namespace brindle
