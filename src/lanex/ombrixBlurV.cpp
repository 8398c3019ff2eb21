// Vector variants of the binomial smoothing filters on 8-bit and signed
// 16-bit images: the vertical kernel into column sums, then the horizontal
// kernel, both in NEON lanes wide enough to keep every sum exact.
#include "ombrixAssert.h"
#include "ombrixBlurLanes.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

using namespace ombrix_blur;

// Kernels on u8 whose column sums and 2-D sums fit u16 lanes, on blocks of
// sixteen columns loaded as their eight even and eight odd columns (vld2):
// taps two columns apart lie in one plane, so each horizontal kernel needs
// half the lane extractions, and results whose 2-D sums hold them in their
// high bytes return to pixel order with one shift-and-insert.
template <int Radius>
struct GaussianEvenOdd {
    using Pixel = uint8_t;
    using Vec = uint8x8x2_t;    // even columns, odd columns
    using Cols = uint16x8x2_t;  // their column sums
    static constexpr int R = Radius;
    static constexpr ptrdiff_t kLanes = 16;
    static constexpr int kRowsPerPass = 2;  // rows share loads; 3 measured slower
    static OMBRIX_ALWAYS_INLINE uint8x8x2_t load(const uint8_t* p) { return vld2_u8(p); }
    // Outputs 2i from the high byte of even[i], 2i+1 from that of odd[i].
    static OMBRIX_ALWAYS_INLINE void store(uint8_t* out, uint16x8_t even, uint16x8_t odd) {
        vst1q_u8(out, vreinterpretq_u8_u16(vsriq_n_u16(odd, even, 8)));
    }
};

// 3x3 on u8: column sums a + 2b + c <= 1020 and the 2-D sums <= 4080, so
// sums << 4 (<= 65280) still fit and hold the results in their high bytes.
struct Gaussian3x3u8 : GaussianEvenOdd<1> {
    static OMBRIX_ALWAYS_INLINE Cols columns(const Vec* row) {
        const uint8x8_t two = vdup_n_u8(2);
        Cols sums;
        for (int h = 0; h < 2; ++h)
            sums.val[h] = vmlal_u8(vaddl_u8(row[0].val[h], row[2].val[h]), row[1].val[h], two);
        return sums;
    }
    // Output 2i is e[i] + 2 o[i] + e[i+1], output 2i+1 is o[i] + 2 e[i+1] + o[i+1].
    static OMBRIX_ALWAYS_INLINE void outputs(const Cols& c, const Cols& n, uint8_t* out) {
        const uint16x8_t e = c.val[0], o = c.val[1];
        const uint16x8_t e1 = vextq_u16(e, n.val[0], 1), o1 = vextq_u16(o, n.val[1], 1);
        const uint16x8_t even = mlaConst(vaddq_u16(e, e1), o, 2), odd = mlaConst(vaddq_u16(o, o1), e1, 2);
        store(out, vshlq_n_u16(even, 4), vshlq_n_u16(odd, 4));
    }
};

// 5x5 on u8: column sums <= 16 * 255 and the 2-D sums <= 256 * 255, whose
// high bytes are the results.
struct Gaussian5x5u8 : GaussianEvenOdd<2> {
    static OMBRIX_ALWAYS_INLINE Cols columns(const Vec* row) {
        const uint8x8_t six = vdup_n_u8(6);
        Cols sums;
        for (int h = 0; h < 2; ++h) {
            const uint16x8_t outer = vaddl_u8(row[0].val[h], row[4].val[h]);
            const uint16x8_t inner = vaddl_u8(row[1].val[h], row[3].val[h]);
            sums.val[h] = vmlal_u8(mlaConst(outer, inner, 4), row[2].val[h], six);
        }
        return sums;
    }
    // Output 2i is e[i] + 4 o[i] + 6 e[i+1] + 4 o[i+1] + e[i+2], output 2i+1
    // the same with the planes swapped and one lane on.
    static OMBRIX_ALWAYS_INLINE void outputs(const Cols& c, const Cols& n, uint8_t* out) {
        const uint16x8_t e = c.val[0], o = c.val[1];
        const uint16x8_t e1 = vextq_u16(e, n.val[0], 1), e2 = vextq_u16(e, n.val[0], 2);
        const uint16x8_t o1 = vextq_u16(o, n.val[1], 1), o2 = vextq_u16(o, n.val[1], 2);
        const uint16x8_t even = mlaConst(mlaConst(vaddq_u16(e, e2), vaddq_u16(o, o1), 4), e1, 6);
        const uint16x8_t odd = mlaConst(mlaConst(vaddq_u16(o, o2), vaddq_u16(e1, e2), 4), o1, 6);
        store(out, even, odd);
    }
};

