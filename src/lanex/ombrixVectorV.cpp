// Conversion of 36-value integer descriptors to scaled floats, vector
// variant: the 36 bytes as two 16-byte loads and the 8 bytes ending at the
// last (of which the upper four are new), widened to floats and multiplied
// by the descriptor's factor, one rounding per value as in the reference.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

OMBRIX_ALWAYS_INLINE void storeScaled8(int8x8_t v, float32x4_t f, float* dst) {
    const int16x8_t wide = vmovl_s8(v);
    vst1q_f32(dst, vmulq_f32(f, vcvtq_f32_s32(vmovl_s16(vget_low_s16(wide)))));
    vst1q_f32(dst + 4, vmulq_f32(f, vcvtq_f32_s32(vmovl_s16(vget_high_s16(wide)))));
}

}  // namespace

int32_t obxVecNormalize36s8f32V(const int8_t* src, uint32_t srcStride, const float* invLen, uint32_t numVecs,
                                float reqNorm, float* dst, const int32_t* stopFlag) {
    OMBRIX_ASSERT(src && invLen && dst);
    if (numVecs == 0 || *stopFlag != 0) return 0;
    for (uint32_t i = 0; i < numVecs; ++i, src += srcStride, dst += 36) {
        const float32x4_t f = vdupq_n_f32(invLen[i] * reqNorm);
        const int8x16_t v0 = vld1q_s8(src), v1 = vld1q_s8(src + 16);
        storeScaled8(vget_low_s8(v0), f, dst);
        storeScaled8(vget_high_s8(v0), f, dst + 8);
        storeScaled8(vget_low_s8(v1), f, dst + 16);
        storeScaled8(vget_high_s8(v1), f, dst + 24);
        const int32x4_t tail = vmovl_s16(vget_high_s16(vmovl_s8(vld1_s8(src + 28))));
        vst1q_f32(dst + 32, vmulq_f32(f, vcvtq_f32_s32(tail)));
    }
    return 0;
}
