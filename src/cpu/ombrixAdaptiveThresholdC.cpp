// Adaptive thresholds: each pixel is compared with a local average of its
// neighbourhood, which comes from the smoothing operations through the table,
// so a vector mode accelerates that step too.
#include "ombrix.h"
#include "ombrixAdaptiveThreshold.h"
#include "ombrixAssert.h"

namespace {

constexpr int kLookupSize = 511;  // one entry per difference -255 ... 255

// dst holds the local average on entry and the thresholded image on return.
void thresholdByLookup(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                       int32_t maxValue, int32_t thresholdType, int32_t value, uint8_t* dst,
                       uint32_t dstStride) {
    if (thresholdType != 0 && thresholdType != 1) {
        obxAdaptiveThresholdZeroFill(dst, dstStride, srcHeight);
        return;
    }
    const uint8_t high = static_cast<uint8_t>(maxValue);  // stored as its low 8 bits
    uint8_t lookup[kLookupSize];
    for (int d = -255; d <= 255; ++d) {
        const bool above = d > -static_cast<int64_t>(value);
        lookup[d + 255] = above == (thresholdType == 0) ? high : 0;
    }
    for (uint32_t y = 0; y < srcHeight; ++y) {
        const uint8_t* s = src + static_cast<size_t>(y) * srcStride;
        uint8_t* d = dst + static_cast<size_t>(y) * dstStride;
        for (uint32_t x = 0; x < srcWidth; ++x) d[x] = lookup[s[x] - d[x] + 255];
    }
}

}  // namespace

void obxAdaptiveAverage(AdaptiveAverage average, const uint8_t* src, uint32_t srcWidth,
                        uint32_t srcHeight, uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
    const uint32_t gaussianStride = srcStride ? srcStride : srcWidth;
    switch (average) {
        case AdaptiveAverage::Gaussian3x3:
            return obxFilterGaussian3x3u8_v2_(src, srcWidth, srcHeight, gaussianStride, dst, dstStride, 1);
        case AdaptiveAverage::Gaussian5x5:
            return obxFilterGaussian5x5u8_v2_(src, srcWidth, srcHeight, gaussianStride, dst, dstStride, 1);
        case AdaptiveAverage::Gaussian11x11:
            return obxFilterGaussian11x11u8_v2_(src, srcWidth, srcHeight, gaussianStride, dst, dstStride, 1);
        case AdaptiveAverage::Mean3x3:
            return obxBoxFilter3x3u8_(src, srcWidth, srcHeight, srcStride, dst, dstStride);
        case AdaptiveAverage::Mean5x5:
            return obxBoxFilter5x5u8_(src, srcWidth, srcHeight, srcStride, dst, dstStride);
        case AdaptiveAverage::Mean11x11:
            return obxBoxFilter11x11u8_(src, srcWidth, srcHeight, srcStride, dst, dstStride);
    }
}

bool obxAdaptiveThresholdRule(int32_t maxValue, int32_t thresholdType, int32_t value,
                              AdaptiveRule* rule) {
    if (thresholdType != 0 && thresholdType != 1) return false;
    const uint8_t high = static_cast<uint8_t>(maxValue);
    rule->above = thresholdType == 0 ? high : 0;
    rule->notAbove = thresholdType == 0 ? 0 : high;
    const int64_t limit = -static_cast<int64_t>(value);
    rule->limit = static_cast<int16_t>(limit < -256 ? -256 : limit > 255 ? 255 : limit);
    return true;
}

void obxAdaptiveThresholdZeroFill(uint8_t* dst, uint32_t dstStride, uint32_t srcHeight) {
    for (size_t i = 0; i < static_cast<size_t>(dstStride) * srcHeight; ++i) dst[i] = 0;
}

extern "C" {

void obxAdaptiveThresholdGaussian3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, int32_t maxValue, int32_t thresholdType,
                                        int32_t value, uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    obxAdaptiveAverage(AdaptiveAverage::Gaussian3x3, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    thresholdByLookup(src, srcWidth, srcHeight, srcStride, maxValue, thresholdType, value, dst, dstStride);
}

void obxAdaptiveThresholdGaussian5x5u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, int32_t maxValue, int32_t thresholdType,
                                        int32_t value, uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    obxAdaptiveAverage(AdaptiveAverage::Gaussian5x5, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    thresholdByLookup(src, srcWidth, srcHeight, srcStride, maxValue, thresholdType, value, dst, dstStride);
}

void obxAdaptiveThresholdGaussian11x11u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, int32_t maxValue, int32_t thresholdType,
                                          int32_t value, uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    obxAdaptiveAverage(AdaptiveAverage::Gaussian11x11, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    thresholdByLookup(src, srcWidth, srcHeight, srcStride, maxValue, thresholdType, value, dst, dstStride);
}

void obxAdaptiveThresholdMean3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                    uint32_t srcStride, int32_t maxValue, int32_t thresholdType,
                                    int32_t value, uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    obxAdaptiveAverage(AdaptiveAverage::Mean3x3, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    thresholdByLookup(src, srcWidth, srcHeight, srcStride, maxValue, thresholdType, value, dst, dstStride);
}

void obxAdaptiveThresholdMean5x5u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                    uint32_t srcStride, int32_t maxValue, int32_t thresholdType,
                                    int32_t value, uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcWidth > 4 && srcHeight > 4);
    obxAdaptiveAverage(AdaptiveAverage::Mean5x5, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    thresholdByLookup(src, srcWidth, srcHeight, srcStride, maxValue, thresholdType, value, dst, dstStride);
}

// The size check of this form is the 11x11 box filter's own, reached first.
void obxAdaptiveThresholdMean11x11u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                      uint32_t srcStride, int32_t maxValue, int32_t thresholdType,
                                      int32_t value, uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    obxAdaptiveAverage(AdaptiveAverage::Mean11x11, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    thresholdByLookup(src, srcWidth, srcHeight, srcStride, maxValue, thresholdType, value, dst, dstStride);
}

}  // extern "C"
