// Vector variants of the binomial smoothing filters on 8-bit and signed
// 16-bit images: the vertical kernel into column sums, then the horizontal
// kernel, both in NEON lanes wide enough to keep every sum exact.
#include "ombrixAssert.h"
#include "ombrixBlurLanes.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

using namespace ombrix_blur;

// Kernels on u8 whose column sums and 2-D sums fit u16 lanes: K supplies
// columns() and row(c, n), the 2-D sums of the eight outputs starting at
// lane 0 of the column sums c (n holding the ones after); this loads
// sixteen pixels a row and shifts and narrows sixteen outputs at a time.
template <class K, int Radius>
struct GaussianThroughU16 {
    using Pixel = uint8_t;
    using Vec = uint8x16_t;
    using Cols = uint16x8x2_t;
    static constexpr int R = Radius;
    static constexpr ptrdiff_t kLanes = 16;
    static constexpr int kRowsPerPass = 2;  // rows share loads; 3 measured slower
    static OMBRIX_ALWAYS_INLINE uint8x16_t load(const uint8_t* p) { return vld1q_u8(p); }
    static OMBRIX_ALWAYS_INLINE void outputs(const Cols& c, const Cols& n, uint8_t* out) {
        vst1q_u8(out, shiftNarrowU16<Binomial<R>::shift>(K::row(c.val[0], c.val[1]), K::row(c.val[1], n.val[0])));
    }
};

// 3x3 on u8: column sums a + 2b + c <= 1020 and the 2-D sums <= 4080.
struct Gaussian3x3u8 : GaussianThroughU16<Gaussian3x3u8, 1> {
    static OMBRIX_ALWAYS_INLINE Cols columns(const Vec* row) {
        return mlaWideU8(addWideU8(row[0], row[2]), row[1], 2);
    }
    static OMBRIX_ALWAYS_INLINE uint16x8_t row(uint16x8_t c, uint16x8_t n) {
        return mlaConst(vaddq_u16(c, vextq_u16(c, n, 2)), vextq_u16(c, n, 1), 2);
    }
};

// 5x5 on u8: column sums <= 16 * 255 and the 2-D sums <= 256 * 255.
struct Gaussian5x5u8 : GaussianThroughU16<Gaussian5x5u8, 2> {
    static OMBRIX_ALWAYS_INLINE Cols columns(const Vec* row) {
        const Cols outer = addWideU8(row[0], row[4]), inner = addWideU8(row[1], row[3]);
        const Cols sum = {{mlaConst(outer.val[0], inner.val[0], 4), mlaConst(outer.val[1], inner.val[1], 4)}};
        return mlaWideU8(sum, row[2], 6);
    }
    static OMBRIX_ALWAYS_INLINE uint16x8_t row(uint16x8_t c, uint16x8_t n) {
        const uint16x8_t outer = vaddq_u16(c, vextq_u16(c, n, 4));
        const uint16x8_t inner = vaddq_u16(vextq_u16(c, n, 1), vextq_u16(c, n, 3));
        return mlaConst(mlaConst(outer, inner, 4), vextq_u16(c, n, 2), 6);
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
// fit s32 lanes without overflow.
struct Gaussian5x5s16 {
    using Pixel = int16_t;
    using Vec = int16x8_t;
    using Cols = int32x4x2_t;
    static constexpr int R = 2;
    static constexpr ptrdiff_t kLanes = 8;
    static constexpr int kRowsPerPass = 2;  // rows share loads; 3 measured slower
    static OMBRIX_ALWAYS_INLINE int16x8_t load(const int16_t* p) { return vld1q_s16(p); }

    static OMBRIX_ALWAYS_INLINE Cols columns(const Vec* row) {
        const Cols outer = addWideS16(row[0], row[4]), inner = addWideS16(row[1], row[3]);
        const Cols sum = {{mlaConst(outer.val[0], inner.val[0], 4), mlaConst(outer.val[1], inner.val[1], 4)}};
        static const int16_t kSix[4] = {6, 6, 6, 6};
        return mlaWideS16(sum, row[2], vld1_s16(kSix));
    }
    // The 2-D sums of the four outputs starting at lane 0 of c.
    static OMBRIX_ALWAYS_INLINE int32x4_t row(int32x4_t c, int32x4_t n) {
        const int32x4_t outer = vaddq_s32(c, n);
        const int32x4_t inner = vaddq_s32(vextq_s32(c, n, 1), vextq_s32(c, n, 3));
        return mlaConst(mlaConst(outer, inner, 4), vextq_s32(c, n, 2), 6);
    }
    // The arithmetic shift leaves values in the s16 range.
    static OMBRIX_ALWAYS_INLINE void outputs(const Cols& c, const Cols& n, int16_t* out) {
        vst1q_s16(out, shiftNarrowS32<8>(row(c.val[0], c.val[1]), row(c.val[1], n.val[0])));
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
