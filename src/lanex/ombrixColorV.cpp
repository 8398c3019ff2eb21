// Vector full-range YCbCr -> RGB conversions, 16 pixels per step (32 when
// two pixels share a chroma sample), bit-exact with the reference.
#include "ombrixAssert.h"
#include "ombrixColorScalar.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

using ombrix_color::Rgb565;
using ombrix_color::Rgb888;
using ombrix_color::Rgba8888;

// ---- Widening, saturating narrowing, interleaved loads and stores -----------------------
//
// ARM has fused instructions on d registers and structure loads and stores;
// on hosts, where SIMDe emulates the 64-bit vector types and the structure
// accesses at a high cost, the same values come from 128-bit interleaves
// (with zero, to widen), a clamp followed by a de-interleave, and zips of
// whole registers stored one at a time.
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
inline int16x8x2_t widenU8(uint8x16_t a) {
    return {{vreinterpretq_s16_u16(vmovl_u8(vget_low_u8(a))), vreinterpretq_s16_u16(vmovl_u8(vget_high_u8(a)))}};
}
inline uint8x16_t narrowClamp(int16x8_t low, int16x8_t high) {
    return vcombine_u8(vqmovun_s16(low), vqmovun_s16(high));
}
inline uint8x16x2_t loadPairs(const uint8_t* p) { return vld2q_u8(p); }
inline void storePairs(uint8_t* p, uint8x16_t a, uint8x16_t b) {
    uint8x16x2_t v;
    v.val[0] = a;
    v.val[1] = b;
    vst2q_u8(p, v);
}
inline void storeQuads(uint8_t* p, uint8x16_t a, uint8x16_t b, uint8x16_t c, uint8x16_t d) {
    uint8x16x4_t v;
    v.val[0] = a;
    v.val[1] = b;
    v.val[2] = c;
    v.val[3] = d;
    vst4q_u8(p, v);
}
#else
inline int16x8x2_t widenU8(uint8x16_t a) {
    const uint8x16x2_t z = vzipq_u8(a, vdupq_n_u8(0));
    return {{vreinterpretq_s16_u8(z.val[0]), vreinterpretq_s16_u8(z.val[1])}};
}
inline uint8x16_t narrowClamp(int16x8_t low, int16x8_t high) {
    const int16x8_t zero = vdupq_n_s16(0), top = vdupq_n_s16(255);
    const int16x8_t l = vminq_s16(vmaxq_s16(low, zero), top), h = vminq_s16(vmaxq_s16(high, zero), top);
    return vuzpq_u8(vreinterpretq_u8_s16(l), vreinterpretq_u8_s16(h)).val[0];
}
inline uint8x16x2_t loadPairs(const uint8_t* p) { return vuzpq_u8(vld1q_u8(p), vld1q_u8(p + 16)); }
inline void storePairs(uint8_t* p, uint8x16_t a, uint8x16_t b) {
    const uint8x16x2_t z = vzipq_u8(a, b);
    vst1q_u8(p, z.val[0]);
    vst1q_u8(p + 16, z.val[1]);
}
inline void storeQuads(uint8_t* p, uint8x16_t a, uint8x16_t b, uint8x16_t c, uint8x16_t d) {
    const uint8x16x2_t ab = vzipq_u8(a, b), cd = vzipq_u8(c, d);
    const uint16x8x2_t low = vzipq_u16(vreinterpretq_u16_u8(ab.val[0]), vreinterpretq_u16_u8(cd.val[0]));
    const uint16x8x2_t high = vzipq_u16(vreinterpretq_u16_u8(ab.val[1]), vreinterpretq_u16_u8(cd.val[1]));
    vst1q_u8(p, vreinterpretq_u8_u16(low.val[0]));
    vst1q_u8(p + 16, vreinterpretq_u8_u16(low.val[1]));
    vst1q_u8(p + 32, vreinterpretq_u8_u16(high.val[0]));
    vst1q_u8(p + 48, vreinterpretq_u8_u16(high.val[1]));
}
#endif
// SIMDe's triple store is already made of whole-register shuffles.
inline void storeTriples(uint8_t* p, uint8x16_t a, uint8x16_t b, uint8x16_t c) {
    uint8x16x3_t v;
    v.val[0] = a;
    v.val[1] = b;
    v.val[2] = c;
    vst3q_u8(p, v);
}

