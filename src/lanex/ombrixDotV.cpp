// Integer dot products, vector variants. Eight byte products at a time are
// widened to 16 bits (|s8 * s8| <= 16384, u8 * u8 <= 65025) and added
// pairwise into four 32-bit lanes; integer sums do not depend on their
// order, so the lanes' total equals the reference's sum, wrapping included.
// A 36-element vector is two 16-byte loads and the 8 bytes ending at its
// last element, the first four of which are masked out of A.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixDescriptorScalar.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

using namespace ombrix_descriptor;

namespace {

// Signed and unsigned bytes behind one interface.
struct SignedLanes {
    using T = int8_t;
    using V8 = int8x8_t;
    using V16 = int8x16_t;
    using Acc = int32x4_t;
    static V16 load16(const T* p) { return vld1q_s8(p); }
    static V8 load8(const T* p) { return vld1_s8(p); }
    static V8 low(V16 v) { return vget_low_s8(v); }
    static V8 high(V16 v) { return vget_high_s8(v); }
    static Acc first(V8 a, V8 b) { return vpaddlq_s16(vmull_s8(a, b)); }
    static Acc add(Acc acc, V8 a, V8 b) { return vpadalq_s16(acc, vmull_s8(a, b)); }
    // Lanes 0..3 cleared, 4..7 kept.
    static V8 upperHalf(V8 v) { return vreinterpret_s8_u64(vshl_n_u64(vshr_n_u64(vreinterpret_u64_s8(v), 32), 32)); }
    static int32x4_t asSigned(Acc v) { return v; }
};
struct UnsignedLanes {
    using T = uint8_t;
    using V8 = uint8x8_t;
    using V16 = uint8x16_t;
    using Acc = uint32x4_t;
    static V16 load16(const T* p) { return vld1q_u8(p); }
    static V8 load8(const T* p) { return vld1_u8(p); }
    static V8 low(V16 v) { return vget_low_u8(v); }
    static V8 high(V16 v) { return vget_high_u8(v); }
    static Acc first(V8 a, V8 b) { return vpaddlq_u16(vmull_u8(a, b)); }
    static Acc add(Acc acc, V8 a, V8 b) { return vpadalq_u16(acc, vmull_u8(a, b)); }
    static V8 upperHalf(V8 v) { return vreinterpret_u8_u64(vshl_n_u64(vshr_n_u64(vreinterpret_u64_u8(v), 32), 32)); }
    static int32x4_t asSigned(Acc v) { return vreinterpretq_s32_u32(v); }
};

// Lane sums of A . X[i] for K vectors X of N elements (N a multiple of 16,
// or 16 k + 4).
template <class L, uint32_t N, uint32_t K>
OMBRIX_ALWAYS_INLINE void accumulate(const typename L::T* A, const typename L::T* const* X, typename L::Acc* acc) {
    static_assert(N % 16 == 0 || N % 16 == 4, "whole 16-byte blocks and at most a 4-byte tail");
    // Pointers stepped along with the blocks, so that every load advances
    // its own address; the block loop is unrolled completely.
    const typename L::T* x[K];
    for (uint32_t i = 0; i < K; ++i) x[i] = X[i];
    const typename L::T* a = A;
    typename L::V16 va = L::load16(a);
    for (uint32_t i = 0; i < K; ++i) {
        const typename L::V16 vx = L::load16(x[i]);
        acc[i] = L::add(L::first(L::low(va), L::low(vx)), L::high(va), L::high(vx));
    }
#pragma GCC unroll 8
    for (uint32_t c = 16; c + 16 <= N; c += 16) {
        a += 16;
        va = L::load16(a);
        for (uint32_t i = 0; i < K; ++i) {
            x[i] += 16;
            const typename L::V16 vx = L::load16(x[i]);
            acc[i] = L::add(L::add(acc[i], L::low(va), L::low(vx)), L::high(va), L::high(vx));
        }
    }
    if (N % 16 == 4) {
        const typename L::V8 tail = L::upperHalf(L::load8(a + 12));
        for (uint32_t i = 0; i < K; ++i) acc[i] = L::add(acc[i], tail, L::load8(x[i] + 12));
    }
}

// The four lane sums of four accumulators, in order, as one vector.
OMBRIX_ALWAYS_INLINE int32x4_t fourSums(const int32x4_t* acc) {
    const int32x2_t s01 = vpadd_s32(vadd_s32(vget_low_s32(acc[0]), vget_high_s32(acc[0])),
                                    vadd_s32(vget_low_s32(acc[1]), vget_high_s32(acc[1])));
    const int32x2_t s23 = vpadd_s32(vadd_s32(vget_low_s32(acc[2]), vget_high_s32(acc[2])),
                                    vadd_s32(vget_low_s32(acc[3]), vget_high_s32(acc[3])));
    return vcombine_s32(s01, s23);
}

template <class L, uint32_t N>
OMBRIX_ALWAYS_INLINE uint32_t one(const typename L::T* a, const typename L::T* b) {
    typename L::Acc acc[1];
    accumulate<L, N, 1>(a, &b, acc);
    return sumAcrossU32(vreinterpretq_u32_s32(L::asSigned(acc[0])));
}

template <class L, uint32_t N>
OMBRIX_ALWAYS_INLINE int32x4_t four(const typename L::T* A, const typename L::T* B, const typename L::T* C,
                                    const typename L::T* D, const typename L::T* E) {
    const typename L::T* const X[4] = {B, C, D, E};
    typename L::Acc acc[4];
    accumulate<L, N, 4>(A, X, acc);
    const int32x4_t sums[4] = {L::asSigned(acc[0]), L::asSigned(acc[1]), L::asSigned(acc[2]), L::asSigned(acc[3])};
    return fourSums(sums);
}

// ((float)dot * invLengthA) * invLengthsB[i], both products rounded as in
// the reference.
OMBRIX_ALWAYS_INLINE void storeScaled(float32x4_t dots, float invLengthA, const float* invLengthsB, float* out) {
    vst1q_f32(out, vmulq_f32(vmulq_n_f32(dots, invLengthA), vld1q_f32(invLengthsB)));
}

template <uint32_t N>
OMBRIX_ALWAYS_INLINE void normS8(const int8_t* A, float invLengthA, const int8_t* vB0, const int8_t* vB1,
                                 const int8_t* vB2, const int8_t* vB3, const float* invLengthsB, float* dotProducts) {
    OMBRIX_ASSERT(A && vB0 && vB1 && vB2 && vB3 && invLengthsB && dotProducts);
    storeScaled(vcvtq_f32_s32((four<SignedLanes, N>(A, vB0, vB1, vB2, vB3))), invLengthA, invLengthsB, dotProducts);
}
template <uint32_t N>
OMBRIX_ALWAYS_INLINE void normU8(const uint8_t* A, float invLengthA, const uint8_t* vB0, const uint8_t* vB1,
                                 const uint8_t* vB2, const uint8_t* vB3, const float* invLengthsB, float* dotProducts) {
    OMBRIX_ASSERT(A && vB0 && vB1 && vB2 && vB3 && invLengthsB && dotProducts);
    const uint32x4_t dots = vreinterpretq_u32_s32((four<UnsignedLanes, N>(A, vB0, vB1, vB2, vB3)));
    storeScaled(vcvtq_f32_u32(dots), invLengthA, invLengthsB, dotProducts);
}

// Any length: 16 elements per step, then the rest one by one.
template <class L>
OMBRIX_ALWAYS_INLINE uint32_t anyLength(const typename L::T* a, const typename L::T* b, uint32_t len,
                                        uint32_t (*rest)(const typename L::T*, const typename L::T*, uint32_t,
                                                         uint32_t)) {
    uint32_t i = 0, sum = 0;
    if (len >= 16) {
        typename L::Acc acc = L::add(L::first(L::low(L::load16(a)), L::low(L::load16(b))), L::high(L::load16(a)),
                                     L::high(L::load16(b)));
        for (i = 16; i + 16 <= len; i += 16) {
            const typename L::V16 x = L::load16(a + i), y = L::load16(b + i);
            acc = L::add(L::add(acc, L::low(x), L::low(y)), L::high(x), L::high(y));
        }
        sum = sumAcrossU32(vreinterpretq_u32_s32(L::asSigned(acc)));
    }
    return rest(a + i, b + i, len - i, sum);
}

uint32_t restS8(const int8_t* a, const int8_t* b, uint32_t len, uint32_t sum) { return dotS8(a, b, len, sum); }
uint32_t restU8(const uint8_t* a, const uint8_t* b, uint32_t len, uint32_t sum) { return dotU8(a, b, len, sum); }

// ---- 8x8 patch correlation ----------------------------------------------------------

struct Patch {
    uint8x8_t rows[8];
    explicit Patch(const uint8_t* ptch) {
        for (uint32_t v = 0; v < 8; ++v) rows[v] = vld1_u8(ptch + 8 * v);
    }
};

// Four neighbouring positions: per row, the 11 bytes from the block's left
// edge as two 8-byte loads (bytes 0..7 and 3..10), from which the rows
// starting at 1 and 2 are extracted.
OMBRIX_ALWAYS_INLINE void fourPositions(const Patch& p, const uint8_t* block, uint32_t stride, uint32_t* out) {
    uint32x4_t acc[4];
    for (uint32_t v = 0; v < 8; ++v, block += stride) {
        const uint8x8_t at0 = vld1_u8(block), at3 = vld1_u8(block + 3);
        const uint8x8_t from8 = vext_u8(at3, at3, 5);  // bytes 8, 9, 10 in lanes 0..2
        const uint8x8_t row[4] = {at0, vext_u8(at0, from8, 1), vext_u8(at0, from8, 2), at3};
        for (uint32_t k = 0; k < 4; ++k)
            acc[k] = v == 0 ? UnsignedLanes::first(p.rows[0], row[k]) : UnsignedLanes::add(acc[k], p.rows[v], row[k]);
    }
    const int32x4_t sums[4] = {vreinterpretq_s32_u32(acc[0]), vreinterpretq_s32_u32(acc[1]),
                               vreinterpretq_s32_u32(acc[2]), vreinterpretq_s32_u32(acc[3])};
    vst1q_u32(out, vreinterpretq_u32_s32(fourSums(sums)));
}

OMBRIX_ALWAYS_INLINE uint32_t onePosition(const Patch& p, const uint8_t* block, uint32_t stride) {
    uint32x4_t acc = UnsignedLanes::first(p.rows[0], vld1_u8(block));
    for (uint32_t v = 1; v < 8; ++v) acc = UnsignedLanes::add(acc, p.rows[v], vld1_u8(block + v * stride));
    return sumAcrossU32(acc);
}

OMBRIX_ALWAYS_INLINE void positions(const Patch& p, const uint8_t* block, uint32_t stride, uint32_t count,
                                    uint32_t* out) {
    uint32_t i = 0;
    for (; i + 4 <= count; i += 4) fourPositions(p, block + i, stride, out + i);
    for (; i < count; ++i) out[i] = onePosition(p, block + i, stride);
}

const uint8_t* blockAt(const uint8_t* img, uint32_t stride, uint32_t x, uint32_t y) {
    return img + (static_cast<ptrdiff_t>(y) - 4) * static_cast<ptrdiff_t>(stride) + (static_cast<ptrdiff_t>(x) - 4);
}

}  // namespace

