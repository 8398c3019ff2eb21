// Vector camera-preview conversions, 16 pixels a step, all in 16-bit lanes.
//
// Each channel is floor(a / 2^Q) of a = k_y * y + k_1 * c_1 + k_2 * c_2,
// clamped to 0..255 (Q = 10 or 8). The coefficients are split as
// k = 2^B * m + n so that a = 2^B * M + N with M and N sums of small
// products, and B is chosen so that N stays within 16 bits. Then, exactly,
//     floor(a / 2^Q) = (M + (N >> B)) >> (Q - B)
// with arithmetic shifts. Clamping the sum before the shift, as the
// formulas state, gives the same value as clamping after it.
//
// Rows shorter than one step use the shared scalar formulas; a longer row
// ends with one step that overlaps the previous one and rewrites the same
// values, and an odd last pixel of the RGBA conversion is converted alone.
#include "ombrixAssert.h"
#include "ombrixBlurLanes.h"
#include "ombrixColorPixels.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

using namespace ombrix_color;
using ombrix_blur::widenU8;

namespace {

constexpr uint32_t kStep = 16;

// ---- Loads, narrowing and stores: fused instructions on ARM, 128-bit
// interleaves on hosts (where SIMDe emulates the structure loads and stores
// one byte at a time) ------------------------------------------------------------

#if defined(__ARM_NEON) || defined(__ARM_NEON__)

// Two s16 vectors clamped to 0..255 and narrowed to bytes, in order.
static inline uint8x16_t narrowClamped(int16x8_t a, int16x8_t b) {
    return vcombine_u8(vqmovun_s16(a), vqmovun_s16(b));
}
static inline void storeRgba(uint32_t* out, uint8x16_t r, uint8x16_t g, uint8x16_t b) {
    uint8x16x4_t rgba;
    rgba.val[0] = r;
    rgba.val[1] = g;
    rgba.val[2] = b;
    rgba.val[3] = vdupq_n_u8(255);
    vst4q_u8(reinterpret_cast<uint8_t*>(out), rgba);
}
// Each byte moved to the top of a 16-bit lane (x << 8), low half then high half.
static inline uint16x8x2_t highBytes(uint8x16_t v) {
    return {{vshll_n_u8(vget_low_u8(v), 8), vshll_n_u8(vget_high_u8(v), 8)}};
}

#else

static inline uint8x16_t narrowClamped(int16x8_t a, int16x8_t b) {
    const int16x8_t zero = vdupq_n_s16(0), top = vdupq_n_s16(255);
    return ombrix_blur::narrowU16(vreinterpretq_u16_s16(vminq_s16(vmaxq_s16(a, zero), top)),
                                  vreinterpretq_u16_s16(vminq_s16(vmaxq_s16(b, zero), top)));
}
static inline void storeRgba(uint32_t* out, uint8x16_t r, uint8x16_t g, uint8x16_t b) {
    const uint8x16x2_t rg = vzipq_u8(r, g), ba = vzipq_u8(b, vdupq_n_u8(255));
    const uint16x8x2_t lo = vzipq_u16(vreinterpretq_u16_u8(rg.val[0]), vreinterpretq_u16_u8(ba.val[0]));
    const uint16x8x2_t hi = vzipq_u16(vreinterpretq_u16_u8(rg.val[1]), vreinterpretq_u16_u8(ba.val[1]));
    uint8_t* bytes = reinterpret_cast<uint8_t*>(out);
    vst1q_u8(bytes, vreinterpretq_u8_u16(lo.val[0]));
    vst1q_u8(bytes + 16, vreinterpretq_u8_u16(lo.val[1]));
    vst1q_u8(bytes + 32, vreinterpretq_u8_u16(hi.val[0]));
    vst1q_u8(bytes + 48, vreinterpretq_u8_u16(hi.val[1]));
}
static inline uint16x8x2_t highBytes(uint8x16_t v) {
    const uint8x16x2_t z = vzipq_u8(vdupq_n_u8(0), v);
    return {{vreinterpretq_u16_u8(z.val[0]), vreinterpretq_u16_u8(z.val[1])}};
}

#endif

// ---- Channels ---------------------------------------------------------------------

// 8 interleaved chroma pairs: the first and the second byte of each, minus 128.
struct Chroma {
    int16x8_t first, second;
};
static inline Chroma loadChroma(const uint8_t* pairs) {
    const uint16x8_t p = vreinterpretq_u16_u8(vld1q_u8(pairs));
    const int16x8_t centre = vdupq_n_s16(128);
    return {vsubq_s16(vreinterpretq_s16_u16(vandq_u16(p, vdupq_n_u16(0xFF))), centre),
            vsubq_s16(vreinterpretq_s16_u16(vshrq_n_u16(p, 8)), centre)};
}

// The chroma part of one channel for 8 samples: M_c and N_c, each sample
// then doubled for the two pixels that share it.
struct ChromaTerm {
    int16x8x2_t m, n;
};
static inline ChromaTerm chromaTerm(int16x8_t m, int16x8_t n) { return {vzipq_s16(m, m), vzipq_s16(n, n)}; }

// The luma part of 16 pixels: M_y and N_y for each half.
struct LumaTerm {
    int16x8_t m[2], n[2];
};

// One channel of 16 pixels, clamped to bytes.
template <int Q, int B>
static inline uint8x16_t channel(const LumaTerm& y, const ChromaTerm& c) {
    int16x8_t v[2];
    for (int h = 0; h < 2; ++h) {
        const int16x8_t floorB = vsraq_n_s16(vaddq_s16(y.m[h], c.m.val[h]), vaddq_s16(y.n[h], c.n.val[h]), B);
        v[h] = Q > B ? vshrq_n_s16(floorB, Q > B ? Q - B : 1) : floorB;
    }
    return narrowClamped(v[0], v[1]);
}

// The luma part of 16 pixels for k_y = 2^B * my + ny, plus a constant in N.
static inline LumaTerm lumaTerm(uint8x16_t luma, int16_t my, int16_t ny, int16_t constant) {
    const uint16x8x2_t w = widenU8(luma);
    LumaTerm t;
    for (int h = 0; h < 2; ++h) {
        const int16x8_t y = vreinterpretq_s16_u16(w.val[h]);
        t.m[h] = my == 1 ? y : mulConst(y, my);
        t.n[h] = mlaConst(vdupq_n_s16(constant), y, ny);
    }
    return t;
}

// Q10 with B = 7, x from a chroma pair: y = max(Y - 16, 0) * 1192,
// 1192 = 128 * 9 + 40; R: 1634 e = 128 * 13 e - 30 e; G: -833 e - 400 d =
// 128 * (-7 e - 3 d) + (63 e - 16 d); B: 2066 d = 128 * 16 d + 18 d. Every
// N stays within -10096..19609. Pairs are Cr, Cb.
static OMBRIX_ALWAYS_INLINE void rgb8888Step(const uint8_t* luma, const uint8_t* crcb, uint32_t* out, uint32_t x) {
    const LumaTerm y = lumaTerm(vqsubq_u8(vld1q_u8(luma + x), vdupq_n_u8(16)), 9, 40, 0);
    const Chroma c = loadChroma(crcb + x);
    const int16x8_t e = c.first, d = c.second;
    const uint8x16_t r = channel<10, 7>(y, chromaTerm(mulConst(e, 13), mulConst(e, -30)));
    const uint8x16_t g = channel<10, 7>(y, chromaTerm(mlaConst(mulConst(e, -7), d, -3),
                                                      mlaConst(mulConst(e, 63), d, -16)));
    const uint8x16_t b = channel<10, 7>(y, chromaTerm(vshlq_n_s16(d, 4), mulConst(d, 18)));
    storeRgba(out + x, r, g, b);
}

static void rgb8888Row(const uint8_t* luma, const uint8_t* crcb, uint32_t* out, uint32_t width) {
    if (width < kStep) {
        crcbRowToRgb8888(luma, crcb, out, 0, width);
        return;
    }
    // Steps start on chroma pairs: they cover the even part of the row, the
    // last one overlapping; an odd last pixel uses its pair alone.
    const uint32_t even = width & ~1u;
    for (uint32_t x = 0; x + kStep <= even; x += kStep) rgb8888Step(luma, crcb, out, x);
    if (even % kStep) rgb8888Step(luma, crcb, out, even - kStep);
    crcbRowToRgb8888(luma, crcb, out, even, width);
}

// Eight RGB565 values from channels given as x << 8: blue in the top five
// bits, green in the middle six, red in the low five.
static inline uint16x8_t pack565(uint16x8_t r, uint16x8_t g, uint16x8_t b) {
    return vsriq_n_u16(vsriq_n_u16(b, g, 5), r, 11);
}

// Eight 16-bit lanes in reverse order.
static inline uint16x8_t reversed(uint16x8_t v) {
    const uint16x8_t r = vrev64q_u16(v);
    return vextq_u16(r, r, 4);
}

// Q8 with B = 8, x from a chroma pair: y = 298 Y - 4768, 298 = 256 + 42
// (the offset in N);
// R: 409 e = 256 e + 153 e; G: -100 d - 208 e = 256 * (-e) + (48 e - 100 d);
// B: 517 d = 256 * 2 d + 5 d. Every N stays within -24352..25373. Pairs
// are Cb, Cr. Rotated, the 16 pixels land reversed, ending at width - 1 - x.
static OMBRIX_ALWAYS_INLINE void rgb565Step(const uint8_t* luma, const uint8_t* cbcr, uint8_t* out, uint32_t width,
                                            bool rotated, uint32_t x) {
    const LumaTerm y = lumaTerm(vld1q_u8(luma + x), 1, 42, -4768);
    const Chroma c = loadChroma(cbcr + x);
    const int16x8_t d = c.first, e = c.second;
    const uint16x8x2_t r = highBytes(channel<8, 8>(y, chromaTerm(e, mulConst(e, 153))));
    const uint16x8x2_t g =
        highBytes(channel<8, 8>(y, chromaTerm(vnegq_s16(e), mlaConst(mulConst(e, 48), d, -100))));
    const uint16x8x2_t b = highBytes(channel<8, 8>(y, chromaTerm(vaddq_s16(d, d), mulConst(d, 5))));
    const uint16x8_t first = pack565(r.val[0], g.val[0], b.val[0]);
    const uint16x8_t second = pack565(r.val[1], g.val[1], b.val[1]);
    if (rotated) {
        uint8_t* at = out + 2 * static_cast<size_t>(width - x - kStep);
        vst1q_u8(at, vreinterpretq_u8_u16(reversed(second)));
        vst1q_u8(at + 16, vreinterpretq_u8_u16(reversed(first)));
    } else {
        vst1q_u8(out + 2 * static_cast<size_t>(x), vreinterpretq_u8_u16(first));
        vst1q_u8(out + 2 * static_cast<size_t>(x) + 16, vreinterpretq_u8_u16(second));
    }
}

static void rgb565Row(const uint8_t* luma, const uint8_t* cbcr, uint8_t* out, uint32_t width, bool rotated) {
    const uint32_t pairs = width & ~1u;  // an odd last column is not converted
    if (pairs < kStep) {
        cbcrRowToRgb565(luma, cbcr, out, width, rotated, 0, pairs);
        return;
    }
    for (uint32_t x = 0; x + kStep <= pairs; x += kStep) rgb565Step(luma, cbcr, out, width, rotated, x);
    if (pairs % kStep) rgb565Step(luma, cbcr, out, width, rotated, pairs - kStep);
}

}  // namespace

extern "C" {

OMBRIX_COLOR_PREVIEW_OPERATIONS(V, rgb8888Row, rgb565Row)

}  // extern "C"
