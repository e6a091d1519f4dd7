#include "BrindleRecorderLinux/Capture/Streams/ArrivalQueue.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace brindle::pipewire {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class ArrivalQueueTest : public testing::Test {
  protected:
    ArrivalQueue<std::string> queue{
        [this] {
            questions.push_back(nextQuestion);
            return nextQuestion++;
        },
        [this](std::string item) {
            handedOn.push_back(std::move(item));
        }};
    int nextQuestion = 7;
    std::vector<int> questions;
    std::vector<std::string> handedOn;
};

TEST_F(ArrivalQueueTest, HandsNothingOnBeforeTheServerHasAnswered) {
    queue.arrived("a");
    EXPECT_THAT(handedOn, IsEmpty());
    EXPECT_THAT(questions, ElementsAre(7));
    queue.answered(7);
    EXPECT_THAT(handedOn, ElementsAre("a"));
    EXPECT_THAT(questions, ElementsAre(7)) << "nothing waits, so nothing is asked";
}

TEST_F(ArrivalQueueTest, WhatArrivesAfterTheQuestionWaitsForTheNextAnswer) {
    queue.arrived("a");
    queue.arrived("b");
    queue.arrived("c");
    EXPECT_THAT(questions, ElementsAre(7)) << "one question at a time";
    queue.answered(7);
    EXPECT_THAT(handedOn, ElementsAre("a"));
    EXPECT_THAT(questions, ElementsAre(7, 8));
    queue.arrived("d");
    queue.answered(8);
    EXPECT_THAT(handedOn, ElementsAre("a", "b", "c"));
    queue.answered(9);
    EXPECT_THAT(handedOn, ElementsAre("a", "b", "c", "d"));
}

TEST_F(ArrivalQueueTest, AnAnswerToAnotherQuestionConfirmsNothing) {
    queue.answered(7);
    queue.arrived("a");
    queue.answered(6);
    queue.answered(8);
    EXPECT_THAT(handedOn, IsEmpty());
    queue.answered(7);
    queue.answered(7);
    EXPECT_THAT(handedOn, ElementsAre("a"));
}

TEST_F(ArrivalQueueTest, WhatHasBeenForgottenIsNeverHandedOn) {
    queue.arrived("a");
    queue.arrived("b");
    queue.clear();
    queue.answered(7);
    EXPECT_THAT(handedOn, IsEmpty());
    queue.arrived("c");
    EXPECT_THAT(questions, ElementsAre(7, 8));
    queue.answered(8);
    EXPECT_THAT(handedOn, ElementsAre("c"));
}

TEST_F(ArrivalQueueTest, CountsWhatCameInAndWhatWentOut) {
    queue.arrived("a");
    queue.arrived("b");
    EXPECT_EQ(queue.arrivals(), 2U);
    EXPECT_EQ(queue.handedOn(), 0U);
    queue.answered(7);
    EXPECT_EQ(queue.handedOn(), 1U);
    queue.clear();
    EXPECT_EQ(queue.arrivals(), 2U);
    EXPECT_EQ(queue.handedOn(), 1U);
}

} // namespace
} // namespace brindle::pipewire
