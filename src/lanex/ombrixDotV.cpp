// Dot product of two 36-element signed descriptors, vector variant: bytes
// 0..31 in two 16-byte loads, bytes 28..35 in one 8-byte load whose first
// four lanes (already counted) are cleared. Products of values in
// [-128, 127] fit 16 bits; each 32-bit lane sums at most 18 of them.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

int32_t obxDotProduct36x1s8V(const int8_t* a, const int8_t* b) {
    OMBRIX_ASSERT(a && b);
    const int8x16_t a0 = vld1q_s8(a), a1 = vld1q_s8(a + 16), b0 = vld1q_s8(b), b1 = vld1q_s8(b + 16);
    const int8x8_t lastFour = vreinterpret_s8_u64(vdup_n_u64(0xFFFFFFFF00000000ull));
    const int8x8_t a2 = vand_s8(vld1_s8(a + 28), lastFour), b2 = vld1_s8(b + 28);
    int32x4_t sums = vpaddlq_s16(vmull_s8(vget_low_s8(a0), vget_low_s8(b0)));
    sums = vpadalq_s16(sums, vmull_s8(vget_high_s8(a0), vget_high_s8(b0)));
    sums = vpadalq_s16(sums, vmull_s8(vget_low_s8(a1), vget_low_s8(b1)));
    sums = vpadalq_s16(sums, vmull_s8(vget_high_s8(a1), vget_high_s8(b1)));
    sums = vpadalq_s16(sums, vmull_s8(a2, b2));
    const int32x2_t pairs = vadd_s32(vget_low_s32(sums), vget_high_s32(sums));
    return vget_lane_s32(vpadd_s32(pairs, pairs), 0);
}
