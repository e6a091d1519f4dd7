#include "BrindleRecorderApp/Async/CoalescedCall.hpp"

#include "Support/ManualMainLoop.hpp"

#include <gtest/gtest.h>

#include <optional>

namespace brindle {
namespace {

class CoalescedCallTest : public testing::Test {
  protected:
    test::ManualMainLoop loop_;
    int calls_ = 0;
    std::optional<CoalescedCall> call_{std::in_place, loop_, [this] {
                                           ++calls_;
                                       }};
};

TEST_F(CoalescedCallTest, ManyRequestsInOneTurnMakeOneCall) {
    call_->request();
    call_->request();
    EXPECT_EQ(calls_, 0) << "never within the request";
    loop_.runPosted();
    EXPECT_EQ(calls_, 1);
    EXPECT_FALSE(call_->isRequested());
    call_->request();
    loop_.runPosted();
    EXPECT_EQ(calls_, 2);
}

TEST_F(CoalescedCallTest, ACancelledRequestMakesNoCall) {
    call_->request();
    call_->cancel();
    loop_.runPosted();
    EXPECT_EQ(calls_, 0);
}

TEST_F(CoalescedCallTest, ARequestAfterACancelledOneCountsOnce) {
    call_->request();
    call_->cancel();
    call_->request();
    loop_.runPosted();
    EXPECT_EQ(calls_, 1);
}

TEST_F(CoalescedCallTest, MayBeRequestedByItsOwnWork) {
    call_.emplace(loop_, [this] {
        if (++calls_ == 1) {
            call_->request();
        }
    });
    call_->request();
    loop_.runPosted();
    EXPECT_EQ(calls_, 2);
}

TEST_F(CoalescedCallTest, DestroyingItTakesTheRequestBack) {
    call_->request();
    call_.reset();
    loop_.runPosted();
    EXPECT_EQ(calls_, 0);
}

TEST_F(CoalescedCallTest, MayBeDestroyedByItsOwnWork) {
    call_.emplace(loop_, [this] {
        call_.reset();
        ++calls_;
    });
    call_->request();
    loop_.runPosted();
    EXPECT_EQ(calls_, 1);
}

} // namespace
} // namespace brindle
