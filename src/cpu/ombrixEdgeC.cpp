// ---- Gradients and the Sobel edge filter --------------------------------------
//
// Reference central-difference, Sobel and Scharr derivatives of the interior
// pixels (1 <= x <= width - 2, 1 <= y <= height - 2), and the Sobel edge
// magnitude. Images without an interior are left untouched. Every stride is
// in bytes; 16- and 32-bit images convert it to elements (a remainder is
// dropped) after the contract check.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixEdgeScalar.h"

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
