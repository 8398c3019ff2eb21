// Vector variants of the downscalers and the Gaussian 2x up-scaler. Each
// covers a row with whole vector steps, the last one moved back to end at
// the row's end (outputs depend on the source only, so the overlap writes
// the same values twice), and leaves borders and rows too short for one step
// to the scalar code the references are built from.
#include <string.h>

#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"
#include "ombrixScaleScalar.h"

namespace {

using namespace ombrix_scale;

// Calls step(x) for x = begin, begin + N, ... while a whole step fits before
// end, then once at end - N if outputs remain. Returns false, calling
// nothing, when [begin, end) is shorter than one step.
template <uint32_t N, typename Step>
OMBRIX_ALWAYS_INLINE bool coverRow(uint32_t begin, uint32_t end, Step step) {
    if (end < begin + N) return false;
    uint32_t x = begin;
    for (; x + N <= end; x += N) step(x);
    if (x < end) step(end - N);
    return true;
}

// ---- Box reductions -------------------------------------------------------------------

// Sixteen 2x2 sums: pairwise sums of the first row, the second row's pairs
// added on, both in u16.
OMBRIX_ALWAYS_INLINE void box2Step(const uint8_t* r0, const uint8_t* r1, uint8_t* out) {
    const uint16x8_t low = vpadalq_u8(vpaddlq_u8(vld1q_u8(r0)), vld1q_u8(r1));
    const uint16x8_t high = vpadalq_u8(vpaddlq_u8(vld1q_u8(r0 + 16)), vld1q_u8(r1 + 16));
    vst1q_u8(out, vcombine_u8(vshrn_n_u16(low, 2), vshrn_n_u16(high, 2)));
}

void box2Row(const uint8_t* r0, const uint8_t* r1, uint8_t* out, uint32_t outputs) {
    const auto step = [=](uint32_t x) { box2Step(r0 + 2 * x, r1 + 2 * x, out + x); };
    if (!coverRow<16>(0, outputs, step)) boxRow2(r0, r1, out, 0, outputs);
}

// Eight 4x4 sums: pairwise sums of four rows accumulated in u16 (at most
// 8 * 255 each), then adjacent pairs added.
OMBRIX_ALWAYS_INLINE void box4Step(const uint8_t* const* rows, uint32_t at, uint8_t* out) {
    uint16x8_t pairs[2];
    for (int q = 0; q < 2; ++q) {
        pairs[q] = vpaddlq_u8(vld1q_u8(rows[0] + at + 16 * q));
        for (int j = 1; j < 4; ++j) pairs[q] = vpadalq_u8(pairs[q], vld1q_u8(rows[j] + at + 16 * q));
    }
    const uint16x8_t sums = vcombine_u16(vpadd_u16(vget_low_u16(pairs[0]), vget_high_u16(pairs[0])),
                                         vpadd_u16(vget_low_u16(pairs[1]), vget_high_u16(pairs[1])));
    vst1_u8(out, vshrn_n_u16(sums, 4));
}

// ---- Gaussian 5x5 reduction by 2 ---------------------------------------------------------
//
// A block of N outputs x .. x+N-1 needs the column sums of source columns
// 2x-2 .. 2x+2N. Even and odd columns are summed apart, so that E[k] and
// O[k] are the column sums of columns 2k and 2k+1 and output x is
// E[x-1] + 4 O[x-1] + 6 E[x] + 4 O[x] + E[x+1]. Along a row each block's
// second half comes from the next block's load; where that load would pass
// the row's end, blocks load their three shifted sets of columns themselves.

// u8: column sums and 2-D sums (at most 256 * 255) fit u16 lanes.
struct GaussianU8 {
    using Pixel = uint8_t;
    static constexpr uint32_t N = 8;
    struct Cols {
        uint16x8_t even, odd;
    };
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
    // ARM: vld2 splits even and odd columns as it loads, and the widening
    // adds take them as bytes.
    static OMBRIX_ALWAYS_INLINE Cols columns(const uint8_t* const* rows, uint32_t at) {
        uint8x8x2_t r[5];
        for (int j = 0; j < 5; ++j) r[j] = vld2_u8(rows[j] + at);
        uint16x8_t sums[2];
        for (int h = 0; h < 2; ++h) {
            const uint16x8_t outer = vaddl_u8(r[0].val[h], r[4].val[h]), inner = vaddl_u8(r[1].val[h], r[3].val[h]);
            sums[h] = vmlal_u8(mlaConst(outer, inner, 4), r[2].val[h], vdup_n_u8(6));
        }
        return {sums[0], sums[1]};
    }
#else
    // Hosts: SIMDe translates vld2 and the 8-lane widening forms into
    // several shuffles each; a 16-byte load read as u16 lanes gives the even
    // columns in the low bytes and the odd ones in the high bytes, split by
    // a mask and a shift.
    static OMBRIX_ALWAYS_INLINE Cols columns(const uint8_t* const* rows, uint32_t at) {
        uint16x8_t r[2][5];
        for (int j = 0; j < 5; ++j) {
            const uint16x8_t pairs = vreinterpretq_u16_u8(vld1q_u8(rows[j] + at));
            r[0][j] = vandq_u16(pairs, vdupq_n_u16(0xFF));
            r[1][j] = vshrq_n_u16(pairs, 8);
        }
        uint16x8_t sums[2];
        for (int h = 0; h < 2; ++h) {
            const uint16x8_t outer = vaddq_u16(r[h][0], r[h][4]), inner = vaddq_u16(r[h][1], r[h][3]);
            sums[h] = mlaConst(mlaConst(outer, inner, 4), r[h][2], 6);
        }
        return {sums[0], sums[1]};
    }
#endif
    template <int K>
    static OMBRIX_ALWAYS_INLINE uint16x8_t ext(uint16x8_t a, uint16x8_t b) {
        return vextq_u16(a, b, K);
    }
    static OMBRIX_ALWAYS_INLINE uint16x8_t horizontal(uint16x8_t evenBefore, uint16x8_t oddBefore, uint16x8_t even,
                                                      uint16x8_t odd, uint16x8_t evenAfter) {
        return mlaConst(mlaConst(vaddq_u16(evenBefore, evenAfter), vaddq_u16(oddBefore, odd), 4), even, 6);
    }
    static OMBRIX_ALWAYS_INLINE void outputs(uint16x8_t evenBefore, uint16x8_t oddBefore, uint16x8_t even,
                                             uint16x8_t odd, uint16x8_t evenAfter, uint8_t* out) {
        const uint16x8_t sum = horizontal(evenBefore, oddBefore, even, odd, evenAfter);
        vst1_u8(out, vrshrn_n_u16(sum, 8));  // (sum + 128) >> 8
    }