// ---- The formula in 16-bit lanes ----------------------------------------------------
//
// Y * 256 is a multiple of 256, so (Y * 256 + 128 + t) >> 8 = Y + ((128 + t) >> 8)
// exactly; only the chroma terms need care (|d|, |e| <= 128):
//   (128 + 359 e) >> 8 and (128 + 454 d) >> 8 are rounding doubling multiplies
//   returning the high half, (2 x * c + 2^15) >> 16, of x = 2 e by
//   c = 359 * 64 and of x = 2 d by c = 454 * 64: 4 * 64 * 359 e = 256 * 359 e.
//   (128 - 88 d - 183 e) >> 8 = -e + ((128 - 88 d + 73 e) >> 8), splitting
//   256 e off so that the sum fits 16 bits.
// The chroma terms stay within -227..227, luma plus term fits easily, and the
// saturating narrow is the clamp.
struct ChromaTerms {
    int16x8_t r, g, b;
};

inline ChromaTerms chromaTerms(int16x8_t cb, int16x8_t cr) {
    const int16x8_t half = vdupq_n_s16(128);
    const int16x8_t d = vsubq_s16(cb, half), e = vsubq_s16(cr, half);
    ChromaTerms t;
    t.r = vqrdmulhq_s16(vaddq_s16(e, e), vdupq_n_s16(ombrix_color::kCrToR * 64));
    t.g = vsubq_s16(vshrq_n_s16(mlaConst(mlsConst(half, d, ombrix_color::kCbToG), e, 256 - ombrix_color::kCrToG), 8), e);
    t.b = vqrdmulhq_s16(vaddq_s16(d, d), vdupq_n_s16(ombrix_color::kCbToB * 64));
    return t;
}

// Each term twice, for the two pixels that share a sample: lanes 0-3 of `t`
// cover pixels 0-7 (.val[0]), lanes 4-7 pixels 8-15 (.val[1]).
struct PairedTerms {
    ChromaTerms low, high;
};

inline PairedTerms pairTerms(ChromaTerms t) {
    const int16x8x2_t r = vzipq_s16(t.r, t.r), g = vzipq_s16(t.g, t.g), b = vzipq_s16(t.b, t.b);
    return {{r.val[0], g.val[0], b.val[0]}, {r.val[1], g.val[1], b.val[1]}};
}

// ---- Packing and storing 16 pixels ------------------------------------------------------

inline void store16(Rgb888, uint8_t* out, uint8x16_t r, uint8x16_t g, uint8x16_t b) { storeTriples(out, r, g, b); }
inline void store16(Rgba8888, uint8_t* out, uint8x16_t r, uint8x16_t g, uint8x16_t b) {
    storeQuads(out, r, g, b, vdupq_n_u8(255));
}
// Byte 0 = (G << 3 & 0xE0) | R >> 3, byte 1 = (B & 0xF8) | G >> 5, then the
// bytes interleaved. ARM inserts with two shift-right-and-inserts; hosts
// shift 16-bit lanes and mask each byte, since SIMDe's byte shifts are slow
// and not free of undefined behaviour.
inline void store16(Rgb565, uint8_t* out, uint8x16_t r, uint8x16_t g, uint8x16_t b) {
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
    storePairs(out, vsriq_n_u8(vshlq_n_u8(g, 3), r, 3), vsriq_n_u8(b, g, 5));
#else
    const uint16x8_t r16 = vreinterpretq_u16_u8(r), g16 = vreinterpretq_u16_u8(g);
    const uint8x16_t gLow = vandq_u8(vreinterpretq_u8_u16(vshlq_n_u16(g16, 3)), vdupq_n_u8(0xE0));
    const uint8x16_t rTop = vandq_u8(vreinterpretq_u8_u16(vshrq_n_u16(r16, 3)), vdupq_n_u8(0x1F));
    const uint8x16_t gHigh = vandq_u8(vreinterpretq_u8_u16(vshrq_n_u16(g16, 5)), vdupq_n_u8(0x07));
    storePairs(out, vorrq_u8(gLow, rTop), vorrq_u8(vandq_u8(b, vdupq_n_u8(0xF8)), gHigh));
#endif
}

