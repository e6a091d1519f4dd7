// Notifications between objects, heard on the main thread.
#pragma once

#include "BrindleRecorderApp/Platform/Observation.hpp"

#import <Foundation/Foundation.h>

#include <functional>
#include <memory>

namespace brindle {

using NotificationListener = std::function<void(NSNotification*)>;

/// Hears of the notifications of that name that the object posts, or any object where it is nil.
/// Main thread only; the listener is called there, wherever they are posted.
std::unique_ptr<Observation> observeNotifications(
    NSNotificationCenter* center, NSString* name, id object, NotificationListener listener);

} // namespace brindle
