// Vector variants of the edge filters: central-difference, Sobel and Scharr
// derivatives, the Sobel edge magnitude and the Canny detector.
#include <string.h>

#include "ombrixAssert.h"
#include "ombrixBlurLanes.h"
#include "ombrixCannyScalar.h"
#include "ombrixEdgeScalar.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

// ==== Gradients and the Sobel edge filter ======================================
//
// Vector central-difference, Sobel and Scharr derivatives. Sixteen pixels of
// an 8-bit image at a time: the differences are formed in 16-bit lanes, where
// every derivative is exact (Scharr reaches +-4080), then scaled, converted
// and stored. Sobel and Scharr read the eight neighbours of the sixteen
// pixels straight from the source rows and combine their horizontal and
// vertical differences, two output rows per pass sharing the loads of their
// middle rows. A float image goes four pixels at a time, added in
// the reference's order. After the first group of a row the groups start
// where the output is 16-byte aligned, so that no store crosses a cache
// line; the first group and the last one (moved back to end at the last
// interior pixel) overlap their neighbours and rewrite a few results with
// the same values. Images too small for a whole group take the scalar rows
// of the references.

namespace {

using namespace ombrix_edge;
using ombrix_blur::narrowU16;
using ombrix_blur::widenS16;
using ombrix_blur::widenU8;

// The source rows above, at and below one output row.
template <typename Pixel>
struct Rows {
    const Pixel *above, *centre, *below;
};

template <typename Pixel>
inline Rows<Pixel> rowsAround(const Pixel* src, size_t srcStride, uint32_t y) {
    const Pixel* centre = rowAt(src, srcStride, y);
    return {centre - srcStride, centre, centre + srcStride};
}

// Runs block(i) over [0, count) in steps of N, the last step moved back to
// end at count (it rewrites equal values); count must be at least N.
template <uint32_t N, typename Block>
inline void forEachStep(uint32_t count, const Block& block) {
    uint32_t i = 0;
    for (; i + N <= count; i += N) block(i);
    if (i < count) block(count - N);
}

// The same with the steps after the first starting at `lead` (below N; 0
// gives the plain steps), so that they store to aligned addresses; the first
// step overlaps the second and rewrites equal values.
template <uint32_t N, typename Block>
inline void forEachAlignedStep(uint32_t count, uint32_t lead, const Block& block) {
    if (lead == 0) return forEachStep<N>(count, block);
    block(0);
    uint32_t i = lead;
    for (; i + N <= count; i += N) block(i);
    if (i < count) block(count - N);
}

// Pixels from the one stored at `out` to the first stored on a 16-byte
// boundary, with `bytes` stored per pixel; 0 when `out` is on one, or when
// no pixel's store is (an address that is not a multiple of `bytes`).
inline uint32_t pixelsToAlignment(const void* out, size_t bytes) {
    const uintptr_t address = reinterpret_cast<uintptr_t>(out);
    if (address % bytes != 0) return 0;
    return static_cast<uint32_t>((0 - address) % 16 / bytes);
}

// dx and dy of sixteen pixels, as low and high halves.
struct Gradients16 {
    int16x8_t dx[2], dy[2];
};

// a - b of u16 lanes read back as signed: every difference here is exact.
inline int16x8_t signedDifference(uint16x8_t a, uint16x8_t b) { return vreinterpretq_s16_u16(vsubq_u16(a, b)); }

// a - b of sixteen u8 lanes as signed 16-bit halves: one widening subtract
// per half on ARM, widen-then-subtract on hosts (see ombrixBlurLanes.h).
inline int16x8x2_t subtractWideU8(uint8x16_t a, uint8x16_t b) {
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
    return {{vreinterpretq_s16_u16(vsubl_u8(vget_low_u8(a), vget_low_u8(b))),
             vreinterpretq_s16_u16(vsubl_u8(vget_high_u8(a), vget_high_u8(b)))}};
#else
    const uint16x8x2_t wa = widenU8(a), wb = widenU8(b);
    return {{signedDifference(wa.val[0], wb.val[0]), signedDifference(wa.val[1], wb.val[1])}};
#endif
}

// outer * o + centre * c with the kernel's smoothing weights.
template <Kernel K>
inline int16x8_t weighted(int16x8_t outer, int16x8_t centre) {
    if constexpr (K == Kernel::Sobel) return vaddq_s16(outer, vshlq_n_s16(centre, 1));
    else return mlaConst(mulConst(outer, Smoothing<K>::outer), centre, Smoothing<K>::centre);
}

// Central differences of pixels x .. x + 15 of the centre row.
inline Gradients16 centralDifferences(const Rows<uint8_t>& r, uint32_t x) {
    const int16x8x2_t dx = subtractWideU8(vld1q_u8(r.centre + x + 1), vld1q_u8(r.centre + x - 1));
    const int16x8x2_t dy = subtractWideU8(vld1q_u8(r.below + x), vld1q_u8(r.above + x));
    return {{dx.val[0], dx.val[1]}, {dy.val[0], dy.val[1]}};
}

// Sobel and Scharr are read straight from the eight neighbours: with the
// horizontal differences H = right - left of each row and the vertical
// differences D = below - above of each column,
//   dx = outer * (H(above) + H(below)) + centre * H(centre),
//   dy = outer * (D(x-1) + D(x+1)) + centre * D(x).
// Every difference is one widening subtract.

// The left and right neighbours of pixels x .. x + 15 of a row, and H.
OMBRIX_ALWAYS_INLINE void readNeighbours(const uint8_t* row, uint32_t x, uint8x16_t& left, uint8x16_t& right,
                                         int16x8x2_t& across) {
    left = vld1q_u8(row + x - 1);
    right = vld1q_u8(row + x + 1);
    across = subtractWideU8(right, left);
}

// dx and dy of pixels x .. x + 15 of the centre row from what
// readNeighbours gave for the rows above, at and below it (index 0, 1, 2).
template <Kernel K>
OMBRIX_ALWAYS_INLINE Gradients16 combineNeighbours(const uint8_t* const* rows, uint32_t x, const uint8x16_t* left,
                                                   const uint8x16_t* right, const int16x8x2_t* across) {
    const int16x8x2_t dL = subtractWideU8(left[2], left[0]), dR = subtractWideU8(right[2], right[0]);
    const int16x8x2_t d0 = subtractWideU8(vld1q_u8(rows[2] + x), vld1q_u8(rows[0] + x));
    Gradients16 g;
    for (int h = 0; h < 2; ++h) {
        g.dx[h] = weighted<K>(vaddq_s16(across[0].val[h], across[2].val[h]), across[1].val[h]);
        g.dy[h] = weighted<K>(vaddq_s16(dL.val[h], dR.val[h]), d0.val[h]);
    }
    return g;
}

// Derivatives of pixels x .. x + 15 of two neighbouring rows, stored into
// `upper` for the centre row of rows[0 .. 2] and into `lower` for that of
// rows[1 .. 3]. The two share the loads and the H of their middle rows; the
// upper row is stored before the last row is read, which keeps ARM's
// sixteen q registers enough.
template <Kernel K, typename RowOut>
OMBRIX_ALWAYS_INLINE void derivePair(const uint8_t* const* rows, uint32_t x, const RowOut& upper,
                                     const RowOut& lower) {
    uint8x16_t left[4], right[4];
    int16x8x2_t across[4];
    for (int k = 0; k < 3; ++k) readNeighbours(rows[k], x, left[k], right[k], across[k]);
    upper.store(x, combineNeighbours<K>(rows, x, left, right, across));
    readNeighbours(rows[3], x, left[3], right[3], across[3]);
    lower.store(x, combineNeighbours<K>(rows + 1, x, left + 1, right + 1, across + 1));
}

// Runs the derivatives of the interior of an 8-bit image into the output
// rows rowOut(y) (see PairRow), sixteen pixels at a time along the rows.
// Sobel and Scharr go two rows at a time, the last pair moved up a row when
// the count is odd (it rewrites equal values); central differences, which
// two rows would not share, one. Images with fewer interior rows than that
// or fewer than sixteen interior columns take the scalar rows.
template <Kernel K, typename RowOut>
void deriveImage(const uint8_t* src, uint32_t width, uint32_t height, size_t srcStride, const RowOut& rowOut) {
    constexpr uint32_t kRows = K == Kernel::Central ? 1 : 2;
    if (width < 3 || height < 3) return;
    if (width - 2 < 16 || height - 2 < kRows) {
        for (uint32_t y = 1; y + 1 < height; ++y) rowOut(y).scalar(rowsAround(src, srcStride, y), width);
        return;
    }
    // Row copies and pointers go into the steps by value, so that no store
    // can be taken to change them; the steps are inlined, as GCC would keep
    // the large ones out of line.
    forEachStep<kRows>(height - 2, [&](uint32_t i) {
        const uint32_t y = 1 + i;
        const auto upper = rowOut(y);
        if constexpr (K == Kernel::Central) {
            const Rows<uint8_t> r = rowsAround(src, srcStride, y);
            forEachAlignedStep<16>(width - 2, upper.lead(), [r, upper](uint32_t c) __attribute__((always_inline)) {
                upper.store(1 + c, centralDifferences(r, 1 + c));
            });
        } else {
            const uint8_t* const rows[4] = {rowAt(src, srcStride, y - 1), rowAt(src, srcStride, y),
                                            rowAt(src, srcStride, y + 1), rowAt(src, srcStride, y + 2)};
            const auto lower = rowOut(y + 1);
            forEachAlignedStep<16>(width - 2, upper.lead(),
                                   [rows, upper, lower](uint32_t c) __attribute__((always_inline)) {
                                       derivePair<K>(rows, 1 + c, upper, lower);
                                   });
        }
    });
}

template <Scale S>
inline int16x8_t scaledS16(int16x8_t d) {
    if constexpr (S == Scale::Shift3) return vshrq_n_s16(d, 3);
    else return d;
}

// Eight derivatives as float, low four first. Both forms are exact, as the
// reference's conversion and multiplication by 0.125 are.
#if defined(__ARM_NEON) || defined(__ARM_NEON__)
// The conversion with three fraction bits divides by 8 itself.
template <Scale S>
inline float32x4x2_t scaledF32(int16x8_t d) {
    const int32x4x2_t wide = widenS16(d);
    if constexpr (S == Scale::Eighth) return {{vcvtq_n_f32_s32(wide.val[0], 3), vcvtq_n_f32_s32(wide.val[1], 3)}};
    else return {{vcvtq_f32_s32(wide.val[0]), vcvtq_f32_s32(wide.val[1])}};
}
#else
// Hosts interleave each s16 into the top half of an s32 lane, which holds
// d * 2^16 (a float with the same significant bits), and take the 2^16 back
// out in the multiplication that scales, instead of shifting first.
template <Scale S>
inline float32x4x2_t scaledF32(int16x8_t d) {
    constexpr float kScale = S == Scale::Eighth ? 0x1p-19f : 0x1p-16f;
    const int16x8x2_t high = vzipq_s16(vdupq_n_s16(0), d);
    return {{vmulq_n_f32(vcvtq_f32_s32(vreinterpretq_s32_s16(high.val[0])), kScale),
             vmulq_n_f32(vcvtq_f32_s32(vreinterpretq_s32_s16(high.val[1])), kScale)}};
}
#endif

// Sixteen (dx, dy) pairs from `pairs` on.
template <Scale S>
inline void storePairs(int16_t* pairs, const Gradients16& g) {
    for (int h = 0; h < 2; ++h) {
        const int16x8x2_t both = {{scaledS16<S>(g.dx[h]), scaledS16<S>(g.dy[h])}};
        vst2q_s16(pairs + 16 * h, both);
    }
}
// Interleaved as s16 first: each pair then converts as it is stored.
template <Scale S>
inline void storePairs(float* pairs, const Gradients16& g) {
    for (int h = 0; h < 2; ++h) {
        const int16x8x2_t both = vzipq_s16(g.dx[h], g.dy[h]);
        for (int q = 0; q < 2; ++q) {
            const float32x4x2_t f = scaledF32<S>(both.val[q]);
            vst1q_f32(pairs + 16 * h + 8 * q, f.val[0]);
            vst1q_f32(pairs + 16 * h + 8 * q + 4, f.val[1]);
        }
    }
}

// Sixteen results into each plane.
template <Scale S>
inline void storePlanes(int16_t* dxOut, int16_t* dyOut, const Gradients16& g) {
    for (int h = 0; h < 2; ++h) {
        vst1q_s16(dxOut + 8 * h, scaledS16<S>(g.dx[h]));
        vst1q_s16(dyOut + 8 * h, scaledS16<S>(g.dy[h]));
    }
}
template <Scale S>
inline void storePlanes(int8_t* dxOut, int8_t* dyOut, const Gradients16& g) {
    static_assert(S == Scale::Shift3, "only the shifted Sobel fits 8 bits");
    // +-1020 >> 3 fits s8: keeping the low byte of each lane is exact.
    auto narrow = [](const int16x8_t* d) {
        return vreinterpretq_s8_u8(narrowU16(vreinterpretq_u16_s16(vshrq_n_s16(d[0], 3)),
                                             vreinterpretq_u16_s16(vshrq_n_s16(d[1], 3))));
    };
    vst1q_s8(dxOut, narrow(g.dx));
    vst1q_s8(dyOut, narrow(g.dy));
}
template <Scale S>
inline void storePlanes(float* dxOut, float* dyOut, const Gradients16& g) {
    for (int h = 0; h < 2; ++h) {
        const float32x4x2_t dx = scaledF32<S>(g.dx[h]), dy = scaledF32<S>(g.dy[h]);
        for (int q = 0; q < 2; ++q) {
            vst1q_f32(dxOut + 8 * h + 4 * q, dx.val[q]);
            vst1q_f32(dyOut + 8 * h + 4 * q, dy.val[q]);
        }
    }
}

// min(|dx| + |dy|, 255) of sixteen pixels; the sum is at most 2040.
inline uint8x16_t magnitudes(const Gradients16& g) {
    uint16x8_t m[2];
    for (int h = 0; h < 2; ++h)
        m[h] = vreinterpretq_u16_s16(vminq_s16(vaddq_s16(vabsq_s16(g.dx[h]), vabsq_s16(g.dy[h])), vdupq_n_s16(255)));
    return narrowU16(m[0], m[1]);
}

// One output row of (dx, dy) pairs, the pair of pixel x at pairs[2 * (x - 1)].
template <Kernel K, Scale S, typename Out>
struct PairRow {
    Out* pairs;
    uint32_t lead() const { return pixelsToAlignment(pairs, 2 * sizeof(Out)); }
    OMBRIX_ALWAYS_INLINE void store(uint32_t x, const Gradients16& g) const { storePairs<S>(pairs + 2 * (x - 1), g); }
    void scalar(const Rows<uint8_t>& r, uint32_t width) const {
        gradientRow<K, S>(r.above, r.centre, r.below, 1, width - 1, pairs, pairs + 1, 2);
    }
};

// One row of each of the dx and dy planes, the results of pixel x at index x.
template <Kernel K, Scale S, typename Out>
struct PlaneRows {
    Out *dx, *dy;
    uint32_t lead() const { return pixelsToAlignment(dx + 1, sizeof(Out)); }
    OMBRIX_ALWAYS_INLINE void store(uint32_t x, const Gradients16& g) const { storePlanes<S>(dx + x, dy + x, g); }
    void scalar(const Rows<uint8_t>& r, uint32_t width) const {
        gradientRow<K, S>(r.above, r.centre, r.below, 1, width - 1, dx + 1, dy + 1, 1);
    }
};

// One row of Sobel edge magnitudes, the magnitude of pixel x at index x.
struct MagnitudeRow {
    uint8_t* out;
    uint32_t lead() const { return pixelsToAlignment(out + 1, 1); }
    OMBRIX_ALWAYS_INLINE void store(uint32_t x, const Gradients16& g) const { vst1q_u8(out + x, magnitudes(g)); }
    void scalar(const Rows<uint8_t>& r, uint32_t width) const {
        sobelMagnitudeRow(r.above, r.centre, r.below, 1, width - 1, out);
    }
};

template <Kernel K, Scale S, typename Out>
void interleavedGradients(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, Out* gradients,
                          uint32_t gradStride) {
    const size_t outStride = gradStride / sizeof(Out);
    deriveImage<K>(src, width, height, srcStride,
                   [&](uint32_t y) { return PairRow<K, S, Out>{rowAt(gradients, outStride, y - 1)}; });
}

template <Kernel K, Scale S, typename Out>
void planarGradients(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, Out* dx, Out* dy,
                     uint32_t dxyStride) {
    const size_t outStride = dxyStride / sizeof(Out);
    deriveImage<K>(src, width, height, srcStride, [&](uint32_t y) {
        return PlaneRows<K, S, Out>{rowAt(dx, outStride, y), rowAt(dy, outStride, y)};
    });
}

void sobelMagnitude(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride) {
    deriveImage<Kernel::Sobel>(src, width, height, srcStride,
                               [&](uint32_t y) { return MagnitudeRow{rowAt(dst, dstStride, y)}; });
}

// a + 2b + c, added left to right like the reference (2b is exact).
inline float32x4_t smoothF32(float32x4_t a, float32x4_t b, float32x4_t c) {
    return vaddq_f32(vaddq_f32(a, vaddq_f32(b, b)), c);
}

void sobelPlanarFloat(const float* src, uint32_t width, uint32_t height, size_t srcStride, float* dx, float* dy,
                      uint32_t dxyStride) {
    if (width < 3 || height < 3) return;
    const size_t outStride = dxyStride / sizeof(float);
    for (uint32_t y = 1; y + 1 < height; ++y) {
        const Rows<float> r = rowsAround(src, srcStride, y);
        float* dxRow = rowAt(dx, outStride, y);
        float* dyRow = rowAt(dy, outStride, y);
        if (width - 2 < 4) {
            gradientRow<Kernel::Sobel, Scale::Eighth>(r.above, r.centre, r.below, 1, width - 1, dxRow + 1, dyRow + 1,
                                                      1);
            continue;
        }
        forEachAlignedStep<4>(width - 2, pixelsToAlignment(dxRow + 1, sizeof(float)), [&](uint32_t i) {
            const uint32_t x = 1 + i;
            const float32x4_t al = vld1q_f32(r.above + x - 1), a0 = vld1q_f32(r.above + x);
            const float32x4_t ar = vld1q_f32(r.above + x + 1), bl = vld1q_f32(r.below + x - 1);
            const float32x4_t b0 = vld1q_f32(r.below + x), br = vld1q_f32(r.below + x + 1);
            const float32x4_t cl = vld1q_f32(r.centre + x - 1), cr = vld1q_f32(r.centre + x + 1);
            const float32x4_t gx = vsubq_f32(smoothF32(ar, cr, br), smoothF32(al, cl, bl));
            const float32x4_t gy = vsubq_f32(smoothF32(bl, b0, br), smoothF32(al, a0, ar));
            vst1q_f32(dxRow + x, vmulq_n_f32(gx, 0.125f));
            vst1q_f32(dyRow + x, vmulq_n_f32(gy, 0.125f));
        });
    }
}

}  // namespace

