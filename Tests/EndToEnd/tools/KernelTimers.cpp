// Hands timers to the kernel as they are. libfaketime, by which a scene sets the clock of one
// program, moves timers of every clock with it, those of the boot clock too; the kernel's own do
// not move when somebody sets the clock.
#include <sys/syscall.h>
#include <sys/timerfd.h>
#include <unistd.h>

extern "C" int
timerfd_settime(int timer, int flags, const itimerspec* next, itimerspec* previous) noexcept {
    return static_cast<int>(syscall(SYS_timerfd_settime, timer, flags, next, previous));
}
