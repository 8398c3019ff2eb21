// 16x16 sum of absolute differences, vector variant: one row of sixteen
// absolute differences per step, accumulated pairwise into eight u16 lanes
// (at most 16 * 2 * 255 each), then summed across. The first row starts
// the sums, so no zeroed register is needed.
//
// On ARMv7 this is close to the floor for the operation: 32 row loads (the
// rows of either block are not contiguous), 16 absolute differences of
// sixteen lanes, 16 widening accumulations (none takes more than sixteen
// bytes), and four instructions to sum across and return the result.
#include "ombrix.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

uint32_t obxSumOfAbsoluteDiff16x16u8V(const uint8_t* a, uint32_t aStride, const uint8_t* b, uint32_t bStride) {
    uint16x8_t sums = vpaddlq_u8(vabdq_u8(vld1q_u8(a), vld1q_u8(b)));
    for (uint32_t y = 1; y < 16; ++y) {
        a += aStride, b += bStride;
        sums = vpadalq_u8(sums, vabdq_u8(vld1q_u8(a), vld1q_u8(b)));
    }
    return sumAcrossU16(sums);
}
