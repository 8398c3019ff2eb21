// Contour finding: a raster scan that starts a border wherever a 0 -> 1 (outer)
// or an unlabelled 1 -> 0 (hole) transition is met, and 8-connected border
// following around it. The image itself is the label map: traced border
// pixels receive a positive label, or a negative one (as a signed byte) when
// their east neighbour is background seen from this border, which keeps the
// scan from starting the same hole border twice.
#include <string.h>

#include "ombrixAssert.h"
#include "ombrix.h"

namespace {

enum class Mode { External, List, Ccomp, Tree };

// Freeman directions, y growing downwards: E, NE, N, NW, W, SW, S, SE.
constexpr int32_t kDx[8] = {1, 1, 0, -1, -1, -1, 0, 1};
constexpr int32_t kDy[8] = {0, -1, -1, -1, 0, 1, 1, 1};
constexpr int32_t kWest = 4;
constexpr int32_t kEast = 0;

// External and List need no border numbers: every border carries these.
constexpr uint8_t kFlatPositive = 2;
constexpr uint8_t kFlatNegative = 254;
// Border numbers (index + 2) live in the image as bytes; past 254 they would
// wrap onto the values 0 and 1 of plain background and foreground.
constexpr uint32_t kMaxNumberedContours = 253;

// Clears the outermost rows and columns. Turning foreground into 1 is left to
// normalizeRows, which the scan applies row by row just ahead of itself.
void prepareImage(uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth));
    memset(src, 0, srcWidth);
    memset(src + size_t{srcStride} * (srcHeight - 1), 0, srcWidth);
    for (uint32_t y = 1; y + 1 < srcHeight; ++y) {
        uint8_t* row = src + size_t{srcStride} * y;
        row[0] = 0;
        row[srcWidth - 1] = 0;
    }
}

// The image with its rows [1, ready) already holding 0 and 1 (and labels).
// Rows below `ready` still hold the caller's values: border following may
// test them for zero, which they answer correctly, but must normalise a row
// before it labels a pixel there.
struct LabelMap {
    uint8_t* src;
    uint32_t width, stride;
    uint32_t ready;
    void normalizeRows(uint32_t end) {  // up to, not including, row `end`
        for (uint32_t y = ready; y < end; ++y) normalizeRow(src + size_t{stride} * y + 1, width > 2 ? width - 2 : 0);
        if (end > ready) ready = end;
    }
    // Local copies only: stores through a byte pointer could otherwise alias
    // the fields above and keep the loop from being unrolled or vectorised.
    static void normalizeRow(uint8_t* row, uint32_t count) {
        uint32_t x = 0;
#if !defined(__SSE2__) && !defined(__ARM_NEON)
        // Without a vector unit for the compiler to use, a word at a time:
        // the high bit of (b & 0x7F) + 0x7F, or of b itself, is set exactly
        // when byte b is non-zero.
        constexpr size_t kOnes = ~size_t{0} / 255;  // 0x0101...01
        constexpr size_t kLow7 = kOnes * 0x7F;
        for (; x + sizeof(size_t) <= count; x += sizeof(size_t)) {
            size_t w;
            memcpy(&w, row + x, sizeof w);
            if (!w) continue;  // background stays as it is
            w = (((w & kLow7) + kLow7) | w) >> 7 & kOnes;
            memcpy(row + x, &w, sizeof w);
        }
#endif
        for (; x < count; ++x) row[x] = row[x] != 0;
    }
};

// Index of the lowest non-zero byte of a non-zero word (bytes in memory order
// on little-endian processors).
inline uint32_t firstSetByte(size_t d) {
    return static_cast<uint32_t>((sizeof(size_t) == 8 ? __builtin_ctzll(d) : __builtin_ctz(static_cast<uint32_t>(d))) / 8);
}

// First x >= `x` (and < end) whose pixel differs from `value`, four words per
// step over long runs.
inline uint32_t runEnd(const uint8_t* row, uint32_t x, uint32_t end, uint8_t value) {
    const size_t pattern = value * (~size_t{0} / 255);
#if defined(__BYTE_ORDER__) && __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    constexpr uint32_t kWord = sizeof(size_t);
    for (; x + 4 * kWord <= end; x += 4 * kWord) {
        size_t w0, w1, w2, w3;
        memcpy(&w0, row + x, kWord);
        memcpy(&w1, row + x + kWord, kWord);
        memcpy(&w2, row + x + 2 * kWord, kWord);
        memcpy(&w3, row + x + 3 * kWord, kWord);
        if ((w0 ^ pattern) | (w1 ^ pattern) | (w2 ^ pattern) | (w3 ^ pattern)) break;  // found below
    }
    for (; x + kWord <= end; x += kWord) {
        size_t w;
        memcpy(&w, row + x, sizeof w);
        w ^= pattern;
        if (w) return x + firstSetByte(w);
    }
#endif
    while (x < end && row[x] == value) ++x;
    return x;
}

