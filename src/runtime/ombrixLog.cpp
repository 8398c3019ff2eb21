// Assertion reports, the front end's logging call and the time source.
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/time.h>

#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixPlatform.h"

void obxAssertFailed(const char* module, int line, const char* expression) {
    obxPlatformLog(OBX_LOG_ERROR, "", "%s@%d: %s Assertion failed\n", module, line, expression);
    exit(1);
}

extern "C" {

void OMBRIXs_ASSERT(intptr_t value, const char* message) {
    if (value) return;
    printf("LANEX assert failed\n");
    obxPlatformLog(OBX_LOG_ERROR, "", "%s: Assertion failed\n", message);
    exit(1);
}

void ombrixs_assert(int32_t value, const char* function) {
    printf("Assertion fail in %s val = %d\n", function, value);
    obxPlatformLog(OBX_LOG_ERROR, "", "Assertion failure in function %s bool flag = %d", function,
                   value);
    exit(1);
}

void ombrix_libv_log(...) {}

int32_t obxLogAssert(const char* path, uint32_t line, int32_t priority, const char* format, ...) {
    char tag[128];
    const char* slash = strrchr(path, '/');
    snprintf(tag, sizeof tag, "%s", slash ? slash + 1 : path);

    char message[512];
    int prefix = 0;
    if (line != 0) prefix = snprintf(message, sizeof message, "%4d| ", static_cast<int>(line));
    va_list args;
    va_start(args, format);
    const int written = vsnprintf(message + prefix, sizeof message - prefix, format, args);
    va_end(args);

    obxPlatformLog(priority, tag, "%s", message);
    return written;
}

int64_t obxGetTime(void) {
    timeval now;
    gettimeofday(&now, nullptr);
    // The clock fields are taken as signed 32-bit values, as on the ARMv7 target.
    return static_cast<int64_t>(static_cast<int32_t>(now.tv_sec)) * 1000000 +
           static_cast<int32_t>(now.tv_usec);
}

}  // extern "C"