    // Border rows: the rows present with their weights (0 for rows outside
    // the image, whose pointers are any row of it).
    static OMBRIX_ALWAYS_INLINE Cols borderColumns(const uint8_t* const* rows, const uint32_t* weights, uint32_t at) {
        uint16x8_t sums[2] = {vdupq_n_u16(0), vdupq_n_u16(0)};
        for (int j = 0; j < 5; ++j) {
            const uint8x8x2_t r = vld2_u8(rows[j] + at);
            const uint8x8_t weight = vdup_n_u8(static_cast<uint8_t>(weights[j]));
            for (int h = 0; h < 2; ++h) sums[h] = vmlal_u8(sums[h], r.val[h], weight);
        }
        return {sums[0], sums[1]};
    }
    // floor(0.5 + sum * r) with r = reciprocal * 2^-31 exactly: (sum *
    // reciprocal + 2^30) >> 31, see borderReciprocalQ31().
    static OMBRIX_ALWAYS_INLINE void borderOutputs(uint16x8_t evenBefore, uint16x8_t oddBefore, uint16x8_t even,
                                                   uint16x8_t odd, uint16x8_t evenAfter, uint32_t reciprocal,
                                                   uint8_t* out) {
        const uint16x8_t sum = horizontal(evenBefore, oddBefore, even, odd, evenAfter);
        const uint32x2_t r = vdup_n_u32(reciprocal);
        const uint32x4_t low = vmovl_u16(vget_low_u16(sum)), high = vmovl_u16(vget_high_u16(sum));
        const uint32x4_t lowResults = vcombine_u32(vrshrn_n_u64(vmull_u32(vget_low_u32(low), r), 31),
                                                   vrshrn_n_u64(vmull_u32(vget_high_u32(low), r), 31));
        const uint32x4_t highResults = vcombine_u32(vrshrn_n_u64(vmull_u32(vget_low_u32(high), r), 31),
                                                    vrshrn_n_u64(vmull_u32(vget_high_u32(high), r), 31));
        vst1_u8(out, vmovn_u16(vcombine_u16(vmovn_u32(lowResults), vmovn_u32(highResults))));
    }
};

// f32: binomial5() in lanes, the reference's association and roundings.
struct GaussianF32 {
    using Pixel = float;
    static constexpr uint32_t N = 4;
    struct Cols {
        float32x4_t even, odd;
    };
    static OMBRIX_ALWAYS_INLINE float32x4_t binomial(float32x4_t t0, float32x4_t t1, float32x4_t t2, float32x4_t t3,
                                                     float32x4_t t4) {
        const float32x4_t outer = vaddq_f32(vaddq_f32(t0, t4), vaddq_f32(t2, t2));
        return vaddq_f32(outer, vmulq_n_f32(vaddq_f32(vaddq_f32(t1, t3), t2), 4.0f));
    }
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
    // ARM: vld2 splits even and odd columns as it loads.
    static OMBRIX_ALWAYS_INLINE Cols columns(const float* const* rows, uint32_t at) {
        float32x4x2_t r[5];
        for (int j = 0; j < 5; ++j) r[j] = vld2q_f32(rows[j] + at);
        float32x4_t sums[2];
        for (int h = 0; h < 2; ++h)
            sums[h] = binomial(r[0].val[h], r[1].val[h], r[2].val[h], r[3].val[h], r[4].val[h]);
        return {sums[0], sums[1]};
    }
#else
    // Hosts: SIMDe makes each vld2 two loads and two shuffles. The column
    // sums of the eight columns in order take the same additions lane by
    // lane, so they are formed from plain loads and split once.
    static OMBRIX_ALWAYS_INLINE Cols columns(const float* const* rows, uint32_t at) {
        float32x4_t sums[2];
        for (int h = 0; h < 2; ++h) {
            float32x4_t r[5];
            for (int j = 0; j < 5; ++j) r[j] = vld1q_f32(rows[j] + at + 4 * h);
            sums[h] = binomial(r[0], r[1], r[2], r[3], r[4]);
        }
        const float32x4x2_t split = vuzpq_f32(sums[0], sums[1]);
        return {split.val[0], split.val[1]};
    }
#endif
    template <int K>
    static OMBRIX_ALWAYS_INLINE float32x4_t ext(float32x4_t a, float32x4_t b) {
        return vextq_f32(a, b, K);
    }
    static OMBRIX_ALWAYS_INLINE void outputs(float32x4_t evenBefore, float32x4_t oddBefore, float32x4_t even,
                                             float32x4_t odd, float32x4_t evenAfter, float* out) {
        vst1q_f32(out, vmulq_n_f32(binomial(evenBefore, oddBefore, even, odd, evenAfter), 0.00390625f));
    }

