#pragma once
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
typedef struct os_log_s* os_log_t; // os/os_log_t
typedef uint8_t os_log_type_t; // os/os_log_type_t
enum : os_log_type_t {
    OS_LOG_TYPE_DEFAULT = 0x00, // os/os_log_type_t/os_log_type_default
    OS_LOG_TYPE_ERROR = 0x10 // os/os_log_type_t/os_log_type_error
};
os_log_t os_log_create(const char* subsystem, const char* category); // os/os_log_create
#ifdef BRINDLE_STAND_IN
void os_log_with_type(os_log_t log, os_log_type_t type, const char* format, ...); // os/os_log_with_type
#else
// The macro of that name is a call of this function, with what clang's own builtins make of the arguments:
// https://clang.llvm.org/docs/LanguageExtensions.html
void _os_log_impl(void* program, os_log_t log, os_log_type_t type, const char* format, uint8_t* buffer, uint32_t size); // os/os_log_with_type
extern char __dso_handle; // os/os_log_with_type
#define os_log_with_type(log, type, format, ...)                                                    \
    __extension__({                                                                                 \
        uint8_t os_log_buffer[__builtin_os_log_format_buffer_size(format, ##__VA_ARGS__)];                 \
        static const char os_log_text[] __attribute__((section("__TEXT,__oslogstring,cstring_literals"))) = format; \
        _os_log_impl(&__dso_handle, log, type, os_log_text,                                                \
            static_cast<uint8_t*>(__builtin_os_log_format(os_log_buffer, format, ##__VA_ARGS__)), sizeof os_log_buffer); \
    })
#endif
#ifdef __cplusplus
}
#endif
