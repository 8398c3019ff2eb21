// Scalar pixels and rows of the downscalers and the 2x up-scaler: the
// reference code is built from them, and the vector code uses the same ones
// for its borders and row ends, so both agree there by construction.
//
// Every function here is static (internal linkage), so a copy compiled with
// NEON enabled in src/lanex/ can never be merged into the reference path.
#ifndef OMBRIX_SCALE_SCALAR_H
#define OMBRIX_SCALE_SCALAR_H

#include <math.h>
#include <stddef.h>
#include <stdint.h>

namespace ombrix_scale {

template <typename Pixel>
static inline const Pixel* rowAt(const Pixel* image, size_t stride, uint32_t y) {
    return image + static_cast<size_t>(y) * stride;
}
template <typename Pixel>
static inline Pixel* rowAt(Pixel* image, size_t stride, uint32_t y) {
    return image + static_cast<size_t>(y) * stride;
}

// ---- Box reductions -----------------------------------------------------------------

// Outputs [xBegin, xEnd) of a 2x2 box row: sum >> 2, truncating.
static inline void boxRow2(const uint8_t* r0, const uint8_t* r1, uint8_t* out, uint32_t xBegin, uint32_t xEnd) {
    for (uint32_t x = xBegin; x < xEnd; ++x)
        out[x] = static_cast<uint8_t>((r0[2 * x] + r0[2 * x + 1] + r1[2 * x] + r1[2 * x + 1]) >> 2);
}

// Outputs [xBegin, xEnd) of a 4x4 box row from the rows rows[0 .. 3]: sum >> 4.
static inline void boxRow4(const uint8_t* const* rows, uint8_t* out, uint32_t xBegin, uint32_t xEnd) {
    for (uint32_t x = xBegin; x < xEnd; ++x) {
        uint32_t sum = 0;
        for (int j = 0; j < 4; ++j)
            for (int i = 0; i < 4; ++i) sum += rows[j][4 * x + i];
        out[x] = static_cast<uint8_t>(sum >> 4);
    }
}

// The destination row step of the box reductions: rows of a source whose
// width is a multiple of 16 go the wide path, which steps by the stride
// rounded down to a whole number of 32-bit words.
static inline uint32_t boxDstStep(uint32_t srcWidth, uint32_t dstStride) {
    return srcWidth % 16 == 0 ? (dstStride & ~3u) : dstStride;
}

// ---- Gaussian 5x5 reduction by 2 -------------------------------------------------------

// The five binomial taps (1 4 6 4 1) in the one association every
// implementation uses: multiplications by powers of two only, so that float
// sums round the same way whether or not a compiler fuses them into
// multiply-adds.
template <typename T>
static inline T binomial5(T t0, T t1, T t2, T t3, T t4) {
    return ((t0 + t4) + (t2 + t2)) + T(4) * ((t1 + t3) + t2);
}

// Sum of the weights (1 4 6 4 1) of the taps around source index 2i that lie
// inside [0, n), n even: 16 inside, 11 at the first index, 15 at the last
// (one tap beyond the edge), 10 when n is 2.
static inline uint32_t axisWeight(uint32_t i, uint32_t n) {
    static const uint32_t kTaps[5] = {1, 4, 6, 4, 1};
    uint32_t sum = 0;
    for (int k = 0; k < 5; ++k) {
        const int64_t at = int64_t{2} * i - 2 + k;
        if (at >= 0 && at < n) sum += kTaps[k];
    }
    return sum;
}

// True when all 25 taps of output (x, y) lie inside the w x h source.
static inline bool gaussianInside(uint32_t x, uint32_t y, uint32_t w, uint32_t h) {
    return x >= 1 && y >= 1 && 2 * x + 2 < w && 2 * y + 2 < h;
}

// The weighted sum of output (x, y) in Sum arithmetic, columns first, taps
// outside the image taken as 0.
template <typename Sum, typename Pixel>
static inline Sum gaussianSum(const Pixel* src, size_t stride, uint32_t w, uint32_t h, uint32_t x, uint32_t y) {
    Sum cols[5];
    for (int i = 0; i < 5; ++i) {
        const int64_t cx = int64_t{2} * x - 2 + i;
        Sum t[5];
        for (int j = 0; j < 5; ++j) {
            const int64_t cy = int64_t{2} * y - 2 + j;
            const bool inside = cx >= 0 && cx < w && cy >= 0 && cy < h;
            t[j] = inside ? Sum(rowAt(src, stride, static_cast<uint32_t>(cy))[cx]) : Sum(0);
        }
        cols[i] = binomial5(t[0], t[1], t[2], t[3], t[4]);
    }
    return binomial5(cols[0], cols[1], cols[2], cols[3], cols[4]);
}

// The single-precision reciprocal of the border weight W = Wx * Wy.
static inline float borderReciprocal(uint32_t x, uint32_t y, uint32_t w, uint32_t h) {
    return static_cast<float>(1.0 / static_cast<double>(axisWeight(x, w) * axisWeight(y, h)));
}

static inline uint8_t gaussianPixel(const uint8_t* src, size_t stride, uint32_t w, uint32_t h, uint32_t x,
                                    uint32_t y) {
    const uint32_t sum = gaussianSum<uint32_t>(src, stride, w, h, x, y);
    if (gaussianInside(x, y, w, h)) return static_cast<uint8_t>((sum + 128) >> 8);
    return static_cast<uint8_t>(floor(0.5 + sum * static_cast<double>(borderReciprocal(x, y, w, h))));
}

static inline float gaussianPixel(const float* src, size_t stride, uint32_t w, uint32_t h, uint32_t x,
                                  uint32_t y) {
    const float sum = gaussianSum<float>(src, stride, w, h, x, y);
    if (gaussianInside(x, y, w, h)) return sum * 0.00390625f;
    return sum * borderReciprocal(x, y, w, h);
}

// Outputs [xBegin, xEnd) of output row y.
template <typename Pixel>
static inline void gaussianRow(const Pixel* src, size_t srcStride, uint32_t w, uint32_t h, uint32_t y, Pixel* out,
                               uint32_t xBegin, uint32_t xEnd) {
    for (uint32_t x = xBegin; x < xEnd; ++x) out[x] = gaussianPixel(src, srcStride, w, h, x, y);
}

// ---- Gaussian 5x5 enlargement by 2 ------------------------------------------------------

// The three source rows of destination rows 2r and 2r+1: r-1 mirrored to
// r+1 above the first row, r+1 repeated as r below the last. A mirror that
// lands beyond a single row repeats it too.
struct UpRows {
    const uint8_t *above, *centre, *below;
};
static inline UpRows upRows(const uint8_t* src, size_t stride, uint32_t h, uint32_t r) {
    const uint32_t below = r + 1 < h ? r + 1 : h - 1;
    const uint32_t above = r > 0 ? r - 1 : below;
    return {rowAt(src, stride, above), rowAt(src, stride, r), rowAt(src, stride, below)};
}

// Column neighbours of k on the same rules: k-1 mirrored to k+1 left of the
// first column, k+1 repeated as k right of the last.
static inline uint32_t upRight(uint32_t k, uint32_t w) { return k + 1 < w ? k + 1 : w - 1; }
static inline uint32_t upLeft(uint32_t k, uint32_t w) { return k > 0 ? k - 1 : upRight(k, w); }

// Destination columns 2k and 2k+1 for k in [kBegin, kEnd) of rows 2r
// (`even`) and 2r+1 (`odd`).
static inline void upColumns(const UpRows& rows, uint32_t w, uint8_t* even, uint8_t* odd, uint32_t kBegin,
                             uint32_t kEnd) {
    const auto vEven = [&rows](uint32_t k) { return rows.above[k] + 6u * rows.centre[k] + rows.below[k]; };
    const auto vOdd = [&rows](uint32_t k) { return 4u * rows.centre[k] + 4u * rows.below[k]; };
    for (uint32_t k = kBegin; k < kEnd; ++k) {
        const uint32_t l = upLeft(k, w), r = upRight(k, w);
        even[2 * k] = static_cast<uint8_t>((vEven(l) + 6 * vEven(k) + vEven(r) + 32) >> 6);
        even[2 * k + 1] = static_cast<uint8_t>((4 * vEven(k) + 4 * vEven(r) + 32) >> 6);
        odd[2 * k] = static_cast<uint8_t>((vOdd(l) + 6 * vOdd(k) + vOdd(r) + 32) >> 6);
        odd[2 * k + 1] = static_cast<uint8_t>((4 * vOdd(k) + 4 * vOdd(r) + 32) >> 6);
    }
}

// ---- 3:2 reduction -----------------------------------------------------------------------

// Blocks [kBegin, kEnd) of a row of 3x3 blocks into two destination rows.
static inline void threeToTwoRow(const uint8_t* r0, const uint8_t* r1, const uint8_t* r2, uint8_t* d0, uint8_t* d1,
                                 uint32_t kBegin, uint32_t kEnd) {
    for (uint32_t k = kBegin; k < kEnd; ++k) {
        const uint8_t *p0 = r0 + 3 * k, *p1 = r1 + 3 * k, *p2 = r2 + 3 * k;
        const uint32_t centre = p1[1];
        d0[2 * k] = static_cast<uint8_t>((9 * p0[0] + 3 * p0[1] + 3 * p1[0] + centre) >> 4);
        d0[2 * k + 1] = static_cast<uint8_t>((9 * p0[2] + 3 * p0[1] + 3 * p1[2] + centre) >> 4);
        d1[2 * k] = static_cast<uint8_t>((9 * p2[0] + 3 * p2[1] + 3 * p1[0] + centre) >> 4);
        d1[2 * k + 1] = static_cast<uint8_t>((9 * p2[2] + 3 * p2[1] + 3 * p1[2] + centre) >> 4);
    }
}

// ---- Nearest neighbour ---------------------------------------------------------------------

// floor(i * from / to), exact.
static inline uint32_t nearestIndex(uint32_t i, uint32_t from, uint32_t to) {
    return static_cast<uint32_t>(uint64_t{i} * from / to);
}

}  // namespace ombrix_scale

#endif  // OMBRIX_SCALE_SCALAR_H
