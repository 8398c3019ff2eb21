// ---- Gradients and the Sobel edge filter --------------------------------------
//
// Vector central-difference, Sobel and Scharr derivatives. Eight pixels of an
// 8-bit image at a time: the differences are formed in 16-bit lanes, where
// every derivative is exact (Scharr reaches +-4080), then scaled, converted
// and stored; a float image goes four pixels at a time. The last group of a
// row is moved back to end at the last interior pixel and rewrites a few
// results with the same values; rows with fewer interior pixels than a group
// take the scalar row of the references.
#include "ombrixAssert.h"
#include "ombrixEdgeScalar.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

using namespace ombrix_edge;

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

// Runs block(x) on output columns x .. x + N - 1 over the interior columns
// 1 .. width - 2, the last group ending at width - 2; narrower rows go to
// narrow(1, width - 1). Blocks read columns x - 1 .. x + N, all in the row.
template <uint32_t N, typename Block, typename Narrow>
inline void sweepInterior(uint32_t width, const Block& block, const Narrow& narrow) {
    const uint32_t end = width - 1;
    if (end - 1 < N) {
        narrow(1, end);
        return;
    }
    uint32_t x = 1;
    for (; x + N <= end; x += N) block(x);
    if (x < end) block(end - N);
}

inline int16x8_t signedDifference(uint16x8_t a, uint16x8_t b) { return vreinterpretq_s16_u16(vsubq_u16(a, b)); }

// outer * o + centre * c with the kernel's smoothing weights.
template <Kernel K>
inline int16x8_t weighted(int16x8_t outer, int16x8_t centre) {
    if constexpr (K == Kernel::Sobel) return vaddq_s16(outer, vshlq_n_s16(centre, 1));
    else return vmlaq_n_s16(vmulq_n_s16(outer, Smoothing<K>::outer), centre, Smoothing<K>::centre);
}

// dx and dy of pixels x .. x + 7 of the centre row. The differences wrap in
// u16 lanes and read back as the exact signed values.
template <Kernel K>
inline void derive8(const Rows<uint8_t>& r, uint32_t x, int16x8_t& dx, int16x8_t& dy) {
    if constexpr (K == Kernel::Central) {
        dx = vreinterpretq_s16_u16(vsubl_u8(vld1_u8(r.centre + x + 1), vld1_u8(r.centre + x - 1)));
        dy = vreinterpretq_s16_u16(vsubl_u8(vld1_u8(r.below + x), vld1_u8(r.above + x)));
    } else {
        const uint8x8_t al = vld1_u8(r.above + x - 1), a0 = vld1_u8(r.above + x), ar = vld1_u8(r.above + x + 1);
        const uint8x8_t bl = vld1_u8(r.below + x - 1), b0 = vld1_u8(r.below + x), br = vld1_u8(r.below + x + 1);
        const uint8x8_t cl = vld1_u8(r.centre + x - 1), cr = vld1_u8(r.centre + x + 1);
        // dx: right column minus left column; dy: row below minus row above.
        dx = weighted<K>(signedDifference(vaddl_u8(ar, br), vaddl_u8(al, bl)),
                         vreinterpretq_s16_u16(vsubl_u8(cr, cl)));
        dy = weighted<K>(signedDifference(vaddl_u8(bl, br), vaddl_u8(al, ar)),
                         vreinterpretq_s16_u16(vsubl_u8(b0, a0)));
    }
}

template <Scale S>
inline int16x8_t scaledS16(int16x8_t d) {
    if constexpr (S == Scale::Shift3) return vshrq_n_s16(d, 3);
    else return d;
}

template <Scale S>
inline float32x4_t scaledF32(int16x4_t d) {
    const float32x4_t f = vcvtq_f32_s32(vmovl_s16(d));
    if constexpr (S == Scale::Eighth) return vmulq_n_f32(f, 0.125f);
    else return f;
}

