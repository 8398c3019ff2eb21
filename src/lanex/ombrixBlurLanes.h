// The separable driver of the vector binomial filters. A kernel class K
// supplies the two stages for one element type and radius, on blocks of
// columns held in registers:
//
//   K::Pixel, K::R         image element, radius
//   K::kLanes              columns per block
//   K::kRowsPerPass        output rows formed from one pass of loads
//   K::Vec, K::load(p)     a row's kLanes pixels, loaded from p
//   K::Cols                the column sums of one block
//   K::columns(rows)       vertical kernel of a block from its pixels in
//                          the source rows rows[0 .. 2R]
//   K::outputs(c, n, out)  horizontal kernel: out[0 .. kLanes-1] from the
//                          column sums of block c and the first 2R of the
//                          block n that follows it
//
// Each interior row runs along the blocks: the column sums of a block are
// formed once and serve as the current block, then as the right neighbour
// of the one before. The last outputs, which the next full block would read
// past the row, come from blocks that end at the row's end (overlapping
// backwards, rewriting equal values), their neighbours' columns moved down
// from a load ending at the row's last pixel. Rows with fewer interior
// columns than one block use the reference's scalar arithmetic. Nothing
// outside the interior columns of the interior rows is read past the image
// or written.
#ifndef OMBRIX_BLUR_LANES_H
#define OMBRIX_BLUR_LANES_H

#include <stddef.h>
#include <stdint.h>

#include "../cpu/ombrixBlurScalar.h"
#include "ombrixBlurBorderLanes.h"
#include "ombrixNeon.h"

