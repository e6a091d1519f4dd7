#include "BrindleRecorderLinux/Capture/Streams/ServerAnswers.hpp"

#include <gtest/gtest.h>

namespace brindle::pipewire {
namespace {

TEST(ServerAnswers, AreNoneInTheBeginning) {
    const ServerAnswers answers;
    EXPECT_FALSE(answers.haveReached(0));
}

TEST(ServerAnswers, ReachTheQuestionThatWasAnswered) {
    ServerAnswers answers;
    answers.answered(7);
    EXPECT_TRUE(answers.haveReached(7));
    EXPECT_FALSE(answers.haveReached(8));
}

TEST(ServerAnswers, HaveReachedAQuestionThatOthersFollowedBeforeAnybodyLooked) {
    ServerAnswers answers;
    answers.answered(7);
    answers.answered(8);
    EXPECT_TRUE(answers.haveReached(7));
}

TEST(ServerAnswers, GoOnWhereTheNumbersStartAgain) {
    // As the library numbers them: thirty bits, and one that marks a question.
    constexpr int mark = 1 << 30;
    constexpr int last = mark | ((1 << 30) - 1);
    ServerAnswers answers;
    answers.answered(last);
    EXPECT_FALSE(answers.haveReached(mark | 0));
    answers.answered(mark | 0);
    EXPECT_TRUE(answers.haveReached(last));
}

} // namespace
} // namespace brindle::pipewire
