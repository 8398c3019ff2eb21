// Reference implementations of the downscalers (box reductions by 2 and 4,
// the Gaussian 5x5 reduction by 2 on u8 and f32, arbitrary integer ratios,
// 3:2 and nearest neighbour) and of the Gaussian 5x5 enlargement by 2.
#include <string.h>

#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixScaleScalar.h"

using namespace ombrix_scale;

namespace {

template <typename Pixel>
void gaussianReduce(const Pixel* src, uint32_t width, uint32_t height, size_t srcStride, Pixel* dst,
                    size_t dstStride) {
    for (uint32_t y = 0; y < height / 2; ++y)
        gaussianRow(src, srcStride, width, height, y, rowAt(dst, dstStride, y), 0, width / 2);
}

}  // namespace

extern "C" {

void obxScaleDownBy2u8C(const uint8_t* imgSrc, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        uint8_t* imgDst, uint32_t dstStride) {
    OMBRIX_ASSERT(imgSrc && imgDst && srcWidth && srcHeight && ((srcWidth & 1) == 0) && ((srcHeight & 1) == 0) && (srcStride >= srcWidth) && (dstStride >= srcWidth/2));
    const uint32_t dstStep = boxDstStep(srcWidth, dstStride);
    for (uint32_t y = 0; y < srcHeight / 2; ++y) {
        const uint8_t* r0 = rowAt(imgSrc, srcStride, 2 * y);
        boxRow2(r0, r0 + srcStride, rowAt(imgDst, dstStep, y), 0, srcWidth / 2);
    }
}

void obxScaleDownBy4u8C(const uint8_t* imgSrc, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        uint8_t* imgDst, uint32_t dstStride) {
    OMBRIX_ASSERT(imgSrc && imgDst && srcWidth && srcHeight && ((srcWidth & 3) == 0) && ((srcHeight & 3) == 0) && (srcStride >= srcWidth) && (dstStride >= srcWidth/4));
    const uint32_t dstStep = boxDstStep(srcWidth, dstStride);
    for (uint32_t y = 0; y < srcHeight / 4; ++y) {
        const uint8_t* rows[4];
        for (int j = 0; j < 4; ++j) rows[j] = rowAt(imgSrc, srcStride, 4 * y + j);
        boxRow4(rows, rowAt(imgDst, dstStep, y), 0, srcWidth / 4);
    }
}

void obxScaleDownBy2Gaussian5x5u8C(const uint8_t* srcImg, uint32_t width, uint32_t height, uint8_t* dstImg) {
    OMBRIX_ASSERT(srcImg && dstImg && width && height && ((width & 1) == 0 ) && ((height & 1) == 0));
    gaussianReduce(srcImg, width, height, width, dstImg, width / 2);
}

void obxScaleDownBy2Gaussian5x5u8_v2C(const uint8_t* srcImg, uint32_t srcWidth, uint32_t srcHeight,
                                      uint32_t srcStride, uint8_t* dstImg, uint32_t dstStride) {
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && ((srcWidth & 1) == 0 ) && ((srcHeight & 1) == 0) && (srcStride >= srcWidth) && (dstStride >= srcWidth/2));
    gaussianReduce(srcImg, srcWidth, srcHeight, srcStride, dstImg, dstStride);
}

void obxScaleDownBy2Gaussian5x5f32C(const float32_t* srcImg, uint32_t width, uint32_t height, float32_t* dstImg) {
    OMBRIX_ASSERT(srcImg && width && height && ((width & 1) == 0 ) && ((height & 1) == 0));
    gaussianReduce(srcImg, width, height, width, dstImg, width / 2);
}

void obxScaleUpBy2Gaussian5x5u8C(const uint8_t* srcImg, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 uint8_t* dstImg, uint32_t dstStride) {
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && (dstStride >= srcWidth*2));
    for (uint32_t r = 0; r < srcHeight; ++r) {
        uint8_t* even = rowAt(dstImg, dstStride, 2 * r);
        upColumns(upRows(srcImg, srcStride, srcHeight, r), srcWidth, even, even + dstStride, 0, srcWidth);
    }
}

void obxScaleDownu8C(const uint8_t* srcImg, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                     uint8_t* dstImg, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride) {
    OMBRIX_ASSERT(srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstWidth && dstHeight && (dstStride >= dstWidth) && srcWidth >= dstWidth && srcHeight >= dstHeight);
    const uint32_t kx = srcWidth / dstWidth, ky = srcHeight / dstHeight;
    for (uint32_t y = 0; y < dstHeight; ++y) {
        const uint8_t* block = rowAt(srcImg, srcStride, y * ky);
        uint8_t* out = rowAt(dstImg, dstStride, y);
        if (kx == 2 && ky == 2) {  // the common halving, without the division
            boxRow2(block, block + srcStride, out, 0, dstWidth);
            continue;
        }
        for (uint32_t x = 0; x < dstWidth; ++x) {
            uint64_t sum = 0;
            for (uint32_t j = 0; j < ky; ++j) {
                const uint8_t* row = rowAt(block, srcStride, j) + size_t{x} * kx;
                for (uint32_t i = 0; i < kx; ++i) sum += row[i];
            }
            out[x] = static_cast<uint8_t>(sum / (uint64_t{kx} * ky));
        }
    }
}

int32_t obxScaleDown3To2u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                            uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride ==0 || srcStride >= srcWidth) && (dstStride == 0 || dstStride >= ((srcWidth/3)<<1)));
    if (srcWidth < 3 || srcHeight < 3) return 1;
    if (srcStride == 0) srcStride = srcWidth;
    if (dstStride == 0) dstStride = (srcWidth / 3) * 2;
    for (uint32_t i = 0; i < srcHeight / 3; ++i) {
        const uint8_t* r0 = rowAt(src, srcStride, 3 * i);
        uint8_t* d0 = rowAt(dst, dstStride, 2 * i);
        threeToTwoRow(r0, r0 + srcStride, r0 + 2 * size_t{srcStride}, d0, d0 + dstStride, 0, srcWidth / 3);
    }
    return 0;
}

void obxScaleDownNNu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                       uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride==0 || srcStride >= srcWidth) && dstWidth && dstHeight && (dstStride == 0 || dstStride >= dstWidth));
    if (srcStride == 0) srcStride = srcWidth;
    if (dstStride == 0) dstStride = dstWidth;
    const bool copy = srcWidth == dstWidth && srcHeight == dstHeight;
    for (uint32_t y = 0; y < dstHeight; ++y) {
        uint8_t* out = rowAt(dst, dstStride, y);
        if (copy) {
            memcpy(out, rowAt(src, srcStride, y), dstWidth);
            continue;
        }
        const uint32_t sy = nearestIndex(y, srcHeight, dstHeight);
        const uint8_t* row = rowAt(src, srcStride, sy < srcHeight - 1 ? sy : srcHeight - 1);
        for (uint32_t x = 0; x < dstWidth; ++x) out[x] = row[nearestIndex(x, srcWidth, dstWidth)];
    }
}

}  // extern "C"