    // Border rows: rows outside the image enter as 0, as in the reference.
    static OMBRIX_ALWAYS_INLINE Cols borderColumns(const float* const* rows, const uint32_t* weights, uint32_t at) {
        float32x4x2_t r[5];
        for (int j = 0; j < 5; ++j) {
            if (weights[j]) r[j] = vld2q_f32(rows[j] + at);
            else r[j].val[0] = r[j].val[1] = vdupq_n_f32(0.0f);
        }
        float32x4_t sums[2];
        for (int h = 0; h < 2; ++h)
            sums[h] = binomial(r[0].val[h], r[1].val[h], r[2].val[h], r[3].val[h], r[4].val[h]);
        return {sums[0], sums[1]};
    }
    static OMBRIX_ALWAYS_INLINE void borderOutputs(float32x4_t evenBefore, float32x4_t oddBefore, float32x4_t even,
                                                   float32x4_t odd, float32x4_t evenAfter, float reciprocal, float* out) {
        vst1q_f32(out, vmulq_n_f32(binomial(evenBefore, oddBefore, even, odd, evenAfter), reciprocal));
    }
};

// The border factor of the u8 reduction as an integer: r = (float)(1/W) times
// 2^31. W is at least 100, so r < 2^-6 has no bits below 2^-30 and the
// product is exact; and sum * r (below 2^41 * 2^-31) is exact in double,
// so floor(0.5 + sum * r) is (sum * reciprocal + 2^30) >> 31 exactly.
inline uint32_t borderReciprocalQ31(uint32_t weight) {
    return static_cast<uint32_t>(static_cast<double>(static_cast<float>(1.0 / weight)) * 2147483648.0);
}

// One border pixel of the u8 reduction: the taps inside the image, summed
// per row, scaled as above.
uint8_t borderPixel(const uint8_t* src, size_t stride, uint32_t w, uint32_t h, uint32_t x, uint32_t y) {
    static const uint32_t kTaps[5] = {1, 4, 6, 4, 1};
    const int64_t cx = int64_t{2} * x - 2, cy = int64_t{2} * y - 2;
    const int iBegin = cx < 0 ? static_cast<int>(-cx) : 0, iEnd = cx + 5 > w ? static_cast<int>(w - cx) : 5;
    const int jBegin = cy < 0 ? static_cast<int>(-cy) : 0, jEnd = cy + 5 > h ? static_cast<int>(h - cy) : 5;
    uint32_t sum = 0, wx = 0, wy = 0;
    for (int i = iBegin; i < iEnd; ++i) wx += kTaps[i];
    for (int j = jBegin; j < jEnd; ++j) {
        const uint8_t* row = rowAt(src, stride, static_cast<uint32_t>(cy + j));
        uint32_t rowSum = 0;
        for (int i = iBegin; i < iEnd; ++i) rowSum += kTaps[i] * row[cx + i];
        sum += kTaps[j] * rowSum;
        wy += kTaps[j];
    }
    return static_cast<uint8_t>((uint64_t{sum} * borderReciprocalQ31(wx * wy) + (1u << 30)) >> 31);
}
inline float borderPixel(const float* src, size_t stride, uint32_t w, uint32_t h, uint32_t x, uint32_t y) {
    return gaussianPixel(src, stride, w, h, x, y);
}
inline uint32_t borderScale(uint32_t weight, const uint8_t*) { return borderReciprocalQ31(weight); }
inline float borderScale(uint32_t weight, const float*) { return static_cast<float>(1.0 / weight); }

// Outputs 1 .. dw-2 of an output row whose five source rows are rows[0 .. 4];
// needs dw >= N + 2.
template <class P>
void gaussianInteriorRow(const typename P::Pixel* const* rows, uint32_t width, typename P::Pixel* out) {
    using Pixel = typename P::Pixel;
    constexpr uint32_t N = P::N;
    const uint32_t last = width / 2 - 2;  // the last output with all taps inside
    // Sliding steps while the block and the next load (2N pixels from
    // column 2x + 2N - 2) stay inside: x = 1 + N i for i < slides.
    const uint32_t byOutputs = last / N, byLoads = width >= 4 * N ? (width - 4 * N) / (2 * N) + 1 : 0;
    const uint32_t slides = byOutputs < byLoads ? byOutputs : byLoads;
    // Row pointers in locals, stepped along, so that they stay in registers.
    const Pixel* at[5];
    for (int j = 0; j < 5; ++j) at[j] = rows[j];
    Pixel* to = out + 1;
    typename P::Cols cur = P::columns(at, 0);
    for (uint32_t i = 0; i < slides; ++i) {
        for (int j = 0; j < 5; ++j) at[j] += 2 * N;
        const typename P::Cols next = P::columns(at, 0);
        P::outputs(cur.even, cur.odd, P::template ext<1>(cur.even, next.even), P::template ext<1>(cur.odd, next.odd),
                   P::template ext<2>(cur.even, next.even), to);
        cur = next;
        to += N;
    }
    const auto alone = [rows, out](uint32_t x) {
        const typename P::Cols before = P::columns(rows, 2 * x - 2), centre = P::columns(rows, 2 * x),
                               after = P::columns(rows, 2 * x + 2);
        P::outputs(before.even, before.odd, centre.even, centre.odd, after.even, out + x);
    };
    uint32_t x = 1 + slides * N;
    for (; x + N - 1 <= last; x += N) alone(x);
    if (x <= last) alone(last + 1 - N);
}

// Outputs 1 .. dw-2 of a border row (some of its taps' rows outside the
// image): all their columns are inside, so they share the weight W = Wy * 16.
template <class P>
void gaussianBorderRow(const typename P::Pixel* src, size_t srcStride, uint32_t width, uint32_t height, uint32_t y,
                       typename P::Pixel* out) {
    static const uint32_t kTaps[5] = {1, 4, 6, 4, 1};
    const typename P::Pixel* rows[5];
    uint32_t weights[5], rowWeight = 0;
    for (int j = 0; j < 5; ++j) {
        const int64_t at = int64_t{2} * y - 2 + j;
        const bool inside = at >= 0 && at < height;
        rows[j] = rowAt(src, srcStride, inside ? static_cast<uint32_t>(at) : 0);
        weights[j] = inside ? kTaps[j] : 0;
        rowWeight += weights[j];
    }
    const auto scale = borderScale(rowWeight * 16, src);
    coverRow<P::N>(1, width / 2 - 1, [&](uint32_t x) {
        const typename P::Cols before = P::borderColumns(rows, weights, 2 * x - 2),
                               centre = P::borderColumns(rows, weights, 2 * x),
                               after = P::borderColumns(rows, weights, 2 * x + 2);
        P::borderOutputs(before.even, before.odd, centre.even, centre.odd, after.even, scale, out + x);
    });
}

template <class P>
void gaussianReduce(const typename P::Pixel* src, uint32_t width, uint32_t height, size_t srcStride,
                    typename P::Pixel* dst, size_t dstStride) {
    const uint32_t dw = width / 2, dh = height / 2;
    for (uint32_t y = 0; y < dh; ++y) {
        typename P::Pixel* out = rowAt(dst, dstStride, y);
        if (dw < P::N + 2) {
            gaussianRow(src, srcStride, width, height, y, out, 0, dw);
            continue;
        }
        out[0] = borderPixel(src, srcStride, width, height, 0, y);
        out[dw - 1] = borderPixel(src, srcStride, width, height, dw - 1, y);
        if (y == 0 || y + 1 == dh) {
            gaussianBorderRow<P>(src, srcStride, width, height, y, out);
            continue;
        }
        const typename P::Pixel* rows[5];
        for (int j = 0; j < 5; ++j) rows[j] = rowAt(src, srcStride, 2 * y - 2 + j);
        gaussianInteriorRow<P>(rows, width, out);
    }
}

// ---- Gaussian 5x5 enlargement by 2 ---------------------------------------------------------
//
// Columns k0 .. k0+7 (all with both neighbours inside) of destination rows
// 2r and 2r+1. Row 2r's column values are v = above + 6 centre + below;
// row 2r+1's are 4u with u = centre + below, the 4 folded into the final
// shifts: (4X + 32) >> 6 = (X + 8) >> 4 and (16Y + 32) >> 6 = (Y + 2) >> 2.
OMBRIX_ALWAYS_INLINE void upStep(const UpRows& rows, uint32_t k0, uint8_t* even, uint8_t* odd) {
    uint16x8_t v[3], u[3];  // at columns k-1, k, k+1
    for (int d = 0; d < 3; ++d) {
        const uint8x8_t above = vld1_u8(rows.above + k0 - 1 + d), centre = vld1_u8(rows.centre + k0 - 1 + d),
                        below = vld1_u8(rows.below + k0 - 1 + d);
        v[d] = vmlal_u8(vaddl_u8(above, below), centre, vdup_n_u8(6));
        u[d] = vaddl_u8(centre, below);
    }
    uint8x8x2_t e, o;
    e.val[0] = vrshrn_n_u16(mlaConst(vaddq_u16(v[0], v[2]), v[1], 6), 6);
    e.val[1] = vrshrn_n_u16(vaddq_u16(v[1], v[2]), 4);
    o.val[0] = vrshrn_n_u16(mlaConst(vaddq_u16(u[0], u[2]), u[1], 6), 4);
    o.val[1] = vrshrn_n_u16(vaddq_u16(u[1], u[2]), 2);
    vst2_u8(even + 2 * k0, e);
    vst2_u8(odd + 2 * k0, o);
}

// ---- Arbitrary integer ratio -----------------------------------------------------------------

// Column sums of ky rows for source columns [begin, end) into sums[c - begin],
// sixteen columns at a time in u16 lanes (at most 257 rows of 255 fit) and
// folded into u32 every 257 rows.
constexpr uint32_t kRowsPerU16 = 257;

OMBRIX_ALWAYS_INLINE void columnSumsStep(const uint8_t* block, size_t stride, uint32_t ky, uint32_t c,
                                         uint32_t* sums) {
    uint32x4_t total[4] = {vdupq_n_u32(0), vdupq_n_u32(0), vdupq_n_u32(0), vdupq_n_u32(0)};
    for (uint32_t j0 = 0; j0 < ky; j0 += kRowsPerU16) {
        const uint32_t j1 = ky - j0 < kRowsPerU16 ? ky : j0 + kRowsPerU16;
        uint16x8_t low = vdupq_n_u16(0), high = vdupq_n_u16(0);
        for (uint32_t j = j0; j < j1; ++j) {
            const uint8x16_t p = vld1q_u8(rowAt(block, stride, j) + c);
            low = vaddw_u8(low, vget_low_u8(p));
            high = vaddw_u8(high, vget_high_u8(p));
        }
        total[0] = vaddw_u16(total[0], vget_low_u16(low));
        total[1] = vaddw_u16(total[1], vget_high_u16(low));
        total[2] = vaddw_u16(total[2], vget_low_u16(high));
        total[3] = vaddw_u16(total[3], vget_high_u16(high));
    }
    for (int q = 0; q < 4; ++q) vst1q_u32(sums + 4 * q, total[q]);
}

void columnSums(const uint8_t* block, size_t stride, uint32_t ky, uint32_t begin, uint32_t end, uint32_t* sums) {
    const auto step = [=](uint32_t c) { columnSumsStep(block, stride, ky, c, sums + (c - begin)); };
    if (coverRow<16>(begin, end, step)) return;
    for (uint32_t c = begin; c < end; ++c) {
        uint32_t sum = 0;
        for (uint32_t j = 0; j < ky; ++j) sum += rowAt(block, stride, j)[c];
        sums[c - begin] = sum;
    }
}

// floor(n / d) for n <= 255 d as (n * ceil(2^32 / d)) >> 32: with e =
// ceil(2^32 / d) d - 2^32 < d the product overshoots n / d by n e / (d 2^32),
// which stays below the gap to the next integer, 1/d, while n e < 2^32,
// that is for every d up to 4104. Larger blocks divide.
constexpr uint32_t kMaxReciprocalDivisor = 4096;

struct Divider {
    uint64_t divisor;
    uint32_t reciprocal;  // for 2 <= divisor <= kMaxReciprocalDivisor
    explicit Divider(uint64_t d)
        : divisor(d), reciprocal(d >= 2 && d <= kMaxReciprocalDivisor
                                     ? static_cast<uint32_t>(((uint64_t{1} << 32) + d - 1) / d) : 0) {}
    uint8_t operator()(uint64_t n) const {
        return static_cast<uint8_t>(reciprocal ? (n * reciprocal) >> 32 : n / divisor);
    }
};

// Four block sums of K column sums each, from 4K consecutive column sums.
template <int K>
OMBRIX_ALWAYS_INLINE uint32x4_t blockSums(const uint32_t* s) {
    if constexpr (K == 1) {
        return vld1q_u32(s);
    } else if constexpr (K == 2) {
        const uint32x4x2_t v = vld2q_u32(s);
        return vaddq_u32(v.val[0], v.val[1]);
    } else if constexpr (K == 3) {
        const uint32x4x3_t v = vld3q_u32(s);
        return vaddq_u32(vaddq_u32(v.val[0], v.val[1]), v.val[2]);
    } else {
        const uint32x4x4_t v = vld4q_u32(s);
        return vaddq_u32(vaddq_u32(v.val[0], v.val[1]), vaddq_u32(v.val[2], v.val[3]));
    }
}

// The reciprocal division of four sums, in lanes.
OMBRIX_ALWAYS_INLINE uint16x4_t divideLanes(uint32x4_t sums, uint32x2_t reciprocal) {
    return vmovn_u32(vcombine_u32(vshrn_n_u64(vmull_u32(vget_low_u32(sums), reciprocal), 32),
                                  vshrn_n_u64(vmull_u32(vget_high_u32(sums), reciprocal), 32)));
}

// Outputs [0, n) from the column sums of their blocks, eight at a time for
// blocks 1 to 4 columns wide; false when that does not apply.
template <int K>
bool blockRowLanes(const uint32_t* sums, uint32_t n, uint32_t reciprocal, uint8_t* out) {
    const uint32x2_t r = vdup_n_u32(reciprocal);
    return coverRow<8>(0, n, [=](uint32_t x) {
        const uint16x8_t q = vcombine_u16(divideLanes(blockSums<K>(sums + K * x), r),
                                          divideLanes(blockSums<K>(sums + K * (x + 4)), r));
        vst1_u8(out + x, vmovn_u16(q));
    });
}

bool blockRowLanes(uint32_t kx, const uint32_t* sums, uint32_t n, uint32_t reciprocal, uint8_t* out) {
    if (!reciprocal) return false;
    switch (kx) {
        case 1: return blockRowLanes<1>(sums, n, reciprocal, out);
        case 2: return blockRowLanes<2>(sums, n, reciprocal, out);
        case 3: return blockRowLanes<3>(sums, n, reciprocal, out);
        case 4: return blockRowLanes<4>(sums, n, reciprocal, out);
        default: return false;
    }
}

// Column sums kept on the stack at once.
constexpr uint32_t kSumColumns = 1024;

// ---- Nearest neighbour -----------------------------------------------------------------------
//
// The source columns of eight neighbouring outputs lie within 32 bytes when
// the ratio is below 4: such a group is one 32-byte load and one table
// lookup. Groups are planned once per chunk of columns for every row: the
// load's start (moved back to stay inside the row) and the eight offsets;
// and the source column of every output, for rows gathered pixel by pixel.
constexpr uint32_t kNearestGroup = 8, kNearestSpan = 32, kNearestGroups = 64;
constexpr uint32_t kNearestChunk = kNearestGroups * kNearestGroup;

struct NearestPlan {
    uint32_t start[kNearestGroups];
    uint8_t offsets[kNearestGroups][kNearestGroup];
    uint32_t columns[kNearestChunk];
};

}  // namespace

