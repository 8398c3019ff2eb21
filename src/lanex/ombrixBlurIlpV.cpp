// Vector variants of the 5x5 binomial filter on signed 32-bit images and of
// the 3x3 median on 8-bit images.
#include "ombrixAssert.h"
#include "ombrixBlurLanes.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

using ombrix_blur::blurVector;

// 5x5 on s32: sums are formed on the u32 bit patterns, so they wrap exactly
// like the reference's; the final shift is arithmetic on the s32 view. A
// block is one vector, so the four columns after it are the next block whole.
struct Gaussian5x5s32 {
    using Pixel = int32_t;
    using Vec = uint32x4_t;
    using Cols = uint32x4_t;
    static constexpr int R = 2;
    static constexpr ptrdiff_t kLanes = 4;
    static constexpr int kRowsPerPass = 4;  // 8 row loads for 4 rows, not 20

    static OMBRIX_ALWAYS_INLINE uint32x4_t load(const int32_t* p) { return vreinterpretq_u32_s32(vld1q_s32(p)); }
    static OMBRIX_ALWAYS_INLINE uint32x4_t columns(const Vec* row) {
        const uint32x4_t sum = mlaConst(vaddq_u32(row[0], row[4]), vaddq_u32(row[1], row[3]), 4);
        return mlaConst(sum, row[2], 6);
    }
    static OMBRIX_ALWAYS_INLINE void outputs(uint32x4_t c, uint32x4_t n, int32_t* out) {
        const uint32x4_t sum = mlaConst(vaddq_u32(c, n), vaddq_u32(vextq_u32(c, n, 1), vextq_u32(c, n, 3)), 4);
        vst1q_s32(out, vshrq_n_s32(vreinterpretq_s32_u32(mlaConst(sum, vextq_u32(c, n, 2), 6)), 8));
    }
};

// Three rows of 16 pixels sorted lane by lane.
struct SortedLanes {
    uint8x16_t lo, mid, hi;
};

inline SortedLanes sortLanes(uint8x16_t a, uint8x16_t b, uint8x16_t c) {
    const uint8x16_t lo = vminq_u8(a, b), hi = vmaxq_u8(a, b);
    const uint8x16_t top = vmaxq_u8(hi, c), low = vminq_u8(hi, c);
    return {vminq_u8(lo, low), vmaxq_u8(lo, low), top};
}

inline uint8x16_t median3Lanes(uint8x16_t a, uint8x16_t b, uint8x16_t c) {
    return vmaxq_u8(vminq_u8(a, b), vminq_u8(vmaxq_u8(a, b), c));
}

inline SortedLanes sortedColumnsAt(const uint8_t* const* rows, ptrdiff_t x) {
    return sortLanes(vld1q_u8(rows[0] + x), vld1q_u8(rows[1] + x), vld1q_u8(rows[2] + x));
}

// The same sorted-column selection as the reference, sixteen pixels at a
// time, from the sorted left, centre and right columns of each pixel.
inline uint8x16_t medianOfLanes(const SortedLanes& l, const SortedLanes& c, const SortedLanes& r) {
    const uint8x16_t maxLo = vmaxq_u8(vmaxq_u8(l.lo, c.lo), r.lo);
    const uint8x16_t minHi = vminq_u8(vminq_u8(l.hi, c.hi), r.hi);
    return median3Lanes(maxLo, median3Lanes(l.mid, c.mid, r.mid), minHi);
}

// The sorted columns n lanes further right: lanes n.. of `a`, then of `b`.
template <int N>
inline SortedLanes shifted(const SortedLanes& a, const SortedLanes& b) {
    return {vextq_u8(a.lo, b.lo, N), vextq_u8(a.mid, b.mid, N), vextq_u8(a.hi, b.hi, N)};
}

// Medians of the 16 neighbourhoods whose left columns start at x, from
// three loads per row (used where the row has no 16 further columns).
inline uint8x16_t median16(const uint8_t* const* rows, ptrdiff_t x) {
    return medianOfLanes(sortedColumnsAt(rows, x), sortedColumnsAt(rows, x + 1), sortedColumnsAt(rows, x + 2));
}

// One row of medians, out[j] from source columns j .. j+2. Each block of 16
// columns is loaded and sorted once; its neighbours one and two columns to
// the right come from the next block by lane extraction. The last outputs,
// within 32 columns of the end, are done from the row's own loads, the final
// vector overlapping backwards, or singly when the row is narrower than 16.
inline void medianRow(const uint8_t* const* rows, ptrdiff_t width, uint8_t* out) {
    const ptrdiff_t interior = width - 2;
    ptrdiff_t x = 0;
    if (width >= 32) {
        SortedLanes current = sortedColumnsAt(rows, 0);
        for (; x + 32 <= width; x += 16) {
            const SortedLanes next = sortedColumnsAt(rows, x + 16);
            vst1q_u8(out + x, medianOfLanes(current, shifted<1>(current, next), shifted<2>(current, next)));
            current = next;
        }
    }
    if (interior < 16) {
        for (; x < interior; ++x)
            out[x] = ombrix_blur::medianOfColumns(ombrix_blur::sortedColumnAt(rows, x),
                                                  ombrix_blur::sortedColumnAt(rows, x + 1),
                                                  ombrix_blur::sortedColumnAt(rows, x + 2));
        return;
    }
    for (; x + 16 <= interior; x += 16) vst1q_u8(out + x, median16(rows, x));
    if (x < interior) vst1q_u8(out + interior - 16, median16(rows, interior - 16));
}

}  // namespace

extern "C" {

void obxFilterGaussian5x5s32V(const int32_t* srcImg, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              int32_t* dstImg, uint32_t dstStride, uint32_t blurBorder) {
    // Byte strides to elements, a remainder dropped, before they are checked.
    srcStride /= sizeof(int32_t);
    dstStride /= sizeof(int32_t);
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcWidth > 4 && srcHeight > 4);
    blurVector<Gaussian5x5s32>(srcImg, srcWidth, srcHeight, srcStride, dstImg, dstStride, blurBorder);
}

void obxFilterMedian3x3u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint8_t* dst, uint32_t dstStride) {
    using namespace ombrix_blur;
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    forEachInteriorRow3x3(src, srcWidth, srcHeight, srcStride, dst, dstStride,
                          [srcWidth](const uint8_t* const* rows, uint8_t* out) { medianRow(rows, srcWidth, out + 1); });
}

}  // extern "C"
