// Hardware detection from the processor description and the board platform,
// and the loader of the optional override library.
#include <dlfcn.h>
#include <errno.h>
#include <fcntl.h>
#include <pthread.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

#include "ombrix.h"
#include "ombrixPlatform.h"
#include "ombrixRuntime.h"

namespace {

// Finds the first occurrence of `key` that starts a line and returns its value:
// the text after ": " up to the next line feed. Returns null when the key is
// absent, when no ':' follows it, or when the ':' is not followed by a blank.
const char* findValue(const char* text, const char* end, const char* key, size_t* valueLength) {
    const size_t keyLength = strlen(key);
    for (const char* at = text; at + keyLength <= end; ++at) {
        if ((at != text && at[-1] != '\n') || memcmp(at, key, keyLength) != 0) continue;
        const char* colon = static_cast<const char*>(memchr(at + keyLength, ':', end - at - keyLength));
        if (!colon || colon + 1 >= end || colon[1] != ' ') return nullptr;
        const char* value = colon + 2;
        const char* lineEnd = static_cast<const char*>(memchr(value, '\n', end - value));
        *valueLength = (lineEnd ? lineEnd : end) - value;
        return value;
    }
    return nullptr;
}

// The value as a zero-terminated string, or null if it cannot be allocated.
char* copyValue(const char* text, const char* end, const char* key) {
    size_t length = 0;
    const char* value = findValue(text, end, key, &length);
    if (!value) return nullptr;
    char* copy = static_cast<char*>(malloc(length + 1));
    if (!copy) return nullptr;
    memcpy(copy, value, length);
    copy[length] = '\0';
    return copy;
}

uint32_t featureBits(char* features) {
    uint32_t bits = 0;
    char* save = nullptr;
    for (char* token = strtok_r(features, " \t", &save); token; token = strtok_r(nullptr, " \t", &save)) {
        if (strcmp(token, "vfp") == 0) bits |= OBX_CPU_VFP;
        if (strcmp(token, "neon") == 0) bits |= OBX_CPU_NEON;
    }
    return bits;
}

struct Detection {
    pthread_once_t once = PTHREAD_ONCE_INIT;
    uint8_t probed = 0;
    uint32_t cpuFeatures = 0;
    uint32_t cpuImplementer = 0;
};
Detection gDetection;

void probeOnce() {
    gDetection.cpuFeatures = 0;
    gDetection.probed = 0;
    obxProbeCpuInfoFile(obxPlatformCpuInfoPath(), &gDetection.cpuFeatures, &gDetection.cpuImplementer);
    gDetection.probed = 1;
}

void* gOverrideLibrary = nullptr;

}  // namespace

void obxParseCpuInfo(const char* text, size_t length, uint32_t* features, uint32_t* implementer) {
    const char* end = text + length;
    if (char* value = copyValue(text, end, "CPU architecture")) {
        char* digitsEnd = value;
        const long architecture = strtol(value, &digitsEnd, 10);
        if (digitsEnd != value && architecture >= 7) *features |= OBX_CPU_ARMV7;
        free(value);
    }
    *implementer = 0;
    if (char* value = copyValue(text, end, "CPU implementer")) {
        *implementer = static_cast<uint32_t>(strtoul(value, nullptr, 0));
        free(value);
    }
    if (char* value = copyValue(text, end, "Features")) {
        *features |= featureBits(value);
        free(value);
    }
}

bool obxProbeCpuInfoFile(const char* path, uint32_t* features, uint32_t* implementer) {
    *features = 0;
    const int fd = open(path, O_RDONLY);
    if (fd < 0) return false;
    char buffer[kCpuInfoReadSize];
    ssize_t got;
    do {
        got = read(fd, buffer, sizeof buffer);
    } while (got < 0 && errno == EINTR);
    close(fd);
    if (got < 0) return false;
    obxParseCpuInfo(buffer, static_cast<size_t>(got), features, implementer);
    return true;
}

uint32_t obxComposeHardware(bool probed, uint32_t features, uint32_t implementer,
                            const char* boardPlatform) {
    uint32_t hw = probed ? OBX_HW_PROBED : 0;
    if (features & OBX_CPU_NEON) hw |= OBX_HW_SIMD;
    if (implementer == 0x51 || strncmp(boardPlatform, "kpx3190b", 8) == 0) hw |= OBX_HW_PREFERRED;
    if (features & OBX_CPU_ARMV7) hw |= OBX_HW_ARMV7;
    if (features & OBX_CPU_VFP) hw |= OBX_HW_FPU;
    return hw;
}

extern "C" {

uint32_t obxAvailableHardware(void) {
    pthread_once(&gDetection.once, probeOnce);
    char platform[kPropertyValueMax];
    obxPlatformGetProperty("ro.board.platform", platform);
    return obxComposeHardware(gDetection.probed, gDetection.cpuFeatures, gDetection.cpuImplementer,
                              platform);
}

int32_t obxPlatformOptLoad(void) {
    const char* path = obxPlatformOverrideLibraryPath();
    obxPlatformLog(OBX_LOG_DEBUG, "obx", "Loading from: %s\n", path);
    if (!gOverrideLibrary) {
        gOverrideLibrary = dlopen(path, RTLD_LAZY);
        if (!gOverrideLibrary) {
            obxPlatformLog(OBX_LOG_ERROR, "ombrix_PLATFORM", "dlopen for %s failed!\n Error:%s\n", path,
                           dlerror());
            return -1;
        }
    }
    obxPlatformLog(OBX_LOG_DEBUG, "ombrix_PLATFORM", "dlopen for %s is successfull.\n", path);
    return 0;
}

void* obxPlatformOptGetFunc(const char* name) {
    void* address = gOverrideLibrary ? dlsym(gOverrideLibrary, name) : nullptr;
    if (!address) {
        const char* error = dlerror();
        obxPlatformLog(OBX_LOG_ERROR, "ombrix_PLATFORM", "dlsym for %s failed! \n Error:%s\n", name,
                       error ? error : "(null)");
    }
    return address;
}

int32_t obxPlatformOptClose(void) {
    if (gOverrideLibrary) dlclose(gOverrideLibrary);
    gOverrideLibrary = nullptr;
    return 0;
}

}  // extern "C"