int32_t obxDotProducts8V(const int8_t* a, const int8_t* b, uint32_t len) {
    OMBRIX_ASSERT(a && b);
    return static_cast<int32_t>(anyLength<SignedLanes>(a, b, len, restS8));
}

uint32_t obxDotProductu8V(const uint8_t* a, const uint8_t* b, uint32_t len) {
    OMBRIX_ASSERT(a && b);
    return anyLength<UnsignedLanes>(a, b, len, restU8);
}

int32_t obxDotProduct36x1s8V(const int8_t* a, const int8_t* b) {
    OMBRIX_ASSERT(a && b);
    return static_cast<int32_t>(one<SignedLanes, 36>(a, b));
}
int32_t obxDotProduct64x1s8V(const int8_t* a, const int8_t* b) {
    OMBRIX_ASSERT(a && b);
    return static_cast<int32_t>(one<SignedLanes, 64>(a, b));
}
int32_t obxDotProduct128x1s8V(const int8_t* a, const int8_t* b) {
    OMBRIX_ASSERT(a && b);
    return static_cast<int32_t>(one<SignedLanes, 128>(a, b));
}
uint32_t obxDotProduct36x1u8V(const uint8_t* a, const uint8_t* b) {
    OMBRIX_ASSERT(a && b);
    return one<UnsignedLanes, 36>(a, b);
}
uint32_t obxDotProduct64x1u8V(const uint8_t* a, const uint8_t* b) {
    OMBRIX_ASSERT(a && b);
    return one<UnsignedLanes, 64>(a, b);
}
uint32_t obxDotProduct128x1u8V(const uint8_t* a, const uint8_t* b) {
    OMBRIX_ASSERT(a && b);
    return one<UnsignedLanes, 128>(a, b);
}