extern "C" {

void obxScaleDownBy2u8V(const uint8_t* imgSrc, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        uint8_t* imgDst, uint32_t dstStride) {
    OMBRIX_ASSERT(imgSrc && imgDst && srcWidth && srcHeight && ((srcWidth & 1) == 0) && ((srcHeight & 1) == 0) && (srcStride >= srcWidth) && (dstStride >= srcWidth/2));
    const uint32_t dstStep = boxDstStep(srcWidth, dstStride);
    for (uint32_t y = 0; y < srcHeight / 2; ++y) {
        const uint8_t* r0 = rowAt(imgSrc, srcStride, 2 * y);
        box2Row(r0, r0 + srcStride, rowAt(imgDst, dstStep, y), srcWidth / 2);
    }
}

void obxScaleDownBy4u8V(const uint8_t* imgSrc, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        uint8_t* imgDst, uint32_t dstStride) {
    OMBRIX_ASSERT(imgSrc && imgDst && srcWidth && srcHeight && ((srcWidth & 3) == 0) && ((srcHeight & 3) == 0) && (srcStride >= srcWidth) && (dstStride >= srcWidth/4));
    const uint32_t dstStep = boxDstStep(srcWidth, dstStride);
    for (uint32_t y = 0; y < srcHeight / 4; ++y) {
        const uint8_t* rows[4];
        for (int j = 0; j < 4; ++j) rows[j] = rowAt(imgSrc, srcStride, 4 * y + j);
        uint8_t* out = rowAt(imgDst, dstStep, y);
        if (!coverRow<8>(0, srcWidth / 4, [&](uint32_t x) { box4Step(rows, 4 * x, out + x); }))
            boxRow4(rows, out, 0, srcWidth / 4);
    }
}

void obxScaleDownBy2Gaussian5x5u8V(const uint8_t* srcImg, uint32_t width, uint32_t height, uint8_t* dstImg) {
    OMBRIX_ASSERT(srcImg && dstImg && width && height && ((width & 1) == 0 ) && ((height & 1) == 0));
    gaussianReduce<GaussianU8>(srcImg, width, height, width, dstImg, width / 2);
}

void obxScaleDownBy2Gaussian5x5u8_v2V(const uint8_t* srcImg, uint32_t srcWidth, uint32_t srcHeight,
                                      uint32_t srcStride, uint8_t* dstImg, uint32_t dstStride) {
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && ((srcWidth & 1) == 0 ) && ((srcHeight & 1) == 0) && (srcStride >= srcWidth) && (dstStride >= srcWidth/2));
    gaussianReduce<GaussianU8>(srcImg, srcWidth, srcHeight, srcStride, dstImg, dstStride);
}

