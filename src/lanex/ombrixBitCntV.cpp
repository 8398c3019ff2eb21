// Bit counts and Hamming distances, vector variant: vcnt gives the set bits
// of every byte (at most 8), pairwise additions fold them into per-string
// totals. Lane bounds are noted where each fold relies on them.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixBitCntScalar.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

// 32 bytes of a string, or of the XOR of two strings when `b` is given. On
// ARM one two-register load each, which splits even and odd bytes into the
// two registers: both strings are split alike and counts ignore the order.
// Hosts pay for that split with shuffles and take two plain loads instead.
struct Bytes32 {
    uint8x16_t first, second;
};
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
OMBRIX_ALWAYS_INLINE Bytes32 loadBytes32(const uint8_t* p) {
    const uint8x16x2_t v = vld2q_u8(p);
    return {v.val[0], v.val[1]};
}
#else
OMBRIX_ALWAYS_INLINE Bytes32 loadBytes32(const uint8_t* p) { return {vld1q_u8(p), vld1q_u8(p + 16)}; }
#endif
OMBRIX_ALWAYS_INLINE Bytes32 load32(const uint8_t* a, const uint8_t* b, uint32_t offset) {
    const Bytes32 v = loadBytes32(a + offset);
    if (!b) return v;
    const Bytes32 w = loadBytes32(b + offset);
    return {veorq_u8(v.first, w.first), veorq_u8(v.second, w.second)};
}
OMBRIX_ALWAYS_INLINE uint8x16_t load16(const uint8_t* a, const uint8_t* b, uint32_t offset) {
    const uint8x16_t v = vld1q_u8(a + offset);
    return b ? veorq_u8(v, vld1q_u8(b + offset)) : v;
}
// Per-byte counts of 32 bytes, each lane at most 16.
OMBRIX_ALWAYS_INLINE uint8x16_t counts32At(const uint8_t* a, const uint8_t* b, uint32_t offset) {
    const Bytes32 v = load32(a, b, offset);
    return vaddq_u8(vcntq_u8(v.first), vcntq_u8(v.second));
}

// Set bits of len bytes of a (XOR b when given), any length and alignment.
uint32_t countAny(const uint8_t* a, const uint8_t* b, uint32_t len) {
    uint32x4_t total = vdupq_n_u32(0);
    uint32_t i = 0;
    while (len - i >= 64) {
        // Each step adds at most 64 to a u16 lane: 512 steps stay below 2^16.
        const uint32_t steps = (len - i) / 64 < 512 ? (len - i) / 64 : 512;
        uint16x8_t partial = vdupq_n_u16(0);
        for (uint32_t s = 0; s < steps; ++s, i += 64)
            partial = vpadalq_u8(partial, vaddq_u8(counts32At(a, b, i), counts32At(a, b, i + 32)));
        total = vpadalq_u16(total, partial);
    }
    if (len - i >= 32) {
        total = vpadalq_u16(total, vpaddlq_u8(counts32At(a, b, i)));
        i += 32;
    }
    if (len - i >= 16) {
        total = vpadalq_u16(total, vpaddlq_u8(vcntq_u8(load16(a, b, i))));
        i += 16;
    }
    const uint32_t tail = b ? ombrix_bitcnt::countXorBytes(a + i, b + i, len - i)
                            : ombrix_bitcnt::countBytes(a + i, len - i);
    return sumAcrossU32(total) + tail;
}

// Per-byte counts of a 32-byte string (lanes <= 16) or a 64-byte one (<= 32).
OMBRIX_ALWAYS_INLINE uint8x16_t counts32(const uint8_t* a, const uint8_t* b) { return counts32At(a, b, 0); }
OMBRIX_ALWAYS_INLINE uint8x16_t counts64(const uint8_t* a, const uint8_t* b) {
    return vaddq_u8(counts32At(a, b, 0), counts32At(a, b, 32));
}

