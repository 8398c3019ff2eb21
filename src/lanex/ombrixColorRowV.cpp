// Vector row converters from packed RGB to YCbCr, 16 pixels per step with a
// scalar tail of the same formulas.
//
// The Q8 sums are formed exactly in unsigned 16-bit lanes:
//   Y  = (128 + 29 B + 150 G + 77 R) >> 8             at most 65408;
//   Cb = (128 B + 85 (255 - G) + 43 (255 - R) + 256) >> 8
//      = 128 + ((128 B - 85 G - 43 R + 128) >> 8)     since 85 + 43 = 128,
// and Cr likewise with R, G, B and 107, 21. The Cb/Cr sum can reach 65536,
// so its two parts are combined with a halving add and shifted by 7 more; a
// saturating narrow then turns the one overflow case (a shifted term of 128)
// into 255, which is the clamp of the 8-bit formats. RGB565 channels stop at
// 248/252, where the sum stays far below that case, so the same code is exact
// for it without a clamp.
#include "../cpu/ombrixColorRgbRows.h"
#include "ombrixColorLanes.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

using namespace ombrix_color;

struct Lanes {
    uint8x16_t r, g, b;
};

// ---- Loading 16 pixels of each format ------------------------------------------------

struct Rgb565Lanes {
    using Scalar = Rgb565In;
    static Lanes load(const uint8_t* p) {
        const uint16x8_t w0 = vreinterpretq_u16_u8(vld1q_u8(p));
        const uint16x8_t w1 = vreinterpretq_u16_u8(vld1q_u8(p + 16));
        const uint8x16_t high = vcombine_u8(vshrn_n_u16(w0, 8), vshrn_n_u16(w1, 8));
        const uint8x16_t middle = vcombine_u8(vshrn_n_u16(w0, 3), vshrn_n_u16(w1, 3));
        const uint8x16_t low = vcombine_u8(vmovn_u16(w0), vmovn_u16(w1));
        return {vandq_u8(high, vdupq_n_u8(0xF8)), vandq_u8(middle, vdupq_n_u8(0xFC)), vshlq_n_u8(low, 3)};
    }
};

struct Rgb888Lanes {
    using Scalar = Rgb888In;
    static Lanes load(const uint8_t* p) {
        const uint8x16x3_t v = ombrix_color_lanes::loadRgb16(p);
        return {v.val[2], v.val[1], v.val[0]};
    }
};

struct Rgba8888Lanes {
    using Scalar = Rgba8888In;
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
    static Lanes load(const uint8_t* p) {
        const uint8x16x4_t v = vld4q_u8(p);
        return {v.val[2], v.val[1], v.val[0]};
    }
#else
    // Two rounds of de-interleaving: bytes B, R and G, x, then each channel.
    static Lanes load(const uint8_t* p) {
        const uint8x16x2_t ab = vuzpq_u8(vld1q_u8(p), vld1q_u8(p + 16));
        const uint8x16x2_t cd = vuzpq_u8(vld1q_u8(p + 32), vld1q_u8(p + 48));
        const uint8x16x2_t blueRed = vuzpq_u8(ab.val[0], cd.val[0]);
        return {blueRed.val[1], vuzpq_u8(ab.val[1], cd.val[1]).val[0], blueRed.val[0]};
    }
#endif
};

#if defined(__ARM_NEON) || defined(__ARM_NEON__)

// ---- Q8 formulas on 8 lanes ------------------------------------------------------------

static inline uint8x8_t luma8(uint8x8_t r, uint8x8_t g, uint8x8_t b) {
    uint16x8_t sum = vmlal_u8(vdupq_n_u16(128), b, vdup_n_u8(29));
    sum = vmlal_u8(sum, g, vdup_n_u8(150));
    sum = vmlal_u8(sum, r, vdup_n_u8(77));
    return vshrn_n_u16(sum, 8);
}

// 128 + ((128 main - kSecond second - kThird third + 128) >> 8), clamped to 255,
// for kSecond + kThird = 128.
static inline uint8x8_t chroma8(uint8x8_t main, uint8x8_t second, uint8x8_t third, uint8_t kSecond,
                                uint8_t kThird) {
    const uint16x8_t a = vmlal_u8(vmull_u8(main, vdup_n_u8(128)), vmvn_u8(second), vdup_n_u8(kSecond));
    const uint16x8_t b = vmlal_u8(vdupq_n_u16(256), vmvn_u8(third), vdup_n_u8(kThird));
    return vqshrn_n_u16(vhaddq_u16(a, b), 7);
}
static inline uint8x8_t cb8(uint8x8_t r, uint8x8_t g, uint8x8_t b) { return chroma8(b, g, r, 85, 43); }
static inline uint8x8_t cr8(uint8x8_t r, uint8x8_t g, uint8x8_t b) { return chroma8(r, g, b, 107, 21); }

