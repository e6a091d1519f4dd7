#include "BrindleRecorderMac/Foundation/NotificationObservation.hpp"

#include "BrindleRecorderMac/Dispatch/DispatchMainLoop.hpp"
#include "BrindleRecorderMac/Foundation/Retained.hpp"

#include <utility>

/// Called on whatever thread posts.
@interface BrindleNotificationObserver : NSObject {
  @public
    std::weak_ptr<brindle::NotificationListener> listener_;
}
- (void)hear:(NSNotification*)notification;
@end

@implementation BrindleNotificationObserver
- (void)hear:(NSNotification*)notification {
    // The listener may go before its turn comes on the main thread.
    const auto listener = listener_;
    brindle::DispatchMainLoop{}.post([listener, heard = brindle::keeping(notification)] {
        if (const auto alive = listener.lock()) {
            (*alive)(heard.get());
        }
    });
}
@end

namespace brindle {

namespace {

class Registration final : public Observation {
  public:
    Registration(
        NSNotificationCenter* center, NSString* name, id object, NotificationListener listener)
        : center_{keeping(center)}, listener_{std::make_shared<NotificationListener>(
                                        std::move(listener))},
          observer_{taking([[BrindleNotificationObserver alloc] init])} {
        observer_.get()->listener_ = listener_;
        [center addObserver:observer_.get() selector:@selector(hear:) name:name object:object];
    }
    ~Registration() override { [center_.get() removeObserver:observer_.get()]; }
    Registration(const Registration&) = delete;
    Registration& operator=(const Registration&) = delete;

  private:
    Retained<NSNotificationCenter> center_;
    std::shared_ptr<NotificationListener> listener_;
    Retained<BrindleNotificationObserver> observer_;
};

} // namespace

std::unique_ptr<Observation> observeNotifications(
    NSNotificationCenter* center, NSString* name, id object, NotificationListener listener) {
    return std::make_unique<Registration>(center, name, object, std::move(listener));
}

} // namespace brindle
