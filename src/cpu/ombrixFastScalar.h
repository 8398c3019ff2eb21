// Scalar building blocks of the FAST corner detectors, for arcs of 9 and 10
// circle pixels: the circle, the corner test, the detection scan, the mask
// mapping, the bisection score and the flow of the scoring operations.
// Included by the references of FAST9 and FAST10 and, for rows too narrow
// for a vector step and for the mask lookup, by the vector variants.
//
// Everything here has internal linkage (static functions, an unnamed
// namespace), so a copy compiled with NEON enabled in src/lanex/ can never
// be merged into the reference path.
#ifndef OMBRIX_FAST_SCALAR_H
#define OMBRIX_FAST_SCALAR_H

#include <stddef.h>
#include <stdint.h>

// Shared by the scoring operations of both arc lengths (ombrixFastC.cpp).
// Scores `*count` corners of `xy` with fast9_corner_score_.
void score_9(const uint8_t* im, uint32_t xsize, uint32_t ysize, int32_t barrier, const uint32_t* count,
             const uint32_t* xy, uint32_t* scores, uint32_t stride);
// Non-maximum suppression of a raster-ordered list of `count` corners; see
// ombrixFastC.cpp. rowTable needs one word per row up to the last corner's.
void nms_processing(const uint32_t* xy, const uint32_t* scores, uint32_t* rowTable, uint32_t count,
                    uint32_t* xyOut, uint32_t* scoresOut, uint32_t* countOut);

