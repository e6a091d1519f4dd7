#pragma once
#include <stdint.h>
enum : uint32_t {
    kIOMessageCanSystemSleep = 0xe0000270u, // iokit/kiomessagecansystemsleep
    kIOMessageSystemWillSleep = 0xe0000280u, // iokit/kiomessagesystemwillsleep
    kIOMessageSystemWillNotSleep = 0xe0000290u, // iokit/kiomessagesystemwillnotsleep
    kIOMessageSystemHasPoweredOn = 0xe0000300u // iokit/kiomessagesystemhaspoweredon
};
