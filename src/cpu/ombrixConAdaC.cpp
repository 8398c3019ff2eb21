// Reference continuously adaptive mean shift on u8, s32 and f32 weights:
// mean shift, then the tile moments of the converged window size the next
// window and describe the blob as a rotated box.
#include <algorithm>
#include <cmath>

#include "ombrixKernels.h"

namespace {

int32_t roundHalfAway(double v) { return static_cast<int32_t>(v >= 0 ? v + 0.5 : v - 0.5); }

template <typename T>
int32_t conAda(const T* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int32_t* window,
               uint32_t maxIterations, float eps, float* box,
               int32_t (*meanShift)(const T*, uint32_t, uint32_t, uint32_t, int32_t*, uint32_t, float),
               void (*moments)(const T*, uint32_t, uint32_t, uint32_t, double*)) {
    const int32_t pass = meanShift(src, srcWidth, srcHeight, srcStride, window, maxIterations, eps);
    const int32_t width = static_cast<int32_t>(srcWidth), height = static_cast<int32_t>(srcHeight);
    // Mean shift leaves a clamped window unless it ran no pass.
    int32_t x = std::clamp(window[0], 0, width - 1), y = std::clamp(window[1], 0, height - 1);
    int32_t w = std::max(1, std::min(width - x, window[2])), h = std::max(1, std::min(height - y, window[3]));
    const T* tile = reinterpret_cast<const T*>(reinterpret_cast<const uint8_t*>(src) + size_t(y) * srcStride) + x;

    double m[10];
    moments(tile, uint32_t(w), uint32_t(h), srcStride, m);
    double peak = 0;
    for (int32_t j = 0; j < h; ++j) {
        const T* row = reinterpret_cast<const T*>(reinterpret_cast<const uint8_t*>(tile) + size_t(j) * srcStride);
        for (int32_t i = 0; i < w; ++i) peak = std::max(peak, static_cast<double>(row[i]));
    }
    if (!(m[0] > 0) || !(peak > 0)) {
        box[0] = static_cast<float>(window[0] + window[2] * 0.5), box[1] = static_cast<float>(window[1] + window[3] * 0.5);
        box[2] = box[3] = box[4] = 0;
        return pass;
    }
    const double cx = m[1] / m[0], cy = m[2] / m[0];
    const double a = m[3] / m[0] - cx * cx, b = m[4] / m[0] - cx * cy, c = m[5] / m[0] - cy * cy;
    const double root = std::sqrt((a - c) * (a - c) * 0.25 + b * b);
    const double major = std::max(0.0, (a + c) * 0.5 + root), minor = std::max(0.0, (a + c) * 0.5 - root);
    double angle = 0.5 * std::atan2(2 * b, a - c) * (180.0 / M_PI);
    if (angle <= -90) angle += 180;
    box[0] = static_cast<float>(x + cx), box[1] = static_cast<float>(y + cy);
    box[2] = static_cast<float>(4 * std::sqrt(major)), box[3] = static_cast<float>(4 * std::sqrt(minor));
    box[4] = static_cast<float>(angle);

    const int32_t side = std::max(1, roundHalfAway(2 * std::sqrt(m[0] / peak)));
    x = std::clamp(roundHalfAway(x + cx - side * 0.5), 0, width - 1);
    y = std::clamp(roundHalfAway(y + cy - side * 0.5), 0, height - 1);
    window[0] = x, window[1] = y;
    window[2] = std::max(1, std::min(width - x, side)), window[3] = std::max(1, std::min(height - y, side));
    return pass;
}

}  // namespace

int32_t obxConAdaTracku8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          int32_t* window, uint32_t maxIterations, float eps, float* box) {
    return conAda(src, srcWidth, srcHeight, srcStride, window, maxIterations, eps, box, obxMeanShiftu8_,
                  obxMomentsInTileu8_);
}
int32_t obxConAdaTracks32C(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           int32_t* window, uint32_t maxIterations, float eps, float* box) {
    return conAda(src, srcWidth, srcHeight, srcStride, window, maxIterations, eps, box, obxMeanShifts32_,
                  obxMomentsInTiles32_);
}
int32_t obxConAdaTrackf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           int32_t* window, uint32_t maxIterations, float eps, float* box) {
    return conAda(src, srcWidth, srcHeight, srcStride, window, maxIterations, eps, box, obxMeanShiftf32_,
                  obxMomentsInTilef32_);
}
