// Errors of the system, and exceptions that its frameworks raise, as values.
#pragma once

#include "BrindleRecorderApp/Platform/PlatformError.hpp"

#import <Foundation/Foundation.h>

#include <functional>
#include <optional>

namespace brindle {

/// Everything that the error says of itself.
PlatformError platformErrorOf(NSError* error);

/// Nothing for nil.
std::optional<PlatformError> optionalErrorOf(NSError* error);

/// What went wrong when the framework raised an exception while it did the work, else nothing.
/// Some operations raise where the documentation lets one expect an error. No exception of C++ may
/// leave the work.
std::optional<PlatformError> raisedBy(std::function<void()> work);

} // namespace brindle
