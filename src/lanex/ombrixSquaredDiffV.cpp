// Distances of 36-element descriptors, vector variant: a's 36 bytes stay in
// registers while each b_i is multiplied against them (bytes 28..35 of b_i
// come in one 8-byte load against a copy of a whose first four of those
// lanes are cleared, as they were counted already). The float step is the
// reference's own scalar code.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"
#include "ombrixSquaredDiffScalar.h"

void obxSumOfSquaredDiffs36xNs8V(const int8_t* a, float invLenA, const int8_t* b, const float* invLenB,
                                 uint32_t numB, float* distances) {
    OMBRIX_ASSERT(a && b && invLenB && distances);
    const int8x16_t a0 = vld1q_s8(a), a1 = vld1q_s8(a + 16);
    const int8x8_t a2 = vand_s8(vld1_s8(a + 28), vreinterpret_s8_u64(vdup_n_u64(0xFFFFFFFF00000000ull)));
    for (uint32_t i = 0; i < numB; ++i, b += 36) {
        const int8x16_t b0 = vld1q_s8(b), b1 = vld1q_s8(b + 16);
        // Products of bytes fit 16 bits; each 32-bit lane sums at most 18.
        int32x4_t sums = vpaddlq_s16(vmull_s8(vget_low_s8(a0), vget_low_s8(b0)));
        sums = vpadalq_s16(sums, vmull_s8(vget_high_s8(a0), vget_high_s8(b0)));
        sums = vpadalq_s16(sums, vmull_s8(vget_low_s8(a1), vget_low_s8(b1)));
        sums = vpadalq_s16(sums, vmull_s8(vget_high_s8(a1), vget_high_s8(b1)));
        sums = vpadalq_s16(sums, vmull_s8(a2, vld1_s8(b + 28)));
        const int32x2_t pairs = vadd_s32(vget_low_s32(sums), vget_high_s32(sums));
        distances[i] = unitDistanceFromDot(vget_lane_s32(vpadd_s32(pairs, pairs), 0), invLenA, invLenB[i]);
    }
}