void obxScaleDownBy2Gaussian5x5f32V(const float32_t* srcImg, uint32_t width, uint32_t height, float32_t* dstImg) {
    OMBRIX_ASSERT(srcImg && width && height && ((width & 1) == 0 ) && ((height & 1) == 0));
    gaussianReduce<GaussianF32>(srcImg, width, height, width, dstImg, width / 2);
}

void obxScaleUpBy2Gaussian5x5u8V(const uint8_t* srcImg, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint8_t* dstImg, uint32_t dstStride) {
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && (dstStride >= srcWidth*2));
    for (uint32_t r = 0; r < srcHeight; ++r) {
        const UpRows rows = upRows(srcImg, srcStride, srcHeight, r);
        uint8_t* even = rowAt(dstImg, dstStride, 2 * r);
        uint8_t* odd = even + dstStride;
        // Columns 1 .. W-2 have both neighbours inside; the first and last
        // take the edge rules.
        if (srcWidth >= 2 &&
            coverRow<8>(1, srcWidth - 1, [&](uint32_t k) { upStep(rows, k, even, odd); })) {
            upColumns(rows, srcWidth, even, odd, 0, 1);
            upColumns(rows, srcWidth, even, odd, srcWidth - 1, srcWidth);
        } else {
            upColumns(rows, srcWidth, even, odd, 0, srcWidth);
        }
    }
}

