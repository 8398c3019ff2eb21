// Reference implementations of the runtime operations.
#include "ombrix.h"
#include "ombrixAssert.h"

extern "C" {

void obxCopyC(uint8_t* dstPtr, const uint8_t* srcPtr, uint32_t size) {
    OMBRIX_ASSERT(dstPtr && srcPtr);
    for (uint32_t i = 0; i < size; ++i) dstPtr[i] = srcPtr[i];
}

uint64_t probeZ9TimeC(void) { return 0; }

}  // extern "C"