struct Outputs {
    uint32_t maxNumContours;
    uint32_t* numContourPoints;
    int32_t** contourStartPoints;
    int32_t* pointBuffer;
    int32_t* pointLimit;  // a point may be written only below this address
    int32_t* holeFlag;
    int32_t* hierarchy;
};

// Follows one border from `start` (at x, y), whose first search direction is
// `firstDirection`, labelling its pixels and appending its points at `out`.
// Returns false, with nothing counted, when a point would fill the buffer.
bool followBorder(LabelMap& map, uint8_t* start, int32_t x, int32_t y, int32_t firstDirection, uint8_t positive,
                  uint8_t negative, const int32_t* offsets, int32_t*& out, const int32_t* pointLimit) {
    // Clockwise from the direction before the first one: the neighbour found
    // is the border's last pixel, the one the following comes back from.
    int32_t last = -1;
    for (int32_t k = firstDirection + 7; k >= firstDirection; --k) {
        if (start[offsets[k]]) {
            last = k & 7;
            break;
        }
    }
    if (last < 0) {  // an isolated pixel
        *start = negative;
        if (out >= pointLimit) return false;
        out[0] = x;
        out[1] = y;
        out += 2;
        return true;
    }
    uint8_t* const lastPixel = start + offsets[last];
    uint8_t* current = start;
    int32_t back = last;  // direction from the current pixel to the previous one
    for (;;) {
        // Counter-clockwise from the one after the way back. Index 8 is east:
        // passing it means east was examined and found to be background.
        int32_t k = back + 1;
        uint8_t* next = current + offsets[k];
        while (!*next) next = current + offsets[++k];
        if (static_cast<uint32_t>(y) >= map.ready) map.normalizeRows(static_cast<uint32_t>(y) + 1);
        if (k > 8)
            *current = negative;
        else if (*current == 1)
            *current = positive;
        if (out >= pointLimit) return false;
        out[0] = x;
        out[1] = y;
        out += 2;
        if (next == start && current == lastPixel) return true;
        const int32_t d = k & 7;
        x += kDx[d];
        y += kDy[d];
        back = d ^ 4;
        current = next;
    }
}

// Links contour i behind the last child of `parent` (or of the top level when
// parent is -1). While the calls run, a list's first member keeps the index
// of its last member in its previous field, encoded as -2 - index;
// finishHierarchy turns those back into -1.
void appendToList(int32_t* hierarchy, int32_t& topLast, int32_t parent, int32_t i) {
    int32_t* h = hierarchy + 4 * i;
    h[0] = -1;
    h[2] = -1;
    h[3] = parent;
    if (parent < 0) {
        h[1] = topLast;
        if (topLast >= 0) hierarchy[4 * topLast] = i;
        topLast = i;
        return;
    }
    int32_t* p = hierarchy + 4 * parent;
    if (p[2] < 0) {
        p[2] = i;
        h[1] = -2 - i;
        return;
    }
    int32_t* first = hierarchy + 4 * p[2];
    const int32_t lastChild = -2 - first[1];
    hierarchy[4 * lastChild] = i;
    h[1] = lastChild;
    first[1] = -2 - i;
}

void finishHierarchy(int32_t* hierarchy, uint32_t count) {
    for (uint32_t i = 0; i < count; ++i)
        if (hierarchy[4 * i + 1] < -1) hierarchy[4 * i + 1] = -1;
}

