// Reference implementations of the binomial smoothing filters on 8-bit and
// signed 16-bit images. The interior is the exact weighted sum shifted right
// (truncating); the border, on request, is normalised by the weights of the
// taps that fall inside the image.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixBlurScalar.h"

using ombrix_blur::blurBorderReference;
using ombrix_blur::blurInteriorReference;
using ombrix_blur::blurReference;

extern "C" {

void obxFilterGaussian3x3u8C(const uint8_t* srcImg, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dstImg, uint32_t dstStride, uint32_t blurBorder) {
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    // The interior of a row is srcWidth - 2 pixels, produced six at a time up
    // to w6 and singly after it.
    const int32_t w_2 = static_cast<int32_t>(srcWidth) - 2;
    const int32_t w6 = w_2 / 6 * 6;
    OMBRIX_ASSERT(w6<=w_2 && w6>=w_2-5);
    blurInteriorReference<uint8_t, 1>(srcImg, srcWidth, srcHeight, srcStride, dstImg, dstStride, w6);
    if (blurBorder == 1) blurBorderReference<uint8_t, 1>(srcImg, srcWidth, srcHeight, srcStride, dstImg, dstStride);
}

void obxFilterGaussian5x5u8C(const uint8_t* srcImg, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dstImg, uint32_t dstStride, uint32_t blurBorder) {
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcHeight > 4 && srcWidth > 4);
    blurReference<uint8_t, 2>(srcImg, srcWidth, srcHeight, srcStride, dstImg, dstStride, blurBorder);
}

void obxFilterGaussian11x11u8C(const uint8_t* srcImg, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                               uint8_t* dstImg, uint32_t dstStride, uint32_t blurBorder) {
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcHeight > 10 && srcWidth > 10);
    blurReference<uint8_t, 5>(srcImg, srcWidth, srcHeight, srcStride, dstImg, dstStride, blurBorder);
}

void obxFilterGaussian5x5s16C(const int16_t* srcImg, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              int16_t* dstImg, uint32_t dstStride, uint32_t blurBorder) {
    // Byte strides to elements, a remainder dropped, before they are checked.
    srcStride /= sizeof(int16_t);
    dstStride /= sizeof(int16_t);
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcHeight > 1);
    blurReference<int16_t, 2>(srcImg, srcWidth, srcHeight, srcStride, dstImg, dstStride, blurBorder);
}

}  // extern "C"
