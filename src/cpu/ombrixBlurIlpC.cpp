// Reference implementations of the 5x5 binomial filter on signed 32-bit
// images and of the 3x3 median on 8-bit images.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixBlurScalar.h"

extern "C" {

void obxFilterGaussian5x5s32C(const int32_t* srcImg, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              int32_t* dstImg, uint32_t dstStride, uint32_t blurBorder) {
    using namespace ombrix_blur;
    // Byte strides to elements, a remainder dropped, before they are checked.
    srcStride /= sizeof(int32_t);
    dstStride /= sizeof(int32_t);
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcWidth > 4 && srcHeight > 4);
    // Sums wrap modulo 2^32 exactly like signed 32-bit arithmetic would.
    blurReference<int32_t, 2>(srcImg, srcWidth, srcHeight, srcStride, dstImg, dstStride, blurBorder);
}

void obxFilterMedian3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint8_t* dst, uint32_t dstStride) {
    using namespace ombrix_blur;
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    forEachInteriorRow3x3(src, srcWidth, srcHeight, srcStride, dst, dstStride,
                          [srcWidth](const uint8_t* const* rows, uint8_t* out) {
                              // Each column is sorted once and serves three output pixels.
                              SortedColumn left = sortedColumnAt(rows, 0), centre = sortedColumnAt(rows, 1);
                              for (uint32_t x = 1; x + 1 < srcWidth; ++x) {
                                  const SortedColumn right = sortedColumnAt(rows, x + 1);
                                  out[x] = medianOfColumns(left, centre, right);
                                  left = centre;
                                  centre = right;
                              }
                          });
}

}  // extern "C"