extern "C" {

void obxFilterSobel3x3u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dst && (dstStride >= srcWidth));
    sobelMagnitude(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void obxImageGradientInterleaveds16V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     int16_t* gradients, uint32_t gradStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && gradients && (gradStride >= ((srcWidth-2)*2*sizeof(int16_t))));
    interleavedGradients<Kernel::Central, Scale::None>(src, srcWidth, srcHeight, srcStride, gradients, gradStride);
}

void obxImageGradientPlanars16V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                int16_t* dx, int16_t* dy, uint32_t dxyStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= (srcWidth*sizeof(int16_t))));
    planarGradients<Kernel::Central, Scale::None>(src, srcWidth, srcHeight, srcStride, dx, dy, dxyStride);
}

void obxImageGradientInterleavedf32V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     float32_t* gradients, uint32_t gradStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && gradients && (gradStride >= ((srcWidth-2)*2*sizeof(float))));
    interleavedGradients<Kernel::Central, Scale::None>(src, srcWidth, srcHeight, srcStride, gradients, gradStride);
}

void obxImageGradientPlanarf32V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                float32_t* dx, float32_t* dy, uint32_t dxyStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= (srcWidth*sizeof(float))));
    planarGradients<Kernel::Central, Scale::None>(src, srcWidth, srcHeight, srcStride, dx, dy, dxyStride);
}

