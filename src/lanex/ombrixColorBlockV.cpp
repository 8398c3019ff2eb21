// Vector block-layout conversions, 16 pixels a step in 16-bit lanes: the two
// 8-pixel rows of the two luma blocks side by side in an MCU row (16 pixels
// wide MCUs), or two consecutive rows of one luma block (8 pixels wide MCUs).
//
// The red and blue terms (c * k + 16384) >> 15 are exactly a rounding
// doubling multiply-high. The green term, a sum of two products rounded once,
// is split as k = 256 * m + n into a = 256 * M + N with M and N within 16
// bits (the rounding constant 16384 = 256 * 64 goes into M); then exactly
//     floor((a + 16384) / 32768) = (M + (N >> 8)) >> 7.
// MCUs that the image only partly covers horizontally, and a last single row
// of an 8-pixel-wide MCU, go through the shared scalar formulas.
#include "ombrixAssert.h"
#include "ombrixBlurLanes.h"
#include "ombrixColorPixels.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

using namespace ombrix_color;
using ombrix_blur::widenU8;

namespace {

// ---- Narrowing and the two 8-pixel stores: fused on ARM, 128-bit shuffles on
// hosts (where SIMDe stores structures one byte at a time) ------------------------

#if defined(__ARM_NEON) || defined(__ARM_NEON__)

static inline uint8x16_t narrowClamped(int16x8_t a, int16x8_t b) {
    return vcombine_u8(vqmovun_s16(a), vqmovun_s16(b));
}
// Pixels 0..7 as RGB888 at `first`, pixels 8..15 at `second`.
static inline void storeRgb888(uint8x16_t r, uint8x16_t g, uint8x16_t b, uint8_t* first, uint8_t* second) {
    uint8x8x3_t lo, hi;
    lo.val[0] = vget_low_u8(r), lo.val[1] = vget_low_u8(g), lo.val[2] = vget_low_u8(b);
    hi.val[0] = vget_high_u8(r), hi.val[1] = vget_high_u8(g), hi.val[2] = vget_high_u8(b);
    vst3_u8(first, lo);
    vst3_u8(second, hi);
}

#else

static inline uint8x16_t narrowClamped(int16x8_t a, int16x8_t b) {
    const int16x8_t zero = vdupq_n_s16(0), top = vdupq_n_s16(255);
    return ombrix_blur::narrowU16(vreinterpretq_u16_s16(vminq_s16(vmaxq_s16(a, zero), top)),
                                  vreinterpretq_u16_s16(vminq_s16(vmaxq_s16(b, zero), top)));
}
// Output bytes 16k .. 16k+15 of 16 interleaved pixels, gathered from each
// channel by table lookups (index 0xFF gives 0).
static inline uint8x16_t gather(uint8x16_t r, uint8x16_t g, uint8x16_t b, int k) {
    static const uint8_t kIndex[3][3][16] = {
        {{0, 0xFF, 0xFF, 1, 0xFF, 0xFF, 2, 0xFF, 0xFF, 3, 0xFF, 0xFF, 4, 0xFF, 0xFF, 5},
         {0xFF, 0, 0xFF, 0xFF, 1, 0xFF, 0xFF, 2, 0xFF, 0xFF, 3, 0xFF, 0xFF, 4, 0xFF, 0xFF},
         {0xFF, 0xFF, 0, 0xFF, 0xFF, 1, 0xFF, 0xFF, 2, 0xFF, 0xFF, 3, 0xFF, 0xFF, 4, 0xFF}},
        {{0xFF, 0xFF, 6, 0xFF, 0xFF, 7, 0xFF, 0xFF, 8, 0xFF, 0xFF, 9, 0xFF, 0xFF, 10, 0xFF},
         {5, 0xFF, 0xFF, 6, 0xFF, 0xFF, 7, 0xFF, 0xFF, 8, 0xFF, 0xFF, 9, 0xFF, 0xFF, 10},
         {0xFF, 5, 0xFF, 0xFF, 6, 0xFF, 0xFF, 7, 0xFF, 0xFF, 8, 0xFF, 0xFF, 9, 0xFF, 0xFF}},
        {{0xFF, 11, 0xFF, 0xFF, 12, 0xFF, 0xFF, 13, 0xFF, 0xFF, 14, 0xFF, 0xFF, 15, 0xFF, 0xFF},
         {0xFF, 0xFF, 11, 0xFF, 0xFF, 12, 0xFF, 0xFF, 13, 0xFF, 0xFF, 14, 0xFF, 0xFF, 15, 0xFF},
         {10, 0xFF, 0xFF, 11, 0xFF, 0xFF, 12, 0xFF, 0xFF, 13, 0xFF, 0xFF, 14, 0xFF, 0xFF, 15}},
    };
    return vorrq_u8(vorrq_u8(vqtbl1q_u8(r, vld1q_u8(kIndex[k][0])), vqtbl1q_u8(g, vld1q_u8(kIndex[k][1]))),
                    vqtbl1q_u8(b, vld1q_u8(kIndex[k][2])));
}
static inline void storeRgb888(uint8x16_t r, uint8x16_t g, uint8x16_t b, uint8_t* first, uint8_t* second) {
    const uint8x16_t middle = gather(r, g, b, 1);
    vst1q_u8(first, gather(r, g, b, 0));
    vst1_u8(first + 16, vget_low_u8(middle));
    vst1_u8(second, vget_high_u8(middle));
    vst1q_u8(second + 8, gather(r, g, b, 2));
}

#endif

// 2 * c - 255 for 16 chroma bytes, as two halves.
static inline int16x8x2_t blockChromaLanes(uint8x16_t c) {
    const uint16x8x2_t w = widenU8(c);
    const int16x8_t centre = vdupq_n_s16(255);
    return {{vsubq_s16(vreinterpretq_s16_u16(vshlq_n_u16(w.val[0], 1)), centre),
             vsubq_s16(vreinterpretq_s16_u16(vshlq_n_u16(w.val[1], 1)), centre)}};
}

// One channel: luma plus term, clamped.
static inline uint8x16_t plus(const uint16x8x2_t& y, int16x8_t lo, int16x8_t hi) {
    return narrowClamped(vaddq_s16(vreinterpretq_s16_u16(y.val[0]), lo), vaddq_s16(vreinterpretq_s16_u16(y.val[1]), hi));
}

// 16 pixels: their luma, and the Cb and Cr sample of each, in order.
static inline void convert16(uint8x16_t luma, uint8x16_t cb, uint8x16_t cr, uint8_t* first, uint8_t* second) {
    const int16x8x2_t b = blockChromaLanes(cb), r = blockChromaLanes(cr);
    int16x8_t red[2], green[2], blue[2];
    for (int h = 0; h < 2; ++h) {
        red[h] = vqrdmulhq_s16(r.val[h], vdupq_n_s16(22970));
        blue[h] = vqrdmulhq_s16(b.val[h], vdupq_n_s16(29032));
        // -5638 = 256 * -22 - 6, -11700 = 256 * -46 + 76.
        const int16x8_t m = mlaConst(mlaConst(vdupq_n_s16(64), b.val[h], -22), r.val[h], -46);
        const int16x8_t n = mlaConst(mulConst(b.val[h], -6), r.val[h], 76);
        green[h] = vshrq_n_s16(vsraq_n_s16(m, n, 8), 7);
    }
    const uint16x8x2_t y = widenU8(luma);
    storeRgb888(plus(y, red[0], red[1]), plus(y, green[0], green[1]), plus(y, blue[0], blue[1]), first, second);
}

// Each of 8 chroma bytes twice, for pixels that share samples in pairs.
static inline uint8x16_t doubled(uint8x8_t c) {
    const uint8x16_t q = vcombine_u8(c, c);
    return vzipq_u8(q, q).val[0];
}

// The top `rows` rows of one MCU of H x V blocks, `cols` pixels wide.
template <int H, int V>
static void mcuToRgb888Lanes(const uint8_t* mcu, uint8_t* dst, size_t dstStride, uint32_t cols, uint32_t rows) {
    if (cols < McuShape<H, V>::width) {
        mcuToRgb888<H, V>(mcu, dst, dstStride, cols, rows);
        return;
    }
    if (H == 2) {
        // One MCU row: left block's row, then right block's row.
        for (uint32_t y = 0; y < rows; ++y) {
            const uint8_t* cb = mcu + mcuChromaOffset<H, V>(0, y);
            const uint8x16_t luma = vcombine_u8(vld1_u8(mcu + (mcuLumaOffset<H, V>(0, y))),
                                                vld1_u8(mcu + (mcuLumaOffset<H, V>(8, y))));
            uint8_t* out = dst + y * dstStride;
            convert16(luma, doubled(vld1_u8(cb)), doubled(vld1_u8(cb + 64)), out, out + 24);
        }
        return;
    }
    // Two rows of one 8-pixel-wide block at a time (a block has 8 rows, so a
    // pair never spans two blocks).
    uint32_t y = 0;
    for (; y + 2 <= rows; y += 2) {
        const uint8_t* cb0 = mcu + mcuChromaOffset<H, V>(0, y);
        const uint8_t* cb1 = mcu + mcuChromaOffset<H, V>(0, y + 1);
        const uint8x16_t luma = vld1q_u8(mcu + (mcuLumaOffset<H, V>(0, y)));
        const uint8x16_t cb = vcombine_u8(vld1_u8(cb0), vld1_u8(cb1));
        const uint8x16_t cr = vcombine_u8(vld1_u8(cb0 + 64), vld1_u8(cb1 + 64));
        uint8_t* out = dst + y * dstStride;
        convert16(luma, cb, cr, out, out + dstStride);
    }
    mcuRowsToRgb888<H, V>(mcu, dst, dstStride, cols, y, rows);
}

}  // namespace

extern "C" {

OMBRIX_COLOR_BLOCK_OPERATIONS(V, mcuToRgb888Lanes)

}  // extern "C"
