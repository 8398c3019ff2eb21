// 16x16 block kernels of the block matcher, vector variants. Sums gather each
// row pairwise into eight u16 lanes (at most 16 * 2 * 255); the zero-mean SAD
// widens b - a to s16, removes the mean difference, and gathers the absolute
// values (at most 510 each) into four u32 lanes.
//
// The Lucas-Kanade gradient kernel works on four columns per step with the
// reference's products and sums in the same order, each rounded to float32
// (this file is built without fused multiply-add); the columns left over
// use the shared scalar row.
#include "ombrixKernels.h"
#include "ombrixNeon.h"
#include "ombrixTrackScalar.h"

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

void calcIxIy_32fV(const float32_t* src, uint32_t srcStride, uint32_t width, uint32_t height, float32_t* dx,
                   float32_t* dy, uint32_t dstStride) {
    const float32x4_t outer = vdupq_n_f32(ombrix_track::kScharrOuter);
    const float32x4_t inner = vdupq_n_f32(ombrix_track::kScharrInner);
    for (uint32_t y = 0; y < height; ++y) {
        const auto* row = reinterpret_cast<const float32_t*>(reinterpret_cast<const uint8_t*>(src) + y * srcStride);
        const auto* above = reinterpret_cast<const float32_t*>(reinterpret_cast<const uint8_t*>(row) - srcStride);
        const auto* below = reinterpret_cast<const float32_t*>(reinterpret_cast<const uint8_t*>(row) + srcStride);
        float32_t* const gx = reinterpret_cast<float32_t*>(reinterpret_cast<uint8_t*>(dx) + y * dstStride);
        float32_t* const gy = reinterpret_cast<float32_t*>(reinterpret_cast<uint8_t*>(dy) + y * dstStride);
        uint32_t x = 0;
        for (; x + 4 <= width; x += 4) {
            const float32x4_t aboveLeft = vld1q_f32(above + x - 1), aboveRight = vld1q_f32(above + x + 1);
            const float32x4_t belowLeft = vld1q_f32(below + x - 1), belowRight = vld1q_f32(below + x + 1);
            const float32x4_t left = vld1q_f32(row + x - 1), right = vld1q_f32(row + x + 1);
            const float32x4_t up = vld1q_f32(above + x), down = vld1q_f32(below + x);
            const float32x4_t sx = vaddq_f32(vaddq_f32(vmulq_f32(outer, vsubq_f32(aboveRight, aboveLeft)),
                                                       vmulq_f32(inner, vsubq_f32(right, left))),
                                             vmulq_f32(outer, vsubq_f32(belowRight, belowLeft)));
            const float32x4_t sy = vaddq_f32(vaddq_f32(vmulq_f32(outer, vsubq_f32(belowLeft, aboveLeft)),
                                                       vmulq_f32(inner, vsubq_f32(down, up))),
                                             vmulq_f32(outer, vsubq_f32(belowRight, aboveRight)));
            vst1q_f32(gx + x, sx);
            vst1q_f32(gy + x, sy);
        }
        ombrix_track::scharrRow(above, row, below, x, width, gx, gy);
    }
}
