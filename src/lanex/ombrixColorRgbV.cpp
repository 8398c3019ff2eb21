// Vector conversions of RGB888 (bytes R, G, B) into interleaved Y, Cr, Cb
// (Q15) and into gray (Q16), 8 pixels per step with a scalar tail of the same
// formulas.
#include <stddef.h>

#include "../cpu/ombrixColorRgbRows.h"
#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

using namespace ombrix_color;

// clamp(bias + ((cR R + cG G + cB B + 16384) >> 15)) in signed 32-bit lanes:
// the bias is folded in before the arithmetic shift, and the saturating
// narrows clamp to 0..255.
static inline uint8x8_t q15(int16x8_t r, int16x8_t g, int16x8_t b, int16_t cR, int16_t cG, int16_t cB,
                            int32_t bias) {
    const int32x4_t start = vdupq_n_s32(16384 + (bias << 15));
    int32x4_t lo = vmlal_n_s16(start, vget_low_s16(r), cR);
    int32x4_t hi = vmlal_n_s16(start, vget_high_s16(r), cR);
    lo = vmlal_n_s16(lo, vget_low_s16(g), cG);
    hi = vmlal_n_s16(hi, vget_high_s16(g), cG);
    lo = vmlal_n_s16(lo, vget_low_s16(b), cB);
    hi = vmlal_n_s16(hi, vget_high_s16(b), cB);
    return vqmovn_u16(vcombine_u16(vqshrun_n_s32(lo, 15), vqshrun_n_s32(hi, 15)));
}

static inline int16x8_t widen(uint8x8_t v) { return vreinterpretq_s16_u16(vmovl_u8(v)); }

static inline void yCrCb8(const uint8_t* src, uint8_t* dst) {
    const uint8x8x3_t rgb = vld3_u8(src);
    const int16x8_t r = widen(rgb.val[0]), g = widen(rgb.val[1]), b = widen(rgb.val[2]);
    uint8x8x3_t out;
    out.val[0] = q15(r, g, b, 9798, 19235, 3736, 0);
    out.val[1] = q15(r, g, b, 16384, -13720, -2664, 128);
    out.val[2] = q15(r, g, b, -5529, -10855, 16384, 128);
    vst3_u8(dst, out);
}

// (19595 R + 38469 G + 7471 B + 32768) >> 16 in unsigned 32-bit lanes.
static inline void gray8(const uint8_t* src, uint8_t* dst) {
    const uint8x8x3_t rgb = vld3_u8(src);
    const uint16x8_t r = vmovl_u8(rgb.val[0]), g = vmovl_u8(rgb.val[1]), b = vmovl_u8(rgb.val[2]);
    const uint32x4_t start = vdupq_n_u32(32768);
    uint32x4_t lo = vmlal_n_u16(start, vget_low_u16(r), 19595);
    uint32x4_t hi = vmlal_n_u16(start, vget_high_u16(r), 19595);
    lo = vmlal_n_u16(lo, vget_low_u16(g), 38469);
    hi = vmlal_n_u16(hi, vget_high_u16(g), 38469);
    lo = vmlal_n_u16(lo, vget_low_u16(b), 7471);
    hi = vmlal_n_u16(hi, vget_high_u16(b), 7471);
    vst1_u8(dst, vmovn_u16(vcombine_u16(vshrn_n_u32(lo, 16), vshrn_n_u32(hi, 16))));
}

}  // namespace

extern "C" {

void obxColorRGB888toYCrCbu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight);
    const size_t packed = static_cast<size_t>(srcWidth) * 3;
    const size_t inStride = srcStride ? srcStride : packed, outStride = dstStride ? dstStride : packed;
    for (uint32_t y = 0; y < srcHeight; ++y) {
        const uint8_t* in = src + y * inStride;
        uint8_t* out = dst + y * outStride;
        uint32_t x = 0;
        for (; x + 8 <= srcWidth; x += 8) yCrCb8(in + 3 * x, out + 3 * x);
        yCrCbRow(in + 3 * x, out + 3 * x, srcWidth - x);
    }
}

void obxColorRGB888ToGrayu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dst && (dstStride >= srcWidth));
    for (uint32_t y = 0; y < srcHeight; ++y) {
        const uint8_t* in = src + static_cast<size_t>(y) * srcStride;
        uint8_t* out = dst + static_cast<size_t>(y) * dstStride;
        uint32_t x = 0;
        for (; x + 8 <= srcWidth; x += 8) gray8(in + 3 * x, out + x);
        grayRow(in + 3 * x, out + x, srcWidth - x);
    }
}

}  // extern "C"
