// What a process runs, as a test says.
#pragma once

#include <stdint.h>

#define PROC_PIDPATHINFO_MAXSIZE 4096

#ifdef __cplusplus
extern "C" {
#endif

int proc_pidpath(int pid, void* buffer, uint32_t size);

#ifdef __cplusplus
}
#endif