// 11x11 on u8: column sums reach 1024 * 255, so they are kept in u32 lanes;
// the 2-D sums (at most 255 << 20) fit too. The multipliers are lanes of
// constant d registers, read by the lane forms of the multiply-accumulates:
// splatted, they would take a q register each, and the column sums of two
// blocks need most of them.
struct Gaussian11x11u8 {
    using Pixel = uint8_t;
    using Vec = uint8x16_t;
    using Cols = uint32x4x4_t;
    static constexpr int R = 5;
    static constexpr ptrdiff_t kLanes = 16;
    static constexpr int kRowsPerPass = 1;  // 2 measured far slower
    static OMBRIX_ALWAYS_INLINE uint8x16_t load(const uint8_t* p) { return vld1q_u8(p); }

    // V = p0 + 10 p1 + 45 p2 + 6 (20 p3 + 35 p4 + 42 c) with p_k the sums of
    // the rows k and 10 - k and c the centre row: both parts (<= 28560 and
    // <= 38760) still fit u16 lanes, so only the last step is widened.
    static OMBRIX_ALWAYS_INLINE Cols columns(const Vec* row) {
        static const uint16_t kMultipliers[4] = {10, 45, 20, 35};
        static const uint16_t kSix[4] = {6, 6, 6, 6};
        const uint16x4_t k = vld1_u16(kMultipliers), six = vld1_u16(kSix);
        uint16x8x2_t pairs[5];
        for (int j = 0; j < 5; ++j) pairs[j] = addWideU8(row[j], row[10 - j]);
        uint16x8x2_t inner;
        for (int h = 0; h < 2; ++h)
            inner.val[h] = mlaLane<3>(vmulq_lane_u16(pairs[3].val[h], k, 2), pairs[4].val[h], k);
        inner = mlaWideU8(inner, row[5], 42);
        Cols sums;
        for (int h = 0; h < 2; ++h) {
            const uint16x8_t outer =
                mlaLane<1>(mlaLane<0>(pairs[0].val[h], pairs[1].val[h], k), pairs[2].val[h], k);
            const uint32x4x2_t sum = mlaWideU16(widenU16(outer), inner.val[h], six);
            sums.val[2 * h] = sum.val[0];
            sums.val[2 * h + 1] = sum.val[1];
        }
        return sums;
    }
    // The 2-D sums of the four outputs starting at lane 0 of a: the column
    // sums a, b, c and the first two lanes of d.
    static OMBRIX_ALWAYS_INLINE uint32x4_t row(uint32x4_t a, uint32x4_t b, uint32x4_t c, uint32x4_t d) {
        static const uint32_t kMultipliers[6] = {10, 45, 120, 210, 252, 0};  // read as three d registers
        const uint32x2_t k0 = vld1_u32(kMultipliers), k1 = vld1_u32(kMultipliers + 2), k2 = vld1_u32(kMultipliers + 4);
        uint32x4_t sum = vaddq_u32(a, vextq_u32(c, d, 2));
        sum = mlaLane<0>(sum, vaddq_u32(vextq_u32(a, b, 1), vextq_u32(c, d, 1)), k0);
        sum = mlaLane<1>(sum, vaddq_u32(vextq_u32(a, b, 2), c), k0);
        sum = mlaLane<0>(sum, vaddq_u32(vextq_u32(a, b, 3), vextq_u32(b, c, 3)), k1);
        sum = mlaLane<1>(sum, vaddq_u32(b, vextq_u32(b, c, 2)), k1);
        return mlaLane<0>(sum, vextq_u32(b, c, 1), k2);
    }
    // Sums >> 16 are at most 255 << 4 and fit u16; results >> 4 fit u8.
    static OMBRIX_ALWAYS_INLINE void outputs(const Cols& c, const Cols& n, uint8_t* out) {
        const uint16x8_t low = shiftNarrowU32<16>(row(c.val[0], c.val[1], c.val[2], c.val[3]),
                                                  row(c.val[1], c.val[2], c.val[3], n.val[0]));
        const uint16x8_t high = shiftNarrowU32<16>(row(c.val[2], c.val[3], n.val[0], n.val[1]),
                                                   row(c.val[3], n.val[0], n.val[1], n.val[2]));
        vst1q_u8(out, shiftNarrowU16<4>(low, high));
    }
};

