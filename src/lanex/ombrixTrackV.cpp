// 16x16 block kernels of the block matcher, vector variants. Sums gather each
// row pairwise into eight u16 lanes (at most 16 * 2 * 255); the zero-mean SAD
// widens b - a to s16, removes the mean difference, and gathers the absolute
// values (at most 510 each) into four u32 lanes.
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

OMBRIX_ALWAYS_INLINE uint32_t blockSum(const uint8_t* block, uint32_t stride) {
    uint16x8_t sums = vdupq_n_u16(0);
    for (uint32_t y = 0; y < 16; ++y, block += stride) sums = vpadalq_u8(sums, vld1q_u8(block));
    return sumAcrossU16(sums);
}

}  // namespace

uint32_t calculateBlockSum16x16V(const uint8_t* block, uint32_t stride) { return blockSum(block, stride); }

uint32_t calculateBlockSAD_ZeroMean16x16V(const uint8_t* a, uint32_t aStride, const uint8_t* b, uint32_t bStride) {
    const int16x8_t mean = vdupq_n_s16(static_cast<int16_t>(static_cast<int32_t>(blockSum(b, bStride) >> 8) -
                                                            static_cast<int32_t>(blockSum(a, aStride) >> 8)));
    uint32x4_t sums = vdupq_n_u32(0);
    for (uint32_t y = 0; y < 16; ++y, a += aStride, b += bStride) {
        const uint8x16_t va = vld1q_u8(a), vb = vld1q_u8(b);
        const int16x8_t low = vsubq_s16(vreinterpretq_s16_u16(vsubl_u8(vget_low_u8(vb), vget_low_u8(va))), mean);
        const int16x8_t high = vsubq_s16(vreinterpretq_s16_u16(vsubl_u8(vget_high_u8(vb), vget_high_u8(va))), mean);
        sums = vpadalq_u16(sums, vreinterpretq_u16_s16(vabsq_s16(low)));
        sums = vpadalq_u16(sums, vreinterpretq_u16_s16(vabsq_s16(high)));
    }
    return sumAcrossU32(sums);
}