void obxDotProduct36x4s8V(const int8_t* A, const int8_t* B, const int8_t* C, const int8_t* D, const int8_t* E,
                          int32_t* dotProducts) {
    OMBRIX_ASSERT(A && B && C && D && E);
    vst1q_s32(dotProducts, (four<SignedLanes, 36>(A, B, C, D, E)));
}
void obxDotProduct64x4s8V(const int8_t* A, const int8_t* B, const int8_t* C, const int8_t* D, const int8_t* E,
                          int32_t* dotProducts) {
    OMBRIX_ASSERT(A && B && C && D && E && dotProducts);
    vst1q_s32(dotProducts, (four<SignedLanes, 64>(A, B, C, D, E)));
}
void obxDotProduct128x4s8V(const int8_t* A, const int8_t* B, const int8_t* C, const int8_t* D, const int8_t* E,
                           int32_t* dotProducts) {
    OMBRIX_ASSERT(A && B && C && D && E && dotProducts);
    vst1q_s32(dotProducts, (four<SignedLanes, 128>(A, B, C, D, E)));
}
void obxDotProduct36x4u8V(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D, const uint8_t* E,
                          uint32_t* dotProducts) {
    OMBRIX_ASSERT(A && B && C && D && E && dotProducts);
    vst1q_u32(dotProducts, vreinterpretq_u32_s32((four<UnsignedLanes, 36>(A, B, C, D, E))));
}
void obxDotProduct64x4u8V(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D, const uint8_t* E,
                          uint32_t* dotProducts) {
    OMBRIX_ASSERT(A && B && C && D && E && dotProducts);
    vst1q_u32(dotProducts, vreinterpretq_u32_s32((four<UnsignedLanes, 64>(A, B, C, D, E))));
}
void obxDotProduct128x4u8V(const uint8_t* A, const uint8_t* B, const uint8_t* C, const uint8_t* D, const uint8_t* E,
                           uint32_t* dotProducts) {
    OMBRIX_ASSERT(A && B && C && D && E && dotProducts);
    vst1q_u32(dotProducts, vreinterpretq_u32_s32((four<UnsignedLanes, 128>(A, B, C, D, E))));
}

