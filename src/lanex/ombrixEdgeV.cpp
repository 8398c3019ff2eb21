// ---- Gradients and the Sobel edge filter --------------------------------------
//
// Vector central-difference, Sobel and Scharr derivatives. Sixteen pixels of
// an 8-bit image at a time: the differences are formed in 16-bit lanes, where
// every derivative is exact (Scharr reaches +-4080), then scaled, converted
// and stored. Sobel and Scharr first form two terms per column (a vertical
// smoothing and a vertical difference) and combine neighbouring columns, so
// each source pixel is widened once. A float image goes four pixels at a
// time, added in the reference's order. The last group of a row is moved
// back to end at the last interior pixel and rewrites a few results with the
// same values; rows with fewer interior pixels than a group take the scalar
// row of the references.
#include "ombrixAssert.h"
#include "ombrixBlurLanes.h"
#include "ombrixEdgeScalar.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

using namespace ombrix_edge;
using ombrix_blur::addWideU8;
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
    else return vmlaq_n_s16(vmulq_n_s16(outer, Smoothing<K>::outer), centre, Smoothing<K>::centre);
}

// Central differences of pixels x .. x + 15 of the centre row.
inline Gradients16 centralDifferences(const Rows<uint8_t>& r, uint32_t x) {
    const int16x8x2_t dx = subtractWideU8(vld1q_u8(r.centre + x + 1), vld1q_u8(r.centre + x - 1));
    const int16x8x2_t dy = subtractWideU8(vld1q_u8(r.below + x), vld1q_u8(r.above + x));
    return {{dx.val[0], dx.val[1]}, {dy.val[0], dy.val[1]}};
}

// The 3x3 kernels are separable: with, per column, the vertical smoothing
// V = outer * above + centre * at + outer * below (at most 4080) and the
// vertical difference D = below - above,
//   dx(x) = V(x+1) - V(x-1),  dy(x) = outer * D(x-1) + centre * D(x) + outer * D(x+1).
// Both column terms are formed once per column, sixteen columns at a time.
template <Kernel K>
inline void columnTerms(const Rows<uint8_t>& r, uint32_t column, int16_t* smoothed, int16_t* differences) {
    const uint8x16_t above = vld1q_u8(r.above + column), below = vld1q_u8(r.below + column);
    const uint16x8x2_t outer = addWideU8(above, below), at = widenU8(vld1q_u8(r.centre + column));
    const int16x8x2_t difference = subtractWideU8(below, above);
    for (int h = 0; h < 2; ++h) {
        vst1q_s16(smoothed + 8 * h,
                  weighted<K>(vreinterpretq_s16_u16(outer.val[h]), vreinterpretq_s16_u16(at.val[h])));
        vst1q_s16(differences + 8 * h, difference.val[h]);
    }
}

// dx and dy of sixteen pixels from the column terms of their left neighbours on.
template <Kernel K>
inline Gradients16 combineColumns(const int16_t* smoothed, const int16_t* differences) {
    Gradients16 g;
    for (int h = 0; h < 2; ++h) {
        const int16_t* v = smoothed + 8 * h;
        const int16_t* d = differences + 8 * h;
        g.dx[h] = vsubq_s16(vld1q_s16(v + 2), vld1q_s16(v));
        g.dy[h] = weighted<K>(vaddq_s16(vld1q_s16(d), vld1q_s16(d + 2)), vld1q_s16(d + 1));
    }
    return g;
}

// Hands the derivatives of the interior pixels of one row to store(x, g),
// sixteen pixels from x on at a time; rows with fewer interior pixels go to
// narrow(1, width - 1). Sobel and Scharr rows go in chunks whose column
// terms are kept on the stack.
template <Kernel K, typename Store, typename Narrow>
void deriveRow(Rows<uint8_t> r, uint32_t width, const Store& store, const Narrow& narrow) {
    const uint32_t interior = width - 2;
    if (interior < 16) {
        narrow(1, width - 1);
        return;
    }
    if constexpr (K == Kernel::Central) {
        forEachStep<16>(interior, [&](uint32_t i) { store(1 + i, centralDifferences(r, 1 + i)); });
    } else {
        constexpr uint32_t kChunk = 256;
        int16_t smoothed[kChunk + 2], differences[kChunk + 2];
        for (uint32_t start = 0; start < interior; start += kChunk) {
            uint32_t count = interior - start < kChunk ? interior - start : kChunk;
            if (count < 16) {  // a short last chunk moves back to a full step
                start = interior - 16;
                count = 16;
            }
            // Pixel 1 + start + j uses the column terms of columns start + j .. start + j + 2.
            forEachStep<16>(count + 2, [&](uint32_t i) {
                columnTerms<K>(r, start + i, smoothed + i, differences + i);
            });
            forEachStep<16>(count, [&](uint32_t j) {
                store(1 + start + j, combineColumns<K>(smoothed + j, differences + j));
            });
        }
    }
}