namespace ombrix_fast {
namespace {

// The Bresenham circle of radius 3, clockwise in image coordinates from the
// pixel three rows below the centre.
constexpr int kCircleDx[16] = {0, 1, 2, 3, 3, 3, 2, 1, 0, -1, -2, -3, -3, -3, -2, -1};
constexpr int kCircleDy[16] = {3, 3, 2, 1, 0, -1, -2, -3, -3, -3, -2, -1, 0, 1, 2, 3};

// A stride of 0 means packed rows.
static inline uint32_t rowPitch(uint32_t stride, uint32_t width) { return stride ? stride : width; }

// The 16 circle pixels as byte offsets from the centre.
static inline void circleOffsets(int32_t offsets[16], uint32_t pitch) {
    for (int i = 0; i < 16; ++i) offsets[i] = kCircleDx[i] + kCircleDy[i] * static_cast<int32_t>(pitch);
}

// Thresholds outside [-256, 255] give the same test as the nearest bound (at
// 255 no pixel is brighter or darker, at -256 every pixel is both), so the
// sums p + b and p - b never overflow.
static inline int32_t clampBarrier(int32_t b) { return b < -256 ? -256 : b > 255 ? 255 : b; }

// True when the 16-bit cyclic mask (bit i for circle pixel i) holds a run of
// N set bits.
template <int N>
static inline bool hasArc(uint32_t bits) {
    static_assert(N == 9 || N == 10, "arcs of 9 or 10 pixels");
    const uint32_t m = bits | bits << 16;     // pixel i at bits i and i + 16
    uint32_t run = m & (m >> 1);              // runs of 2 starting at bit i
    run &= run >> 2;                          // of 4
    run &= run >> 4;                          // of 8
    run &= N == 9 ? m >> 8 : run >> 2;        // of 9, or of 8 twice two apart: 10
    return (run & 0xFFFFu) != 0;
}

// The corner test: some N consecutive circle pixels all brighter than
// p + b, or all darker than p - b (strict). Every arc of 9 or more holds two
// neighbouring compass points (0 and 4, 4 and 8, 8 and 12, or 12 and 0), so
// one of pixels 0 and 8 must pass; most non-corners are rejected there, then
// with pixels 4 and 12, before the rest of the circle is read.
template <int N>
static inline bool isCorner(const uint8_t* c, const int32_t* offsets, int32_t barrier) {
    const int32_t b = clampBarrier(barrier);
    const int32_t hi = c[0] + b, lo = c[0] - b;
    const int32_t v0 = c[offsets[0]], v8 = c[offsets[8]];
    if (v0 <= hi && v0 >= lo && v8 <= hi && v8 >= lo) return false;
    uint32_t bright = 0, dark = 0;
    const auto classify = [&](int i, int32_t v) {
        bright |= static_cast<uint32_t>(v > hi) << i;
        dark |= static_cast<uint32_t>(v < lo) << i;
    };
    classify(0, v0);
    classify(8, v8);
    classify(4, c[offsets[4]]);
    classify(12, c[offsets[12]]);
    const auto compassPair = [](uint32_t m) { return (m & 0x0101u) && (m & 0x1010u); };
    if (!compassPair(bright) && !compassPair(dark)) return false;
    for (int i = 1; i < 16; ++i)
        if (i % 4) classify(i, c[offsets[i]]);
    return hasArc<N>(bright) || hasArc<N>(dark);
}

// The largest threshold at which the centre still passes the test, found by
// bisection between barrier and 255 (barrier itself when it does not pass).
// The loop ends only for barrier <= 255; corners exist only below 255.
template <int N>
static inline uint32_t bisectionScore(const uint8_t* c, const int32_t* offsets, int32_t barrier) {
    int32_t bmin = barrier, bmax = 255;
    do {
        const int32_t b = (bmin + bmax) / 2;
        if (isCorner<N>(c, offsets, b)) bmin = b;
        else bmax = b;
    } while (bmin != bmax - 1 && bmin != bmax);
    return static_cast<uint32_t>(bmin);
}

// ---- Detection scan ----------------------------------------------------------

// The rows and columns a scan examines: [first, rowEnd) x [first, columnEnd),
// first = max(border, 3). Empty when first >= height - first (signed), and
// for a border that is negative as a signed number, which would otherwise
// reach outside the image.
struct ScanWindow {
    uint32_t first, rowEnd, columnEnd;
    bool empty() const { return first >= rowEnd || first >= columnEnd; }
};

static inline ScanWindow scanWindow(uint32_t width, uint32_t height, uint32_t border) {
    const uint32_t e = border > 3 ? border : 3;
    if (static_cast<int32_t>(e) < 0 || static_cast<int64_t>(e) >= static_cast<int64_t>(height) - e) return {e, 0, 0};
    return {e, height - e, width > e ? width - e : 0};
}

// A corner list being filled: stores (x, y), then reports whether the
// capacity is reached. The count is compared after the store, so a capacity
// of 0 still takes one corner.
struct CornerSink {
    uint32_t* xy;
    uint32_t capacity;
    uint32_t count;
    bool add(uint32_t x, uint32_t y) {
        xy[2 * count] = x;
        xy[2 * count + 1] = y;
        return ++count >= capacity;
    }
};

// ---- Mask mapping --------------------------------------------------------------

// A corner mask mapped onto the image: one bit per mask pixel, most
// significant first, rows of ceil(maskWidth / 8) bytes; a set bit excludes
// the pixel. Image pixel (x, y) reads mask pixel (x >> s, y >> s), or
// (x << -s, y << -s) for a larger mask.
struct MaskMap {
    const uint8_t* bits;
    uint32_t rowBytes;
    int shift;

