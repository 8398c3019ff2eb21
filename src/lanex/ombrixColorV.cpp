// Vector full-range YCbCr -> RGB conversions, 16 pixels per step (with 8
// chroma samples when two pixels share one; 4:2:0 converts two rows per
// pass with one computation of their chroma terms), bit-exact with the
// reference.
#include "ombrixAssert.h"
#include "ombrixColorScalar.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

using ombrix_color::Rgb565;
using ombrix_color::Rgb888;
using ombrix_color::Rgba8888;

// ---- Bytes in 16-bit arithmetic, saturating narrowing, interleaved loads and stores -----
//
// ARM has fused instructions on d registers, which multiply, add and
// subtract 8 bytes straight into 16-bit lanes, and structure loads and
// stores; on hosts, where SIMDe emulates the 64-bit vector types and the
// structure accesses at a high cost, bytes are widened 16 at a time by
// interleaving with zero and the same values come from 128-bit arithmetic,
// a clamp followed by a de-interleave, and zips of whole registers stored
// one at a time. Bytes8 is 8 bytes as that arithmetic takes them.
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
typedef uint8x8_t Bytes8;
struct Bytes16 {
    Bytes8 low, high;
};
inline Bytes16 splitBytes(uint8x16_t a) { return {vget_low_u8(a), vget_high_u8(a)}; }
inline uint8x16_t narrowClamp(int16x8_t low, int16x8_t high) {
    return vcombine_u8(vqmovun_s16(low), vqmovun_s16(high));
}
inline uint16x8_t mulWiden(Bytes8 a, uint8_t k) { return vmull_u8(a, vdup_n_u8(k)); }
inline uint16x8_t mlsWiden(uint16x8_t acc, Bytes8 a, uint8_t k) { return vmlsl_u8(acc, a, vdup_n_u8(k)); }
inline uint16x8_t addWiden(uint16x8_t acc, Bytes8 a) { return vaddw_u8(acc, a); }
inline uint16x8_t subWiden(uint16x8_t acc, Bytes8 a) { return vsubw_u8(acc, a); }
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
typedef uint16x8_t Bytes8;
struct Bytes16 {
    Bytes8 low, high;
};
inline Bytes16 splitBytes(uint8x16_t a) {
    const uint8x16x2_t z = vzipq_u8(a, vdupq_n_u8(0));
    return {vreinterpretq_u16_u8(z.val[0]), vreinterpretq_u16_u8(z.val[1])};
}
inline uint16x8_t mulWiden(Bytes8 a, uint8_t k) { return mulConst(a, k); }
inline uint16x8_t mlsWiden(uint16x8_t acc, Bytes8 a, uint8_t k) { return vmlsq_u16(acc, a, multiplierU16(k)); }
inline uint16x8_t addWiden(uint16x8_t acc, Bytes8 a) { return vaddq_u16(acc, a); }
inline uint16x8_t subWiden(uint16x8_t acc, Bytes8 a) { return vsubq_u16(acc, a); }
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
// The lanes hold T + kBias, computed modulo 2^16 from the bytes of 8
// samples: the products k' C <= 198 * 255 = 50490 fit unsigned 16 bits, and
// 73 Cr - 88 Cb, within -22440..18615, is exact as a signed 16-bit value.
struct ChromaTerms {
    uint16x8_t r, g, b;
};

template <int k>
inline uint16x8_t highTerm(Bytes8 c, int bias) {
    constexpr int lost = 128 * k - 128, m = (lost + 255) / 256, r = 256 * m - lost;
    static_assert(k > 256 && k < 512 && (r == 0 || r == 128), "a byte weight above 256, rounded by a shift");
    const uint16x8_t base = addWiden(vdupq_n_u16(static_cast<uint16_t>(bias - m)), c);
    const uint16x8_t product = mulWiden(c, k - 256);
    // r = 128 is the rounding of a rounding shift (50490 + 128 still fits 16 bits).
    return r ? vrsraq_n_u16(base, product, 8) : vsraq_n_u16(base, product, 8);
}

constexpr int kGreenBase = 128 * (1 + ombrix_color::kCbToG + ombrix_color::kCrToG);
static_assert(kGreenBase % 256 == 0, "the green constant leaves the shift whole");

