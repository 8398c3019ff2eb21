// Operation modes: which implementation each slot holds, decided once per
// mode call from the mode value and the hardware bit set.
#include <stdlib.h>
#include <string.h>

#include "ombrix.h"
#include "ombrixPlatform.h"
#include "ombrixRuntime.h"

namespace {

constexpr uint32_t kPrivateBit = 0x80000000u;
// Private low parts 1..32 accepted with the reference table: bit (low - 1).
constexpr uint32_t kPrivateReferenceModes = 0x80008082u;

// Detection has run and found neither a floating-point unit nor the SIMD unit.
bool hardwareUnsuitable(uint32_t hw) {
    return (hw & (OBX_HW_FPU | OBX_HW_PROBED | OBX_HW_SIMD)) == OBX_HW_PROBED;
}

void installVectorIfSimd(uint32_t hw) {
    if (hw & OBX_HW_SIMD) obxTableInstallVectorVariants();
}

void readLogSwitch() {
    char value[kPropertyValueMax];
    obxPlatformGetProperty("runtime.ombrix.libLogPrint", value);
    libLogPrint = atoi(value) != 0;
}

int32_t applyPrivateMode(uint32_t low, uint32_t hw) {
    if (low >= 1024) return low == 1024 ? 0 : -1;
    if (low >= 512) return low == 512 ? 0 : -1;
    if (low == 1 || low == 4) {
        installVectorIfSimd(hw);
        return 0;
    }
    if (low >= 1 && low <= 32 && (kPrivateReferenceModes >> (low - 1)) & 1u) return 0;
    return -1;
}

}  // namespace

int32_t obxApplyOperationMode(obxOperationMode mode, uint32_t hw) {
    if (hardwareUnsuitable(hw)) return 999;
    obxTableClearRemoteSlots();
    obxTableResetToReferences();

    const uint32_t value = static_cast<uint32_t>(mode);
    if (value & kPrivateBit) return applyPrivateMode(value & ~kPrivateBit, hw);
    if (!(hw & OBX_HW_PREFERRED)) return 0;
    switch (value) {
        case OBX_MODE_LOW_POWER:
            installVectorIfSimd(hw);
            uHWLowPowerMode();
            return 0;
        case OBX_MODE_PERFORMANCE:
            installVectorIfSimd(hw);
            uHWPerformanceMode();
            return 0;
        case OBX_MODE_VECTOR:
            installVectorIfSimd(hw);
            return 0;
        default:
            return 0;
    }
}

int32_t obxApplyOperationModeRemoteLib(obxOperationMode mode, uint32_t hw) {
    if (hardwareUnsuitable(hw)) return 999;
    obxTableClearRemoteSlots();
    const uint32_t value = static_cast<uint32_t>(mode);
    if ((value & kPrivateBit) || !(hw & OBX_HW_PREFERRED)) return 0;
    if (value == OBX_MODE_PERFORMANCE) uHWPerformanceMode();
    if (value == OBX_MODE_LOW_POWER) uHWLowPowerMode();
    return 0;
}

extern "C" {

uint8_t libLogPrint = 0;
uint32_t obxFuzzingDisable = 0;
uint8_t useRemoteLanex = 0;

int32_t obxSetOperationMode(obxOperationMode mode) {
    readLogSwitch();
    return obxApplyOperationMode(mode, obxAvailableHardware());
}

int32_t obxSetOperationModeRemoteLib(obxOperationMode mode) {
    readLogSwitch();
    return obxApplyOperationModeRemoteLib(mode, obxAvailableHardware());
}

uint8_t* obxInitRemoteLib(obxOperationMode mode) {
    obxSetOperationModeRemoteLib(mode);
    useRemoteLanex = 1;
    return &useRemoteLanex;
}

void obxCleanUp(void) {}

void obxGetVersion(char* version, uint32_t length) {
    if (!version) return;
    if (length >= 6)
        strncpy(version, "1.2.2", 6);
    else
        memset(version, 0, length);
}

void obxDisableFuzzingTest(uint8_t disable) { obxFuzzingDisable = disable; }

void obxSelectZDSP9Mode(void) {}

// Power requests have no effect on this platform; the mode calls keep the hooks.
void uHWLowPowerMode(void) {}
void uHWPerformanceMode(void) {}

}  // extern "C"
