// Vector conversions of RGB888 (bytes R, G, B) into interleaved Y, Cr, Cb
// (Q15, 8 pixels per step) and into gray (Q16, 16 pixels per step), each with
// a scalar tail of the same formula.
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

// (19595 R + 38469 G + 7471 B + 32768) >> 16, exactly, in 16-bit lanes. Each
// weight is split as 256 h + l (h = 76, 150, 29; l = 139, 69, 47); both byte
// sums H and L stay below 65536, and the result is
// (H + (L >> 8) + 128) >> 8, the rounding narrow of H + (L >> 8).
static inline uint8x8_t gray8Lanes(uint8x8_t r, uint8x8_t g, uint8x8_t b) {
    uint16x8_t high = vmull_u8(r, vdup_n_u8(76));
    high = vmlal_u8(high, g, vdup_n_u8(150));
    high = vmlal_u8(high, b, vdup_n_u8(29));
    uint16x8_t low = vmull_u8(r, vdup_n_u8(139));
    low = vmlal_u8(low, g, vdup_n_u8(69));
    low = vmlal_u8(low, b, vdup_n_u8(47));
    return vrshrn_n_u16(vsraq_n_u16(high, low, 8), 8);
}

#if defined(__ARM_NEON) || defined(__ARM_NEON__)
static inline uint8x16x3_t loadRgb16(const uint8_t* src) { return vld3q_u8(src); }
#else
// Hosts translate the three-way de-interleaving load element by element;
// table lookups on whole registers do the same work. Channel c of pixel i is
// byte 3 i + c of the 48, found in register (3 i + c) / 16; indices past 15
// select zero, so each channel is the OR of three lookups.
struct GatherIndices {
    uint8_t index[3][3][16];  // [channel][register][lane]
};
constexpr GatherIndices makeGatherIndices() {
    GatherIndices g{};
    for (int c = 0; c < 3; ++c)
        for (int k = 0; k < 3; ++k)
            for (int i = 0; i < 16; ++i) {
                const int at = 3 * i + c - 16 * k;
                g.index[c][k][i] = at >= 0 && at < 16 ? static_cast<uint8_t>(at) : 0xFF;
            }
    return g;
}
constexpr GatherIndices kGather = makeGatherIndices();

static inline uint8x16_t gatherChannel(const uint8x16_t bytes[3], int channel) {
    uint8x16_t result = vqtbl1q_u8(bytes[0], vld1q_u8(kGather.index[channel][0]));
    result = vorrq_u8(result, vqtbl1q_u8(bytes[1], vld1q_u8(kGather.index[channel][1])));
    return vorrq_u8(result, vqtbl1q_u8(bytes[2], vld1q_u8(kGather.index[channel][2])));
}
static inline uint8x16x3_t loadRgb16(const uint8_t* src) {
    const uint8x16_t bytes[3] = {vld1q_u8(src), vld1q_u8(src + 16), vld1q_u8(src + 32)};
    return {{gatherChannel(bytes, 0), gatherChannel(bytes, 1), gatherChannel(bytes, 2)}};
}
#endif

static inline void gray16(const uint8_t* src, uint8_t* dst) {
    const uint8x16x3_t rgb = loadRgb16(src);
    const uint8x8_t low = gray8Lanes(vget_low_u8(rgb.val[0]), vget_low_u8(rgb.val[1]), vget_low_u8(rgb.val[2]));
    const uint8x8_t high = gray8Lanes(vget_high_u8(rgb.val[0]), vget_high_u8(rgb.val[1]), vget_high_u8(rgb.val[2]));
    vst1q_u8(dst, vcombine_u8(low, high));
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
        for (; x + 16 <= srcWidth; x += 16) gray16(in + 3 * x, out + x);
        grayRow(in + 3 * x, out + x, srcWidth - x);
    }
}

}  // extern "C"
