// Pieces shared by the reference and vector adaptive thresholds: the local
// average through the table and the rule that turns it into a threshold.
#ifndef OMBRIX_ADAPTIVE_THRESHOLD_H
#define OMBRIX_ADAPTIVE_THRESHOLD_H

#include <stdint.h>

enum class AdaptiveAverage { Gaussian3x3, Gaussian5x5, Gaussian11x11, Mean3x3, Mean5x5, Mean11x11 };

// Smooths src into dst through the smoothing slots. The Gaussian forms
// compute the border too, and take a source stride of 0 as packed.
void obxAdaptiveAverage(AdaptiveAverage average, const uint8_t* src, uint32_t srcWidth,
                        uint32_t srcHeight, uint32_t srcStride, uint8_t* dst, uint32_t dstStride);

// For d = source - average: the result is `above` where d > limit, else
// `notAbove`. limit is -value clamped to [-256, 255], which keeps the same
// decisions for every d in [-255, 255].
struct AdaptiveRule {
    uint8_t above, notAbove;
    int16_t limit;
};

// False for a threshold type other than 0 (binary) or 1 (binary inverted).
bool obxAdaptiveThresholdRule(int32_t maxValue, int32_t thresholdType, int32_t value,
                              AdaptiveRule* rule);

// An unknown threshold type zero-fills whole destination rows, padding included.
void obxAdaptiveThresholdZeroFill(uint8_t* dst, uint32_t dstStride, uint32_t srcHeight);

#endif  // OMBRIX_ADAPTIVE_THRESHOLD_H