void obxScaleDownu8V(const uint8_t* srcImg, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                     uint8_t* dstImg, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride) {
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstWidth && dstHeight && (dstStride >= dstWidth) && srcWidth >= dstWidth && srcHeight >= dstHeight);
    const uint32_t kx = srcWidth / dstWidth, ky = srcHeight / dstHeight;
    const Divider divide(uint64_t{kx} * ky);
    // Whole outputs per chunk of column sums; a block wider than the chunk
    // is summed directly.
    const uint32_t chunk = kSumColumns / kx;
    uint32_t sums[kSumColumns];
    for (uint32_t y = 0; y < dstHeight; ++y) {
        const uint8_t* block = rowAt(srcImg, srcStride, y * ky);
        uint8_t* out = rowAt(dstImg, dstStride, y);
        if (kx == 2 && ky == 2) {
            box2Row(block, block + srcStride, out, dstWidth);
            continue;
        }
        if (kx == 1 && ky == 1) {  // blocks of one pixel: the row's first dstWidth pixels
            memcpy(out, block, dstWidth);
            continue;
        }
        // Vertical pass over the rows of the block into column sums, then
        // the horizontal pass over kx sums per output.
        for (uint32_t x0 = 0; x0 < dstWidth; x0 += chunk ? chunk : 1) {
            const uint32_t x1 = chunk && dstWidth - x0 > chunk ? x0 + chunk : dstWidth;
            if (!chunk) {
                uint64_t sum = 0;
                for (uint32_t c = 0; c < kx; c += kSumColumns) {
                    const uint32_t end = kx - c < kSumColumns ? kx : c + kSumColumns;
                    columnSums(block, srcStride, ky, x0 * kx + c, x0 * kx + end, sums);
                    for (uint32_t i = 0; i < end - c; ++i) sum += sums[i];
                }
                out[x0] = divide(sum);
                continue;
            }
            columnSums(block, srcStride, ky, x0 * kx, x1 * kx, sums);
            if (blockRowLanes(kx, sums, x1 - x0, divide.reciprocal, out + x0)) continue;
            const uint32_t* s = sums;
            for (uint32_t x = x0; x < x1; ++x, s += kx) {
                uint64_t sum = 0;
                for (uint32_t i = 0; i < kx; ++i) sum += s[i];
                out[x] = divide(sum);
            }
        }
    }
}

