#pragma once
#include <dispatch/dispatch.h>
#include <mach/mach.h>
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
typedef mach_port_t io_object_t; // iokit/io_object_t
typedef io_object_t io_connect_t; // iokit/io_connect_t
typedef io_object_t io_service_t; // iokit/io_service_t
typedef kern_return_t IOReturn; // kernel/ioreturn
enum : io_object_t { IO_OBJECT_NULL = 0 }; // iokit/io_object_null
typedef struct IONotificationPort* IONotificationPortRef; // iokit/ionotificationportref
typedef void (*IOServiceInterestCallback)(void* context, io_service_t service, natural_t message, void* argument); // iokit/ioserviceinterestcallback
io_connect_t IORegisterForSystemPower(void* context, IONotificationPortRef* port, IOServiceInterestCallback callback, io_object_t* notifier); // iokit/1557114-ioregisterforsystempower
IOReturn IODeregisterForSystemPower(io_object_t* notifier); // iokit/1557132-ioderegisterforsystempower
IOReturn IOAllowPowerChange(io_connect_t port, intptr_t change); // iokit/1557064-ioallowpowerchange
kern_return_t IOServiceClose(io_connect_t port); // iokit/1514515-ioserviceclose
void IONotificationPortSetDispatchQueue(IONotificationPortRef port, dispatch_queue_t queue); // iokit/1514682-ionotificationportsetdispatchqueu
void IONotificationPortDestroy(IONotificationPortRef port); // iokit/1514507-ionotificationportdestroy
#ifdef __cplusplus
}
#endif
