// Internal interfaces of the runtime frame. Mode decisions, the cpuinfo
// parser and the hardware composition are plain functions of their inputs so
// that one test process can cover every hardware combination.
#ifndef OMBRIX_RUNTIME_H
#define OMBRIX_RUNTIME_H

#include <stddef.h>
#include <stdint.h>

#include "ombrix.h"

// Table writes (ombrixTable.cpp).
void obxTableClearRemoteSlots();
void obxTableResetToReferences();
void obxTableInstallVectorVariants();

// Mode decisions for a given hardware bit set (ombrixMode.cpp).
int32_t obxApplyOperationMode(obxOperationMode mode, uint32_t hw);
int32_t obxApplyOperationModeRemoteLib(obxOperationMode mode, uint32_t hw);

// Processor description (ombrixHardware.cpp).
enum : uint32_t {
    OBX_CPU_ARMV7 = 0x1,
    OBX_CPU_VFP = 0x2,
    OBX_CPU_NEON = 0x4,
};
// The probe reads at most this much of the description, in one read.
constexpr size_t kCpuInfoReadSize = 4096;
// Folds the keys found in `text` into `features` and `implementer`; a key
// that is absent leaves its state unchanged.
void obxParseCpuInfo(const char* text, size_t length, uint32_t* features,
                     uint32_t* implementer);
// Reads one block of `path` and parses it; `features` is reset first.
// Returns false when the file cannot be opened or read.
bool obxProbeCpuInfoFile(const char* path, uint32_t* features, uint32_t* implementer);
uint32_t obxComposeHardware(bool probed, uint32_t features, uint32_t implementer,
                            const char* boardPlatform);

#endif  // OMBRIX_RUNTIME_H