// The scan shared by the four modes; returns the number of contours.
template <Mode mode>
uint32_t findContours(uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                      const int32_t* offsets, const Outputs& o) {
    constexpr bool kNumbered = mode == Mode::Ccomp || mode == Mode::Tree;
    const uint32_t maxContours =
        kNumbered && o.maxNumContours > kMaxNumberedContours ? kMaxNumberedContours : o.maxNumContours;
    int32_t* out = o.pointBuffer;
    uint32_t n = 0;
    LabelMap map{src, srcWidth, srcStride, 1};
    int32_t topLast = -1;

    // Traces one border; false ends the whole scan.
    auto trace = [&](uint8_t* start, int32_t x, int32_t y, bool hole, int32_t lnbd) -> bool {
        if (n >= maxContours) return false;
        const uint32_t number = n + 2;
        const uint8_t positive = kNumbered ? static_cast<uint8_t>(number) : kFlatPositive;
        const uint8_t negative = kNumbered ? static_cast<uint8_t>(0u - number) : kFlatNegative;
        int32_t* first = out;
        if (!followBorder(map, start, x, y, hole ? kEast : kWest, positive, negative, offsets, out, o.pointLimit)) {
            out = first;
            return false;
        }
        o.numContourPoints[n] = static_cast<uint32_t>(out - first) / 2;
        o.contourStartPoints[n] = first;
        const int32_t i = static_cast<int32_t>(n);
        if constexpr (mode == Mode::External) {
            int32_t* h = o.hierarchy + 4 * i;
            h[0] = -1;
            h[1] = i - 1;
            h[2] = -1;
            h[3] = -1;
            if (i > 0) o.hierarchy[4 * (i - 1)] = i;
        } else if constexpr (kNumbered) {
            o.holeFlag[i] = hole ? 1 : 0;
            // The border last met on this row: |label| - 2.
            const int32_t p = (lnbd < 0 ? -lnbd : lnbd) - 2;
            int32_t parent = -1;
            if constexpr (mode == Mode::Ccomp) {
                if (hole) {
                    OMBRIX_ASSERT((lnbd != -1) && (lnbd != 0) && (lnbd != 1));
                    parent = o.holeFlag[p] ? o.hierarchy[4 * p + 3] : p;
                }
            } else if (i > 0 && (hole || lnbd != 0)) {
                // No border met yet on the row: the frame around the image,
                // a hole, encloses the new (outer) border.
                OMBRIX_ASSERT((lnbd != -1) && (lnbd != 0) && (lnbd != 1));
                parent = o.holeFlag[p] != o.holeFlag[i] ? p : o.hierarchy[4 * p + 3];
            }
            appendToList(o.hierarchy, topLast, parent, i);
        }
        ++n;
        return true;
    };

    const uint32_t height = srcHeight;
    for (uint32_t y = 1; y + 1 < height; ++y) {
        uint8_t* row = src + size_t{srcStride} * y;
        if (y >= map.ready) map.normalizeRows(y + 1);
        int32_t lnbd = 0;  // last border label met on the row, as a signed byte
        uint32_t x = 1;
        while (x < srcWidth) {
            const uint8_t left = row[x - 1];
            x = runEnd(row, x, srcWidth, left);
            if (x >= srcWidth) break;
            const uint8_t value = row[x];
            if (value == 1 && left == 0) {
                if (mode != Mode::External || lnbd <= 0) {
                    if (!trace(row + x, static_cast<int32_t>(x), static_cast<int32_t>(y), false, lnbd)) break;
                }
            } else if (value == 0 && static_cast<int8_t>(left) >= 1) {
                if (mode != Mode::External) {
                    if (!trace(row + x - 1, static_cast<int32_t>(x) - 1, static_cast<int32_t>(y), true, lnbd))
                        break;
                    lnbd = static_cast<int8_t>(row[x - 1]);
                }
            }
            if (row[x] > 1) lnbd = static_cast<int8_t>(row[x]);
            ++x;
        }
        if (x < srcWidth) break;  // out of contour slots or point space
    }
    map.normalizeRows(srcHeight > 1 ? srcHeight - 1 : 1);  // rows left after an early stop
    if (kNumbered) finishHierarchy(o.hierarchy, n);
    return n;
}

int32_t* pointLimit(int32_t* pointBuffer, uint32_t pointBufferSize) {
    return pointBufferSize >= 2 ? pointBuffer + (pointBufferSize - 2) : pointBuffer;
}

