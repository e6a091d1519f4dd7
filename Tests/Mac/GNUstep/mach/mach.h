// The types of Mach that IOKit's functions name.
#pragma once

#include <stdint.h>

typedef uint32_t mach_port_t;
typedef uint32_t natural_t;
typedef int kern_return_t;
enum : mach_port_t { MACH_PORT_NULL = 0 };