// Eight (dx, dy) pairs from `pairs` on.
template <Scale S>
inline void storePairs(int16_t* pairs, int16x8_t dx, int16x8_t dy) {
    const int16x8x2_t both = {{scaledS16<S>(dx), scaledS16<S>(dy)}};
    vst2q_s16(pairs, both);
}
template <Scale S>
inline void storePairs(float* pairs, int16x8_t dx, int16x8_t dy) {
    const float32x4x2_t low = {{scaledF32<S>(vget_low_s16(dx)), scaledF32<S>(vget_low_s16(dy))}};
    const float32x4x2_t high = {{scaledF32<S>(vget_high_s16(dx)), scaledF32<S>(vget_high_s16(dy))}};
    vst2q_f32(pairs, low);
    vst2q_f32(pairs + 8, high);
}

// Eight results into each plane.
template <Scale S>
inline void storePlanes(int16_t* dxOut, int16_t* dyOut, int16x8_t dx, int16x8_t dy) {
    vst1q_s16(dxOut, scaledS16<S>(dx));
    vst1q_s16(dyOut, scaledS16<S>(dy));
}
template <Scale S>
inline void storePlanes(int8_t* dxOut, int8_t* dyOut, int16x8_t dx, int16x8_t dy) {
    static_assert(S == Scale::Shift3, "only the shifted Sobel fits 8 bits");
    vst1_s8(dxOut, vshrn_n_s16(dx, 3));
    vst1_s8(dyOut, vshrn_n_s16(dy, 3));
}
template <Scale S>
inline void storePlanes(float* dxOut, float* dyOut, int16x8_t dx, int16x8_t dy) {
    vst1q_f32(dxOut, scaledF32<S>(vget_low_s16(dx)));
    vst1q_f32(dxOut + 4, scaledF32<S>(vget_high_s16(dx)));
    vst1q_f32(dyOut, scaledF32<S>(vget_low_s16(dy)));
    vst1q_f32(dyOut + 4, scaledF32<S>(vget_high_s16(dy)));
}

template <Kernel K, Scale S, typename Out>
void interleavedGradients(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, Out* gradients,
                          uint32_t gradStride) {
    if (width < 3 || height < 3) return;
    const size_t outStride = gradStride / sizeof(Out);
    for (uint32_t y = 1; y + 1 < height; ++y) {
        const Rows<uint8_t> r = rowsAround(src, srcStride, y);
        Out* pairs = rowAt(gradients, outStride, y - 1);
        sweepInterior<8>(
            width,
            [&](uint32_t x) {
                int16x8_t dx, dy;
                derive8<K>(r, x, dx, dy);
                storePairs<S>(pairs + 2 * (x - 1), dx, dy);
            },
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
        sweepInterior<8>(
            width,
            [&](uint32_t x) {
                int16x8_t gx, gy;
                derive8<K>(r, x, gx, gy);
                storePlanes<S>(dxRow + x, dyRow + x, gx, gy);
            },
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
        sweepInterior<8>(
            width,
            [&](uint32_t x) {
                int16x8_t dx, dy;
                derive8<Kernel::Sobel>(r, x, dx, dy);
                // |dx| + |dy| <= 2040 fits s16; the narrowing saturates at 255.
                vst1_u8(out + x, vqmovun_s16(vaddq_s16(vabsq_s16(dx), vabsq_s16(dy))));
            },
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
        sweepInterior<4>(
            width,
            [&](uint32_t x) {
                const float32x4_t al = vld1q_f32(r.above + x - 1), a0 = vld1q_f32(r.above + x);
                const float32x4_t ar = vld1q_f32(r.above + x + 1), bl = vld1q_f32(r.below + x - 1);
                const float32x4_t b0 = vld1q_f32(r.below + x), br = vld1q_f32(r.below + x + 1);
                const float32x4_t cl = vld1q_f32(r.centre + x - 1), cr = vld1q_f32(r.centre + x + 1);
                const float32x4_t gx = vsubq_f32(smoothF32(ar, cr, br), smoothF32(al, cl, bl));
                const float32x4_t gy = vsubq_f32(smoothF32(bl, b0, br), smoothF32(al, a0, ar));
                vst1q_f32(dxRow + x, vmulq_n_f32(gx, 0.125f));
                vst1q_f32(dyRow + x, vmulq_n_f32(gy, 0.125f));
            },
            [&](uint32_t first, uint32_t end) {
                gradientRow<Kernel::Sobel, Scale::Eighth>(r.above, r.centre, r.below, first, end, dxRow + first,
                                                          dyRow + first, 1);
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