int32_t obxScaleDown3To2u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride ==0 || srcStride >= srcWidth) && (dstStride == 0 || dstStride >= ((srcWidth/3)<<1)));
    if (srcWidth < 3 || srcHeight < 3) return 1;
    if (srcStride == 0) srcStride = srcWidth;
    if (dstStride == 0) dstStride = (srcWidth / 3) * 2;
    const uint32_t blocks = srcWidth / 3;
    for (uint32_t i = 0; i < srcHeight / 3; ++i) {
        const uint8_t* r0 = rowAt(src, srcStride, 3 * i);
        const uint8_t *r1 = r0 + srcStride, *r2 = r1 + srcStride;
        uint8_t* d0 = rowAt(dst, dstStride, 2 * i);
        uint8_t* d1 = d0 + dstStride;
        // Eight blocks: p0, p1, p2 are the columns of the top, middle and
        // bottom rows; every sum is at most 16 * 255.
        const auto step = [=](uint32_t k) {
            const uint8x8x3_t p0 = vld3_u8(r0 + 3 * k), p1 = vld3_u8(r1 + 3 * k), p2 = vld3_u8(r2 + 3 * k);
            const uint8x8_t three = vdup_n_u8(3), nine = vdup_n_u8(9);
            const uint16x8_t centre = vmovl_u8(p1.val[1]);
            const uint16x8_t left = vmlal_u8(centre, p1.val[0], three), right = vmlal_u8(centre, p1.val[2], three);
            const uint16x8_t top = vmull_u8(p0.val[1], three), bottom = vmull_u8(p2.val[1], three);
            uint8x8x2_t upper, lower;
            upper.val[0] = vshrn_n_u16(vmlal_u8(vaddq_u16(left, top), p0.val[0], nine), 4);
            upper.val[1] = vshrn_n_u16(vmlal_u8(vaddq_u16(right, top), p0.val[2], nine), 4);
            lower.val[0] = vshrn_n_u16(vmlal_u8(vaddq_u16(left, bottom), p2.val[0], nine), 4);
            lower.val[1] = vshrn_n_u16(vmlal_u8(vaddq_u16(right, bottom), p2.val[2], nine), 4);
            vst2_u8(d0 + 2 * k, upper);
            vst2_u8(d1 + 2 * k, lower);
        };
        if (!coverRow<8>(0, blocks, step)) threeToTwoRow(r0, r1, r2, d0, d1, 0, blocks);
    }
    return 0;
}

