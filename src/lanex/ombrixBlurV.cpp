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
// columns() and row(), the 2-D sums of eight outputs; this shifts and
// narrows sixteen of them at a time.
template <class K, int R>
struct GaussianThroughU16 : ScalarStages<uint8_t, R, uint16_t> {
    static constexpr ptrdiff_t kColumnLanes = 16, kOutputLanes = 16;
    static inline void outputs(const uint16_t* mid, uint8_t* out) {
        vst1q_u8(out, shiftNarrowU16<Binomial<R>::shift>(K::row(mid), K::row(mid + 8)));
    }
};

// 3x3 on u8: column sums a + 2b + c <= 1020 and the 2-D sum <= 4080.
struct Gaussian3x3u8 : GaussianThroughU16<Gaussian3x3u8, 1> {
    static inline void columns(const uint8_t* const* rows, ptrdiff_t x, uint16_t* mid) {
        const uint8x16_t a = vld1q_u8(rows[0] + x), b = vld1q_u8(rows[1] + x), c = vld1q_u8(rows[2] + x);
        const uint16x8x2_t outer = addWideU8(a, c), centre = addWideU8(b, b);
        vst1q_u16(mid, vaddq_u16(outer.val[0], centre.val[0]));
        vst1q_u16(mid + 8, vaddq_u16(outer.val[1], centre.val[1]));
    }
    static inline uint16x8_t row(const uint16_t* m) {
        return vaddq_u16(vaddq_u16(vld1q_u16(m), vld1q_u16(m + 2)), vshlq_n_u16(vld1q_u16(m + 1), 1));
    }
};

// 5x5 on u8: column sums <= 16 * 255 and the 2-D sum <= 256 * 255.
struct Gaussian5x5u8 : GaussianThroughU16<Gaussian5x5u8, 2> {
    static inline void columns(const uint8_t* const* rows, ptrdiff_t x, uint16_t* mid) {
        uint8x16_t a[5];
        for (int j = 0; j < 5; ++j) a[j] = vld1q_u8(rows[j] + x);
        const uint16x8x2_t outer = addWideU8(a[0], a[4]), inner = addWideU8(a[1], a[3]), centre = widenU8(a[2]);
        for (int h = 0; h < 2; ++h) {
            const uint16x8_t sum = vaddq_u16(outer.val[h], vshlq_n_u16(inner.val[h], 2));
            vst1q_u16(mid + 8 * h, vmlaq_n_u16(sum, centre.val[h], 6));
        }
    }
    static inline uint16x8_t row(const uint16_t* m) {
        const uint16x8_t outer = vaddq_u16(vld1q_u16(m), vld1q_u16(m + 4));
        const uint16x8_t inner = vshlq_n_u16(vaddq_u16(vld1q_u16(m + 1), vld1q_u16(m + 3)), 2);
        return vmlaq_n_u16(vaddq_u16(outer, inner), vld1q_u16(m + 2), 6);
    }
};

// 11x11 on u8: column sums reach 1024 * 255, so they are kept in u32 lanes;
// the 2-D sum (at most 255 << 20) fits too. Symmetric taps are paired first
// (a pair of u8 fits u16) and then widened by multiply-accumulate.
struct Gaussian11x11u8 : ScalarStages<uint8_t, 5, uint32_t> {
    static constexpr ptrdiff_t kColumnLanes = 16, kOutputLanes = 16;

    // V = p0 + 10 p1 + 45 p2 + 6 (20 p3 + 35 p4 + 42 c) with p_k the pair sums
    // and c the centre row: both parts (<= 28560 and <= 38760) still fit
    // u16 lanes, so only the last step is widened.
    static inline void columns(const uint8_t* const* rows, ptrdiff_t x, uint32_t* mid) {
        uint16x8x2_t pairs[5];
        for (int j = 0; j < 5; ++j) pairs[j] = addWideU8(vld1q_u8(rows[j] + x), vld1q_u8(rows[10 - j] + x));
        const uint16x8x2_t centre = widenU8(vld1q_u8(rows[5] + x));
        for (int h = 0; h < 2; ++h) {
            const uint16x8_t outer =
                vmlaq_n_u16(vmlaq_n_u16(pairs[0].val[h], pairs[1].val[h], 10), pairs[2].val[h], 45);
            const uint16x8_t inner = vmlaq_n_u16(
                vmlaq_n_u16(vmulq_n_u16(pairs[3].val[h], 20), pairs[4].val[h], 35), centre.val[h], 42);
            const uint32x4x2_t sum = mlaWideU16(widenU16(outer), inner, 6);
            vst1q_u32(mid + 8 * h, sum.val[0]);
            vst1q_u32(mid + 8 * h + 4, sum.val[1]);
        }
    }
    static inline uint32x4_t row(const uint32_t* m) {
        uint32x4_t sum = vaddq_u32(vld1q_u32(m), vld1q_u32(m + 10));
        sum = vmlaq_n_u32(sum, vaddq_u32(vld1q_u32(m + 1), vld1q_u32(m + 9)), 10);
        sum = vmlaq_n_u32(sum, vaddq_u32(vld1q_u32(m + 2), vld1q_u32(m + 8)), 45);
        sum = vmlaq_n_u32(sum, vaddq_u32(vld1q_u32(m + 3), vld1q_u32(m + 7)), 120);
        sum = vmlaq_n_u32(sum, vaddq_u32(vld1q_u32(m + 4), vld1q_u32(m + 6)), 210);
        return vshrq_n_u32(vmlaq_n_u32(sum, vld1q_u32(m + 5), 252), 20);
    }
    // Results are at most 255 after the shift, so the low bytes are exact.
    static inline void outputs(const uint32_t* mid, uint8_t* out) {
        const uint16x8_t low = narrowU32(row(mid), row(mid + 4));
        const uint16x8_t high = narrowU32(row(mid + 8), row(mid + 12));
        vst1q_u8(out, narrowU16(low, high));
    }
};

// 5x5 on s16: column sums (|v| <= 16 * 32768) and the 2-D sum (|v| <= 2^23)
// fit s32 lanes without overflow; they are stored as their u32 bit patterns.
struct Gaussian5x5s16 : ScalarStages<int16_t, 2, uint32_t> {
    static constexpr ptrdiff_t kColumnLanes = 8, kOutputLanes = 8;

    static inline void columns(const int16_t* const* rows, ptrdiff_t x, uint32_t* mid) {
        int16x8_t a[5];
        for (int j = 0; j < 5; ++j) a[j] = vld1q_s16(rows[j] + x);
        const int32x4x2_t outer = addWideS16(a[0], a[4]), inner = addWideS16(a[1], a[3]), centre = widenS16(a[2]);
        for (int h = 0; h < 2; ++h) {
            const int32x4_t sum = vmlaq_n_s32(vmlaq_n_s32(outer.val[h], inner.val[h], 4), centre.val[h], 6);
            vst1q_u32(mid + 4 * h, vreinterpretq_u32_s32(sum));
        }
    }
    static inline int32x4_t load(const uint32_t* m) { return vreinterpretq_s32_u32(vld1q_u32(m)); }
    static inline int32x4_t row(const uint32_t* m) {
        const int32x4_t sum = vmlaq_n_s32(vaddq_s32(load(m), load(m + 4)), vaddq_s32(load(m + 1), load(m + 3)), 4);
        return vmlaq_n_s32(sum, load(m + 2), 6);
    }
    // The arithmetic shift leaves values in the s16 range.
    static inline void outputs(const uint32_t* mid, int16_t* out) {
        vst1q_s16(out, shiftNarrowS32<8>(row(mid), row(mid + 4)));
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