template <Scale S>
inline int16x8_t scaledS16(int16x8_t d) {
    if constexpr (S == Scale::Shift3) return vshrq_n_s16(d, 3);
    else return d;
}

// Eight derivatives as float, low four first.
template <Scale S>
inline float32x4x2_t scaledF32(int16x8_t d) {
    const int32x4x2_t wide = widenS16(d);
    float32x4x2_t f = {{vcvtq_f32_s32(wide.val[0]), vcvtq_f32_s32(wide.val[1])}};
    if constexpr (S == Scale::Eighth) {
        f.val[0] = vmulq_n_f32(f.val[0], 0.125f);
        f.val[1] = vmulq_n_f32(f.val[1], 0.125f);
    }
    return f;
}

// Sixteen (dx, dy) pairs from `pairs` on.
template <Scale S>
inline void storePairs(int16_t* pairs, const Gradients16& g) {
    for (int h = 0; h < 2; ++h) {
        const int16x8x2_t both = {{scaledS16<S>(g.dx[h]), scaledS16<S>(g.dy[h])}};
        vst2q_s16(pairs + 16 * h, both);
    }
}
template <Scale S>
inline void storePairs(float* pairs, const Gradients16& g) {
    for (int h = 0; h < 2; ++h) {
        const float32x4x2_t dx = scaledF32<S>(g.dx[h]), dy = scaledF32<S>(g.dy[h]);
        for (int q = 0; q < 2; ++q) {
            const float32x4x2_t both = {{dx.val[q], dy.val[q]}};
            vst2q_f32(pairs + 16 * h + 8 * q, both);
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

template <Kernel K, Scale S, typename Out>
void interleavedGradients(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, Out* gradients,
                          uint32_t gradStride) {
    if (width < 3 || height < 3) return;
    const size_t outStride = gradStride / sizeof(Out);
    for (uint32_t y = 1; y + 1 < height; ++y) {
        const Rows<uint8_t> r = rowsAround(src, srcStride, y);
        Out* pairs = rowAt(gradients, outStride, y - 1);
        deriveRow<K>(
            r, width, [pairs](uint32_t x, const Gradients16& g) { storePairs<S>(pairs + 2 * (x - 1), g); },
            [&](uint32_t first, uint32_t end) {
                gradientRow<K, S>(r.above, r.centre, r.below, first, end, pairs, pairs + 1, 2);
            });
    }
}

template <Kernel K, Scale S, typename Out>
void planarGradients(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, Out* dx, Out* dy,
                     uint32_t dxyStride) {
    if (width < 3 || height < 3) return;
    const size_t outStride = dxyStride / sizeof(Out);
    for (uint32_t y = 1; y + 1 < height; ++y) {
        const Rows<uint8_t> r = rowsAround(src, srcStride, y);
        Out* dxRow = rowAt(dx, outStride, y);
        Out* dyRow = rowAt(dy, outStride, y);
        deriveRow<K>(
            r, width, [dxRow, dyRow](uint32_t x, const Gradients16& g) { storePlanes<S>(dxRow + x, dyRow + x, g); },
            [&](uint32_t first, uint32_t end) {
                gradientRow<K, S>(r.above, r.centre, r.below, first, end, dxRow + first, dyRow + first, 1);
            });
    }
}

void sobelMagnitude(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
                    uint32_t dstStride) {
    if (width < 3 || height < 3) return;
    for (uint32_t y = 1; y + 1 < height; ++y) {
        const Rows<uint8_t> r = rowsAround(src, srcStride, y);
        uint8_t* out = rowAt(dst, dstStride, y);
        deriveRow<Kernel::Sobel>(
            r, width, [out](uint32_t x, const Gradients16& g) { vst1q_u8(out + x, magnitudes(g)); },
            [&](uint32_t first, uint32_t end) { sobelMagnitudeRow(r.above, r.centre, r.below, first, end, out); });
    }
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
        forEachStep<4>(width - 2, [&](uint32_t i) {
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
