// Vector conversions of RGB888 (bytes R, G, B) into interleaved Y, Cr, Cb
// (Q15) and into gray (Q16), 16 pixels per step in 16-bit lanes, each with a
// scalar tail of the same formula.
#include <stddef.h>

#include "../cpu/ombrixColorRgbRows.h"
#include "ombrixAssert.h"
#include "ombrixColorLanes.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

using namespace ombrix_color;
using namespace ombrix_color_lanes;

// Each output is floor(sum / 256) of its weighted sum (exact in 16-bit
// lanes), then the remaining shift:
//   Y  = (9798 R + 19235 G + 3736 B + 16384) >> 15, at most 255: a rounding
//        shift by 7 of floor(sum / 256);
//   Cr = clamp(128 + ((16384 R - 13720 G - 2664 B + 16384) >> 15)). With
//        13720 + 2664 = 16384 the sum is 16384 R + 13720 (255 - G) +
//        2664 (255 - B) - 16384 * 254, so Cr = (floor(S / 256) + 128) >> 7
//        of the non-negative S, which only (255, 0, 0) takes to 256;
//   Cb likewise with 16384 B + 5529 (255 - R) + 10855 (255 - G).
static inline void yCrCb16(const uint8_t* src, uint8_t* dst) {
    const uint8x16x3_t rgb = loadRgb16(src);
    const uint8x16_t r = rgb.val[0], g = rgb.val[1], b = rgb.val[2];
    const uint8x16_t rInv = vmvnq_u8(r), gInv = vmvnq_u8(g), bInv = vmvnq_u8(b);
    uint8x16x3_t out;
    out.val[0] = roundNarrow<7>(weightedSumOver256<9798, 19235, 3736>(r, g, b));
    out.val[1] = saturateNarrow<7>(weightedSumOver256<13720, 2664, 16384, 128>(gInv, bInv, r));
    out.val[2] = saturateNarrow<7>(weightedSumOver256<5529, 10855, 16384, 128>(rInv, gInv, b));
    vst3q_u8(dst, out);
}

// (19595 R + 38469 G + 7471 B + 32768) >> 16: a rounding shift by 8 of
// floor(sum / 256), which is at most 65279.
static inline void gray16(const uint8_t* src, uint8_t* dst) {
    const uint8x16x3_t rgb = loadRgb16(src);
    vst1q_u8(dst, roundNarrow<8>(weightedSumOver256<19595, 38469, 7471>(rgb.val[0], rgb.val[1], rgb.val[2])));
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
        for (; x + 16 <= srcWidth; x += 16) yCrCb16(in + 3 * x, out + 3 * x);
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
        for (; x + 16 <= srcWidth; x += 16) gray16(in + 3 * x, out + x);
        grayRow(in + 3 * x, out + x, srcWidth - x);
    }
}

}  // extern "C"