void obxDotProductNorm36x4s8V(const int8_t* A, float invLengthA, const int8_t* vB0, const int8_t* vB1,
                              const int8_t* vB2, const int8_t* vB3, const float* invLengthsB, float* dotProducts) {
    normS8<36>(A, invLengthA, vB0, vB1, vB2, vB3, invLengthsB, dotProducts);
}
void obxDotProductNorm64x4s8V(const int8_t* A, float invLengthA, const int8_t* vB0, const int8_t* vB1,
                              const int8_t* vB2, const int8_t* vB3, const float* invLengthsB, float* dotProducts) {
    normS8<64>(A, invLengthA, vB0, vB1, vB2, vB3, invLengthsB, dotProducts);
}
void obxDotProductNorm128x4s8V(const int8_t* A, float invLengthA, const int8_t* vB0, const int8_t* vB1,
                               const int8_t* vB2, const int8_t* vB3, const float* invLengthsB, float* dotProducts) {
    normS8<128>(A, invLengthA, vB0, vB1, vB2, vB3, invLengthsB, dotProducts);
}
void obxDotProductNorm36x4u8V(const uint8_t* A, float invLengthA, const uint8_t* vB0, const uint8_t* vB1,
                              const uint8_t* vB2, const uint8_t* vB3, const float* invLengthsB, float* dotProducts) {
    normU8<36>(A, invLengthA, vB0, vB1, vB2, vB3, invLengthsB, dotProducts);
}
void obxDotProductNorm64x4u8V(const uint8_t* A, float invLengthA, const uint8_t* vB0, const uint8_t* vB1,
                              const uint8_t* vB2, const uint8_t* vB3, const float* invLengthsB, float* dotProducts) {
    normU8<64>(A, invLengthA, vB0, vB1, vB2, vB3, invLengthsB, dotProducts);
}
void obxDotProductNorm128x4u8V(const uint8_t* A, float invLengthA, const uint8_t* vB0, const uint8_t* vB1,
                               const uint8_t* vB2, const uint8_t* vB3, const float* invLengthsB, float* dotProducts) {
    normU8<128>(A, invLengthA, vB0, vB1, vB2, vB3, invLengthsB, dotProducts);
}

void obxDotProduct8x8u8V(const uint8_t* ptch, const uint8_t* img, uint32_t imgW, uint32_t imgH, uint32_t nX,
                         uint32_t nY, uint32_t nNum, uint32_t* dotProducts) {
    OMBRIX_ASSERT(ptch && img && dotProducts && imgW && imgH);
    const Patch p(ptch);
    positions(p, blockAt(img, imgW, nX, nY), imgW, nNum, dotProducts);
}

// Every one of the 132 outputs is written, which clears them as well.
void obxDotProduct11x12u8V(const uint8_t* ptch, const uint8_t* img, uint32_t imgW, uint32_t imgH, uint32_t nX,
                           uint32_t nY, uint32_t* dotProducts) {
    OMBRIX_ASSERT(ptch && img && dotProducts && imgW && imgH);
    const Patch p(ptch);
    const uint8_t* block = blockAt(img, imgW, nX, nY);
    for (uint32_t dy = 0; dy < 11; ++dy, block += imgW) positions(p, block, imgW, 12, dotProducts + 12 * dy);
}
