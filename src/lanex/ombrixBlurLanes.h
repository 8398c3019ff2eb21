// The separable driver of the vector binomial filters. A kernel class K
// supplies the two stages for one element type and radius:
//
//   K::Pixel, K::Mid       image element, column-sum element
//   K::R                   radius
//   K::kColumnLanes        columns per call of K::columns
//   K::kOutputLanes        outputs per call of K::outputs
//   K::columns(rows, x, mid)   vertical kernel of columns x .. x+kColumnLanes-1
//   K::column(rows, x)         the same for one column
//   K::outputs(mid, out)       horizontal kernel: out[j] from mid[j .. j+2R]
//   K::output(mid)             the same for one output
//
// Each interior row is done in chunks: the column sums of the chunk go to a
// stack buffer, then the horizontal kernel reads them back. A stage whose
// count is not a multiple of its lanes finishes with one step overlapping the
// previous one backwards (it rewrites equal values); counts below one step
// use the scalar forms, which compute the same formula. Nothing outside the
// interior columns of the interior rows is read past the image or written.
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
static inline int32x4x2_t addWideS16(int16x8_t a, int16x8_t b) {
    return {{vaddl_s16(vget_low_s16(a), vget_low_s16(b)), vaddl_s16(vget_high_s16(a), vget_high_s16(b))}};
}
// acc + a * n, a widened from u16.
static inline uint32x4x2_t mlaWideU16(uint32x4x2_t acc, uint16x8_t a, uint16_t n) {
    return {{vmlal_n_u16(acc.val[0], vget_low_u16(a), n), vmlal_n_u16(acc.val[1], vget_high_u16(a), n)}};
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
template <int N>
static inline int16x8_t shiftNarrowS32(int32x4_t a, int32x4_t b) {
    return vcombine_s16(vshrn_n_s32(a, N), vshrn_n_s32(b, N));
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
static inline int32x4x2_t addWideS16(int16x8_t a, int16x8_t b) {
    const int32x4x2_t wa = widenS16(a), wb = widenS16(b);
    return {{vaddq_s32(wa.val[0], wb.val[0]), vaddq_s32(wa.val[1], wb.val[1])}};
}
static inline uint32x4x2_t mlaWideU16(uint32x4x2_t acc, uint16x8_t a, uint16_t n) {
    const uint32x4x2_t wa = widenU16(a);
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
template <int N>
static inline int16x8_t shiftNarrowS32(int32x4_t a, int32x4_t b) {
    return vuzpq_s16(vreinterpretq_s16_s32(vshrq_n_s32(a, N)), vreinterpretq_s16_s32(vshrq_n_s32(b, N))).val[0];
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

template <class K>
static void blurInteriorVector(const typename K::Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride,
                               typename K::Pixel* dst, uint32_t dstStride) {
    using Pixel = typename K::Pixel;
    constexpr int R = K::R;
    constexpr ptrdiff_t kChunk = 256;
    const ptrdiff_t interior = interiorWidth(width, R);
    if (interior <= 0 || height <= 2u * R) return;
    typename K::Mid mid[kChunk + 2 * R];
    for (uint32_t y = R; y + R < height; ++y) {
        const Pixel* rows[2 * R + 1];
        for (int j = 0; j <= 2 * R; ++j) rows[j] = rowAt(src, srcStride, y - R + j);
        Pixel* out = rowAt(dst, dstStride, y) + R;
        for (ptrdiff_t start = 0; start < interior; start += kChunk) {
            const ptrdiff_t count = interior - start < kChunk ? interior - start : kChunk;
            // Output column R + start + j needs source columns start + j .. start + j + 2R.
            forEachStep(
                count + 2 * R, K::kColumnLanes, [&](ptrdiff_t i) { K::columns(rows, start + i, mid + i); },
                [&](ptrdiff_t i) { mid[i] = K::column(rows, start + i); });
            forEachStep(
                count, K::kOutputLanes, [&](ptrdiff_t j) { K::outputs(mid + j, out + start + j); },
                [&](ptrdiff_t j) { out[start + j] = K::output(mid + j); });
        }
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

namespace {

// The scalar forms of both stages, the reference's arithmetic, for a kernel
// whose column sums are stored as Mid (wide enough for every column sum, or
// uint32_t holding them modulo 2^32). In an unnamed namespace, like the
// kernels built on it, so that its NEON-compiled members stay in this object.
template <typename PixelType, int Radius, typename MidType>
struct ScalarStages {
    using Pixel = PixelType;
    using Mid = MidType;
    static constexpr int R = Radius;
    static Mid column(const Pixel* const* rows, ptrdiff_t x) {
        return static_cast<Mid>(columnSum<Pixel, R>(rows, x));
    }
    static Pixel output(const Mid* mid) { return normaliseShift<Pixel>(rowSum<R>(mid), Binomial<R>::shift); }
};

}  // namespace

}  // namespace ombrix_blur

#endif  // OMBRIX_BLUR_LANES_H
