// 16x16 block kernels of the block matcher, vector variants. Sums gather each
// row pairwise into eight u16 lanes (at most 16 * 2 * 255); the zero-mean SAD
// widens b - a to s16, removes the mean difference, and gathers the absolute
// values (at most 510 each) into four u32 lanes.
//
// The Lucas-Kanade gradient kernel works on strips of four columns with the
// reference's products and sums in the same order, each rounded to float32
// (this file is built without fused multiply-add); windows narrower than
// four use the shared scalar row.
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
    const auto rowAt = [](const float32_t* p, int64_t bytes) {
        return reinterpret_cast<const float32_t*>(reinterpret_cast<const uint8_t*>(p) + bytes);
    };
    const auto outAt = [](float32_t* p, int64_t bytes) {
        return reinterpret_cast<float32_t*>(reinterpret_cast<uint8_t*>(p) + bytes);
    };
    if (width < 4) {
        for (uint32_t y = 0; y < height; ++y) {
            const float32_t* row = rowAt(src, int64_t{y} * srcStride);
            ombrix_track::scharrRow(rowAt(row, -int64_t{srcStride}), row, rowAt(row, srcStride), 0, width,
                                    outAt(dx, int64_t{y} * dstStride), outAt(dy, int64_t{y} * dstStride));
        }
        return;
    }
    const float32x4_t outer = vdupq_n_f32(ombrix_track::kScharrOuter);
    const float32x4_t inner = vdupq_n_f32(ombrix_track::kScharrInner);
    // Strips of four columns walked down the rows: each row's horizontal
    // difference and its two weighted forms serve the three output rows
    // that use them. A last strip that would pass the width moves left to
    // end at it and writes some columns again, with the same values.
    for (uint32_t x = 0;; x += 4) {
        if (x + 4 > width) x = width - 4;
        const float32_t* p = rowAt(src + x, -int64_t{srcStride});
        float32x4_t aboveLeft = vld1q_f32(p - 1), aboveMid = vld1q_f32(p), aboveRight = vld1q_f32(p + 1);
        p = rowAt(p, srcStride);
        float32x4_t left = vld1q_f32(p - 1), mid = vld1q_f32(p), right = vld1q_f32(p + 1);
        float32x4_t outerAbove = vmulq_f32(outer, vsubq_f32(aboveRight, aboveLeft));
        float32x4_t innerRow = vmulq_f32(inner, vsubq_f32(right, left));
        float32x4_t outerRow = vmulq_f32(outer, vsubq_f32(right, left));
        float32_t *gx = dx + x, *gy = dy + x;
        for (uint32_t y = 0; y < height; ++y) {
            p = rowAt(p, srcStride);
            const float32x4_t belowLeft = vld1q_f32(p - 1), belowMid = vld1q_f32(p), belowRight = vld1q_f32(p + 1);
            const float32x4_t across = vsubq_f32(belowRight, belowLeft);
            const float32x4_t outerBelow = vmulq_f32(outer, across);
            const float32x4_t sx = vaddq_f32(vaddq_f32(outerAbove, innerRow), outerBelow);
            const float32x4_t sy = vaddq_f32(vaddq_f32(vmulq_f32(outer, vsubq_f32(belowLeft, aboveLeft)),
                                                       vmulq_f32(inner, vsubq_f32(belowMid, aboveMid))),
                                             vmulq_f32(outer, vsubq_f32(belowRight, aboveRight)));
            vst1q_f32(gx, sx);
            vst1q_f32(gy, sy);
            gx = outAt(gx, dstStride), gy = outAt(gy, dstStride);
            aboveLeft = left, aboveMid = mid, aboveRight = right;
            left = belowLeft, mid = belowMid, right = belowRight;
            outerAbove = outerRow, outerRow = outerBelow, innerRow = vmulq_f32(inner, across);
        }
        if (x + 4 >= width) break;
    }
}
