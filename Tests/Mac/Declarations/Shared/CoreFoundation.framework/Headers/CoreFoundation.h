#pragma once
#include <stddef.h>
#include <stdint.h>
#ifdef __cplusplus
extern "C" {
#endif
typedef const void* CFTypeRef; // corefoundation/cftyperef
typedef unsigned long CFTypeID; // corefoundation/cftypeid
typedef const struct __CFString* CFStringRef; // corefoundation/cfstring
typedef const struct __CFArray* CFArrayRef; // corefoundation/cfarray
void CFRelease(CFTypeRef object); // corefoundation/cfrelease
CFTypeID CFGetTypeID(CFTypeRef object); // corefoundation/cfgettypeid(_:)
CFTypeID CFBooleanGetTypeID(void); // corefoundation/cfbooleangettypeid()
#ifdef __cplusplus
}
#endif
