// Scalar building blocks of the binomial smoothing filters and the 3x3
// median: the kernels, the separable interior pass of the references, the
// border pass and the sorted-column median. Included by the reference code
// and, for the border pass and the scalar tails, by the vector code.
//
// Every function here is static (internal linkage), so a copy compiled with
// NEON enabled in src/lanex/ can never be merged into the reference path.
#ifndef OMBRIX_BLUR_SCALAR_H
#define OMBRIX_BLUR_SCALAR_H

#include <stddef.h>
#include <stdint.h>

namespace ombrix_blur {

// One-dimensional binomial kernel of radius R; the 2-D weight of tap (i, j)
// is taps[i] * taps[j], and the 2-D weights sum to 1 << shift.
template <int R>
struct Binomial;
template <>
struct Binomial<1> {
    static constexpr uint32_t taps[3] = {1, 2, 1};
    static constexpr int shift = 4;
};
template <>
struct Binomial<2> {
    static constexpr uint32_t taps[5] = {1, 4, 6, 4, 1};
    static constexpr int shift = 8;
};
template <>
struct Binomial<5> {
    static constexpr uint32_t taps[11] = {1, 10, 45, 120, 210, 252, 210, 120, 45, 10, 1};
    static constexpr int shift = 20;
};

// Sums are formed modulo 2^32: a pixel enters as its two's-complement bit
// pattern, so signed images get signed 32-bit sums with defined wraparound,
// and 8-bit sums (at most 255 << 20) never reach the sign bit.
template <typename Pixel>
static inline uint32_t widen(Pixel p) {
    return static_cast<uint32_t>(static_cast<int32_t>(p));
}

// The sum read back as signed 32-bit, shifted right arithmetically: the
// truncating normalisation of the interior.
template <typename Pixel>
static inline Pixel normaliseShift(uint32_t sum, int shift) {
    return static_cast<Pixel>(static_cast<int32_t>(sum) >> shift);
}

template <typename Pixel>
static inline const Pixel* rowAt(const Pixel* image, uint32_t stride, uint32_t y) {
    return image + static_cast<size_t>(y) * stride;
}
template <typename Pixel>
static inline Pixel* rowAt(Pixel* image, uint32_t stride, uint32_t y) {
    return image + static_cast<size_t>(y) * stride;
}

// Vertical kernel applied to column x of the rows rows[0 .. 2R].
template <typename Pixel, int R>
static inline uint32_t columnSum(const Pixel* const* rows, ptrdiff_t x) {
    uint32_t sum = 0;
    for (int j = 0; j <= 2 * R; ++j) sum += Binomial<R>::taps[j] * widen(rows[j][x]);
    return sum;
}

// Horizontal kernel applied to the column sums cols[0 .. 2R].
template <int R, typename Sum>
static inline uint32_t rowSum(const Sum* cols) {
    uint32_t sum = 0;
    for (int i = 0; i <= 2 * R; ++i) sum += Binomial<R>::taps[i] * cols[i];
    return sum;
}

// Number of interior columns (pixels at least R from the left and right
// edges); zero or negative when the image is too narrow to have any.
static inline ptrdiff_t interiorWidth(uint32_t width, int radius) {
    return static_cast<ptrdiff_t>(width) - 2 * radius;
}

// The reference interior: vertical kernel into running column sums, then the
// horizontal kernel over them, six output pixels at a time. `grouped` is the
// number of interior columns handled in groups of six (a multiple of six, at
// most the interior width); the rest are done one by one. Strides are in
// elements.
template <typename Pixel, int R>
static void blurInteriorReference(const Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                  Pixel* dst, uint32_t dstStride, ptrdiff_t grouped) {
    constexpr int kGroup = 6;
    const ptrdiff_t interior = interiorWidth(width, R);
    if (interior <= 0 || height <= 2u * R) return;
    for (uint32_t y = R; y + R < height; ++y) {
        const Pixel* rows[2 * R + 1];
        for (int j = 0; j <= 2 * R; ++j) rows[j] = rowAt(src, srcStride, y - R + j);
        Pixel* out = rowAt(dst, dstStride, y) + R;

        // cols[k] holds the column sum of source column x + k, where output
        // column R + x is the next one to produce.
        uint32_t cols[kGroup + 2 * R];
        for (int k = 0; k < 2 * R; ++k) cols[k] = columnSum<Pixel, R>(rows, k);
        ptrdiff_t x = 0;
        for (; x < grouped; x += kGroup) {
            for (int k = 0; k < kGroup; ++k) cols[2 * R + k] = columnSum<Pixel, R>(rows, x + 2 * R + k);
            for (int k = 0; k < kGroup; ++k)
                out[x + k] = normaliseShift<Pixel>(rowSum<R>(cols + k), Binomial<R>::shift);
            for (int k = 0; k < 2 * R; ++k) cols[k] = cols[kGroup + k];
        }
        for (; x < interior; ++x) {
            cols[2 * R] = columnSum<Pixel, R>(rows, x + 2 * R);
            out[x] = normaliseShift<Pixel>(rowSum<R>(cols), Binomial<R>::shift);
            for (int k = 0; k < 2 * R; ++k) cols[k] = cols[k + 1];
        }
    }
}

// Border pixels x in [xBegin, xEnd) of row y. Each is the weighted sum over
// the taps inside the image divided by the sum of those taps' weights,
// truncating toward zero (for 8-bit images the sum is non-negative, so this
// is the unsigned quotient). The weights factor into a vertical and a
// horizontal part, so the sum is formed from column sums over the rows
// inside, kept for the 2R+1 columns around x (0 for columns outside).
template <typename Pixel, int R>
static void blurBorderSpan(const Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride, Pixel* out,
                           uint32_t y, uint32_t xBegin, uint32_t xEnd) {
    constexpr int kTaps = 2 * R + 1;
    const Pixel* rows[kTaps];
    uint32_t rowTaps[kTaps];
    int rowCount = 0;
    uint32_t rowWeight = 0;
    for (int j = 0; j < kTaps; ++j) {
        const int64_t sy = static_cast<int64_t>(y) + j - R;
        if (sy < 0 || sy >= static_cast<int64_t>(height)) continue;
        rows[rowCount] = rowAt(src, srcStride, static_cast<uint32_t>(sy));
        rowTaps[rowCount++] = Binomial<R>::taps[j];
        rowWeight += Binomial<R>::taps[j];
    }
    auto column = [&](int64_t sx) {
        if (sx < 0 || sx >= static_cast<int64_t>(width)) return uint32_t{0};
        uint32_t sum = 0;
        for (int k = 0; k < rowCount; ++k) sum += rowTaps[k] * widen(rows[k][sx]);
        return sum;
    };
    // cols[i] is the column sum of source column x - R + i.
    uint32_t cols[kTaps];
    for (int i = 0; i < kTaps - 1; ++i) cols[i + 1] = column(static_cast<int64_t>(xBegin) - R + i);
    for (uint32_t x = xBegin; x < xEnd; ++x) {
        for (int i = 0; i < kTaps - 1; ++i) cols[i] = cols[i + 1];
        cols[kTaps - 1] = column(static_cast<int64_t>(x) + R);
        uint32_t sum = 0, columnWeight = 0;
        for (int i = 0; i < kTaps; ++i) {
            const int64_t sx = static_cast<int64_t>(x) + i - R;
            if (sx < 0 || sx >= static_cast<int64_t>(width)) continue;
            sum += Binomial<R>::taps[i] * cols[i];
            columnWeight += Binomial<R>::taps[i];
        }
        out[x] = static_cast<Pixel>(static_cast<int32_t>(sum) / static_cast<int32_t>(rowWeight * columnWeight));
    }
}

// Every border pixel: the first and last R rows in full, the first and last
// R columns of the other rows. Each pixel is written once, also when the
// image is smaller than the kernel.
template <typename Pixel, int R>
static void blurBorderReference(const Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                Pixel* dst, uint32_t dstStride) {
    const uint32_t left = width < static_cast<uint32_t>(R) ? width : R;
    const uint32_t right = width - left > static_cast<uint32_t>(R) ? width - R : left;
    for (uint32_t y = 0; y < height; ++y) {
        Pixel* out = rowAt(dst, dstStride, y);
        if (y < static_cast<uint32_t>(R) || y + R >= height) {
            blurBorderSpan<Pixel, R>(src, width, height, srcStride, out, y, 0, width);
        } else {
            blurBorderSpan<Pixel, R>(src, width, height, srcStride, out, y, 0, left);
            blurBorderSpan<Pixel, R>(src, width, height, srcStride, out, y, right, width);
        }
    }
}

// Interior columns that the grouped loop produces six at a time.
static inline ptrdiff_t groupedBySix(uint32_t width, int radius) {
    const ptrdiff_t interior = interiorWidth(width, radius);
    return interior > 0 ? interior / 6 * 6 : 0;
}

// A whole reference filter: the interior, then the border when blurBorder
// is 1 (any other value leaves the border of dst as it was).
template <typename Pixel, int R>
static void blurReference(const Pixel* src, uint32_t width, uint32_t height, uint32_t srcStride, Pixel* dst,
                          uint32_t dstStride, uint32_t blurBorder) {
    blurInteriorReference<Pixel, R>(src, width, height, srcStride, dst, dstStride, groupedBySix(width, R));
    if (blurBorder == 1) blurBorderReference<Pixel, R>(src, width, height, srcStride, dst, dstStride);
}

// Calls row(rows, out) for every row of a 3x3 neighbourhood filter that has
// rows above and below: rows[0 .. 2] are the source rows y-1, y, y+1 and out
// is destination row y. Images under 3 rows or columns have no such pixel.
template <typename RowFn>
static inline void forEachInteriorRow3x3(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                                         uint8_t* dst, uint32_t dstStride, RowFn row) {
    if (width < 3 || height < 3) return;
    for (uint32_t y = 1; y + 1 < height; ++y) {
        const uint8_t* rows[3] = {rowAt(src, srcStride, y - 1), rowAt(src, srcStride, y), rowAt(src, srcStride, y + 1)};
        row(rows, rowAt(dst, dstStride, y));
    }
}

// A 3-pixel column in ascending order.
struct SortedColumn {
    uint8_t lo, mid, hi;
};

static inline uint8_t min8(uint8_t a, uint8_t b) { return a < b ? a : b; }
static inline uint8_t max8(uint8_t a, uint8_t b) { return a < b ? b : a; }

static inline SortedColumn sortColumn(uint8_t a, uint8_t b, uint8_t c) {
    const uint8_t lo = min8(a, b), hi = max8(a, b);
    const uint8_t top = max8(hi, c), low = min8(hi, c);
    return {min8(lo, low), max8(lo, low), top};
}

static inline uint8_t median3(uint8_t a, uint8_t b, uint8_t c) {
    return max8(min8(a, b), min8(max8(a, b), c));
}

// The median of nine pixels given as three sorted columns: the largest of
// the minima, the median of the middles and the smallest of the maxima
// bracket it, and their median is it.
static inline uint8_t medianOfColumns(const SortedColumn& a, const SortedColumn& b, const SortedColumn& c) {
    return median3(max8(max8(a.lo, b.lo), c.lo), median3(a.mid, b.mid, c.mid), min8(min8(a.hi, b.hi), c.hi));
}

static inline SortedColumn sortedColumnAt(const uint8_t* const* rows, ptrdiff_t x) {
    return sortColumn(rows[0][x], rows[1][x], rows[2][x]);
}

}  // namespace ombrix_blur

#endif  // OMBRIX_BLUR_SCALAR_H