namespace ombrix_blur {

// ---- Widening and narrowing on whole q registers ----------------------------------
//
// The widening helpers turn all lanes of their 128-bit inputs into a pair of
// 128-bit results (low half, high half); the narrowing helpers shift two
// q registers right and keep the low half of every lane, in order. ARM has
// fused instructions on d registers for both; on hosts, where SIMDe
// emulates the 64-bit vector types at a high cost, the same values are
// formed from 128-bit interleaves (with zero) and de-interleaves.

#if defined(__ARM_NEON) || defined(__ARM_NEON__)

static inline uint16x8x2_t widenU8(uint8x16_t a) {
    return {{vmovl_u8(vget_low_u8(a)), vmovl_u8(vget_high_u8(a))}};
}
static inline uint16x8x2_t addWideU8(uint8x16_t a, uint8x16_t b) {
    return {{vaddl_u8(vget_low_u8(a), vget_low_u8(b)), vaddl_u8(vget_high_u8(a), vget_high_u8(b))}};
}
static inline uint32x4x2_t widenU16(uint16x8_t a) {
    return {{vmovl_u16(vget_low_u16(a)), vmovl_u16(vget_high_u16(a))}};
}
static inline int32x4x2_t widenS16(int16x8_t a) {
    return {{vmovl_s16(vget_low_s16(a)), vmovl_s16(vget_high_s16(a))}};
}
// acc + a * n, a widened from u16, with n in lane 0 of `k`: held in a
// register, where the scalar form gets n moved into a lane on every use.
static inline uint32x4x2_t mlaWideU16(uint32x4x2_t acc, uint16x8_t a, uint16x4_t k) {
    return {{vmlal_lane_u16(acc.val[0], vget_low_u16(a), k, 0), vmlal_lane_u16(acc.val[1], vget_high_u16(a), k, 0)}};
}
template <int N>
static inline uint8x16_t shiftNarrowU16(uint16x8_t a, uint16x8_t b) {
    return vcombine_u8(vshrn_n_u16(a, N), vshrn_n_u16(b, N));
}
static inline uint8x16_t narrowU16(uint16x8_t a, uint16x8_t b) {
    return vcombine_u8(vmovn_u16(a), vmovn_u16(b));
}
static inline uint16x8_t narrowU32(uint32x4_t a, uint32x4_t b) {
    return vcombine_u16(vmovn_u32(a), vmovn_u32(b));
}
// acc + a * k[L], the multiplier a lane of a register.
template <int L>
static inline uint16x8_t mlaLane(uint16x8_t acc, uint16x8_t a, uint16x4_t k) {
    return vmlaq_lane_u16(acc, a, k, L);
}
template <int L>
static inline uint32x4_t mlaLane(uint32x4_t acc, uint32x4_t a, uint32x2_t k) {
    return vmlaq_lane_u32(acc, a, k, L);
}
// acc + a * n, a widened from u8.
static inline uint16x8x2_t mlaWideU8(uint16x8x2_t acc, uint8x16_t a, uint8_t n) {
    const uint8x8_t k = vdup_n_u8(n);
    return {{vmlal_u8(acc.val[0], vget_low_u8(a), k), vmlal_u8(acc.val[1], vget_high_u8(a), k)}};
}
template <int N>
static inline uint16x8_t shiftNarrowU32(uint32x4_t a, uint32x4_t b) {
    return vcombine_u16(vshrn_n_u32(a, N), vshrn_n_u32(b, N));
}

#else

static inline uint16x8x2_t widenU8(uint8x16_t a) {
    const uint8x16x2_t z = vzipq_u8(a, vdupq_n_u8(0));
    return {{vreinterpretq_u16_u8(z.val[0]), vreinterpretq_u16_u8(z.val[1])}};
}
static inline uint16x8x2_t addWideU8(uint8x16_t a, uint8x16_t b) {
    const uint16x8x2_t wa = widenU8(a), wb = widenU8(b);
    return {{vaddq_u16(wa.val[0], wb.val[0]), vaddq_u16(wa.val[1], wb.val[1])}};
}
static inline uint32x4x2_t widenU16(uint16x8_t a) {
    const uint16x8x2_t z = vzipq_u16(a, vdupq_n_u16(0));
    return {{vreinterpretq_u32_u16(z.val[0]), vreinterpretq_u32_u16(z.val[1])}};
}
// Sign extension: each s16 lands in the top half of an s32 lane, then an
// arithmetic shift brings it down.
static inline int32x4x2_t widenS16(int16x8_t a) {
    const int16x8x2_t z = vzipq_s16(vdupq_n_s16(0), a);
    return {{vshrq_n_s32(vreinterpretq_s32_s16(z.val[0]), 16), vshrq_n_s32(vreinterpretq_s32_s16(z.val[1]), 16)}};
}
static inline uint32x4x2_t mlaWideU16(uint32x4x2_t acc, uint16x8_t a, uint16x4_t k) {
    const uint32x4x2_t wa = widenU16(a);
    const uint16_t n = vget_lane_u16(k, 0);
    return {{vmlaq_n_u32(acc.val[0], wa.val[0], n), vmlaq_n_u32(acc.val[1], wa.val[1], n)}};
}
static inline uint8x16_t narrowU16(uint16x8_t a, uint16x8_t b) {
    return vuzpq_u8(vreinterpretq_u8_u16(a), vreinterpretq_u8_u16(b)).val[0];
}
template <int N>
static inline uint8x16_t shiftNarrowU16(uint16x8_t a, uint16x8_t b) {
    return narrowU16(vshrq_n_u16(a, N), vshrq_n_u16(b, N));
}
static inline uint16x8_t narrowU32(uint32x4_t a, uint32x4_t b) {
    return vuzpq_u16(vreinterpretq_u16_u32(a), vreinterpretq_u16_u32(b)).val[0];
}
template <int L>
static inline uint16x8_t mlaLane(uint16x8_t acc, uint16x8_t a, uint16x4_t k) {
    return vmlaq_n_u16(acc, a, vget_lane_u16(k, L));
}
template <int L>
static inline uint32x4_t mlaLane(uint32x4_t acc, uint32x4_t a, uint32x2_t k) {
    return vmlaq_n_u32(acc, a, vget_lane_u32(k, L));
}
static inline uint16x8x2_t mlaWideU8(uint16x8x2_t acc, uint8x16_t a, uint8_t n) {
    const uint16x8x2_t wa = widenU8(a);
    return {{vmlaq_n_u16(acc.val[0], wa.val[0], n), vmlaq_n_u16(acc.val[1], wa.val[1], n)}};
}
template <int N>
static inline uint16x8_t shiftNarrowU32(uint32x4_t a, uint32x4_t b) {
    return narrowU32(vshrq_n_u32(a, N), vshrq_n_u32(b, N));
}

#endif

// Runs vector(i) over [0, count) in steps of `lanes`, the last step moved
// back to end at count, or scalar(i) for each i when count < lanes.
template <typename Vector, typename Scalar>
static inline void forEachStep(ptrdiff_t count, ptrdiff_t lanes, Vector vector, Scalar scalar) {
    if (count < lanes) {
        for (ptrdiff_t i = 0; i < count; ++i) scalar(i);
        return;
    }
    ptrdiff_t i = 0;
    for (; i + lanes <= count; i += lanes) vector(i);
    if (i < count) vector(count - lanes);
}

// The pixels of a vector with their lanes moved down by N (lanes N.. first):
// the block that starts N columns after the one loaded.
template <int N>
static inline uint8x16_t lanesFrom(uint8x16_t v) {
    return vextq_u8(v, v, N);
}
// Blocks held as their even and odd columns move down by N / 2 lanes each.
template <int N>
static inline uint8x8x2_t lanesFrom(uint8x8x2_t v) {
    static_assert(N % 2 == 0, "a block of planes moves by whole pairs of columns");
    return {{vext_u8(v.val[0], v.val[0], N / 2), vext_u8(v.val[1], v.val[1], N / 2)}};
}
template <int N>
static inline int16x4x2_t lanesFrom(int16x4x2_t v) {
    static_assert(N % 2 == 0, "a block of planes moves by whole pairs of columns");
    return {{vext_s16(v.val[0], v.val[0], N / 2), vext_s16(v.val[1], v.val[1], N / 2)}};
}
template <int N>
static inline uint32x4_t lanesFrom(uint32x4_t v) {
    return vextq_u32(v, v, N);
}

// Hides a pointer's value from the optimiser, which would otherwise turn a
// walking address back into a base plus one offset register per row.
template <typename T>
static OMBRIX_ALWAYS_INLINE void opaque(T*& p) {
    __asm__("" : "+r"(p));
}

// The column sums of one block for Rows consecutive output rows.
template <class K, int Rows>
struct Blocks {
    typename K::Cols row[Rows];
};

// Column sums of the block whose source row 0 starts at p, for output rows
// 0 .. Rows-1, each source row's pixels passed through `take` first. The
// 2R + Rows source rows are loaded once, in order, p stepping `down` (the
// stride) after each row but the last and `up` after it, so that one
// address walks a row of blocks without extra arithmetic.
template <class K, int Rows, class Take>
static OMBRIX_ALWAYS_INLINE Blocks<K, Rows> columnsStep(const typename K::Pixel*& p, ptrdiff_t down, ptrdiff_t up,
                                                       Take take) {
    constexpr int kRows = 2 * K::R + Rows;
    typename K::Vec rows[kRows];
    for (int j = 0; j < kRows; ++j) {
        rows[j] = take(K::load(p));
        p += j + 1 < kRows ? down : up;
        opaque(p);
    }
    Blocks<K, Rows> sums;
    for (int r = 0; r < Rows; ++r) sums.row[r] = K::columns(rows + r);
    return sums;
}
template <class K, int Rows>
static OMBRIX_ALWAYS_INLINE Blocks<K, Rows> columnsAt(const typename K::Pixel* p, ptrdiff_t stride) {
    return columnsStep<K, Rows>(p, stride, 0, [](typename K::Vec v) { return v; });
}

// The same, exact in the first 2R lanes only, reading nothing at or after
// p + 2R: the pixels come from the block ending there, moved down.
template <class K, int Rows>
static OMBRIX_ALWAYS_INLINE Blocks<K, Rows> leadingColumnsAt(const typename K::Pixel* p, ptrdiff_t stride) {
    constexpr int kBack = static_cast<int>(K::kLanes) - 2 * K::R;
    p -= kBack;
    return columnsStep<K, Rows>(p, stride, 0, [](typename K::Vec v) { return lanesFrom<kBack>(v); });
}

template <class K, int Rows>
static OMBRIX_ALWAYS_INLINE void outputsOfRows(const Blocks<K, Rows>& current, const Blocks<K, Rows>& next,
                                               typename K::Pixel* const* out) {
    for (int r = 0; r < Rows; ++r) K::outputs(current.row[r], next.row[r], out[r]);
}

// Rows consecutive interior rows of at least kLanes outputs each: out[r][x]
// from source columns x .. x+2R of the rows from src + r * stride on.
template <class K, int Rows>
static OMBRIX_ALWAYS_INLINE void blurRowsVector(const typename K::Pixel* src, ptrdiff_t stride, ptrdiff_t interior,
                                                typename K::Pixel* const* out) {
    using Pixel = typename K::Pixel;
    using Sums = Blocks<K, Rows>;
    constexpr ptrdiff_t kLanes = K::kLanes;
    const auto same = [](typename K::Vec v) { return v; };
    const ptrdiff_t up = kLanes - (2 * K::R + Rows - 1) * stride;
    // Blocks after the first that lie wholly inside the row: each completes
    // the outputs of the block before it.
    const ptrdiff_t following = (interior + 2 * K::R) / kLanes - 1;
    const Pixel* p = src;
    Pixel* o[Rows];
    for (int r = 0; r < Rows; ++r) o[r] = out[r];
    const auto advance = [&o] {
        for (int r = 0; r < Rows; ++r) {
            o[r] += kLanes;
            opaque(o[r]);
        }
    };
    Sums current = columnsStep<K, Rows>(p, stride, up, same);
    // Two blocks a step, so that the column sums stay in their registers.
    for (ptrdiff_t i = following / 2; i > 0; --i) {
        const Sums next = columnsStep<K, Rows>(p, stride, up, same);
        outputsOfRows<K, Rows>(current, next, o);
        advance();
        current = columnsStep<K, Rows>(p, stride, up, same);
        outputsOfRows<K, Rows>(next, current, o);
        advance();
    }
    if (following % 2) {
        const Sums next = columnsStep<K, Rows>(p, stride, up, same);
        outputsOfRows<K, Rows>(current, next, o);
        current = next;
    }
    // Fewer than 2 kLanes - 2R outputs remain: the block at x if they fill
    // it, and the block ending at the last output.
    for (ptrdiff_t x = following * kLanes; x < interior; x += kLanes) {
        if (x + kLanes > interior) {
            x = interior - kLanes;
            current = columnsAt<K, Rows>(src + x, stride);
        }
        for (int r = 0; r < Rows; ++r) o[r] = out[r] + x;
        outputsOfRows<K, Rows>(current, leadingColumnsAt<K, Rows>(src + x + kLanes, stride), o);
    }
}

// The interior: K::kRowsPerPass rows at a time sharing their source rows'
// loads, then the rows left one at a time.
template <class K>
static void blurInteriorVector(const typename K::Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride,
                               typename K::Pixel* dst, uint32_t dstStride) {
    using Pixel = typename K::Pixel;
    constexpr int R = K::R, kRows = K::kRowsPerPass;
    const ptrdiff_t interior = interiorWidth(width, R);
    if (interior <= 0 || height <= 2u * R) return;
    if (interior < K::kLanes) {
        for (uint32_t y = R; y + R < height; ++y) {
            const Pixel* rows[2 * R + 1];
            for (int j = 0; j <= 2 * R; ++j) rows[j] = rowAt(src, srcStride, y - R + j);
            Pixel* out = rowAt(dst, dstStride, y) + R;
            uint32_t cols[K::kLanes + 2 * R];
            for (ptrdiff_t i = 0; i < interior + 2 * R; ++i) cols[i] = columnSum<Pixel, R>(rows, i);
            for (ptrdiff_t i = 0; i < interior; ++i)
                out[i] = normaliseShift<Pixel>(rowSum<R>(cols + i), Binomial<R>::shift);
        }
        return;
    }
    uint32_t y = R;
    for (; y + R + kRows <= height; y += kRows) {
        Pixel* out[kRows];
        for (int r = 0; r < kRows; ++r) out[r] = rowAt(dst, dstStride, y + r) + R;
        blurRowsVector<K, kRows>(rowAt(src, srcStride, y - R), srcStride, interior, out);
    }
    for (; y + R < height; ++y) {
        Pixel* const out = rowAt(dst, dstStride, y) + R;
        blurRowsVector<K, 1>(rowAt(src, srcStride, y - R), srcStride, interior, &out);
    }
}

// A whole vector filter: the vector interior, then the vector border
// (ombrixBlurBorderLanes.h) when blurBorder is 1.
template <class K>
static void blurVector(const typename K::Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride,
                       typename K::Pixel* dst, uint32_t dstStride, uint32_t blurBorder) {
    blurInteriorVector<K>(src, width, height, srcStride, dst, dstStride);
    if (blurBorder == 1) blurBorderVector<typename K::Pixel, K::R>(src, width, height, srcStride, dst, dstStride);
}

}  // namespace ombrix_blur

#endif  // OMBRIX_BLUR_LANES_H