    bool excludes(uint32_t x, uint32_t y) const {
        const uint32_t m = shift >= 0 ? x >> shift : x << -shift;
        const uint32_t r = shift >= 0 ? y >> shift : y << -shift;
        return bits[static_cast<size_t>(r) * rowBytes + (m >> 3)] & (0x80u >> (m & 7));
    }
};

// The mapping for a mask of the image's size, or 2, 4 or 8 times larger or
// smaller in both dimensions (tested in that order); false for any other pair.
static inline bool mapMask(const uint8_t* bits, uint32_t maskWidth, uint32_t maskHeight, uint32_t width,
                           uint32_t height, MaskMap* map) {
    const uint64_t mw = maskWidth, mh = maskHeight, w = width, h = height;
    int shift;
    if (mw == w && mh == h) shift = 0;
    else if (mw == 2 * w && mh == 2 * h) shift = -1;
    else if (w == 2 * mw && h == 2 * mh) shift = 1;
    else if (mw == 4 * w && mh == 4 * h) shift = -2;
    else if (w == 4 * mw && h == 4 * mh) shift = 2;
    else if (mw == 8 * w && mh == 8 * h) shift = -3;
    else if (w == 8 * mw && h == 8 * mh) shift = 3;
    else return false;
    *map = {bits, (maskWidth >> 3) + ((maskWidth & 7) != 0), shift};
    return true;
}

// No mask: every pixel is examined.
struct NoMask {
    bool excludes(uint32_t, uint32_t) const { return false; }
};

// The reference scan: every pixel of the window in raster order, skipping
// masked ones, until the capacity is reached.
template <int N, typename Mask>
static inline void detect(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, int32_t barrier,
                          uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* count, const Mask& mask) {
    const ScanWindow window = scanWindow(width, height, border);
    if (window.empty()) return;
    const uint32_t pitch = rowPitch(stride, width);
    int32_t offsets[16];
    circleOffsets(offsets, pitch);
    CornerSink sink{xy, nCornersMax, 0};
    for (uint32_t y = window.first; y < window.rowEnd; ++y) {
        const uint8_t* row = src + static_cast<size_t>(y) * pitch;
        for (uint32_t x = window.first; x < window.columnEnd; ++x) {
            if (mask.excludes(x, y) || !isCorner<N>(row + x, offsets, barrier)) continue;
            if (sink.add(x, y)) {
                *count = sink.count;
                return;
            }
        }
    }
    *count = sink.count;
}

// ---- Scoring operations ------------------------------------------------------------

// Detects through `detectInto(xy, capacity, count)` (the detector's slot) and
// scores through `scoreList(count, xy, scores)`. With suppression the raw
// corners and their scores go to tempBuf ([2 * nCornersMax pair words |
// nCornersMax score words | row table]) and nms_processing writes the
// survivors. A capacity of 0 leaves no room in tempBuf for the one corner
// the detector stores even so; a single corner has no neighbours and
// survives, so it goes straight to xy and scores.
template <typename Detect, typename ScoreList>
static inline void detectAndScore(const Detect& detectInto, const ScoreList& scoreList, uint32_t* xy,
                                  uint32_t* scores, uint32_t nCornersMax, uint32_t* count, bool suppress,
                                  uint32_t* tempBuf) {
    if (!suppress || nCornersMax == 0) {
        detectInto(xy, nCornersMax, count);
        scoreList(count, xy, scores);
        return;
    }
    uint32_t* rawXy = tempBuf;
    uint32_t* rawScores = tempBuf + 2 * static_cast<size_t>(nCornersMax);
    uint32_t* rowTable = tempBuf + 3 * static_cast<size_t>(nCornersMax);
    uint32_t rawCount = 0;
    detectInto(rawXy, nCornersMax, &rawCount);
    scoreList(&rawCount, rawXy, rawScores);
    nms_processing(rawXy, rawScores, rowTable, rawCount, xy, scores, count);
}

// Scores i = score(src + x + y * pitch) for the listed corners.
template <typename Score>
static inline void scoreCorners(Score* score, const uint8_t* src, uint32_t width, uint32_t stride, int32_t barrier,
                                uint32_t count, const uint32_t* xy, uint32_t* scores) {
    const uint32_t pitch = rowPitch(stride, width);
    int32_t offsets[16];
    circleOffsets(offsets, pitch);
    for (uint32_t i = 0; i < count; ++i)
        scores[i] = score(src + xy[2 * i] + static_cast<size_t>(xy[2 * i + 1]) * pitch, offsets, barrier);
}

}  // namespace
}  // namespace ombrix_fast

#endif  // OMBRIX_FAST_SCALAR_H