static inline uint8x16_t luma16(const Lanes& v) {
    return vcombine_u8(luma8(vget_low_u8(v.r), vget_low_u8(v.g), vget_low_u8(v.b)),
                       luma8(vget_high_u8(v.r), vget_high_u8(v.g), vget_high_u8(v.b)));
}
static inline uint8x16_t cb16(const Lanes& v) {
    return vcombine_u8(cb8(vget_low_u8(v.r), vget_low_u8(v.g), vget_low_u8(v.b)),
                       cb8(vget_high_u8(v.r), vget_high_u8(v.g), vget_high_u8(v.b)));
}
static inline uint8x16_t cr16(const Lanes& v) {
    return vcombine_u8(cr8(vget_low_u8(v.r), vget_low_u8(v.g), vget_low_u8(v.b)),
                       cr8(vget_high_u8(v.r), vget_high_u8(v.g), vget_high_u8(v.b)));
}

// The even lanes (pixels 0, 2, ... 14): the low byte of each 16-bit lane.
static inline uint8x8_t evenLanes(uint8x16_t v) { return vmovn_u16(vreinterpretq_u16_u8(v)); }
static inline uint8x8_t cbEven(const Lanes& v) { return cb8(evenLanes(v.r), evenLanes(v.g), evenLanes(v.b)); }
static inline uint8x8_t crEven(const Lanes& v) { return cr8(evenLanes(v.r), evenLanes(v.g), evenLanes(v.b)); }

#else

// On hosts, where the 64-bit vector types are translated at a high cost, the
// same sums are formed on whole 128-bit registers: bytes are widened by
// interleaving with zero and results narrowed by de-interleaving.

static inline uint16x8x2_t widenBytes(uint8x16_t a) {
    const uint8x16x2_t z = vzipq_u8(a, vdupq_n_u8(0));
    return {{vreinterpretq_u16_u8(z.val[0]), vreinterpretq_u16_u8(z.val[1])}};
}
static inline uint8x16_t narrowBytes(uint16x8_t lo, uint16x8_t hi) {
    return vuzpq_u8(vreinterpretq_u8_u16(lo), vreinterpretq_u8_u16(hi)).val[0];
}

static inline uint16x8_t lumaWide(uint16x8_t r, uint16x8_t g, uint16x8_t b) {
    uint16x8_t sum = mlaConst(vdupq_n_u16(128), b, 29);
    sum = mlaConst(sum, g, 150);
    sum = mlaConst(sum, r, 77);
    return vshrq_n_u16(sum, 8);
}

// As chroma8, on channels already widened; `secondInv` and `thirdInv` are
// 255 - channel. With T = 256 + kSecond secondInv + kThird thirdInv (at most
// 32896) the sum is 128 main + T, and floor(sum / 256) =
// (main + (T >> 7)) >> 1: no 16-bit overflow, no halving add, which hosts
// would form in 32-bit lanes.
static inline uint16x8_t chromaWide(uint16x8_t main, uint16x8_t secondInv, uint16x8_t thirdInv, uint16_t kSecond,
                                    uint16_t kThird) {
    const uint16x8_t t = mlaConst(mlaConst(vdupq_n_u16(256), secondInv, kSecond), thirdInv, kThird);
    return vminq_u16(vshrq_n_u16(vsraq_n_u16(main, t, 7), 1), vdupq_n_u16(255));
}

static inline uint8x16_t luma16(const Lanes& v) {
    const uint16x8x2_t r = widenBytes(v.r), g = widenBytes(v.g), b = widenBytes(v.b);
    return narrowBytes(lumaWide(r.val[0], g.val[0], b.val[0]), lumaWide(r.val[1], g.val[1], b.val[1]));
}
static inline uint8x16_t chroma16(uint8x16_t main, uint8x16_t second, uint8x16_t third, uint16_t kSecond,
                                  uint16_t kThird) {
    const uint16x8x2_t m = widenBytes(main), s = widenBytes(vmvnq_u8(second)), t = widenBytes(vmvnq_u8(third));
    return narrowBytes(chromaWide(m.val[0], s.val[0], t.val[0], kSecond, kThird),
                       chromaWide(m.val[1], s.val[1], t.val[1], kSecond, kThird));
}
static inline uint8x16_t cb16(const Lanes& v) { return chroma16(v.b, v.g, v.r, 85, 43); }
static inline uint8x16_t cr16(const Lanes& v) { return chroma16(v.r, v.g, v.b, 107, 21); }