template <int kBias>
inline ChromaTerms chromaTerms(Bytes8 cb, Bytes8 cr) {
    ChromaTerms t;
    t.r = highTerm<ombrix_color::kCrToR>(cr, kBias);
    t.b = highTerm<ombrix_color::kCbToB>(cb, kBias);
    const int16x8_t green =
        vreinterpretq_s16_u16(mlsWiden(mulWiden(cr, 256 - ombrix_color::kCrToG), cb, ombrix_color::kCbToG));
    const uint16x8_t base = subWiden(vdupq_n_u16(static_cast<uint16_t>(kBias + kGreenBase / 256)), cr);
    t.g = vreinterpretq_u16_s16(vsraq_n_s16(vreinterpretq_s16_u16(base), green, 8));
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

#if defined(__ARM_NEON) || defined(__ARM_NEON__)
// 8 pixels of byte channels.
inline void store8(Rgb888, uint8_t* out, uint8x8_t r, uint8x8_t g, uint8x8_t b) {
    vst3_u8(out, (uint8x8x3_t{{r, g, b}}));
}
inline void store8(Rgba8888, uint8_t* out, uint8x8_t r, uint8x8_t g, uint8x8_t b) {
    vst4_u8(out, (uint8x8x4_t{{r, g, b, vdup_n_u8(255)}}));
}
#endif

// 16 pixels, each with its own sample: luma plus the terms of pixels 0-7
// (`low`) and 8-15 (`high`) in 16-bit lanes, within -227..482, clamped by
// the narrowing. ARM stores byte channels 8 pixels at a time, so that each
// narrowing lands straight in the store's register list (joining two halves
// in one register costs moves); RGB565 packs whole registers.
template <typename Format>
inline void convert16(const uint8_t* y, ChromaTerms low, ChromaTerms high, uint8_t* out) {
    const Bytes16 luma = splitBytes(vld1q_u8(y));
    auto sum = [](uint16x8_t t, Bytes8 l) { return vreinterpretq_s16_u16(addWiden(t, l)); };
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
    if constexpr (Format::kBytes != 2) {
        auto half = [&](uint8_t* at, ChromaTerms t, Bytes8 l) {
            store8(Format{}, at, vqmovun_s16(sum(t.r, l)), vqmovun_s16(sum(t.g, l)), vqmovun_s16(sum(t.b, l)));
        };
        half(out, low, luma.low);
        half(out + 8 * Format::kBytes, high, luma.high);
        return;
    }
#endif
    auto channel = [&](uint16x8_t t0, uint16x8_t t1) { return narrowClamp(sum(t0, luma.low), sum(t1, luma.high)); };
    store16(Format{}, out, channel(low.r, high.r), channel(low.g, high.g), channel(low.b, high.b));
}

// Cb and Cr of some samples.
struct Chroma8 {
    Bytes8 cb, cr;
};
struct Chroma16 {
    Chroma8 low, high;
};

// 16 chroma samples from index k: planes, or Cb,Cr pairs at cb[2k].
template <bool kInterleaved>
inline Chroma16 loadChroma16(const uint8_t* cb, const uint8_t* cr, uint32_t k) {
    uint8x16x2_t c;
    if (kInterleaved) {
        c = loadPairs(cb + 2 * k);
    } else {
        c.val[0] = vld1q_u8(cb + k);
        c.val[1] = vld1q_u8(cr + k);
    }
    const Bytes16 b = splitBytes(c.val[0]), r = splitBytes(c.val[1]);
    return {{b.low, r.low}, {b.high, r.high}};
}

// 8 chroma samples from index k. Hosts take 8 pairs as 16-bit lanes, Cb
// in the low byte.
template <bool kInterleaved>
inline Chroma8 loadChroma8(const uint8_t* cb, const uint8_t* cr, uint32_t k) {
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
    if (kInterleaved) {
        const uint8x8x2_t c = vld2_u8(cb + 2 * k);
        return {c.val[0], c.val[1]};
    }
    return {vld1_u8(cb + k), vld1_u8(cr + k)};
#else
    if (kInterleaved) {
        const uint16x8_t pairs = vreinterpretq_u16_u8(vld1q_u8(cb + 2 * k));
        return {vandq_u16(pairs, vdupq_n_u16(0xFF)), vshrq_n_u16(pairs, 8)};
    }
    return {vmovl_u8(vld1_u8(cb + k)), vmovl_u8(vld1_u8(cr + k))};
#endif
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
        const Chroma16 c = loadChroma16<kStep == 2>(cb, cr, x);
        convert16<Format>(y + x, chromaTerms<0>(c.low.cb, c.low.cr), chromaTerms<0>(c.high.cb, c.high.cr),
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

// One chroma sample per two pixels in kRows rows (one for 4:2:2, two for
// 4:2:0): 16 pixels of every row per step of 8 samples, whose terms are
// computed once for all rows (steps of 16 samples run out of registers). The
// moved-back step starts on an even pixel so that pairs keep their sample;
// with an odd length the last pixel, which has its sample alone, is left to
// the scalar form. y1 and dst1 are unused with one row.
template <typename Format, uint32_t kStep, uint32_t kRows>
OMBRIX_ALWAYS_INLINE void sharedChromaRows(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                                           uint8_t* dst0, uint8_t* dst1, uint32_t length) {
    OMBRIX_ASSERT(length > 1);
    const uint8_t* const y[2] = {y0, y1};
    uint8_t* const dst[2] = {dst0, dst1};
    // 16 pixels of every row from luma[i] into out[i], with the samples from cbAt and crAt.
    auto pixels16 = [](const uint8_t* const* luma, uint8_t* const* out, const uint8_t* cbAt, const uint8_t* crAt) {
        const Chroma8 c = loadChroma8<kStep == 2>(cbAt, crAt, 0);
        const ChromaTerms t = chromaTerms<256>(c.cb, c.cr);
        const PairBytes r = pairBytes(t.r), g = pairBytes(t.g), b = pairBytes(t.b);
        for (uint32_t i = 0; i < kRows; ++i) {
            const uint8x16_t l = vld1q_u8(luma[i]);
            store16(Format{}, out[i], addClamped(l, r), addClamped(l, g), addClamped(l, b));
        }
    };
    const uint8_t* luma[kRows];
    uint8_t* out[kRows];
    for (uint32_t i = 0; i < kRows; ++i) luma[i] = y[i], out[i] = dst[i];
    const uint8_t *cbAt = cb, *crAt = cr;
    for (uint32_t n = length / 16; n != 0; --n, cbAt += 8 * kStep, crAt += 8 * kStep) {
        pixels16(luma, out, cbAt, crAt);
        for (uint32_t i = 0; i < kRows; ++i) luma[i] += 16, out[i] += 16 * Format::kBytes;
    }
    uint32_t x = length & ~15u;
    if (x < length && length >= 16) {
        const uint32_t back = (length - 16) & ~1u;
        for (uint32_t i = 0; i < kRows; ++i) luma[i] = y[i] + back, out[i] = dst[i] + back * Format::kBytes;
        pixels16(luma, out, cb + back / 2 * kStep, cr + back / 2 * kStep);
        x = back + 16;
    }
    for (uint32_t i = 0; i < kRows; ++i) scalarPixels<Format, kStep>(y[i], cb, cr, dst[i], x, length, 1);
}

template <typename Format, uint32_t kStep>
void sharedChromaRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, uint32_t length) {
    sharedChromaRows<Format, kStep, 1>(y, nullptr, cb, cr, dst, nullptr, length);
}

template <typename Format, uint32_t kStep>
void sharedChromaTwoRows(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr, uint8_t* dst0,
                         uint8_t* dst1, uint32_t length) {
    sharedChromaRows<Format, kStep, 2>(y0, y1, cb, cr, dst0, dst1, length);
}

OBX_YCBCR_ROW_CONVERTERS(perPixelRow, sharedChromaRow, sharedChromaTwoRows)

}  // namespace

extern "C" {

#define OBX_VECTOR_PLANAR(...) OBX_YCBCR_DEFINE_PLANAR(V, __VA_ARGS__)
#define OBX_VECTOR_PSEUDO_PLANAR(...) OBX_YCBCR_DEFINE_PSEUDO_PLANAR(V, __VA_ARGS__)
OBX_YCBCR_TO_RGB_OPERATIONS(OBX_VECTOR_PLANAR, OBX_VECTOR_PSEUDO_PLANAR)
#undef OBX_VECTOR_PLANAR
#undef OBX_VECTOR_PSEUDO_PLANAR

}  // extern "C"
