// Lane helpers of the conversions from packed RGB888: the de-interleaving
// load of 16 pixels and exact weighted sums of three byte channels in
// unsigned 16-bit lanes.
#ifndef OMBRIX_COLOR_LANES_H
#define OMBRIX_COLOR_LANES_H

#include <stdint.h>

#include "ombrixNeon.h"

namespace ombrix_color_lanes {

// ---- 16 pixels of three bytes each, one register per byte position ---------------

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

// ---- Byte products in 16-bit lanes, and narrowing -------------------------------
//
// Results hold lanes 0-7 in .val[0] and 8-15 in .val[1]. ARM multiplies
// d registers into q registers; hosts, where SIMDe emulates the 64-bit types
// at a high cost, widen whole registers by interleaving with zero (the
// compiler shares the widening of one input between its products) and
// narrow by de-interleaving.

#if defined(__ARM_NEON) || defined(__ARM_NEON__)
static inline uint16x8x2_t mulBytes(uint8x16_t v, uint8_t k) {
    return {{vmull_u8(vget_low_u8(v), vdup_n_u8(k)), vmull_u8(vget_high_u8(v), vdup_n_u8(k))}};
}
static inline uint16x8x2_t mlaBytes(uint16x8x2_t acc, uint8x16_t v, uint8_t k) {
    return {{vmlal_u8(acc.val[0], vget_low_u8(v), vdup_n_u8(k)), vmlal_u8(acc.val[1], vget_high_u8(v), vdup_n_u8(k))}};
}
// (x + 2^(N-1)) >> N of each lane, narrowed to bytes (the result must fit).
template <int N>
static inline uint8x16_t roundNarrow(uint16x8x2_t x) {
    return vcombine_u8(vrshrn_n_u16(x.val[0], N), vrshrn_n_u16(x.val[1], N));
}
// x >> N of each lane, narrowed to bytes with saturation at 255.
template <int N>
static inline uint8x16_t saturateNarrow(uint16x8x2_t x) {
    return vcombine_u8(vqshrn_n_u16(x.val[0], N), vqshrn_n_u16(x.val[1], N));
}
#else
static inline uint16x8x2_t widenBytes(uint8x16_t v) {
    const uint8x16x2_t z = vzipq_u8(v, vdupq_n_u8(0));
    return {{vreinterpretq_u16_u8(z.val[0]), vreinterpretq_u16_u8(z.val[1])}};
}
static inline uint16x8x2_t mulBytes(uint8x16_t v, uint8_t k) {
    const uint16x8x2_t w = widenBytes(v);
    const uint16x8_t kv = multiplierU16(k);
    return {{vmulq_u16(w.val[0], kv), vmulq_u16(w.val[1], kv)}};
}
static inline uint16x8x2_t mlaBytes(uint16x8x2_t acc, uint8x16_t v, uint8_t k) {
    const uint16x8x2_t w = widenBytes(v);
    const uint16x8_t kv = multiplierU16(k);
    return {{vmlaq_u16(acc.val[0], w.val[0], kv), vmlaq_u16(acc.val[1], w.val[1], kv)}};
}
static inline uint8x16_t lowBytes(uint16x8_t a, uint16x8_t b) {
    return vuzpq_u8(vreinterpretq_u8_u16(a), vreinterpretq_u8_u16(b)).val[0];
}
template <int N>
static inline uint8x16_t roundNarrow(uint16x8x2_t x) {
    const uint16x8_t half = vdupq_n_u16(1 << (N - 1));
    return lowBytes(vshrq_n_u16(vaddq_u16(x.val[0], half), N), vshrq_n_u16(vaddq_u16(x.val[1], half), N));
}
template <int N>
static inline uint8x16_t saturateNarrow(uint16x8x2_t x) {
    const uint16x8_t top = vdupq_n_u16(255);
    return lowBytes(vminq_u16(vshrq_n_u16(x.val[0], N), top), vminq_u16(vshrq_n_u16(x.val[1], N), top));
}
#endif

// Bias + floor((KA a + KB b + KC c) / 256), exactly. Each weight is split
// as 256 h + l; with H and L the sums of the h and l products, the result is
// Bias + H + floor(L / 256). The caller orders the channels so that KA has
// both parts and guarantees that L and Bias + H + 255 fit 16 bits.
template <int KA, int KB, int KC, uint16_t Bias = 0>
static inline uint16x8x2_t weightedSumOver256(uint8x16_t a, uint8x16_t b, uint8x16_t c) {
    static_assert(KA / 256 && KA % 256 && KB >= 0 && KC >= 0 && KA < 65536 && KB < 65536 && KC < 65536,
                  "weights of two bytes, the first with both");
    uint16x8x2_t high;
    if constexpr (Bias != 0)
        high = mlaBytes({{vdupq_n_u16(Bias), vdupq_n_u16(Bias)}}, a, KA / 256);
    else
        high = mulBytes(a, KA / 256);
    if constexpr (KB / 256 != 0) high = mlaBytes(high, b, KB / 256);
    if constexpr (KC / 256 != 0) high = mlaBytes(high, c, KC / 256);
    uint16x8x2_t low = mulBytes(a, KA % 256);
    if constexpr (KB % 256 != 0) low = mlaBytes(low, b, KB % 256);
    if constexpr (KC % 256 != 0) low = mlaBytes(low, c, KC % 256);
    return {{vsraq_n_u16(high.val[0], low.val[0], 8), vsraq_n_u16(high.val[1], low.val[1], 8)}};
}

}  // namespace ombrix_color_lanes

#endif  // OMBRIX_COLOR_LANES_H