// Folds four vectors of per-byte counts into their four totals. After three
// pairwise steps a lane holds 8 of the original lanes: <= 128 for 32-byte
// strings, which still fits a byte; 64-byte strings widen one step earlier.
OMBRIX_ALWAYS_INLINE void storeTotals32(uint8x16_t c0, uint8x16_t c1, uint8x16_t c2, uint8x16_t c3, uint32_t* out) {
    const uint8x8_t e0 = vpadd_u8(vget_low_u8(c0), vget_high_u8(c0)), e1 = vpadd_u8(vget_low_u8(c1), vget_high_u8(c1));
    const uint8x8_t e2 = vpadd_u8(vget_low_u8(c2), vget_high_u8(c2)), e3 = vpadd_u8(vget_low_u8(c3), vget_high_u8(c3));
    const uint8x8_t both = vpadd_u8(vpadd_u8(e0, e1), vpadd_u8(e2, e3));
    vst1q_u32(out, vmovl_u16(vpaddl_u8(both)));
}
OMBRIX_ALWAYS_INLINE void storeTotals64(uint8x16_t c0, uint8x16_t c1, uint8x16_t c2, uint8x16_t c3, uint32_t* out) {
    const uint8x8_t e0 = vpadd_u8(vget_low_u8(c0), vget_high_u8(c0)), e1 = vpadd_u8(vget_low_u8(c1), vget_high_u8(c1));
    const uint8x8_t e2 = vpadd_u8(vget_low_u8(c2), vget_high_u8(c2)), e3 = vpadd_u8(vget_low_u8(c3), vget_high_u8(c3));
    const uint16x4_t h01 = vpaddl_u8(vpadd_u8(e0, e1)), h23 = vpaddl_u8(vpadd_u8(e2, e3));
    vst1q_u32(out, vmovl_u16(vpadd_u16(h01, h23)));
}

}  // namespace

uint32_t obxBitCountu8V(const uint8_t* src, uint32_t len) {
    OMBRIX_ASSERT(src);
    return countAny(src, nullptr, len);
}

uint32_t obxBitCountu32V(const uint32_t* src, uint32_t numIntegers) {
    OMBRIX_ASSERT(src);
    // Pieces of 2^28 words keep every byte count within 32 bits.
    constexpr uint32_t kPiece = 1u << 28;
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(src);
    uint32_t sum = 0;
    for (; numIntegers > kPiece; numIntegers -= kPiece, bytes += 4 * size_t{kPiece})
        sum += countAny(bytes, nullptr, 4 * kPiece);
    return sum + countAny(bytes, nullptr, 4 * numIntegers);
}

uint32_t obxBitCount32x1u8V(const uint8_t* src) {
    OMBRIX_ASSERT(src);
    return sumAcrossU16(vpaddlq_u8(counts32(src, nullptr)));
}

uint32_t obxBitCount64x1u8V(const uint8_t* src) {
    OMBRIX_ASSERT(src);
    return sumAcrossU16(vpaddlq_u8(counts64(src, nullptr)));
}

void obxBitCount32x4u8V(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D, uint32_t* count) {
    OMBRIX_ASSERT(A && B && C && D && count);
    storeTotals32(counts32(A, nullptr), counts32(B, nullptr), counts32(C, nullptr), counts32(D, nullptr), count);
}

void obxBitCount64x4u8V(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D, uint32_t* count) {
    OMBRIX_ASSERT(A && B && C && D && count);
    storeTotals64(counts64(A, nullptr), counts64(B, nullptr), counts64(C, nullptr), counts64(D, nullptr), count);
}

uint32_t obxHammingDistanceu8V(const uint8_t* a, const uint8_t* b, uint32_t len) {
    OMBRIX_ASSERT(a && b);
    return countAny(a, b, len);
}

uint32_t obxHammingDistance32x1u8V(const uint8_t* a, const uint8_t* b) {
    OMBRIX_ASSERT(a && b);
    return sumAcrossU16(vpaddlq_u8(counts32(a, b)));
}

uint32_t obxHammingDistance64x1u8V(const uint8_t* a, const uint8_t* b) {
    OMBRIX_ASSERT(a && b);
    return sumAcrossU16(vpaddlq_u8(counts64(a, b)));
}

void obxHammingDistance32x4u8a4V(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D,
                                 const uint8_t* E, uint32_t* HamminDistances) {
    OMBRIX_ASSERT(A && B && C && D && E && HamminDistances);
    storeTotals32(counts32(A, B), counts32(A, C), counts32(A, D), counts32(A, E), HamminDistances);
}

void obxHammingDistance64x4u8V(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D,
                               const uint8_t* E, uint32_t* HamminDistances) {
    OMBRIX_ASSERT(A && B && C && D && E && HamminDistances);
    storeTotals64(counts64(A, B), counts64(A, C), counts64(A, D), counts64(A, E), HamminDistances);
}
