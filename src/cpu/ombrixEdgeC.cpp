// Reference implementations of the edge filters: central-difference, Sobel
// and Scharr derivatives, the Sobel edge magnitude and the Canny detector.
#include <string.h>

#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixCannyScalar.h"
#include "ombrixEdgeScalar.h"
#include "ombrixKernels.h"

// ==== Gradients and the Sobel edge filter ======================================
//
// Reference central-difference, Sobel and Scharr derivatives of the interior
// pixels (1 <= x <= width - 2, 1 <= y <= height - 2), and the Sobel edge
// magnitude. Images without an interior are left untouched. Every stride is
// in bytes; 16- and 32-bit images convert it to elements (a remainder is
// dropped) after the contract check.

namespace {

using namespace ombrix_edge;

// (dx, dy) pairs: the pair of pixel (x, y) goes to output row y - 1, pair
// x - 1, so the output is packed from its first row and column.
template <Kernel K, Scale S, typename Out>
void interleavedGradients(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, Out* gradients,
                          uint32_t gradStride) {
    if (width < 3 || height < 3) return;
    const size_t outStride = gradStride / sizeof(Out);
    for (uint32_t y = 1; y + 1 < height; ++y) {
        const uint8_t* centre = rowAt(src, srcStride, y);
        Out* pairs = rowAt(gradients, outStride, y - 1);
        gradientRow<K, S>(centre - srcStride, centre, centre + srcStride, 1, width - 1, pairs, pairs + 1, 2);
    }
}

// Separate dx and dy planes, each result at its pixel's own position; the
// outer rows and columns of both planes are not written.
template <Kernel K, Scale S, typename Out, typename Pixel>
void planarGradients(const Pixel* src, uint32_t width, uint32_t height, size_t srcStride, Out* dx, Out* dy,
                     uint32_t dxyStride) {
    if (width < 3 || height < 3) return;
    const size_t outStride = dxyStride / sizeof(Out);
    for (uint32_t y = 1; y + 1 < height; ++y) {
        const Pixel* centre = rowAt(src, srcStride, y);
        gradientRow<K, S>(centre - srcStride, centre, centre + srcStride, 1, width - 1, rowAt(dx, outStride, y) + 1,
                          rowAt(dy, outStride, y) + 1, 1);
    }
}

}  // namespace

extern "C" {

void obxFilterSobel3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dst && (dstStride >= srcWidth));
    if (srcWidth < 3 || srcHeight < 3) return;
    for (uint32_t y = 1; y + 1 < srcHeight; ++y) {
        const uint8_t* centre = rowAt(src, srcStride, y);
        sobelMagnitudeRow(centre - srcStride, centre, centre + srcStride, 1, srcWidth - 1, rowAt(dst, dstStride, y));
    }
}

void obxImageGradientInterleaveds16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     int16_t* gradients, uint32_t gradStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && gradients && (gradStride >= ((srcWidth-2)*2*sizeof(int16_t))));
    interleavedGradients<Kernel::Central, Scale::None>(src, srcWidth, srcHeight, srcStride, gradients, gradStride);
}

void obxImageGradientPlanars16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                int16_t* dx, int16_t* dy, uint32_t dxyStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= (srcWidth*sizeof(int16_t))));
    planarGradients<Kernel::Central, Scale::None>(src, srcWidth, srcHeight, srcStride, dx, dy, dxyStride);
}

void obxImageGradientInterleavedf32C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     float32_t* gradients, uint32_t gradStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && gradients && (gradStride >= ((srcWidth-2)*2*sizeof(float))));
    interleavedGradients<Kernel::Central, Scale::None>(src, srcWidth, srcHeight, srcStride, gradients, gradStride);
}

void obxImageGradientPlanarf32C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                float32_t* dx, float32_t* dy, uint32_t dxyStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= (srcWidth*sizeof(float))));
    planarGradients<Kernel::Central, Scale::None>(src, srcWidth, srcHeight, srcStride, dx, dy, dxyStride);
}

void obxImageGradientSobelInterleaveds16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, int16_t* gradients, uint32_t gradStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && gradients && (gradStride >= ((srcWidth-2)*2*sizeof(int16_t))));
    interleavedGradients<Kernel::Sobel, Scale::Shift3>(src, srcWidth, srcHeight, srcStride, gradients, gradStride);
}

void obxImageGradientSobelInterleaveds16_v3C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                             uint32_t srcStride, int16_t* gradients, uint32_t gradStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && gradients && (gradStride >= ((srcWidth-2)*2*sizeof(int16_t))));
    interleavedGradients<Kernel::Sobel, Scale::None>(src, srcWidth, srcHeight, srcStride, gradients, gradStride);
}

void obxImageGradientSobelInterleavedf32C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, float32_t* gradients, uint32_t gradStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && gradients && (gradStride >= ((srcWidth-2)*2*sizeof(float))));
    interleavedGradients<Kernel::Sobel, Scale::Eighth>(src, srcWidth, srcHeight, srcStride, gradients, gradStride);
}

void obxImageGradientSobelPlanars16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     int16_t* dx, int16_t* dy, uint32_t dxyStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= (srcWidth*sizeof(int16_t))));
    planarGradients<Kernel::Sobel, Scale::Shift3>(src, srcWidth, srcHeight, srcStride, dx, dy, dxyStride);
}

void obxImageGradientSobelPlanars16_v3C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, int16_t* dx, int16_t* dy, uint32_t dxyStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= (srcWidth*sizeof(int16_t))));
    planarGradients<Kernel::Sobel, Scale::None>(src, srcWidth, srcHeight, srcStride, dx, dy, dxyStride);
}

void obxImageGradientSobelPlanars8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    int8_t* dx, int8_t* dy, uint32_t dxyStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= srcWidth));
    // +-1020 >> 3 lies in -128 .. 127: the narrowing never clamps.
    planarGradients<Kernel::Sobel, Scale::Shift3>(src, srcWidth, srcHeight, srcStride, dx, dy, dxyStride);
}

void obxImageGradientSobelPlanarf32C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                     float32_t* dx, float32_t* dy, uint32_t dxyStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= (srcWidth*sizeof(float))));
    planarGradients<Kernel::Sobel, Scale::Eighth>(src, srcWidth, srcHeight, srcStride, dx, dy, dxyStride);
}

void obxImageGradientSobelPlanarf32f32C(const float32_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, float32_t* dx, float32_t* dy, uint32_t dxyStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= (srcWidth*sizeof(float))) && dx && dy && (dxyStride >= (srcWidth*sizeof(float))));
    planarGradients<Kernel::Sobel, Scale::Eighth>(src, srcWidth, srcHeight, srcStride / sizeof(float), dx, dy,
                                                  dxyStride);
}

void obxImageGradientScharrInterleaveds16C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                           uint32_t srcStride, int16_t* gradients, uint32_t gradStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth)&& gradients && (gradStride >= ((srcWidth-2)*2*sizeof(int16_t))));
    interleavedGradients<Kernel::Scharr, Scale::None>(src, srcWidth, srcHeight, srcStride, gradients, gradStride);
}

}  // extern "C"

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
