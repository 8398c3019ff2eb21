// Vector adaptive thresholds: the local average comes through the table as in
// the reference; the comparison runs sixteen pixels at a time.
#include "ombrixAdaptiveThreshold.h"
#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

// d = source - average as 16-bit lanes, compared with the rule's limit.
inline uint8x16_t aboveMask(uint8x16_t source, uint8x16_t average, int16x8_t limit) {
    const int16x8_t low = vreinterpretq_s16_u16(vsubl_u8(vget_low_u8(source), vget_low_u8(average)));
    const int16x8_t high = vreinterpretq_s16_u16(vsubl_u8(vget_high_u8(source), vget_high_u8(average)));
    return vcombine_u8(vmovn_u16(vcgtq_s16(low, limit)), vmovn_u16(vcgtq_s16(high, limit)));
}

// dst holds the local average on entry and the thresholded image on return.
void thresholdByRule(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                     int32_t maxValue, int32_t thresholdType, int32_t value, uint8_t* dst,
                     uint32_t dstStride) {
    AdaptiveRule rule;
    if (!obxAdaptiveThresholdRule(maxValue, thresholdType, value, &rule)) {
        obxAdaptiveThresholdZeroFill(dst, dstStride, srcHeight);
        return;
    }
    const int16x8_t limit = vdupq_n_s16(rule.limit);
    const uint8x16_t above = vdupq_n_u8(rule.above), notAbove = vdupq_n_u8(rule.notAbove);
    for (uint32_t y = 0; y < srcHeight; ++y) {
        const uint8_t* s = src + static_cast<size_t>(y) * srcStride;
        uint8_t* d = dst + static_cast<size_t>(y) * dstStride;
        uint32_t x = 0;
        for (; x + 16 <= srcWidth; x += 16) {
            const uint8x16_t mask = aboveMask(vld1q_u8(s + x), vld1q_u8(d + x), limit);
            vst1q_u8(d + x, vbslq_u8(mask, above, notAbove));
        }
        // dst is rewritten in place, so the tail cannot overlap the last vector.
        for (; x < srcWidth; ++x) d[x] = s[x] - d[x] > rule.limit ? rule.above : rule.notAbove;
    }
}

}  // namespace

extern "C" {

void obxAdaptiveThresholdGaussian3x3u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, int32_t maxValue, int32_t thresholdType,
                                        int32_t value, uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    obxAdaptiveAverage(AdaptiveAverage::Gaussian3x3, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    thresholdByRule(src, srcWidth, srcHeight, srcStride, maxValue, thresholdType, value, dst, dstStride);
}

void obxAdaptiveThresholdGaussian5x5u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                        uint32_t srcStride, int32_t maxValue, int32_t thresholdType,
                                        int32_t value, uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    obxAdaptiveAverage(AdaptiveAverage::Gaussian5x5, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    thresholdByRule(src, srcWidth, srcHeight, srcStride, maxValue, thresholdType, value, dst, dstStride);
}

void obxAdaptiveThresholdGaussian11x11u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                          uint32_t srcStride, int32_t maxValue, int32_t thresholdType,
                                          int32_t value, uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    obxAdaptiveAverage(AdaptiveAverage::Gaussian11x11, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    thresholdByRule(src, srcWidth, srcHeight, srcStride, maxValue, thresholdType, value, dst, dstStride);
}

void obxAdaptiveThresholdMean3x3u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                    uint32_t srcStride, int32_t maxValue, int32_t thresholdType,
                                    int32_t value, uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    obxAdaptiveAverage(AdaptiveAverage::Mean3x3, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    thresholdByRule(src, srcWidth, srcHeight, srcStride, maxValue, thresholdType, value, dst, dstStride);
}

void obxAdaptiveThresholdMean5x5u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                    uint32_t srcStride, int32_t maxValue, int32_t thresholdType,
                                    int32_t value, uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcWidth > 4 && srcHeight > 4);
    obxAdaptiveAverage(AdaptiveAverage::Mean5x5, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    thresholdByRule(src, srcWidth, srcHeight, srcStride, maxValue, thresholdType, value, dst, dstStride);
}

void obxAdaptiveThresholdMean11x11u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                      uint32_t srcStride, int32_t maxValue, int32_t thresholdType,
                                      int32_t value, uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride);
    obxAdaptiveAverage(AdaptiveAverage::Mean11x11, src, srcWidth, srcHeight, srcStride, dst, dstStride);
    thresholdByRule(src, srcWidth, srcHeight, srcStride, maxValue, thresholdType, value, dst, dstStride);
}

}  // extern "C"
