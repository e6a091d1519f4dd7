// Many requests in one turn of the main loop, one call at its end.
#pragma once

#include "BrindleRecorderApp/Platform/MainLoop.hpp"

#include <functional>
#include <memory>
#include <utility>

namespace brindle {

/// Main thread only. Destroying it takes an open request back.
class CoalescedCall {
  public:
    /// The loop must outlive this.
    CoalescedCall(MainLoop& mainLoop, std::function<void()> work)
        : mainLoop_{mainLoop}, work_{std::make_shared<const std::function<void()>>(
                                   std::move(work))} {}
    CoalescedCall(const CoalescedCall&) = delete;
    CoalescedCall& operator=(const CoalescedCall&) = delete;

    /// The work runs once in a later turn, however often it is requested until then.
    void request() {
        if (isRequested()) {
            return;
        }
        request_ = std::make_shared<Request>();
        const std::weak_ptr<Request> open{request_};
        const std::weak_ptr work{work_};
        mainLoop_.post([this, open, work] {
            const auto stillThere = work.lock();
            if (stillThere && !open.expired()) {
                request_.reset();
                (*stillThere)();
            }
        });
    }

    /// Takes the request back, if there is one.
    void cancel() { request_.reset(); }
    [[nodiscard]] bool isRequested() const { return request_ != nullptr; }

  private:
    struct Request {};

    MainLoop& mainLoop_;
    std::shared_ptr<const std::function<void()>> work_;
    std::shared_ptr<Request>
        request_; ///< only this owns it: it ends with whatever ends the request
};

} // namespace brindle
