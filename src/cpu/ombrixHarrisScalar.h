// Scalar building blocks of the Harris corners, shared by the references and
// the vector variants: gradients and their products, the 5x5 binomial
// smoothing, the response, the strict 5x5 maximum, the mask lookup, the row
// pipeline of the detectors and the 11x11 patch of the local maximum.
//
// Definitions, per pixel (x, y) of an 8-bit image I:
//   gx = (I(x + 1, y) - I(x - 1, y)) >> 1, gy = (I(x, y + 1) - I(x, y - 1)) >> 1
//     arithmetic shifts (floor), so gx, gy lie in -128..127 and the products
//     gx * gx, gy * gy, gx * gy in -16256..16384: all fit int16_t;
//   S = (sum of w(i) * w(j) * product(x + i, y + j), i, j in -2..2) >> 8 with
//     w = 1 4 6 4 1, the sum in 32 bits (at most 256 * 16384) and one floor
//     shift after both passes; |S| <= 16384, stored as int16_t;
//   R = Sxx * Syy - Sxy * Sxy - ((Sxx + Syy)^2 >> 4) in 32 bits; the trace is
//     at most 32768, so its square (2^30) and every term stay in range.
// Gradients exist for 1 <= x <= width - 2, smoothed values and responses for
// 3 <= x <= width - 4 (and likewise in y).
//
// Everything here has internal linkage (an unnamed namespace), so a copy
// compiled with NEON enabled in src/lanex/ can never be merged into the
// reference path.
#ifndef OMBRIX_HARRIS_SCALAR_H
#define OMBRIX_HARRIS_SCALAR_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

#include "ombrixKernels.h"

namespace ombrix_harris {
namespace {

// Borders of 0 to 5 all mean 5: the 5x5 maximum around an examined pixel
// reads responses two pixels further out, a response smooths the products
// up to two pixels further, and a product's gradients read one pixel
// further still: 2 + 2 + 1 = 5. With e >= 5 every response the test reads lies in
// columns e - 2 .. width - e + 1 and rows e - 2 .. height - e + 1, inside
// the defined range 3 .. size - 4, so no undefined response is ever read.
constexpr uint32_t kMinBorder = 5;
constexpr uint32_t kRingRows = 5;  // product and response rows kept at once
constexpr uint32_t kPlanes = 3;    // gxx, gyy, gxy, in this order
constexpr uint32_t kPatch = 11;    // side of the local maximum's patch

static inline uint32_t effectiveBorder(uint32_t border) { return border > kMinBorder ? border : kMinBorder; }

// (a - b) >> 1 of the signed difference: -1 gives -1, -255 gives -128.
static inline int32_t halfDifference(uint8_t a, uint8_t b) {
    return (static_cast<int32_t>(a) - static_cast<int32_t>(b)) >> 1;
}

// Gradient products of centre-row pixels x in [first, end), stored at [x] of
// each plane.
static inline void productsRow(const uint8_t* above, const uint8_t* centre, const uint8_t* below, uint32_t first,
                               uint32_t end, int16_t* gxx, int16_t* gyy, int16_t* gxy) {
    for (uint32_t x = first; x < end; ++x) {
        const int32_t gx = halfDifference(centre[x + 1], centre[x - 1]);
        const int32_t gy = halfDifference(below[x], above[x]);
        gxx[x] = static_cast<int16_t>(gx * gx);
        gyy[x] = static_cast<int16_t>(gy * gy);
        gxy[x] = static_cast<int16_t>(gx * gy);
    }
}

// 1 4 6 4 1 down column x of five product rows, in 32 bits.
static inline int32_t columnSum(const int16_t* const* rows, uint32_t x) {
    return rows[0][x] + 4 * (rows[1][x] + rows[3][x]) + 6 * rows[2][x] + rows[4][x];
}

// The smoothed values of columns [first, end) of the middle one of five
// product rows of one plane, stored at out[x]. The column sums slide along
// the row, each formed once.
static inline void smoothRow(const int16_t* const* rows, uint32_t first, uint32_t end, int16_t* out) {
    int32_t c0 = columnSum(rows, first - 2), c1 = columnSum(rows, first - 1), c2 = columnSum(rows, first),
            c3 = columnSum(rows, first + 1);
    for (uint32_t x = first; x < end; ++x) {
        const int32_t c4 = columnSum(rows, x + 2);
        out[x] = static_cast<int16_t>((c0 + 4 * (c1 + c3) + 6 * c2 + c4) >> 8);
        c0 = c1, c1 = c2, c2 = c3, c3 = c4;
    }
}

static inline int32_t response(int32_t sxx, int32_t syy, int32_t sxy) {
    const int32_t trace = sxx + syy;
    return sxx * syy - sxy * sxy - ((trace * trace) >> 4);
}

// Responses of columns [first, end) from the three smoothed planes.
static inline void responseRow(const int16_t* sxx, const int16_t* syy, const int16_t* sxy, uint32_t first,
                               uint32_t end, int32_t* out) {
    for (uint32_t x = first; x < end; ++x) out[x] = response(sxx[x], syy[x], sxy[x]);
}

// True when the response at column x of rows[2] is strictly greater than the
// other 24 of its 5x5 neighbourhood (rows[0 .. 4] are rows y - 2 .. y + 2).
static inline bool isStrictMaximum(const int32_t* const* rows, uint32_t x) {
    const int32_t centre = rows[2][x];
    for (uint32_t j = 0; j < 5; ++j)
        for (uint32_t i = x - 2; i <= x + 2; ++i)
            if ((j != 2 || i != x) && rows[j][i] >= centre) return false;
    return true;
}

// Calls corner(x) for the columns of [first, end) whose response passes
// the threshold (strictly) and is a strict maximum, in increasing order;
// stops and returns true as soon as corner does.
template <typename Corner>
inline bool scanCorners(const int32_t* const* rows, uint32_t first, uint32_t end, int32_t threshold,
                        const Corner& corner) {
    for (uint32_t x = first; x < end; ++x)
        if (rows[2][x] > threshold && isStrictMaximum(rows, x) && corner(x)) return true;
    return false;
}

// ---- Mask ----------------------------------------------------------------------------

// Image to mask coordinates: x >> shift for shift >= 0, x << -shift below.
struct Mask {
    const uint8_t* bits;
    uint32_t rowBytes;
    int shift;

