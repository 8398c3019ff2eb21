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
inline uint16x8x2_t widenU8(uint8x16_t a) { return {{vmovl_u8(vget_low_u8(a)), vmovl_u8(vget_high_u8(a))}}; }
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
inline uint16x8x2_t widenU8(uint8x16_t a) {
    const uint8x16x2_t z = vzipq_u8(a, vdupq_n_u8(0));
    return {{vreinterpretq_u16_u8(z.val[0]), vreinterpretq_u16_u8(z.val[1])}};
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
// Y * 256 is a multiple of 256, so (Y * 256 + 128 + t) >> 8 = Y + ((128 + t) >> 8):
// each channel is clamp(Y + T) with a term T of the chroma alone, which lies
// within -227..227. With d = Cb - 128, e = Cr - 128:
//   R and B, k = 256 + k' (359, 454): 128 + k (C - 128) = 256 (C - m) + k' C + r,
//     m and r (0 or 128) fixed by k, so T = C - m + ((k' C + r) >> 8);
//   G, with 183 = 256 - 73 and 128 (1 + 88 + 183) = 256 * 136:
//     T = 136 - Cr + ((73 Cr - 88 Cb) >> 8), an arithmetic shift.
// The lanes hold T + kBias (computed modulo 2^16; the shifted products are
// non-negative for R and B and fit signed 16 bits for G).
struct ChromaTerms {
    uint16x8_t r, g, b;
};

template <int k>
inline uint16x8_t highTerm(uint16x8_t c, int bias) {
    constexpr int lost = 128 * k - 128, m = (lost + 255) / 256, r = 256 * m - lost;
    uint16x8_t product = mulConst(c, k - 256);
    if (r != 0) product = vaddq_u16(product, vdupq_n_u16(r));
    return vsraq_n_u16(vaddq_u16(c, vdupq_n_u16(static_cast<uint16_t>(bias - m))), product, 8);
}

constexpr int kGreenBase = 128 * (1 + ombrix_color::kCbToG + ombrix_color::kCrToG);
static_assert(kGreenBase % 256 == 0, "the green constant leaves the shift whole");

template <int kBias>
inline ChromaTerms chromaTerms(uint16x8_t cb, uint16x8_t cr) {
    ChromaTerms t;
    t.r = highTerm<ombrix_color::kCrToR>(cr, kBias);
    t.b = highTerm<ombrix_color::kCbToB>(cb, kBias);
    const int16x8_t cbS = vreinterpretq_s16_u16(cb), crS = vreinterpretq_s16_u16(cr);
    const int16x8_t green = mlsConst(mulConst(crS, 256 - ombrix_color::kCrToG), cbS, ombrix_color::kCbToG);
    t.g = vreinterpretq_u16_s16(vsraq_n_s16(vsubq_s16(vdupq_n_s16(kBias + kGreenBase / 256), crS), green, 8));
    return t;
}

// Lanes below 256 with their byte repeated in both halves: ARM shifts and
// inserts; on hosts, where SIMDe composes the insert from several
// operations, one multiply by 257 does it.
inline uint8x16_t repeatLowByte(uint16x8_t v) {
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
    return vreinterpretq_u8_u16(vsliq_n_u16(v, v, 8));
#else
    return vreinterpretq_u8_u16(mulConst(v, 257));
#endif
}

// One term of 8 samples (biased by 256, so every lane is within 29..483) as
// bytes for their 16 pixels (each sample twice), split into its parts above
// and below zero, both below 256: clamp(Y + T) is then (Y + up) - down with
// saturating byte arithmetic.
struct PairBytes {
    uint8x16_t up, down;
};

inline PairBytes pairBytes(uint16x8_t biased) {
    const uint16x8_t zero = vdupq_n_u16(256);
    return {repeatLowByte(vqsubq_u16(biased, zero)), repeatLowByte(vqsubq_u16(zero, biased))};
}

inline uint8x16_t addClamped(uint8x16_t luma, PairBytes t) { return vqsubq_u8(vqaddq_u8(luma, t.up), t.down); }

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

// 16 pixels, each with its own sample: luma plus the terms of pixels 0-7
// (`low`) and 8-15 (`high`) in 16-bit lanes, clamped by the narrowing.
template <typename Format>
inline void convert16(const uint8_t* y, ChromaTerms low, ChromaTerms high, uint8_t* out) {
    const uint16x8x2_t luma = widenU8(vld1q_u8(y));
    const int16x8_t y0 = vreinterpretq_s16_u16(luma.val[0]), y1 = vreinterpretq_s16_u16(luma.val[1]);
    auto channel = [&](uint16x8_t t0, uint16x8_t t1) {
        return narrowClamp(vaddq_s16(y0, vreinterpretq_s16_u16(t0)), vaddq_s16(y1, vreinterpretq_s16_u16(t1)));
    };
    store16(Format{}, out, channel(low.r, high.r), channel(low.g, high.g), channel(low.b, high.b));
}

// 16 pixels, two to a sample, with the terms of 8 samples: in bytes.
template <typename Format>
inline void convertPairs16(const uint8_t* y, ChromaTerms t, uint8_t* out) {
    const uint8x16_t luma = vld1q_u8(y);
    store16(Format{}, out, addClamped(luma, pairBytes(t.r)), addClamped(luma, pairBytes(t.g)),
            addClamped(luma, pairBytes(t.b)));
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
        const uint16x8x2_t b = widenU8(c.val[0]), r = widenU8(c.val[1]);
        convert16<Format>(y + x, chromaTerms<0>(b.val[0], r.val[0]), chromaTerms<0>(b.val[1], r.val[1]),
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
        const uint16x8x2_t b = widenU8(c.val[0]), r = widenU8(c.val[1]);
        convertPairs16<Format>(y + x, chromaTerms<256>(b.val[0], r.val[0]), dst + x * Format::kBytes);
        convertPairs16<Format>(y + x + 16, chromaTerms<256>(b.val[1], r.val[1]), dst + (x + 16) * Format::kBytes);
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
