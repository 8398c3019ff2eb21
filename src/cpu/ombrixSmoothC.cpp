// Reference box (mean) filters.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixBoxStrip.h"

namespace {

// Output columns per strip (see ombrixBoxStrip.h): one strip's column sums
// live on the stack.
constexpr uint32_t kStripWidth = 512;

// Adds `count` pixels of an image row to the column sums, or subtracts them.
void addRow(uint32_t* sums, const uint8_t* row, uint32_t count) {
    for (uint32_t j = 0; j < count; ++j) sums[j] += row[j];
}
void subtractRow(uint32_t* sums, const uint8_t* row, uint32_t count) {
    for (uint32_t j = 0; j < count; ++j) sums[j] -= row[j];
}

// n x n box filter, n = 2 * Radius + 1. Every output pixel, border included,
// is the sum of its n x n neighbourhood with positions outside the image
// counting as 0, times Reciprocal (65536 / (n * n), rounded up), plus 32768,
// shifted right by 16.
//
// For each strip, sums[p] is the sum of the strip position p's image column
// over the rows of the current output row's window, and stays 0 for
// positions outside the image. Moving down one row adds the row entering the
// window and subtracts the row leaving it; along a row the window sum slides
// over sums[] the same way.
template <uint32_t Radius, uint32_t Reciprocal>
void boxFilter(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dst,
               uint32_t dstStride) {
    constexpr uint32_t kSpan = 2 * Radius + 1;
    uint32_t sums[kStripWidth + 2 * Radius];
    for (uint32_t x0 = 0; x0 < width; x0 += kStripWidth) {
        const obxBoxStrip strip = obxBoxStripAt(x0, width, kStripWidth, Radius);
        uint32_t* inside = sums + strip.first;
        const uint32_t insideCount = strip.last - strip.first;
        auto row = [&](uint32_t y) { return src + static_cast<size_t>(y) * srcStride + strip.column; };

        for (uint32_t p = 0; p < strip.length; ++p) sums[p] = 0;
        // The window of output row -1: image rows 0 .. Radius - 1.
        for (uint32_t y = 0; y < Radius; ++y) addRow(inside, row(y), insideCount);

        for (uint32_t y = 0; y < height; ++y) {
            if (y + Radius < height) addRow(inside, row(y + Radius), insideCount);
            if (y > Radius) subtractRow(inside, row(y - Radius - 1), insideCount);

            uint8_t* out = dst + static_cast<size_t>(y) * dstStride + x0;
            uint32_t window = 0;
            for (uint32_t p = 0; p + 1 < kSpan; ++p) window += sums[p];
            for (uint32_t i = 0; i < strip.count; ++i) {
                window += sums[i + kSpan - 1];
                out[i] = static_cast<uint8_t>((window * Reciprocal + 32768) >> 16);
                window -= sums[i];
            }
        }
    }
}

}  // namespace

extern "C" {

void obxBoxFilter3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth ) && srcWidth > 2 && srcHeight > 2);
    boxFilter<1, 7282>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void obxBoxFilter5x5u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && srcStride && dstStride && (srcStride >=srcWidth) && srcWidth > 4 && srcHeight > 4);
    boxFilter<2, 2621>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void obxBoxFilter11x11u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth) && srcWidth > 10 && srcHeight > 10);
    boxFilter<5, 542>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

}  // extern "C"