void obxImageGradientSobelInterleaveds16V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, int16_t* gradients, uint32_t gradStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && gradients && (gradStride >= ((srcWidth-2)*2*sizeof(int16_t))));
    interleavedGradients<Kernel::Sobel, Scale::Shift3>(src, srcWidth, srcHeight, srcStride, gradients, gradStride);
}

void obxImageGradientSobelInterleaveds16_v3V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, int16_t* gradients, uint32_t gradStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && gradients && (gradStride >= ((srcWidth-2)*2*sizeof(int16_t))));
    interleavedGradients<Kernel::Sobel, Scale::None>(src, srcWidth, srcHeight, srcStride, gradients, gradStride);
}

void obxImageGradientSobelInterleavedf32V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, float32_t* gradients, uint32_t gradStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && gradients && (gradStride >= ((srcWidth-2)*2*sizeof(float))));
    interleavedGradients<Kernel::Sobel, Scale::Eighth>(src, srcWidth, srcHeight, srcStride, gradients, gradStride);
}

void obxImageGradientSobelPlanars16V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     int16_t* dx, int16_t* dy, uint32_t dxyStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= (srcWidth*sizeof(int16_t))));
    planarGradients<Kernel::Sobel, Scale::Shift3>(src, srcWidth, srcHeight, srcStride, dx, dy, dxyStride);
}