void obxScaleDownNNu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                       uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride==0 || srcStride >= srcWidth) && dstWidth && dstHeight && (dstStride == 0 || dstStride >= dstWidth));
    if (srcStride == 0) srcStride = srcWidth;
    if (dstStride == 0) dstStride = dstWidth;
    if (srcWidth == dstWidth && srcHeight == dstHeight) {
        for (uint32_t y = 0; y < dstHeight; ++y) memcpy(rowAt(dst, dstStride, y), rowAt(src, srcStride, y), dstWidth);
        return;
    }
    // Columns in chunks of whole groups; every row of a chunk uses its plan.
    NearestPlan plan;
    for (uint32_t x0 = 0; x0 < dstWidth; x0 += kNearestChunk) {
        const uint32_t x1 = dstWidth - x0 > kNearestChunk ? x0 + kNearestChunk : dstWidth;
        for (uint32_t x = x0; x < x1; ++x) plan.columns[x - x0] = nearestIndex(x, srcWidth, dstWidth);
        // Groups start at x0, x0 + 8, ... with the last moved back to end at
        // x1; a chunk narrower than a group, or groups spanning more than
        // the table, are gathered one pixel at a time.
        uint32_t groups = 0;
        bool lookup = srcWidth >= kNearestSpan && x1 - x0 >= kNearestGroup;
        coverRow<kNearestGroup>(x0, x1, [&](uint32_t x) {
            const uint32_t first = plan.columns[x - x0];
            const uint32_t start = first + kNearestSpan <= srcWidth ? first : srcWidth - kNearestSpan;
            plan.start[groups] = start;
            for (uint32_t i = 0; i < kNearestGroup; ++i) {
                const uint32_t offset = plan.columns[x + i - x0] - start;
                lookup = lookup && offset < kNearestSpan;
                plan.offsets[groups][i] = static_cast<uint8_t>(offset);
            }
            ++groups;
        });
        for (uint32_t y = 0; y < dstHeight; ++y) {
            const uint32_t sy = nearestIndex(y, srcHeight, dstHeight);
            const uint8_t* row = rowAt(src, srcStride, sy < srcHeight - 1 ? sy : srcHeight - 1);
            uint8_t* out = rowAt(dst, dstStride, y);
            if (!lookup) {
                for (uint32_t x = x0; x < x1; ++x) out[x] = row[plan.columns[x - x0]];
                continue;
            }
            uint32_t g = 0;
            coverRow<kNearestGroup>(x0, x1, [&](uint32_t x) {
                const uint8_t* from = row + plan.start[g];
                const uint8x16_t low = vld1q_u8(from), high = vld1q_u8(from + 16);
                const uint8x8x4_t table = {{vget_low_u8(low), vget_high_u8(low), vget_low_u8(high), vget_high_u8(high)}};
                vst1_u8(out + x, vtbl4_u8(table, vld1_u8(plan.offsets[g])));
                ++g;
            });
        }
    }
}

}  // extern "C"
