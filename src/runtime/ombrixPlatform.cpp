#include "ombrixPlatform.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#if defined(__ANDROID__)
#include <android/log.h>
#include <sys/system_properties.h>
#endif

namespace {

// Android formats each entry into a buffer of this size; do the same everywhere.
constexpr size_t kLogEntryMax = 1024;

obxLogSink* gLogSink = nullptr;

#if defined(__ANDROID__)

void writeEntry(int priority, const char* tag, const char* text) {
    __android_log_write(priority, tag, text);
}

#else

char priorityLetter(int priority) {
    static const char kLetters[] = "??VDIWEFS";
    return priority >= 0 && priority <= 8 ? kLetters[priority] : '?';
}

// One stderr line per line of text, each prefixed "P/tag: ".
void writeEntry(int priority, const char* tag, const char* text) {
    const char letter = priorityLetter(priority);
    const char* line = text;
    do {
        const char* end = strchr(line, '\n');
        const int length = end ? static_cast<int>(end - line) : static_cast<int>(strlen(line));
        fprintf(stderr, "%c/%s: %.*s\n", letter, tag, length, line);
        line = end ? end + 1 : nullptr;
    } while (line && *line);
}

#endif

}  // namespace

void obxPlatformSetLogSink(obxLogSink* sink) { gLogSink = sink; }

void obxPlatformLogV(int priority, const char* tag, const char* format, va_list args) {
    char text[kLogEntryMax];
    vsnprintf(text, sizeof text, format, args);
    if (gLogSink)
        gLogSink(priority, tag, text);
    else
        writeEntry(priority, tag, text);
}

void obxPlatformLog(int priority, const char* tag, const char* format, ...) {
    va_list args;
    va_start(args, format);
    obxPlatformLogV(priority, tag, format, args);
    va_end(args);
}

#if defined(__ANDROID__)

int obxPlatformGetProperty(const char* name, char value[kPropertyValueMax]) {
    return __system_property_get(name, value);
}

const char* obxPlatformCpuInfoPath() { return "/proc/cpuinfo"; }

const char* obxPlatformOverrideLibraryPath() { return "/data/local/libobxopt.so"; }

#else

int obxPlatformGetProperty(const char* name, char value[kPropertyValueMax]) {
    char variable[128] = "OMBRIX_PROP_";
    size_t at = strlen(variable);
    for (; *name && at + 1 < sizeof variable; ++name) variable[at++] = *name == '.' ? '_' : *name;
    variable[at] = '\0';
    const char* found = getenv(variable);
    snprintf(value, kPropertyValueMax, "%s", found ? found : "");
    return static_cast<int>(strlen(value));
}

const char* obxPlatformCpuInfoPath() {
    const char* path = getenv("OMBRIX_CPUINFO");
    return path && *path ? path : "/proc/cpuinfo";
}

const char* obxPlatformOverrideLibraryPath() {
    const char* path = getenv("OMBRIX_OVERRIDE_LIB");
    return path && *path ? path : "/data/local/libobxopt.so";
}

#endif
