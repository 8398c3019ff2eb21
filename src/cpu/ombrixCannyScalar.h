// Scalar building blocks of the Canny edge detector, shared by the reference
// and the vector variant: the 3x3 binomial smoothing of one pixel, the
// direction code, the magnitude thresholds, the per-pixel suppression and
// classification, and the bounded hysteresis trace.
//
// Working memory, one entry per pixel, packed with `width` entries a row:
//   flags  direction code in the low bits (0 = no gradient, 1 mostly
//          horizontal gradient, 2 mostly vertical, 3 and 4 the diagonals),
//          plus kLocalMaximum, kAboveLow and kAboveHigh
//   mag    dx^2 + dy^2 of the smoothed image; a backward difference of a
//          smoothed image is at most 128, so at most 32768
// Only pixels at least two from every edge get a magnitude or flags; the
// ring outside them stays 0, so no pixel there can join an edge.
//
// Every function here is static (internal linkage), so a copy compiled with
// NEON enabled in src/lanex/ can never be merged into the reference path.
#ifndef OMBRIX_CANNY_SCALAR_H
#define OMBRIX_CANNY_SCALAR_H

#include <math.h>
#include <stddef.h>
#include <stdint.h>

#include "ombrixBlurScalar.h"
#include "ombrixKernels.h"