// 16 pixels: luma plus the chroma terms of pixels 0-7 (`low`) and 8-15 (`high`).
template <typename Format>
inline void convert16(const uint8_t* y, ChromaTerms low, ChromaTerms high, uint8_t* out) {
    const int16x8x2_t luma = widenU8(vld1q_u8(y));
    const uint8x16_t r = narrowClamp(vaddq_s16(luma.val[0], low.r), vaddq_s16(luma.val[1], high.r));
    const uint8x16_t g = narrowClamp(vaddq_s16(luma.val[0], low.g), vaddq_s16(luma.val[1], high.g));
    const uint8x16_t b = narrowClamp(vaddq_s16(luma.val[0], low.b), vaddq_s16(luma.val[1], high.b));
    store16(Format{}, out, r, g, b);
}

// 16 chroma samples from index k: planes, or Cb,Cr pairs at cb[2k].
template <bool kInterleaved>
inline uint8x16x2_t loadChroma16(const uint8_t* cb, const uint8_t* cr, uint32_t k) {
    if (kInterleaved) return loadPairs(cb + 2 * k);
    uint8x16x2_t c;
    c.val[0] = vld1q_u8(cb + k);
    c.val[1] = vld1q_u8(cr + k);
    return c;
}

// ---- Row converters ---------------------------------------------------------------------
//
// Full steps, then, on rows of at least one step, one more step moved back
// to end at the row's end (it rewrites equal values), and single pixels with
// the reference formula for what is left.

template <typename Format, uint32_t kStep>
inline void scalarPixels(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, uint32_t from,
                         uint32_t to, uint32_t samplesPerPixelShift) {
    for (uint32_t x = from; x < to; ++x) {
        const uint32_t k = (x >> samplesPerPixelShift) * kStep;
        storePixel(Format{}, dst + x * Format::kBytes, ombrix_color::ycbcrToRgb(y[x], cb[k], cr[k]));
    }
}

// One chroma sample per pixel: 16 pixels per step.
template <typename Format, uint32_t kStep>
void perPixelRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, uint32_t length) {
    auto step = [&](uint32_t x) {
        const uint8x16x2_t c = loadChroma16<kStep == 2>(cb, cr, x);
        const int16x8x2_t b = widenU8(c.val[0]), r = widenU8(c.val[1]);
        convert16<Format>(y + x, chromaTerms(b.val[0], r.val[0]), chromaTerms(b.val[1], r.val[1]),
                          dst + x * Format::kBytes);
    };
    uint32_t x = 0;
    for (; x + 16 <= length; x += 16) step(x);
    if (x < length && length >= 16) {
        step(length - 16);
        x = length;
    }
    scalarPixels<Format, kStep>(y, cb, cr, dst, x, length, 0);
}

// One chroma sample per two pixels: 32 pixels per step with 16 samples. The
// moved-back step starts on an even pixel so that pairs keep their sample;
// with an odd length the last pixel, which has its sample alone, is left to
// the scalar form.
template <typename Format, uint32_t kStep>
void sharedChromaRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, uint32_t length) {
    OMBRIX_ASSERT(length > 1);
    auto step = [&](uint32_t x) {
        const uint8x16x2_t c = loadChroma16<kStep == 2>(cb, cr, x / 2);
        const int16x8x2_t b = widenU8(c.val[0]), r = widenU8(c.val[1]);
        const PairedTerms first = pairTerms(chromaTerms(b.val[0], r.val[0]));
        const PairedTerms second = pairTerms(chromaTerms(b.val[1], r.val[1]));
        convert16<Format>(y + x, first.low, first.high, dst + x * Format::kBytes);
        convert16<Format>(y + x + 16, second.low, second.high, dst + (x + 16) * Format::kBytes);
    };
    uint32_t x = 0;
    for (; x + 32 <= length; x += 32) step(x);
    if (x < length && length >= 32) {
        const uint32_t back = (length - 32) & ~1u;
        step(back);
        x = back + 32;
    }
    scalarPixels<Format, kStep>(y, cb, cr, dst, x, length, 1);
}

OBX_YCBCR_ROW_CONVERTERS(perPixelRow, sharedChromaRow)

}  // namespace

extern "C" {

#define OBX_VECTOR_PLANAR(...) OBX_YCBCR_DEFINE_PLANAR(V, __VA_ARGS__)
#define OBX_VECTOR_PSEUDO_PLANAR(...) OBX_YCBCR_DEFINE_PSEUDO_PLANAR(V, __VA_ARGS__)
OBX_YCBCR_TO_RGB_OPERATIONS(OBX_VECTOR_PLANAR, OBX_VECTOR_PSEUDO_PLANAR)
#undef OBX_VECTOR_PLANAR
#undef OBX_VECTOR_PSEUDO_PLANAR

}  // extern "C"
