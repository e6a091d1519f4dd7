// Encoders of which a test says what there is.
#pragma once

#include "BrindleRecorderApp/Platform/VideoEncoders.hpp"

#include <deque>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace brindle::test {

class ScriptedVideoEncoders final : public VideoEncoders {
  public:
    explicit ScriptedVideoEncoders(std::set<std::string> thatWork)
        : working_{std::move(thatWork)} {}

    std::vector<std::string> tried;      ///< in order
    std::set<std::string> thatAreSilent; ///< nothing is known of them
    std::vector<std::string> used;

    void tryOut(
        const EncoderCandidate& encoder, const VideoOutputSettings& /*settings*/,
        Answer answer) override {
        tried.emplace_back(encoder.name);
        waiting_.emplace_back(tried.back(), std::move(answer));
    }
    void use(const EncoderCandidate& encoder) override { used.emplace_back(encoder.name); }

    /// Answers what is asked, and what is asked for that.
    void answerAll() {
        while (!waiting_.empty()) {
            const auto [name, answer] = std::move(waiting_.front());
            waiting_.pop_front();
            if (working_.contains(name)) {
                answer(std::nullopt);
            } else if (thatAreSilent.contains(name)) {
                answer(EncoderRefusal{.why = "10 s have passed", .isCertain = false});
            } else {
                answer(EncoderRefusal{.why = "there is none"});
            }
        }
    }

  private:
    std::set<std::string> working_;
    std::deque<std::pair<std::string, Answer>> waiting_;
};

} // namespace brindle::test
