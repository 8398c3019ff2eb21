// Vector FAST detection and scoring for arcs of 9 and 10, shared by the
// FAST9, masked FAST9 and FAST10 vector variants.
//
// Detection tests 16 consecutive centres at a time. Each circle position is
// one 16-byte load (the position's pixel for all 16 centres), compared with
// the centres' saturated thresholds. Every arc of 9 or more holds two
// neighbouring compass points (0 and 4, 4 and 8, 8 and 12, 12 and 0), which
// is ((0 or 8) and (4 or 12)) for one polarity; centres failing that for both
// polarities are rejected after the centres and four compass points are
// read, and most steps end there. The other steps read the whole circle for
// the polarities that passed, pack each polarity's 16 comparisons into two
// bytes a centre (positions 0-7 and 8-15, most significant bit first) and
// find the arc from the runs of set bits at the ends of the two bytes.
//
// The corners of a row go to a list of x positions in scratch memory (at most
// one a pixel, so 2048 entries bound the width) and from there, in order, to
// the caller's list, where the mask and the capacity apply as in the
// reference scan: detection has no side effects, so masked pixels can be
// dropped afterwards.
//
// The score is computed directly rather than by bisection: the test passes
// at threshold b exactly when b < A - p or b < p - B, with A the largest
// minimum and B the smallest maximum of the circle pixels over all arcs, so
// the bisection, which finds the largest passing b from barrier up (or
// barrier when none passes), returns max(barrier, max(A - p, p - B) - 1).
#ifndef OMBRIX_FAST_LANES_H
#define OMBRIX_FAST_LANES_H

#include <stddef.h>
#include <stdint.h>