// 5x5 on s16: column sums (|v| <= 16 * 32768) and the 2-D sums (|v| <= 2^23)
// fit s32 lanes without overflow. Blocks of eight columns are loaded as
// four even and four odd columns (vld2), as for the u8 kernels, and the
// results stored back interleaved (vst2).
struct Gaussian5x5s16 {
    using Pixel = int16_t;
    using Vec = int16x4x2_t;   // even columns, odd columns
    using Cols = int32x4x2_t;  // their column sums
    static constexpr int R = 2;
    static constexpr ptrdiff_t kLanes = 8;
    static constexpr int kRowsPerPass = 1;  // 2 measured slower
    static OMBRIX_ALWAYS_INLINE int16x4x2_t load(const int16_t* p) { return vld2_s16(p); }

    static OMBRIX_ALWAYS_INLINE Cols columns(const Vec* row) {
        const int16x4_t six = vdup_n_s16(6);
        Cols sums;
        for (int h = 0; h < 2; ++h) {
            const int32x4_t outer = vaddl_s16(row[0].val[h], row[4].val[h]);
            const int32x4_t inner = vaddl_s16(row[1].val[h], row[3].val[h]);
            sums.val[h] = vmlal_s16(mlaConst(outer, inner, 4), row[2].val[h], six);
        }
        return sums;
    }
    // Output 2i is e[i] + 4 o[i] + 6 e[i+1] + 4 o[i+1] + e[i+2], output 2i+1
    // the same with the planes swapped and one lane on. The arithmetic shift
    // leaves values in the s16 range.
    static OMBRIX_ALWAYS_INLINE void outputs(const Cols& c, const Cols& n, int16_t* out) {
        const int32x4_t e = c.val[0], o = c.val[1];
        const int32x4_t e1 = vextq_s32(e, n.val[0], 1), e2 = vextq_s32(e, n.val[0], 2);
        const int32x4_t o1 = vextq_s32(o, n.val[1], 1), o2 = vextq_s32(o, n.val[1], 2);
        const int32x4_t even = mlaConst(mlaConst(vaddq_s32(e, e2), vaddq_s32(o, o1), 4), e1, 6);
        const int32x4_t odd = mlaConst(mlaConst(vaddq_s32(o, o2), vaddq_s32(e1, e2), 4), o1, 6);
        const int16x4x2_t results = {{vshrn_n_s32(even, 8), vshrn_n_s32(odd, 8)}};
        vst2_s16(out, results);
    }
};

}  // namespace

extern "C" {

void obxFilterGaussian3x3u8V(const uint8_t* srcImg, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dstImg, uint32_t dstStride, uint32_t blurBorder) {
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    // The same bound as the reference's six-pixel grouping, so that the
    // widths it rejects are rejected here too.
    const int32_t w_2 = static_cast<int32_t>(srcWidth) - 2;
    const int32_t w6 = w_2 / 6 * 6;
    OMBRIX_ASSERT(w6<=w_2 && w6>=w_2-5);
    blurVector<Gaussian3x3u8>(srcImg, srcWidth, srcHeight, srcStride, dstImg, dstStride, blurBorder);
}

void obxFilterGaussian5x5u8V(const uint8_t* srcImg, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dstImg, uint32_t dstStride, uint32_t blurBorder) {
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcHeight > 4 && srcWidth > 4);
    blurVector<Gaussian5x5u8>(srcImg, srcWidth, srcHeight, srcStride, dstImg, dstStride, blurBorder);
}

void obxFilterGaussian11x11u8V(const uint8_t* srcImg, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint8_t* dstImg, uint32_t dstStride, uint32_t blurBorder) {
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcHeight > 10 && srcWidth > 10);
    blurVector<Gaussian11x11u8>(srcImg, srcWidth, srcHeight, srcStride, dstImg, dstStride, blurBorder);
}

void obxFilterGaussian5x5s16V(const int16_t* srcImg, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              int16_t* dstImg, uint32_t dstStride, uint32_t blurBorder) {
    // Byte strides to elements, a remainder dropped, before they are checked.
    srcStride /= sizeof(int16_t);
    dstStride /= sizeof(int16_t);
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcHeight > 1);
    blurVector<Gaussian5x5s16>(srcImg, srcWidth, srcHeight, srcStride, dstImg, dstStride, blurBorder);
}

}  // extern "C"