void obxImageGradientSobelPlanars16_v3V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, int16_t* dx, int16_t* dy, uint32_t dxyStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= (srcWidth*sizeof(int16_t))));
    planarGradients<Kernel::Sobel, Scale::None>(src, srcWidth, srcHeight, srcStride, dx, dy, dxyStride);
}

void obxImageGradientSobelPlanars8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    int8_t* dx, int8_t* dy, uint32_t dxyStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= srcWidth));
    planarGradients<Kernel::Sobel, Scale::Shift3>(src, srcWidth, srcHeight, srcStride, dx, dy, dxyStride);
}

void obxImageGradientSobelPlanarf32V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     float32_t* dx, float32_t* dy, uint32_t dxyStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= (srcWidth*sizeof(float))));
    planarGradients<Kernel::Sobel, Scale::Eighth>(src, srcWidth, srcHeight, srcStride, dx, dy, dxyStride);
}

void obxImageGradientSobelPlanarf32f32V(const float32_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, float32_t* dx, float32_t* dy, uint32_t dxyStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= (srcWidth*sizeof(float))) && dx && dy && (dxyStride >= (srcWidth*sizeof(float))));
    sobelPlanarFloat(src, srcWidth, srcHeight, srcStride / sizeof(float), dx, dy, dxyStride);
}

