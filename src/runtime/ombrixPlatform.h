// The platform layer: the only place that knows whether the library runs on
// Android or on a Linux host. On Android the real log, system-property and
// loader paths are used. The host build logs to stderr and takes its inputs
// from the environment:
//   property "a.b.c"        <- OMBRIX_PROP_a_b_c
//   /proc/cpuinfo           <- OMBRIX_CPUINFO (a file with the same format)
//   override library path   <- OMBRIX_OVERRIDE_LIB
#ifndef OMBRIX_PLATFORM_H
#define OMBRIX_PLATFORM_H

#include <stdarg.h>
#include <stddef.h>

enum {
    OBX_LOG_DEBUG = 3,
    OBX_LOG_ERROR = 6,
};

// Room for a property value and its terminating zero.
constexpr size_t kPropertyValueMax = 92;

void obxPlatformLog(int priority, const char* tag, const char* format, ...)
    __attribute__((format(printf, 3, 4)));
void obxPlatformLogV(int priority, const char* tag, const char* format, va_list args);
// Writes the value (empty when absent) into `value`; returns its length.
int obxPlatformGetProperty(const char* name, char value[kPropertyValueMax]);
const char* obxPlatformCpuInfoPath();
const char* obxPlatformOverrideLibraryPath();

// Tests route log entries to a sink instead of the platform log; null restores it.
typedef void obxLogSink(int priority, const char* tag, const char* text);
void obxPlatformSetLogSink(obxLogSink* sink);

#endif  // OMBRIX_PLATFORM_H