// The two modes that record hole flags and the full hierarchy share their
// contract and set-up.
template <Mode M>
void findHierarchy(uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint32_t maxNumContours,
                   uint32_t* numContours, int32_t* holeFlag, uint32_t* numContourPoints, int32_t** contourStartPoints,
                   int32_t* pointBuffer, uint32_t pointBufferSize, int32_t* hierarchy, void* contourHandle) {
    OMBRIX_ASSERT(src && numContours && holeFlag && numContourPoints && contourStartPoints && pointBuffer && hierarchy && contourHandle && srcWidth && srcHeight && (srcStride >= srcWidth));
    OMBRIX_ASSERT(maxNumContours > 126);
    prepareImage(src, srcWidth, srcHeight, srcStride);
    const Outputs o{maxNumContours, numContourPoints, contourStartPoints, pointBuffer,
                    pointLimit(pointBuffer, pointBufferSize), holeFlag, hierarchy};
    *numContours = findContours<M>(src, srcWidth, srcHeight, srcStride, static_cast<const int32_t*>(contourHandle), o);
}

}  // namespace

extern "C" {

void* obxFindContoursAllocateC(uint32_t srcStride) {
    int32_t* offsets = static_cast<int32_t*>(obxMemAlloc(16 * sizeof(int32_t), 16));
    if (!offsets) return nullptr;
    const int32_t s = static_cast<int32_t>(srcStride);
    const int32_t directions[8] = {1, 1 - s, -s, -s - 1, -1, s - 1, s, s + 1};
    for (int32_t k = 0; k < 16; ++k) offsets[k] = directions[k & 7];
    return offsets;
}

void obxFindContoursExternalu8C(uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                uint32_t maxNumContours, uint32_t* numContours, uint32_t* numContourPoints,
                                int32_t** contourStartPoints, int32_t* pointBuffer, uint32_t pointBufferSize,
                                int32_t* hierarchy, void* contourHandle) {
    OMBRIX_ASSERT(src && numContours && numContourPoints && contourStartPoints && pointBuffer && hierarchy && contourHandle && srcWidth && srcHeight && (srcStride >= srcWidth));
    prepareImage(src, srcWidth, srcHeight, srcStride);
    const Outputs o{maxNumContours, numContourPoints, contourStartPoints, pointBuffer,
                    pointLimit(pointBuffer, pointBufferSize), nullptr, hierarchy};
    *numContours = findContours<Mode::External>(src, srcWidth, srcHeight, srcStride,
                                                static_cast<const int32_t*>(contourHandle), o);
}

void obxFindContoursListu8C(uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            uint32_t maxNumContours, uint32_t* numContours, uint32_t* numContourPoints,
                            int32_t** contourStartPoints, int32_t* pointBuffer, uint32_t pointBufferSize,
                            void* contourHandle) {
    OMBRIX_ASSERT(src && numContours && numContourPoints && contourStartPoints && pointBuffer && contourHandle && srcWidth && srcHeight && (srcStride >= srcWidth));
    prepareImage(src, srcWidth, srcHeight, srcStride);
    const Outputs o{maxNumContours, numContourPoints, contourStartPoints, pointBuffer,
                    pointLimit(pointBuffer, pointBufferSize), nullptr, nullptr};
    *numContours = findContours<Mode::List>(src, srcWidth, srcHeight, srcStride,
                                            static_cast<const int32_t*>(contourHandle), o);
}

void obxFindContoursCcompu8C(uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint32_t maxNumContours, uint32_t* numContours, int32_t* holeFlag,
                             uint32_t* numContourPoints, int32_t** contourStartPoints, int32_t* pointBuffer,
                             uint32_t pointBufferSize, int32_t* hierarchy, void* contourHandle) {
    findHierarchy<Mode::Ccomp>(src, srcWidth, srcHeight, srcStride, maxNumContours, numContours, holeFlag,
                               numContourPoints, contourStartPoints, pointBuffer, pointBufferSize, hierarchy,
                               contourHandle);
}

void obxFindContoursTreeu8C(uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            uint32_t maxNumContours, uint32_t* numContours, int32_t* holeFlag,
                            uint32_t* numContourPoints, int32_t** contourStartPoints, int32_t* pointBuffer,
                            uint32_t pointBufferSize, int32_t* hierarchy, void* contourHandle) {
    findHierarchy<Mode::Tree>(src, srcWidth, srcHeight, srcStride, maxNumContours, numContours, holeFlag,
                              numContourPoints, contourStartPoints, pointBuffer, pointBufferSize, hierarchy,
                              contourHandle);
}

void obxFindContoursDeleteC(void* contourHandle) {
    OMBRIX_ASSERT(contourHandle);
    obxMemFree(contourHandle);
}

}  // extern "C"
