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

namespace {

// One row of a four-column strip of the bordered patch: the pixels at x - 1,
// x and x + 1, and the weighted horizontal differences it contributes to
// the rows above and below (outer weight) and to its own row (inner).
struct GradientRow {
    float32x4_t left, mid, right, outerAcross, innerAcross;
};

// Loads the row below (at p, its column x) and writes the gradients of the
// middle row: dx from the three weighted horizontal differences, dy from the
// vertical differences at x - 1, x and x + 1.
OMBRIX_ALWAYS_INLINE void gradientStep(const GradientRow& above, const GradientRow& row, GradientRow& below,
                                       const float32_t* p, float32_t* gx, float32_t* gy, float32x4_t outer,
                                       float32x4_t inner) {
    below.left = vld1q_f32(p - 1), below.mid = vld1q_f32(p), below.right = vld1q_f32(p + 1);
    const float32x4_t across = vsubq_f32(below.right, below.left);
    below.outerAcross = vmulq_f32(outer, across);
    below.innerAcross = vmulq_f32(inner, across);
    vst1q_f32(gx, vaddq_f32(vaddq_f32(above.outerAcross, row.innerAcross), below.outerAcross));
    vst1q_f32(gy, vaddq_f32(vaddq_f32(vmulq_f32(outer, vsubq_f32(below.left, above.left)),
                                      vmulq_f32(inner, vsubq_f32(below.mid, above.mid))),
                            vmulq_f32(outer, vsubq_f32(below.right, above.right))));
}

}  // namespace

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
    // difference, weighted, serves the three output rows that use it. Three
    // rows per step let the rows take turns without copies. A last strip
    // that would pass the width moves left to end at it and writes some
    // columns again, with the same values.
    for (uint32_t x = 0;; x += 4) {
        if (x + 4 > width) x = width - 4;
        const float32_t* p = rowAt(src + x, -int64_t{srcStride});
        GradientRow r0{}, r1{}, r2{};  // every field is written before it is read
        r0.left = vld1q_f32(p - 1), r0.mid = vld1q_f32(p), r0.right = vld1q_f32(p + 1);
        r0.outerAcross = vmulq_f32(outer, vsubq_f32(r0.right, r0.left));
        p = rowAt(p, srcStride);
        r1.left = vld1q_f32(p - 1), r1.mid = vld1q_f32(p), r1.right = vld1q_f32(p + 1);
        r1.outerAcross = vmulq_f32(outer, vsubq_f32(r1.right, r1.left));
        r1.innerAcross = vmulq_f32(inner, vsubq_f32(r1.right, r1.left));
        float32_t *gx = dx + x, *gy = dy + x;
        uint32_t y = 0;
        const auto step = [&](const GradientRow& above, const GradientRow& row, GradientRow& below) {
            p = rowAt(p, srcStride);
            gradientStep(above, row, below, p, gx, gy, outer, inner);
            gx = outAt(gx, dstStride), gy = outAt(gy, dstStride);
        };
        for (; y + 3 <= height; y += 3) {
            step(r0, r1, r2);
            step(r1, r2, r0);
            step(r2, r0, r1);
        }
        if (y < height) step(r0, r1, r2);
        if (y + 1 < height) step(r1, r2, r0);
        if (x + 4 >= width) break;
    }
}