namespace ombrix_canny {

constexpr uint8_t kCodeMask = 0x0F;
constexpr uint8_t kLocalMaximum = 0x10;
constexpr uint8_t kAboveLow = 0x20;
constexpr uint8_t kAboveHigh = 0x40;
constexpr uint8_t kEdge = 255;
// A trace follows a branching edge only as far as this many pending pixels.
constexpr int kTraceDepth = 5;

// Pixels handled per image side: columns and rows 2 .. size - 3.
constexpr uint32_t kMargin = 2;

// The 3x3 binomial smoothing (1 2 1 by 1 2 1, >> 4, truncating) of column x
// of the source rows rows[0 .. 2].
static inline uint8_t smoothPixel(const uint8_t* const* rows, ptrdiff_t x) {
    const uint32_t cols[3] = {ombrix_blur::columnSum<uint8_t, 1>(rows, x - 1),
                              ombrix_blur::columnSum<uint8_t, 1>(rows, x),
                              ombrix_blur::columnSum<uint8_t, 1>(rows, x + 1)};
    return ombrix_blur::normaliseShift<uint8_t>(ombrix_blur::rowSum<1>(cols), ombrix_blur::Binomial<1>::shift);
}

// The slope classes use the factor 2 (about 26.6 and 63.4 degrees).
static inline uint8_t directionCode(int32_t dx, int32_t dy) {
    if (dx == 0 && dy == 0) return 0;
    const int32_t adx = dx < 0 ? -dx : dx, ady = dy < 0 ? -dy : dy;
    if (2 * ady < adx) return 1;
    if (2 * adx < ady) return 2;
    return (dx > 0) == (dy > 0) ? 3 : 4;
}

// Backward differences of the smoothed rows at column x, their squared
// magnitude into *mag and the direction code as the result.
static inline uint8_t gradientAt(const uint8_t* previous, const uint8_t* current, ptrdiff_t x, int32_t* mag) {
    const int32_t dx = current[x] - current[x - 1];
    const int32_t dy = current[x] - previous[x];
    *mag = dx * dx + dy * dy;
    return directionCode(dx, dy);
}

// A threshold in 1/256 of the largest magnitude, as a magnitude: negative
// thresholds count as 0; the product is formed in single precision in this
// order and floored. Squaring in float keeps thresholds above 46340 defined;
// results beyond int32_t exceed every magnitude and saturate.
static inline int32_t magnitudeThreshold(int32_t threshold, int32_t maxMag) {
    const float t = static_cast<float>(threshold < 0 ? 0 : threshold);
    const float scaled = floorf(t * t * 0.00390625f * static_cast<float>(maxMag) * 0.00390625f);
    return scaled >= 2147483648.0f ? INT32_MAX : static_cast<int32_t>(scaled);
}

// The neighbour across the edge, compared in the suppression: along the
// gradient direction of the code.
static inline ptrdiff_t acrossOffset(uint8_t code, ptrdiff_t rowPitch) {
    switch (code) {
        case 1: return 1;
        case 2: return rowPitch;
        case 3: return rowPitch + 1;
        default: return rowPitch - 1;
    }
}

// The step along the edge, perpendicular to the gradient of the code.
static inline ptrdiff_t alongOffset(uint8_t code, ptrdiff_t rowPitch) {
    switch (code) {
        case 1: return rowPitch;
        case 2: return 1;
        case 3: return rowPitch - 1;
        default: return rowPitch + 1;
    }
}

// A pixel with a non-zero code is a local maximum when its magnitude is at
// least that of the next pixel across the edge and above that of the
// previous one, so that a plateau keeps only its first pixel.
template <typename Mag>
static inline bool isLocalMaximum(const Mag* mag, uint8_t code, ptrdiff_t width) {
    const ptrdiff_t o = acrossOffset(code, width);
    return mag[o] <= mag[0] && mag[-o] < mag[0];
}

static inline uint8_t thresholdFlags(int32_t m, int32_t lowT, int32_t highT) {
    return static_cast<uint8_t>((m >= lowT ? kAboveLow : 0) | (m >= highT ? kAboveHigh : 0));
}

// All flags of one pixel with a non-zero code; the threshold flags do not
// depend on the suppression.
static inline uint8_t classify(const int32_t* mag, uint8_t code, ptrdiff_t width, int32_t lowT, int32_t highT) {
    return static_cast<uint8_t>(code | (isLocalMaximum(mag, code, width) ? kLocalMaximum : 0) |
                                thresholdFlags(mag[0], lowT, highT));
}

static inline bool isSeed(uint8_t flags) {
    return (flags & (kLocalMaximum | kAboveHigh)) == (kLocalMaximum | kAboveHigh);
}
static inline bool canExtend(uint8_t flags) {
    return (flags & (kLocalMaximum | kAboveLow)) == (kLocalMaximum | kAboveLow);
}

// Marks the seed at (x, y) and follows its edge with the step fixed by the
// seed's code, keeping at most kTraceDepth pixels pending (the seed
// included). Each current pixel q examines q + step, then q - step;
// accepted pixels are marked and pushed, and a candidate that finds the
// stack full is neither. The next q is the pixel popped from the top; the
// trace ends when the pop empties the stack. Since the step never changes
// and the pixel a trace came from is already marked, a trace runs along one
// line and holds at most three pixels: the bound guards the stack.
static inline void traceEdge(const uint8_t* flags, uint32_t width, uint8_t* dst, uint32_t dstStride, uint32_t x,
                             uint32_t y) {
    struct Pixel {
        ptrdiff_t at, out;  // indices into flags and dst
    };
    const Pixel seed = {static_cast<ptrdiff_t>(static_cast<size_t>(y) * width + x),
                        static_cast<ptrdiff_t>(static_cast<size_t>(y) * dstStride + x)};
    const uint8_t code = flags[seed.at] & kCodeMask;
    const Pixel step = {alongOffset(code, width), alongOffset(code, dstStride)};
    dst[seed.out] = kEdge;
    Pixel stack[kTraceDepth];
    int depth = 0;
    stack[depth++] = seed;
    Pixel q = seed;
    auto examine = [&](Pixel c) {
        if (depth == kTraceDepth || c.at == seed.at || dst[c.out] == kEdge || !canExtend(flags[c.at])) return;
        dst[c.out] = kEdge;
        stack[depth++] = c;
    };
    for (;;) {
        examine({q.at + step.at, q.out + step.out});
        examine({q.at - step.at, q.out - step.out});
        q = stack[--depth];
        if (depth == 0) return;
    }
}

// Traces from every seed of row y with x in [xBegin, xEnd), left to right.
static inline void traceSeedsOfRow(const uint8_t* flags, uint32_t width, uint8_t* dst, uint32_t dstStride,
                                   uint32_t y, uint32_t xBegin, uint32_t xEnd) {
    const uint8_t* row = flags + static_cast<size_t>(y) * width;
    for (uint32_t x = xBegin; x < xEnd; ++x)
        if (isSeed(row[x])) traceEdge(flags, width, dst, dstStride, x, y);
}

}  // namespace ombrix_canny

#endif  // OMBRIX_CANNY_SCALAR_H
