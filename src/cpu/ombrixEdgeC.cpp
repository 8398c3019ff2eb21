// Reference implementations of the edge filters.
#include <string.h>

#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixCannyScalar.h"
#include "ombrixKernels.h"

// ==== Canny edge detector =========================================================

namespace {

using namespace ombrix_canny;

// Smoothed values of columns 1 .. width - 2 of the source row in the middle
// of rows[0 .. 2], six at a time up to w6 and singly after it.
void smoothRow(const uint8_t* const* rows, uint8_t* out, uint32_t width) {
    const int32_t w_2 = static_cast<int32_t>(width) - 2;
    const int32_t w6 = w_2 / 6 * 6;
    OMBRIX_ASSERT(w6 <= w_2 && w6 >= w_2-5);
    int32_t x = 0;
    for (; x < w6; x += 6)
        for (int k = 1; k <= 6; ++k) out[x + k] = smoothPixel(rows, x + k);
    for (; x < w_2; ++x) out[x + 1] = smoothPixel(rows, x + 1);
}

const uint8_t* sourceRow(const uint8_t* src, uint32_t srcStride, uint32_t y) {
    return src + static_cast<size_t>(y) * srcStride;
}

// Smoothing, gradients and direction codes of rows 2 .. height - 3, keeping
// two smoothed rows in `smooth`; returns the largest magnitude.
int32_t gradients(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* smooth,
                  uint8_t* flags, int32_t* mag) {
    uint8_t* previous = smooth;
    uint8_t* current = smooth + width;
    const uint8_t* rows[3] = {sourceRow(src, srcStride, 0), sourceRow(src, srcStride, 1),
                              sourceRow(src, srcStride, 2)};
    smoothRow(rows, previous, width);
    int32_t maxMag = 0;
    for (uint32_t y = kMargin; y + kMargin < height; ++y) {
        rows[0] = rows[1];
        rows[1] = rows[2];
        rows[2] = sourceRow(src, srcStride, y + 1);
        smoothRow(rows, current, width);
        const size_t row = static_cast<size_t>(y) * width;
        for (uint32_t x = kMargin; x + kMargin < width; ++x) {
            flags[row + x] = gradientAt(previous, current, x, &mag[row + x]);
            if (mag[row + x] > maxMag) maxMag = mag[row + x];
        }
        uint8_t* done = previous;
        previous = current;
        current = done;
    }
    return maxMag;
}

}  // namespace

extern "C" {

void obxFilterCanny3x3u8C(const uint8_t* srcImg, uint32_t width, uint32_t height, uint32_t srcStride,
                          uint8_t* dstImg, uint32_t dstStride, int32_t low, int32_t high) {
    OMBRIX_ASSERT(srcImg && width && height && (srcStride >= width) && dstImg && (dstStride >= width) && (low <= high) && width > 2 && height > 2);
    const size_t pixels = static_cast<size_t>(width) * height;
    // Working memory from the unaligned scratch slot; a missing buffer ends
    // the process through the assertion naming it.
    uint8_t* smooth = static_cast<uint8_t*>(obxGetScratchBufferUnaligned_(2 * width));
    OMBRIX_ASSERT(smooth);
    uint8_t* dir = static_cast<uint8_t*>(obxGetScratchBufferUnaligned_(static_cast<uint32_t>(pixels)));
    OMBRIX_ASSERT(dir);
    int32_t* mag = static_cast<int32_t*>(obxGetScratchBufferUnaligned_(static_cast<uint32_t>(pixels * sizeof(int32_t))));
    OMBRIX_ASSERT(mag);

    // One plain clear of width * height bytes: with dstStride > width the
    // later rows are only partly cleared.
    memset(dstImg, 0, pixels);
    memset(dir, 0, pixels);
    memset(mag, 0, pixels * sizeof(int32_t));

    const int32_t maxMag = gradients(srcImg, width, height, srcStride, smooth, dir, mag);
    const int32_t lowT = magnitudeThreshold(low, maxMag), highT = magnitudeThreshold(high, maxMag);

    for (uint32_t y = kMargin; y + kMargin < height; ++y) {
        const size_t row = static_cast<size_t>(y) * width;
        for (uint32_t x = kMargin; x + kMargin < width; ++x) {
            const uint8_t code = dir[row + x];
            if (code) dir[row + x] = classify(&mag[row + x], code, width, lowT, highT);
        }
    }
    for (uint32_t y = kMargin; y + kMargin < height; ++y) traceSeedsOfRow(dir, width, dstImg, dstStride, y, kMargin, width - kMargin);

    obxReleaseScratchBuffer_(mag);
    obxReleaseScratchBuffer_(dir);
    obxReleaseScratchBuffer_(smooth);
}

}  // extern "C"
