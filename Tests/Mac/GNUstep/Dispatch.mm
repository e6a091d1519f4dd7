#include "SystemStandIn.hpp"

#import <Foundation/Foundation.h>

#include <algorithm>
#include <condition_variable>
#include <cstdlib>
#include <ctime>
#include <deque>
#include <dispatch/dispatch.h>
#include <mach/mach_time.h>
#include <mutex>
#include <thread>

namespace {

using std::chrono::nanoseconds;

std::int64_t sleptFor = 0; // main thread
std::int64_t wallSetBy = 0;

std::int64_t reading(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return time.tv_sec * 1'000'000'000 + time.tv_nsec;
}

std::int64_t plainTime() {
    return reading(CLOCK_MONOTONIC);
}

std::int64_t wallTime() {
    return reading(CLOCK_REALTIME) + sleptFor + wallSetBy;
}

struct Due {
    bool isByTheWall;
    std::int64_t when;
    void* context;
    dispatch_function_t work;

    [[nodiscard]] std::int64_t left() const {
        return when - (isByTheWall ? wallTime() : plainTime());
    }
};

// Main thread; whatever still waits when the program ends is not lost, but not due.
auto& waiting = *new std::vector<Due>;

} // namespace

/// The main thread.
@interface BrindleMainQueue : NSObject
- (void)run:(NSArray*)workAndContext;
- (void)runDue;
@end

static BrindleMainQueue* mainQueueObject(void) {
    static BrindleMainQueue* const queue = [[BrindleMainQueue alloc] init];
    return queue;
}

@implementation BrindleMainQueue
- (void)run:(NSArray*)workAndContext {
    const auto work =
        reinterpret_cast<dispatch_function_t>([[workAndContext objectAtIndex:0] pointerValue]);
    work([[workAndContext objectAtIndex:1] pointerValue]);
}

- (void)runDue {
    [NSObject cancelPreviousPerformRequestsWithTarget:self];
    // What becomes due meanwhile waits for its turn, or a slow machine would never be done.
    const auto firstDue = std::stable_partition(
        waiting.begin(), waiting.end(), [](const Due& one) { return one.left() > 0; });
    const std::vector<Due> due(firstDue, waiting.end());
    waiting.erase(firstDue, waiting.end());
    for (const Due& one : due) {
        one.work(one.context);
    }
    if (!waiting.empty()) {
        const std::int64_t soonest = std::ranges::min(waiting, {}, &Due::left).left();
        [self performSelector:@selector(runDue)
                   withObject:nil
                   afterDelay:static_cast<double>(std::max<std::int64_t>(soonest, 0)) * 1e-9];
    }
}
@end

dispatch_queue_t dispatch_get_main_queue(void) {
    return nullptr;
}

void dispatch_async_f(dispatch_queue_t /*main*/, void* context, dispatch_function_t work) {
    @autoreleasepool { // threads of C++ bring none along
        [mainQueueObject()
            performSelectorOnMainThread:@selector(run:)
                             withObject:[NSArray
                                            arrayWithObjects:[NSValue
                                                                 valueWithPointer:reinterpret_cast<
                                                                                      void*>(work)],
                                                             [NSValue valueWithPointer:context],
                                                             nil]
                          waitUntilDone:NO];
    }
}

void dispatch_after_f(
    dispatch_time_t when, dispatch_queue_t /*main*/, void* context, dispatch_function_t work) {
    const auto time = static_cast<std::int64_t>(when);
    waiting.push_back({time < 0, time < 0 ? -time : time, context, work});
    @autoreleasepool {
        [mainQueueObject() performSelectorOnMainThread:@selector(runDue)
                                            withObject:nil
                                         waitUntilDone:NO];
    }
}

dispatch_time_t dispatch_time(dispatch_time_t /*now*/, int64_t delta) {
    return static_cast<dispatch_time_t>(plainTime() + delta);
}

dispatch_time_t dispatch_walltime(const void* /*now*/, int64_t delta) {
    return static_cast<dispatch_time_t>(-(wallTime() + delta));
}

int mach_timebase_info(mach_timebase_info_data_t* info) {
    *info = {125, 3}; // as on arm64
    return 0;
}

uint64_t mach_continuous_time(void) {
    return static_cast<uint64_t>(plainTime() + sleptFor) / 125 * 3;
}

namespace brindle::test {

void sleepFor(nanoseconds time) {
    sleptFor += time.count();
    [mainQueueObject() runDue];
}

void setWallClockBy(nanoseconds time) {
    wallSetBy += time.count();
    [mainQueueObject() runDue];
}

namespace {

class ForeignThread {
  public:
    static ForeignThread& only() {
        static auto* const thread = new ForeignThread; // for as long as the process lives
        return *thread;
    }
    void run(std::function<void()> work) {
        {
            const std::lock_guard lock{mutex_};
            work_.push_back(std::move(work));
        }
        added_.notify_one();
    }

  private:
    ForeignThread() {
        std::thread{[this] {
            GSRegisterCurrentThread();
            for (;;) {
                std::function<void()> work;
                {
                    std::unique_lock lock{mutex_};
                    added_.wait(lock, [this] { return !work_.empty(); });
                    work = std::move(work_.front());
                    work_.pop_front();
                }
                @autoreleasepool {
                    work();
                }
            }
        }}.detach();
    }

    std::mutex mutex_;
    std::condition_variable added_;
    std::deque<std::function<void()>> work_;
};

} // namespace

void onForeignThread(std::function<void()> work) {
    ForeignThread::only().run(std::move(work));
}

bool eventually(const std::function<bool()>& condition) {
    // Where a fault is expected to be met, nobody waits as long.
    const char* const patience = std::getenv("BRINDLE_PATIENCE");
    const std::chrono::seconds limit{patience != nullptr ? std::atoi(patience) : 20};
    const auto end = std::chrono::steady_clock::now() + limit;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        @autoreleasepool {
            [[NSRunLoop currentRunLoop] runMode:NSDefaultRunLoopMode
                                     beforeDate:[NSDate dateWithTimeIntervalSinceNow:0.01]];
        }
    }
    return true;
}

void drainMainQueue() {
    bool isDrained = false;
    dispatch_async_f(dispatch_get_main_queue(), &isDrained, [](void* context) {
        *static_cast<bool*>(context) = true;
    });
    eventually([&] { return isDrained; });
}

} // namespace brindle::test