void obxImageGradientScharrInterleaveds16V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, int16_t* gradients, uint32_t gradStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth)&& gradients && (gradStride >= ((srcWidth-2)*2*sizeof(int16_t))));
    interleavedGradients<Kernel::Scharr, Scale::None>(src, srcWidth, srcHeight, srcStride, gradients, gradStride);
}

}  // extern "C"

// ==== Canny edge detector =========================================================
//
// Sixteen pixels per step in every pass but the trace. The smoothing,
// gradient and suppression passes run row by row, the suppression of a row as
// soon as the magnitudes of the row below it exist; the threshold flags need
// the largest magnitude of the image and follow in a second pass; the trace
// is the reference's, started from seeds found sixteen flags at a time.
// Only the ring of the working arrays that the passes read but never write
// is cleared.
//
// Magnitudes are kept as u16 in the magnitude buffer: a backward difference
// of the smoothed image is at most 128 in size (the difference of two
// neighbouring 3x3 sums is at most 4 * 2 * 255 = 2040, and the floors of the
// two sums / 16 differ by at most ceil(2040 / 16)), so dx^2 + dy^2 <= 32768.

namespace {

using namespace ombrix_canny;
using ombrix_blur::forEachStep;

constexpr ptrdiff_t kLanes = 16;

// Columns 2 .. width - 3; none (or a negative count) below 5 columns.
static inline ptrdiff_t interiorColumns(uint32_t width) {
    return static_cast<ptrdiff_t>(width) - 2 * static_cast<ptrdiff_t>(kMargin);
}

#if defined(__ARM_NEON) || defined(__ARM_NEON__)

static inline uint16x8x2_t squaresU8(uint8x16_t a) {
    return {{vmull_u8(vget_low_u8(a), vget_low_u8(a)), vmull_u8(vget_high_u8(a), vget_high_u8(a))}};
}
static inline uint32_t anyLane(uint8x16_t mask) {
    const uint8x8_t half = vorr_u8(vget_low_u8(mask), vget_high_u8(mask));
    return vget_lane_u32(vreinterpret_u32_u8(vpmax_u8(half, half)), 0);
}

#else

// Hosts avoid the 64-bit vector types (see ombrixBlurLanes.h).
static inline uint16x8x2_t squaresU8(uint8x16_t a) {
    const uint16x8x2_t w = ombrix_blur::widenU8(a);
    return {{vmulq_u16(w.val[0], w.val[0]), vmulq_u16(w.val[1], w.val[1])}};
}
static inline uint32_t anyLane(uint8x16_t mask) {
    const uint64x2_t halves = vreinterpretq_u64_u8(mask);
    return (vgetq_lane_u64(halves, 0) | vgetq_lane_u64(halves, 1)) != 0;
}

#endif

// Two u16 comparison masks as one mask of sixteen bytes, in order.
static inline uint8x16_t narrowMasks(uint16x8_t a, uint16x8_t b) { return ombrix_blur::narrowU16(a, b); }

// ---- Smoothing -------------------------------------------------------------------

// Vertical 1 2 1 sums of columns x .. x + 15 (at most 1020: u16).
static inline uint16x8x2_t columnSums(const uint8_t* const* rows, ptrdiff_t x) {
    const uint16x8x2_t outer = ombrix_blur::addWideU8(vld1q_u8(rows[0] + x), vld1q_u8(rows[2] + x));
    const uint8x16_t centre = vld1q_u8(rows[1] + x);
    const uint16x8x2_t twice = ombrix_blur::addWideU8(centre, centre);
    return {{vaddq_u16(outer.val[0], twice.val[0]), vaddq_u16(outer.val[1], twice.val[1])}};
}

// Smoothed columns x .. x + 15: the 2-D sum (at most 4080) shifted right by 4.
static inline void smooth16(const uint8_t* const* rows, ptrdiff_t x, uint8_t* out) {
    const uint16x8x2_t left = columnSums(rows, x - 1), middle = columnSums(rows, x), right = columnSums(rows, x + 1);
    uint16x8_t sums[2];
    for (int h = 0; h < 2; ++h)
        sums[h] = vaddq_u16(vaddq_u16(left.val[h], right.val[h]), vshlq_n_u16(middle.val[h], 1));
    vst1q_u8(out + x, ombrix_blur::shiftNarrowU16<4>(sums[0], sums[1]));
}

// Columns 1 .. width - 2 of the smoothed middle row of rows[0 .. 2].
void smoothRow(const uint8_t* const* rows, uint8_t* out, uint32_t width) {
    // The reference's grouping bound, asserted here too.
    const int32_t w_2 = static_cast<int32_t>(width) - 2;
    const int32_t w6 = w_2 / 6 * 6;
    OMBRIX_ASSERT(w6 <= w_2 && w6 >= w_2-5);
    // Local copies: stores through `out` could otherwise alias rows[].
    const uint8_t* const local[3] = {rows[0], rows[1], rows[2]};
    forEachStep(
        w_2, kLanes, [&](ptrdiff_t i) { smooth16(local, 1 + i, out); },
        [&](ptrdiff_t i) { out[1 + i] = smoothPixel(rows, 1 + i); });
}

// ---- Gradients -------------------------------------------------------------------

// Direction codes from the smoothed pixels c, their left neighbours and the
// pixels above, with |dx| and |dy| (both at most 255, so u8 lanes hold them).
static inline uint8x16_t directionCodes(uint8x16_t c, uint8x16_t left, uint8x16_t up, uint8x16_t adx,
                                        uint8x16_t ady) {
    const uint8x16_t zero = vdupq_n_u8(0);
    // 2a < b exactly when a < (b + 1) >> 1, the rounding halving add with 0.
    const uint8x16_t horizontal = vcltq_u8(ady, vrhaddq_u8(adx, zero));
    const uint8x16_t vertical = vcltq_u8(adx, vrhaddq_u8(ady, zero));
    // dx > 0 is c > left, dy > 0 is c > up; code 3 when both or neither hold.
    const uint8x16_t differ = veorq_u8(vcgtq_u8(c, left), vcgtq_u8(c, up));
    const uint8x16_t diagonal = vbslq_u8(differ, vdupq_n_u8(4), vdupq_n_u8(3));
    const uint8x16_t code = vbslq_u8(horizontal, vdupq_n_u8(1), vbslq_u8(vertical, vdupq_n_u8(2), diagonal));
    const uint8x16_t moving = vorrq_u8(adx, ady);
    return vandq_u8(code, vtstq_u8(moving, moving));
}

struct GradientRow {
    const uint8_t* previous;  // smoothed row y - 1
    const uint8_t* current;   // smoothed row y
    uint8_t* flags;           // row y of the flags
    uint16_t* mag;            // row y of the magnitudes
};

// Codes and magnitudes of columns x .. x + 15; returns `largest` raised to
// cover the new magnitudes.
static inline uint16x8_t gradients16(const GradientRow& r, ptrdiff_t x, uint16x8_t largest) {
    const uint8x16_t c = vld1q_u8(r.current + x), left = vld1q_u8(r.current + x - 1), up = vld1q_u8(r.previous + x);
    const uint8x16_t adx = vabdq_u8(c, left), ady = vabdq_u8(c, up);
    const uint16x8x2_t sx = squaresU8(adx), sy = squaresU8(ady);
    const uint16x8_t low = vaddq_u16(sx.val[0], sy.val[0]), high = vaddq_u16(sx.val[1], sy.val[1]);
    vst1q_u16(r.mag + x, low);
    vst1q_u16(r.mag + x + 8, high);
    vst1q_u8(r.flags + x, directionCodes(c, left, up, adx, ady));
    return vmaxq_u16(largest, vmaxq_u16(low, high));
}

// ---- Suppression and classification ---------------------------------------------

// Masks of the sixteen pixels at m whose magnitude c is a peak across
// offset o: mag(p + o) <= c and mag(p - o) < c.
static inline uint8x16_t peaksAcross(const uint16_t* m, ptrdiff_t o, const uint16x8_t* centre) {
    uint16x8_t peak[2];
    for (int k = 0; k < 2; ++k) {
        const uint16x8_t next = vld1q_u16(m + 8 * k + o), previous = vld1q_u16(m + 8 * k - o);
        peak[k] = vandq_u16(vcleq_u16(next, centre[k]), vcltq_u16(previous, centre[k]));
    }
    return narrowMasks(peak[0], peak[1]);
}

// Adds kLocalMaximum to the flags of columns x .. x + 15 of a row whose rows
// above and below have their magnitudes.
static inline void suppress16(uint8_t* flags, const uint16_t* mag, ptrdiff_t x, ptrdiff_t width) {
    const uint16_t* m = mag + x;
    const uint16x8_t centre[2] = {vld1q_u16(m), vld1q_u16(m + 8)};
    const uint8x16_t f = vld1q_u8(flags + x), code = vandq_u8(f, vdupq_n_u8(kCodeMask));
    const ptrdiff_t across[4] = {1, width, width + 1, width - 1};  // codes 1 .. 4
    uint8x16_t peak = vdupq_n_u8(0);
    for (int k = 0; k < 4; ++k) {
        const uint8x16_t ofCode = vceqq_u8(code, vdupq_n_u8(static_cast<uint8_t>(k + 1)));
        peak = vorrq_u8(peak, vandq_u8(ofCode, peaksAcross(m, across[k], centre)));
    }
    vst1q_u8(flags + x, vorrq_u8(f, vandq_u8(peak, vdupq_n_u8(kLocalMaximum))));
}

void suppressRow(uint8_t* flags, const uint16_t* mag, uint32_t width) {
    forEachStep(
        interiorColumns(width), kLanes,
        [&](ptrdiff_t i) { suppress16(flags, mag, kMargin + i, width); },
        [&](ptrdiff_t i) {
            const ptrdiff_t x = kMargin + i;
            const uint8_t code = flags[x] & kCodeMask;
            if (code && isLocalMaximum(mag + x, code, width)) flags[x] |= kLocalMaximum;
        });
}

// Adds the threshold flags to the flags of columns x .. x + 15 with a code.
static inline void classify16(uint8_t* flags, const uint16_t* mag, ptrdiff_t x, uint16x8_t lowT, uint16x8_t highT) {
    const uint16x8_t v[2] = {vld1q_u16(mag + x), vld1q_u16(mag + x + 8)};
    const uint8x16_t low = narrowMasks(vcgeq_u16(v[0], lowT), vcgeq_u16(v[1], lowT));
    const uint8x16_t high = narrowMasks(vcgeq_u16(v[0], highT), vcgeq_u16(v[1], highT));
    const uint8x16_t f = vld1q_u8(flags + x);
    const uint8x16_t added = vorrq_u8(vandq_u8(low, vdupq_n_u8(kAboveLow)), vandq_u8(high, vdupq_n_u8(kAboveHigh)));
    vst1q_u8(flags + x, vorrq_u8(f, vandq_u8(added, vtstq_u8(f, vdupq_n_u8(kCodeMask)))));
}

// ---- Hysteresis ------------------------------------------------------------------

// Traces from the seeds of row y in raster order, skipping sixteen flags at a
// time where none is a seed. Steps never overlap: a seed is traced once.
void traceRow(const uint8_t* flags, uint32_t width, uint8_t* dst, uint32_t dstStride, uint32_t y) {
    const uint8_t* row = flags + static_cast<size_t>(y) * width;
    const uint8x16_t seedBits = vdupq_n_u8(kLocalMaximum | kAboveHigh);
    constexpr uint32_t kStep = kLanes;
    uint32_t x = kMargin;
    for (; x + kStep + kMargin <= width; x += kStep) {
        if (anyLane(vceqq_u8(vandq_u8(vld1q_u8(row + x), seedBits), seedBits)))
            traceSeedsOfRow(flags, width, dst, dstStride, y, x, x + kStep);
    }
    traceSeedsOfRow(flags, width, dst, dstStride, y, x, width - kMargin);
}

// Zeroes the parts of the working arrays that no pass writes: the first and
// last two rows, and the first and last two columns of the others.
void clearRing(uint8_t* flags, uint16_t* mag, uint32_t width, uint32_t height) {
    const size_t twoRows = 2 * static_cast<size_t>(width);
    const size_t lastTwo = static_cast<size_t>(height - 2) * width;
    memset(flags, 0, twoRows);
    memset(flags + lastTwo, 0, twoRows);
    memset(mag, 0, twoRows * sizeof(uint16_t));
    memset(mag + lastTwo, 0, twoRows * sizeof(uint16_t));
    const size_t columns[4] = {0, 1, size_t{width} - 2, size_t{width} - 1};
    for (uint32_t y = kMargin; y + kMargin < height; ++y) {
        const size_t row = static_cast<size_t>(y) * width;
        for (const size_t x : columns) {
            flags[row + x] = 0;
            mag[row + x] = 0;
        }
    }
}

// Smoothing, gradients and suppression of rows 2 .. height - 3; returns the
// largest magnitude.
int32_t gradientsAndPeaks(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* smooth,
                          uint8_t* flags, uint16_t* mag) {
    auto sourceRow = [&](uint32_t y) { return src + static_cast<size_t>(y) * srcStride; };
    const uint8_t* rows[3] = {sourceRow(0), sourceRow(1), sourceRow(2)};
    uint8_t* previous = smooth;
    uint8_t* current = smooth + width;
    smoothRow(rows, previous, width);
    uint16x8_t largest = vdupq_n_u16(0);
    int32_t largestScalar = 0;
    for (uint32_t y = kMargin; y + kMargin < height; ++y) {
        rows[0] = rows[1];
        rows[1] = rows[2];
        rows[2] = sourceRow(y + 1);
        smoothRow(rows, current, width);
        const size_t row = static_cast<size_t>(y) * width;
        const GradientRow r = {previous, current, flags + row, mag + row};
        forEachStep(
            interiorColumns(width), kLanes,
            [&](ptrdiff_t i) { largest = gradients16(r, kMargin + i, largest); },
            [&](ptrdiff_t i) {
                const ptrdiff_t x = kMargin + i;
                int32_t m;
                r.flags[x] = gradientAt(previous, current, x, &m);
                r.mag[x] = static_cast<uint16_t>(m);
                if (m > largestScalar) largestScalar = m;
            });
        if (y > kMargin) suppressRow(flags + row - width, mag + row - width, width);
        uint8_t* done = previous;
        previous = current;
        current = done;
    }
    // The last row has the cleared ring below it.
    if (height >= 2 * kMargin + 1) {
        const size_t last = static_cast<size_t>(height - kMargin - 1) * width;
        suppressRow(flags + last, mag + last, width);
    }
    uint16_t lanes[8];
    vst1q_u16(lanes, largest);
    for (uint16_t v : lanes)
        if (v > largestScalar) largestScalar = v;
    return largestScalar;
}

}  // namespace