    bool excludes(uint32_t x, uint32_t y) const {
        const uint32_t mx = shift >= 0 ? x >> shift : x << -shift;
        const uint32_t my = shift >= 0 ? y >> shift : y << -shift;
        return (bits[static_cast<size_t>(my) * rowBytes + (mx >> 3)] >> (7 - (mx & 7))) & 1;
    }
};

// The shift of a mask of maskWidth x maskHeight over a width x height image:
// the same size, then mask 2x, image 2x, mask 4x, image 4x, mask 8x, image 8x
// (in both dimensions), the first that matches. False for any other pair.
static inline bool maskShift(uint32_t width, uint32_t height, uint32_t maskWidth, uint32_t maskHeight, int* shift) {
    const uint64_t w = width, h = height, mw = maskWidth, mh = maskHeight;
    if (mw == w && mh == h) return *shift = 0, true;
    for (int s = 1; s <= 3; ++s) {
        if (mw == (w << s) && mh == (h << s)) return *shift = -s, true;
        if (w == (mw << s) && h == (mh << s)) return *shift = s, true;
    }
    return false;
}

// ---- The detectors -------------------------------------------------------------------

// Working memory of the detectors: five rows of products (row y in slot
// y % 5, planes gxx, gyy, gxy of `width` values each), one row of smoothed
// products (the same three planes) and five rows of responses.
struct Rings {
    int16_t* products;
    int16_t* smoothed;
    int32_t* responses;
};

constexpr uint32_t productRingBytes(uint32_t width) { return width * kRingRows * kPlanes * sizeof(int16_t); }
constexpr uint32_t smoothedRowBytes(uint32_t width) { return width * kPlanes * sizeof(int16_t); }
constexpr uint32_t responseRingBytes(uint32_t width) { return width * kRingRows * sizeof(int32_t); }

// Requests the three buffers from the unaligned scratch slot, in this
// order; when one is missing, releases those obtained and returns the null
// among the others, for the caller's assertion to end the process (there,
// so that the message names the caller's file and line).
static inline Rings requestRings(uint32_t width) {
    Rings rings{static_cast<int16_t*>(obxGetScratchBufferUnaligned_(productRingBytes(width))),
                static_cast<int16_t*>(obxGetScratchBufferUnaligned_(smoothedRowBytes(width))),
                static_cast<int32_t*>(obxGetScratchBufferUnaligned_(responseRingBytes(width)))};
    if (!(rings.products && rings.smoothed && rings.responses)) {
        obxReleaseScratchBuffer_(rings.responses);
        obxReleaseScratchBuffer_(rings.smoothed);
        obxReleaseScratchBuffer_(rings.products);
    }
    return rings;
}

static inline void releaseRings(const Rings& rings) {
    obxReleaseScratchBuffer_(rings.responses);
    obxReleaseScratchBuffer_(rings.smoothed);
    obxReleaseScratchBuffer_(rings.products);
}

struct Detection {
    const uint8_t* src;
    uint32_t width, height, stride;  // stride already resolved from 0
    uint32_t border;
    uint32_t* xy;
    uint32_t capacity;
    uint32_t* count;
    int32_t threshold;
};

// The Harris pipeline over the rows of an image, with the row kernels of
// Kernels (products, smooth, responses, corners: productsRow, smoothRow,
// responseRow and scanCorners above, or vector forms of them) and
// Excluded(x, y) deciding whether a corner that passed both tests is
// dropped.
//
// Only what the examined pixels need is computed: responses in columns and
// rows e - 2 .. size - e + 1, smoothed values there, products two further
// out and gradients of the rows and columns that those cover. Examining row
// y waits for the response row y + 2. The list fills in raster order and the
// scan stops once it holds `capacity` corners; a capacity of 0 therefore
// stops before the first pixel, so nothing is ever written past the list.
template <typename Kernels, typename Excluded>
void detectCorners(const Detection& d, const Rings& rings, const Excluded& excluded) {
    const uint32_t e = effectiveBorder(d.border), width = d.width;
    if (d.capacity == 0 || uint64_t{2} * e >= width || uint64_t{2} * e >= d.height) return;
    const uint32_t first = e - 2, end = width - e + 2;        // response columns
    const uint32_t top = e - 2, bottom = d.height - e + 2;    // response rows

    auto productSlot = [&](uint32_t y) { return rings.products + static_cast<size_t>(y % kRingRows) * kPlanes * width; };
    auto responseSlot = [&](uint32_t y) { return rings.responses + static_cast<size_t>(y % kRingRows) * width; };
    auto sourceRow = [&](uint32_t y) { return d.src + static_cast<size_t>(y) * d.stride; };
    auto products = [&](uint32_t y) {
        int16_t* slot = productSlot(y);
        Kernels::products(sourceRow(y - 1), sourceRow(y), sourceRow(y + 1), first - 2, end + 2, slot, slot + width,
                          slot + 2 * width);
    };

    uint32_t found = 0;
    const int32_t* around[kRingRows];  // response rows y - 2 .. y + 2
    uint32_t examined = 0;             // the row being examined
    auto corner = [&](uint32_t x) {
        if (excluded(x, examined)) return false;
        d.xy[2 * found] = x;
        d.xy[2 * found + 1] = examined;
        *d.count = ++found;
        return found >= d.capacity;
    };

    for (uint32_t y = top - 2; y < top + 2; ++y) products(y);
    for (uint32_t y = top; y < bottom; ++y) {
        products(y + 2);
        const int16_t* rows[kRingRows];
        for (uint32_t p = 0; p < kPlanes; ++p) {
            for (uint32_t j = 0; j < kRingRows; ++j) rows[j] = productSlot(y - 2 + j) + p * width;
            Kernels::smooth(rows, first, end, rings.smoothed + p * width);
        }
        Kernels::responses(rings.smoothed, rings.smoothed + width, rings.smoothed + 2 * width, first, end,
                           responseSlot(y));
        if (y < top + 4) continue;
        examined = y - 2;
        for (uint32_t j = 0; j < kRingRows; ++j) around[j] = responseSlot(examined - 2 + j);
        if (Kernels::corners(around, e, width - e, d.threshold, corner)) return;
    }
}

// ---- The local maximum -----------------------------------------------------------------

// Whether the 11x11 patch around (posX, posY) lies in the image: rowLen is
// the stride when non-zero, else the width, so a patch may reach into the
// bytes beyond the width of a wider row. Formed in 64 bits so that positions
// near 2^32 cannot wrap into range.
static inline bool patchFits(uint32_t posX, uint32_t posY, uint32_t rowLen, uint32_t height) {
    return posX >= 5 && posY >= 5 && uint64_t{posX} + 6 <= rowLen && uint64_t{posY} + 6 <= height;
}

// The first strictly greatest of 25 responses in raster order, starting from
// -1: its index, or -1 when none exceeds -1.
static inline int strongestOf25(const int32_t* responses, int32_t* best) {
    int index = -1;
    *best = -1;
    for (int i = 0; i < 25; ++i) {
        if (responses[i] > *best) {
            *best = responses[i];
            index = i;
        }
    }
    return index;
}

// Writes the winner of the 25 responses around (posX, posY) (rows dy = -2..2,
// columns dx = -2..2) and returns 1, or returns 0 without writing.
static inline int32_t reportStrongest(const int32_t* responses, uint32_t posX, uint32_t posY, uint32_t* maxX,
                                      uint32_t* maxY, uint32_t* maxScore) {
    int32_t best;
    const int index = strongestOf25(responses, &best);
    if (index < 0) return 0;
    *maxX = posX - 2 + static_cast<uint32_t>(index % 5);
    *maxY = posY - 2 + static_cast<uint32_t>(index / 5);
    *maxScore = static_cast<uint32_t>(best);
    return 1;
}

}  // namespace
}  // namespace ombrix_harris

#endif  // OMBRIX_HARRIS_SCALAR_H
