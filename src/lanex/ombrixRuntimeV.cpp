// Vector variants of the runtime operations.
#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

extern "C" {

void obxCopyV(uint8_t* dstPtr, const uint8_t* srcPtr, uint32_t size) {
    OMBRIX_ASSERT(dstPtr && srcPtr);
    uint32_t i = 0;
    for (; i + 64 <= size; i += 64) {
        const uint8x16_t a = vld1q_u8(srcPtr + i), b = vld1q_u8(srcPtr + i + 16);
        const uint8x16_t c = vld1q_u8(srcPtr + i + 32), d = vld1q_u8(srcPtr + i + 48);
        vst1q_u8(dstPtr + i, a);
        vst1q_u8(dstPtr + i + 16, b);
        vst1q_u8(dstPtr + i + 32, c);
        vst1q_u8(dstPtr + i + 48, d);
    }
    for (; i + 16 <= size; i += 16) vst1q_u8(dstPtr + i, vld1q_u8(srcPtr + i));
    for (; i < size; ++i) dstPtr[i] = srcPtr[i];
}

}  // extern "C"
