// Exceptions of Objective-C, caught in its own language: not every compiler catches them in
// Objective-C++.
#pragma once

#import <Foundation/Foundation.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Calls the work. What it raised belongs to the caller; nil when it raised nothing.
NSException* BrindleExceptionRaisedBy(void (*work)(void*), void* context);

#ifdef __cplusplus
}
#endif
