// The part of libdispatch that the adapters call: the main thread's run loop, and threads.
#pragma once

#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

typedef struct BrindleQueue* dispatch_queue_t;
typedef uint64_t dispatch_time_t;
typedef void (*dispatch_function_t)(void*);
#define DISPATCH_TIME_NOW 0ull

dispatch_queue_t dispatch_get_main_queue(void);
void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work);
void dispatch_after_f(
    dispatch_time_t when, dispatch_queue_t queue, void* context, dispatch_function_t work);
/// On the clock that stands still in sleep.
dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);
/// On the clock that somebody may set.
dispatch_time_t dispatch_walltime(const void* when, int64_t delta);

#ifdef __cplusplus
}
#endif