#include "ombrixAssert.h"
#include "ombrixFastScalar.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace ombrix_fast {
namespace {

// Thresholds of 16 centres p. From barrier 0 on (k = min(b, 255)), brighter
// is v > p + k and darker v < p - k, the sums saturated: p + k >= 255 leaves
// nothing brighter and p - k <= 0 nothing darker, as in signed arithmetic.
// brighterBy / darkerBy are non-zero exactly where the pixel is brighter /
// darker (the saturated difference, one instruction everywhere);
// brighter / darker are the comparison masks of a circle pixel in the form
// operand() gives it.
struct StrictThresholds {
    uint8x16_t hi, lo;
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
    OMBRIX_ALWAYS_INLINE StrictThresholds(uint8x16_t p, uint8x16_t k) : hi(vqaddq_u8(p, k)), lo(vqsubq_u8(p, k)) {}
    OMBRIX_ALWAYS_INLINE uint8x16_t operand(uint8x16_t v) const { return v; }
    OMBRIX_ALWAYS_INLINE uint8x16_t brighter(uint8x16_t v) const { return vcgtq_u8(v, hi); }
    OMBRIX_ALWAYS_INLINE uint8x16_t darker(uint8x16_t v) const { return vcltq_u8(v, lo); }
#else
    // Hosts have no unsigned byte comparison: SIMDe builds each from three
    // instructions. With the sign bit of both sides flipped the signed one
    // gives the same order, one instruction a comparison and one flip a
    // circle pixel for both polarities.
    int8x16_t hiSigned, loSigned;
    OMBRIX_ALWAYS_INLINE StrictThresholds(uint8x16_t p, uint8x16_t k)
        : hi(vqaddq_u8(p, k)), lo(vqsubq_u8(p, k)), hiSigned(flipSign(hi)), loSigned(flipSign(lo)) {}
    static OMBRIX_ALWAYS_INLINE int8x16_t flipSign(uint8x16_t v) {
        return vreinterpretq_s8_u8(veorq_u8(v, vdupq_n_u8(0x80)));
    }
    OMBRIX_ALWAYS_INLINE int8x16_t operand(uint8x16_t v) const { return flipSign(v); }
    OMBRIX_ALWAYS_INLINE uint8x16_t brighter(int8x16_t v) const { return vcgtq_s8(v, hiSigned); }
    OMBRIX_ALWAYS_INLINE uint8x16_t darker(int8x16_t v) const { return vcgtq_s8(loSigned, v); }
#endif
    OMBRIX_ALWAYS_INLINE uint8x16_t brighterBy(uint8x16_t v) const { return vqsubq_u8(v, hi); }
    OMBRIX_ALWAYS_INLINE uint8x16_t darkerBy(uint8x16_t v) const { return vqsubq_u8(lo, v); }
};

// Below barrier 0 (k = min(-b - 1, 255)): v > p + b is v >= p - k and v < p - b
// is v <= p + k, and saturation again keeps the signed result (p - k <= 0:
// everything is brighter).
struct InclusiveThresholds {
    uint8x16_t hi, lo;
    OMBRIX_ALWAYS_INLINE InclusiveThresholds(uint8x16_t p, uint8x16_t k)
        : hi(vqsubq_u8(p, k)), lo(vqaddq_u8(p, k)) {}
    OMBRIX_ALWAYS_INLINE uint8x16_t operand(uint8x16_t v) const { return v; }
    OMBRIX_ALWAYS_INLINE uint8x16_t brighter(uint8x16_t v) const { return vcgeq_u8(v, hi); }
    OMBRIX_ALWAYS_INLINE uint8x16_t darker(uint8x16_t v) const { return vcleq_u8(v, lo); }
    OMBRIX_ALWAYS_INLINE uint8x16_t brighterBy(uint8x16_t v) const { return brighter(v); }
    OMBRIX_ALWAYS_INLINE uint8x16_t darkerBy(uint8x16_t v) const { return darker(v); }
};

// True when some lane is non-zero. ARM folds the halves and then the words
// in vector registers (GCC passes a 64-bit lane through the stack); SIMDe
// would pass the halves through memory, so hosts test the whole register
// (or read both 64-bit lanes without SSE4.1).
OMBRIX_ALWAYS_INLINE bool anyLane(uint8x16_t m) {
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
    const uint32x2_t folded = vreinterpret_u32_u8(vorr_u8(vget_low_u8(m), vget_high_u8(m)));
    return vget_lane_u32(vpmax_u32(folded, folded), 0) != 0;
#elif defined(SIMDE_X86_SSE4_1_NATIVE)
    const __m128i v = simde_uint8x16_to_m128i(m);
    return !_mm_testz_si128(v, v);
#else
    const uint64x2_t words = vreinterpretq_u64_u8(m);
    return (vgetq_lane_u64(words, 0) | vgetq_lane_u64(words, 1)) != 0;
#endif
}

// Bit i set for every lane i that is all ones. ARM weighs the lanes and adds
// them pairwise; SIMDe translates the 64-bit pairwise additions into a
// dozen shuffles, where hosts have the byte mask in one instruction.
OMBRIX_ALWAYS_INLINE uint32_t laneBits(uint8x16_t m) {
#if !defined(__ARM_NEON) && !defined(__ARM_NEON__) && defined(SIMDE_X86_SSE2_NATIVE)
    return static_cast<uint32_t>(_mm_movemask_epi8(simde_uint8x16_to_m128i(m)));
#else
    static const uint8_t kWeights[16] = {1, 2, 4, 8, 16, 32, 64, 128, 1, 2, 4, 8, 16, 32, 64, 128};
    const uint8x16_t weighted = vandq_u8(m, vld1q_u8(kWeights));
    uint8x8_t sums = vpadd_u8(vget_low_u8(weighted), vget_high_u8(weighted));
    sums = vpadd_u8(sums, sums);
    sums = vpadd_u8(sums, sums);  // lane 0: lanes 0-7, lane 1: lanes 8-15
    return vget_lane_u16(vreinterpret_u16_u8(sums), 0);
#endif
}

// One polarity's comparisons packed into a ring of 16 bits a centre: `first`
// holds positions 0-7, `second` 8-15, position 0 and 8 in the top bits.
struct Ring {
    uint8x16_t first, second;
};

// Runs of set bits from the top of each byte down (leading) and from the
// bottom up (trailing: x & ~(x + 1) keeps exactly those bits).
OMBRIX_ALWAYS_INLINE uint8x16_t leadingOnes(uint8x16_t x) { return vclzq_u8(vmvnq_u8(x)); }
OMBRIX_ALWAYS_INLINE uint8x16_t trailingOnes(uint8x16_t x) {
    return vcntq_u8(vbicq_u8(x, vaddq_u8(x, vdupq_n_u8(1))));
}

// All ones in the lanes whose ring holds N consecutive set bits. A run of 9
// or 10 is longer than a half, so it crosses from the end of one half into
// the start of the other: s1 = trailing(first) + leading(second) or
// s2 = trailing(second) + leading(first) reaches N. Only a full half lets a
// run cross both ends, with length s1 + s2 - 8 (when neither half is full,
// s1 + s2 - 8 <= 6 stays below N).
template <int N>
OMBRIX_ALWAYS_INLINE uint8x16_t arcLanes(const Ring& ring) {
    const uint8x16_t s1 = vaddq_u8(trailingOnes(ring.first), leadingOnes(ring.second));
    const uint8x16_t s2 = vaddq_u8(trailingOnes(ring.second), leadingOnes(ring.first));
    const uint8x16_t both = vqsubq_u8(vaddq_u8(s1, s2), vdupq_n_u8(8));
    return vcgeq_u8(vmaxq_u8(vmaxq_u8(s1, s2), both), vdupq_n_u8(N));
}

// Appends comparison mask m (all ones or zero) as the next lower bit of acc,
// which holds I bits so far: one shift-right-insert on ARM. SIMDe's byte
// shift right overflows a signed constant on GFNI hosts (UBSan stops on it),
// so hosts shift acc left by adding it to itself and subtract m (-1 or 0).
template <int I>
OMBRIX_ALWAYS_INLINE uint8x16_t appendBit(uint8x16_t acc, uint8x16_t m) {
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
    return vsriq_n_u8(acc, m, I);
#else
    return vsubq_u8(vaddq_u8(acc, acc), m);
#endif
}

// Circle position I's comparisons of the 16 centres for the chosen
// polarities, packed into bit 7 - I % 8 of the byte for its half of the ring.
// The first mask starts the byte as it is: on ARM the inserts replace its
// lower bits, on hosts the seven doublings leave only its top bit.
template <int I, bool Bright, bool Dark, typename Thresholds>
OMBRIX_ALWAYS_INLINE void pack(const Thresholds& t, uint8x16_t pixels, uint8x16_t& bright, uint8x16_t& dark) {
    constexpr int kBit = I % 8;
    const auto v = t.operand(pixels);
    if constexpr (Bright) bright = kBit == 0 ? t.brighter(v) : appendBit<kBit>(bright, t.brighter(v));
    if constexpr (Dark) dark = kBit == 0 ? t.darker(v) : appendBit<kBit>(dark, t.darker(v));
}

template <int I, bool Bright, bool Dark, typename Thresholds>
OMBRIX_ALWAYS_INLINE void loadAndPack(const Thresholds& t, const uint8_t* c, const int32_t* offsets,
                                      uint8x16_t& bright, uint8x16_t& dark) {
    pack<I, Bright, Dark>(t, vld1q_u8(c + offsets[I]), bright, dark);
}

// The centres with an arc of the chosen polarities, from the whole circle;
// the compass points are already loaded.
template <int N, bool Bright, bool Dark, typename Thresholds>
OMBRIX_ALWAYS_INLINE uint8x16_t arcCentres(const Thresholds& t, const uint8_t* c, const int32_t* offsets,
                                           const uint8x16_t compass[4]) {
    Ring b{}, d{};
    pack<0, Bright, Dark>(t, compass[0], b.first, d.first);
    loadAndPack<1, Bright, Dark>(t, c, offsets, b.first, d.first);
    loadAndPack<2, Bright, Dark>(t, c, offsets, b.first, d.first);
    loadAndPack<3, Bright, Dark>(t, c, offsets, b.first, d.first);
    pack<4, Bright, Dark>(t, compass[1], b.first, d.first);
    loadAndPack<5, Bright, Dark>(t, c, offsets, b.first, d.first);
    loadAndPack<6, Bright, Dark>(t, c, offsets, b.first, d.first);
    loadAndPack<7, Bright, Dark>(t, c, offsets, b.first, d.first);
    pack<8, Bright, Dark>(t, compass[2], b.second, d.second);
    loadAndPack<9, Bright, Dark>(t, c, offsets, b.second, d.second);
    loadAndPack<10, Bright, Dark>(t, c, offsets, b.second, d.second);
    loadAndPack<11, Bright, Dark>(t, c, offsets, b.second, d.second);
    pack<12, Bright, Dark>(t, compass[3], b.second, d.second);
    loadAndPack<13, Bright, Dark>(t, c, offsets, b.second, d.second);
    loadAndPack<14, Bright, Dark>(t, c, offsets, b.second, d.second);
    loadAndPack<15, Bright, Dark>(t, c, offsets, b.second, d.second);
    if constexpr (Bright && Dark) return vorrq_u8(arcLanes<N>(b), arcLanes<N>(d));
    else return arcLanes<N>(Bright ? b : d);
}

// The compass-point test of the 16 centres from c on, per polarity: a lane
// is non-zero where the centre passes.
struct CompassPairs {
    uint8x16_t bright, dark;
};
// (0 or 8) and (4 or 12) brighter is min(max(v0, v8), max(v4, v12)) brighter,
// and darker is max(min(v0, v8), min(v4, v12)) darker: the pairs are folded
// on the pixels, shared by both polarities, before one threshold test each.
template <typename Thresholds>
OMBRIX_ALWAYS_INLINE CompassPairs compassPairs(const Thresholds& t, const uint8x16_t compass[4]) {
    return {t.brighterBy(vminq_u8(vmaxq_u8(compass[0], compass[2]), vmaxq_u8(compass[1], compass[3]))),
            t.darkerBy(vmaxq_u8(vminq_u8(compass[0], compass[2]), vminq_u8(compass[1], compass[3])))};
}
OMBRIX_ALWAYS_INLINE void loadCompass(const uint8_t* c, const int32_t* offsets, uint8x16_t compass[4]) {
    compass[0] = vld1q_u8(c + offsets[0]);
    compass[1] = vld1q_u8(c + offsets[4]);
    compass[2] = vld1q_u8(c + offsets[8]);
    compass[3] = vld1q_u8(c + offsets[12]);
}
template <typename Thresholds>
OMBRIX_ALWAYS_INLINE CompassPairs compassPairsAt(const uint8_t* c, const int32_t* offsets, uint8x16_t k) {
    uint8x16_t compass[4];
    loadCompass(c, offsets, compass);
    return compassPairs(Thresholds(vld1q_u8(c), k), compass);
}
OMBRIX_ALWAYS_INLINE uint8x16_t eitherPair(const CompassPairs& p) { return vmaxq_u8(p.bright, p.dark); }

// The corners among the 16 centres from c on, as bits, once some centre has
// passed the compass test; only the polarities that passed it are tested.
template <int N, typename Thresholds>
OMBRIX_ALWAYS_INLINE uint32_t arcBits(const uint8_t* c, const int32_t* offsets, uint8x16_t k,
                                      const CompassPairs& pairs) {
    const Thresholds t(vld1q_u8(c), k);
    uint8x16_t compass[4];
    loadCompass(c, offsets, compass);
    if (!anyLane(pairs.dark)) return laneBits(arcCentres<N, true, false>(t, c, offsets, compass));
    if (!anyLane(pairs.bright)) return laneBits(arcCentres<N, false, true>(t, c, offsets, compass));
    return laneBits(arcCentres<N, true, true>(t, c, offsets, compass));
}

template <int N, typename Thresholds>
OMBRIX_ALWAYS_INLINE uint32_t cornerBits(const uint8_t* c, const int32_t* offsets, uint8x16_t k) {
    const CompassPairs pairs = compassPairsAt<Thresholds>(c, offsets, k);
    return anyLane(eitherPair(pairs)) ? arcBits<N, Thresholds>(c, offsets, k, pairs) : 0;
}

// The x of every corner of one row in [first, end), in order; returns their
// number. Rows of 16 centres or more go in steps of 16, two at a time with
// one branch for both while they last, the last step moved back to end at
// `end` with the centres already tested dropped; every load stays within the
// row's first and last pixel as first >= 3 and end <= width - 3.
template <int N, typename Thresholds>
uint32_t rowCorners(const uint8_t* row, const int32_t* offsets, uint32_t first, uint32_t end, int32_t barrier,
                    uint8x16_t k, uint16_t* corners) {
    uint32_t n = 0;
    const auto emit = [&](uint32_t bits, const uint8_t* c) {
        const uint32_t base = static_cast<uint32_t>(c - row);
        for (; bits; bits &= bits - 1) corners[n++] = static_cast<uint16_t>(base + __builtin_ctz(bits));
    };
    if (end - first < 16) {
        for (uint32_t x = first; x < end; ++x)
            if (isCorner<N>(row + x, offsets, barrier)) corners[n++] = static_cast<uint16_t>(x);
        return n;
    }
    const uint8_t* c = row + first;
    const uint8_t* const last = row + end - 16;
    for (; c + 16 <= last; c += 32) {
        const CompassPairs a = compassPairsAt<Thresholds>(c, offsets, k);
        const CompassPairs b = compassPairsAt<Thresholds>(c + 16, offsets, k);
        if (!anyLane(vmaxq_u8(eitherPair(a), eitherPair(b)))) continue;
        if (anyLane(eitherPair(a))) emit(arcBits<N, Thresholds>(c, offsets, k, a), c);
        if (anyLane(eitherPair(b))) emit(arcBits<N, Thresholds>(c + 16, offsets, k, b), c + 16);
    }
    if (c <= last) {
        emit(cornerBits<N, Thresholds>(c, offsets, k), c);
        c += 16;
    }
    if (c < last + 16) emit(cornerBits<N, Thresholds>(last, offsets, k) >> (c - last), c);
    return n;
}

// The vector scan: rows of corners into scratch, then into the caller's list
// with the mask and the capacity applied as the reference applies them.
template <int N, typename Mask>
void detectRows(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, int32_t barrier,
                uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* count, const Mask& mask) {
    const ScanWindow window = scanWindow(width, height, border);
    if (window.empty()) return;
    uint16_t* corners = static_cast<uint16_t*>(obxGetScratchBufferUnaligned_(width * sizeof(uint16_t)));
    OMBRIX_ASSERT(corners);
    const uint32_t pitch = rowPitch(stride, width);
    int32_t offsets[16];
    circleOffsets(offsets, pitch);
    const bool strict = barrier >= 0;
    const int32_t k = strict ? barrier : -(barrier + 1);
    const uint8x16_t lanesK = vdupq_n_u8(static_cast<uint8_t>(k > 255 ? 255 : k));
    CornerSink sink{xy, nCornersMax, 0};
    for (uint32_t y = window.first; y < window.rowEnd; ++y) {
        const uint8_t* row = src + static_cast<size_t>(y) * pitch;
        const uint32_t n =
            strict ? rowCorners<N, StrictThresholds>(row, offsets, window.first, window.columnEnd, barrier, lanesK,
                                                     corners)
                   : rowCorners<N, InclusiveThresholds>(row, offsets, window.first, window.columnEnd, barrier,
                                                        lanesK, corners);
        uint32_t i = 0;
        for (; i < n; ++i)
            if (!mask.excludes(corners[i], y) && sink.add(corners[i], y)) break;
        if (i < n) break;
    }
    *count = sink.count;
    obxReleaseScratchBuffer_(corners);
}

// ---- Score --------------------------------------------------------------------

// Lane i: the minimum (maximum) of the ring's lanes i .. i + N - 1.
template <int N>
OMBRIX_ALWAYS_INLINE uint8x16_t arcMin(uint8x16_t v) {
    const uint8x16_t m2 = vminq_u8(v, vextq_u8(v, v, 1));
    const uint8x16_t m4 = vminq_u8(m2, vextq_u8(m2, m2, 2));
    const uint8x16_t m8 = vminq_u8(m4, vextq_u8(m4, m4, 4));
    return vminq_u8(m8, vextq_u8(m8, m8, N - 8));
}
template <int N>
OMBRIX_ALWAYS_INLINE uint8x16_t arcMax(uint8x16_t v) {
    const uint8x16_t m2 = vmaxq_u8(v, vextq_u8(v, v, 1));
    const uint8x16_t m4 = vmaxq_u8(m2, vextq_u8(m2, m2, 2));
    const uint8x16_t m8 = vmaxq_u8(m4, vextq_u8(m4, m4, 4));
    return vmaxq_u8(m8, vextq_u8(m8, m8, N - 8));
}

OMBRIX_ALWAYS_INLINE int32_t largestLane(uint8x16_t v) {
    uint8x8_t m = vmax_u8(vget_low_u8(v), vget_high_u8(v));
    m = vpmax_u8(m, m);
    m = vpmax_u8(m, m);
    m = vpmax_u8(m, m);
    return vget_lane_u8(m, 0);
}
OMBRIX_ALWAYS_INLINE int32_t smallestLane(uint8x16_t v) {
    uint8x8_t m = vmin_u8(vget_low_u8(v), vget_high_u8(v));
    m = vpmin_u8(m, m);
    m = vpmin_u8(m, m);
    m = vpmin_u8(m, m);
    return vget_lane_u8(m, 0);
}

// A and B of the score for the circle pixels v.
struct ArcExtremes {
    int32_t largestMin, smallestMax;
};
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
template <int N>
OMBRIX_ALWAYS_INLINE ArcExtremes arcExtremes(uint8x16_t v) {
    return {largestLane(arcMin<N>(v)), smallestLane(arcMax<N>(v))};
}
#else
// Hosts: SIMDe emulates the 64-bit pairwise reductions with a dozen
// instructions each. The arc maxima are the complements of the arc minima
// of the complemented ring; both folds share one register, the minima's in
// the low eight lanes and the complemented maxima's in the high eight, and
// finish with shifts within the two 64-bit lanes, all native instructions.
template <int N>
OMBRIX_ALWAYS_INLINE ArcExtremes arcExtremes(uint8x16_t v) {
    const uint8x16_t mins = arcMin<N>(v), notMaxes = arcMin<N>(vmvnq_u8(v));
    // Lane i of both halves: the larger of lanes i and i + 8.
    const uint8x16_t foldedMins = vmaxq_u8(mins, vextq_u8(mins, mins, 8));
    const uint8x16_t foldedNotMaxes = vmaxq_u8(notMaxes, vextq_u8(notMaxes, notMaxes, 8));
    uint64x2_t both = vreinterpretq_u64_u8(vextq_u8(foldedMins, foldedNotMaxes, 8));
    both = vreinterpretq_u64_u8(vmaxq_u8(vreinterpretq_u8_u64(both), vreinterpretq_u8_u64(vshrq_n_u64(both, 32))));
    both = vreinterpretq_u64_u8(vmaxq_u8(vreinterpretq_u8_u64(both), vreinterpretq_u8_u64(vshrq_n_u64(both, 16))));
    both = vreinterpretq_u64_u8(vmaxq_u8(vreinterpretq_u8_u64(both), vreinterpretq_u8_u64(vshrq_n_u64(both, 8))));
    const uint8x16_t lanes = vreinterpretq_u8_u64(both);
    return {vgetq_lane_u8(lanes, 0), 255 - static_cast<int32_t>(vgetq_lane_u8(lanes, 8))};
}
#endif

template <int N>
OMBRIX_ALWAYS_INLINE uint32_t directScore(const uint8_t* p, const int32_t* pixel, int32_t barrier) {
    uint8x16_t v = vdupq_n_u8(0);
    v = vld1q_lane_u8(p + pixel[0], v, 0);
    v = vld1q_lane_u8(p + pixel[1], v, 1);
    v = vld1q_lane_u8(p + pixel[2], v, 2);
    v = vld1q_lane_u8(p + pixel[3], v, 3);
    v = vld1q_lane_u8(p + pixel[4], v, 4);
    v = vld1q_lane_u8(p + pixel[5], v, 5);
    v = vld1q_lane_u8(p + pixel[6], v, 6);
    v = vld1q_lane_u8(p + pixel[7], v, 7);
    v = vld1q_lane_u8(p + pixel[8], v, 8);
    v = vld1q_lane_u8(p + pixel[9], v, 9);
    v = vld1q_lane_u8(p + pixel[10], v, 10);
    v = vld1q_lane_u8(p + pixel[11], v, 11);
    v = vld1q_lane_u8(p + pixel[12], v, 12);
    v = vld1q_lane_u8(p + pixel[13], v, 13);
    v = vld1q_lane_u8(p + pixel[14], v, 14);
    v = vld1q_lane_u8(p + pixel[15], v, 15);
    const int32_t centre = *p;
    const ArcExtremes arcs = arcExtremes<N>(v);
    const int32_t brightest = arcs.largestMin - centre;  // A - p
    const int32_t darkest = centre - arcs.smallestMax;   // p - B
    const int32_t score = (brightest > darkest ? brightest : darkest) - 1;
    return static_cast<uint32_t>(score > barrier ? score : barrier);
}

}  // namespace
}  // namespace ombrix_fast

#endif  // OMBRIX_FAST_LANES_H