extern "C" {

void obxFilterCanny3x3u8V(const uint8_t* srcImg, uint32_t width, uint32_t height, uint32_t srcStride,
                          uint8_t* dstImg, uint32_t dstStride, int32_t low, int32_t high) {
    OMBRIX_ASSERT(srcImg && width && height && (srcStride >= width) && dstImg && (dstStride >= width) && (low <= high) && width > 2 && height > 2);
    const size_t pixels = static_cast<size_t>(width) * height;
    // Working memory from the unaligned scratch slot; a missing buffer ends
    // the process through the assertion naming it.
    uint8_t* smooth = static_cast<uint8_t*>(obxGetScratchBufferUnaligned_(2 * width));
    OMBRIX_ASSERT(smooth);
    uint8_t* dir = static_cast<uint8_t*>(obxGetScratchBufferUnaligned_(static_cast<uint32_t>(pixels)));
    OMBRIX_ASSERT(dir);
    // Requested at the reference's size, one int32_t a pixel; the
    // magnitudes here fit in u16.
    uint16_t* mag = static_cast<uint16_t*>(obxGetScratchBufferUnaligned_(static_cast<uint32_t>(pixels * sizeof(int32_t))));
    OMBRIX_ASSERT(mag);

    // One plain clear of width * height bytes, as the reference does.
    memset(dstImg, 0, pixels);
    clearRing(dir, mag, width, height);

    const int32_t maxMag = gradientsAndPeaks(srcImg, width, height, srcStride, smooth, dir, mag);
    const int32_t lowT = magnitudeThreshold(low, maxMag), highT = magnitudeThreshold(high, maxMag);

    // Thresholds above every magnitude (<= 32768) stay above them at 65535.
    const uint16x8_t lows = vdupq_n_u16(lowT > 65535 ? 65535 : static_cast<uint16_t>(lowT));
    const uint16x8_t highs = vdupq_n_u16(highT > 65535 ? 65535 : static_cast<uint16_t>(highT));
    for (uint32_t y = kMargin; y + kMargin < height; ++y) {
        const size_t row = static_cast<size_t>(y) * width;
        uint8_t* flags = dir + row;
        const uint16_t* m = mag + row;
        forEachStep(
            interiorColumns(width), kLanes,
            [&](ptrdiff_t i) { classify16(flags, m, kMargin + i, lows, highs); },
            [&](ptrdiff_t i) {
                const ptrdiff_t x = kMargin + i;
                if (flags[x] & kCodeMask) flags[x] |= thresholdFlags(m[x], lowT, highT);
            });
    }
    for (uint32_t y = kMargin; y + kMargin < height; ++y) traceRow(dir, width, dstImg, dstStride, y);

    obxReleaseScratchBuffer_(mag);
    obxReleaseScratchBuffer_(dir);
    obxReleaseScratchBuffer_(smooth);
}

}  // extern "C"