// The even lanes (pixels 0, 2, ... 14), widened: the low byte of each 16-bit lane.
static inline uint16x8_t evenWide(uint8x16_t v) { return vandq_u16(vreinterpretq_u16_u8(v), vdupq_n_u16(255)); }
static inline uint16x8_t evenWideInverted(uint8x16_t v) { return evenWide(vmvnq_u8(v)); }
static inline uint8x8_t cbEven(const Lanes& v) {
    return vmovn_u16(chromaWide(evenWide(v.b), evenWideInverted(v.g), evenWideInverted(v.r), 85, 43));
}
static inline uint8x8_t crEven(const Lanes& v) {
    return vmovn_u16(chromaWide(evenWide(v.r), evenWideInverted(v.g), evenWideInverted(v.b), 107, 21));
}

#endif

// ---- Where chroma goes: two planes, or one row of Cb, Cr pairs ------------------------

struct PlanarChroma {
    static constexpr uint32_t kStep = 1;
    uint8_t* cb;
    uint8_t* cr;
    void store16(uint32_t i, uint8x16_t b, uint8x16_t r) const {
        vst1q_u8(cb + i, b);
        vst1q_u8(cr + i, r);
    }
    void store8(uint32_t i, uint8x8_t b, uint8x8_t r) const {
        vst1_u8(cb + i, b);
        vst1_u8(cr + i, r);
    }
    uint8_t* cbAt(uint32_t i) const { return cb + i; }
    uint8_t* crAt(uint32_t i) const { return cr + i; }
};

struct InterleavedChroma {
    static constexpr uint32_t kStep = 2;
    uint8_t* c;
    void store16(uint32_t i, uint8x16_t b, uint8x16_t r) const { vst2q_u8(c + 2 * i, (uint8x16x2_t{{b, r}})); }
    void store8(uint32_t i, uint8x8_t b, uint8x8_t r) const { vst2_u8(c + 2 * i, (uint8x8x2_t{{b, r}})); }
    uint8_t* cbAt(uint32_t i) const { return c + 2 * i; }
    uint8_t* crAt(uint32_t i) const { return c + 2 * i + 1; }
};

// ---- Row converters --------------------------------------------------------------------

template <class F>
void lumaOnly(const uint8_t* src, uint8_t* dstY, uint32_t width) {
    constexpr uint32_t kBytes = F::Scalar::kBytes;
    uint32_t x = 0;
    for (; x + 16 <= width; x += 16) vst1q_u8(dstY + x, luma16(F::load(src + x * kBytes)));
    lumaRow<typename F::Scalar>(src + x * kBytes, dstY + x, width - x);
}

template <class F, class Chroma>
void fullRow(const uint8_t* src, uint8_t* dstY, Chroma chroma, uint32_t width) {
    constexpr uint32_t kBytes = F::Scalar::kBytes;
    uint32_t x = 0;
    for (; x + 16 <= width; x += 16) {
        const Lanes v = F::load(src + x * kBytes);
        vst1q_u8(dstY + x, luma16(v));
        chroma.store16(x, cb16(v), cr16(v));
    }
    fullChromaRow<typename F::Scalar>(src + x * kBytes, dstY + x, chroma.cbAt(x), chroma.crAt(x), Chroma::kStep,
                                      width - x);
}

// Odd widths write nothing, as in the reference; the tail width stays even.
template <class F, class Chroma>
void pairRow(const uint8_t* src, uint8_t* dstY, Chroma chroma, uint32_t width) {
    if (width & 1) return;
    constexpr uint32_t kBytes = F::Scalar::kBytes;
    uint32_t x = 0;
    for (; x + 16 <= width; x += 16) {
        const Lanes v = F::load(src + x * kBytes);
        vst1q_u8(dstY + x, luma16(v));
        chroma.store8(x / 2, cbEven(v), crEven(v));
    }
    pairChromaRow<typename F::Scalar>(src + x * kBytes, dstY + x, chroma.cbAt(x / 2), chroma.crAt(x / 2),
                                      Chroma::kStep, width - x);
}

template <class F>
void planarFull(const uint8_t* src, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t width) {
    fullRow<F>(src, dstY, PlanarChroma{dstCb, dstCr}, width);
}
template <class F>
void planarPairs(const uint8_t* src, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t width) {
    pairRow<F>(src, dstY, PlanarChroma{dstCb, dstCr}, width);
}
template <class F>
void interleavedFull(const uint8_t* src, uint8_t* dstY, uint8_t* dstC, uint32_t width) {
    fullRow<F>(src, dstY, InterleavedChroma{dstC}, width);
}
template <class F>
void interleavedPairs(const uint8_t* src, uint8_t* dstY, uint8_t* dstC, uint32_t width) {
    pairRow<F>(src, dstY, InterleavedChroma{dstC}, width);
}

}  // namespace

extern "C" {

OMBRIX_RGB_ROW_CONVERTERS(rgb5652, V, Rgb565Lanes)
OMBRIX_RGB_ROW_CONVERTERS(rgb8882, V, Rgb888Lanes)
OMBRIX_RGB_ROW_CONVERTERS(rgba88882, V, Rgba8888Lanes)

}  // extern "C"
