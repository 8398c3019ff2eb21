// Reference mean shift on u8, s32 and f32 weight images.
#include <algorithm>
#include <cmath>

#include "ombrix.h"

namespace {

int32_t roundHalfAway(double v) { return static_cast<int32_t>(v >= 0 ? v + 0.5 : v - 0.5); }

template <typename T>
int32_t meanShift(const T* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, int32_t* window,
                  uint32_t maxIterations, float eps) {
    const int32_t minStep = roundHalfAway(eps * eps);
    const int32_t width = static_cast<int32_t>(srcWidth), height = static_cast<int32_t>(srcHeight);
    int32_t x = window[0], y = window[1], w = window[2], h = window[3];
    uint32_t pass = 0;
    for (; pass < maxIterations; ++pass) {
        x = std::clamp(x, 0, width - 1), y = std::clamp(y, 0, height - 1);
        w = std::min(width - x, w), h = std::min(height - y, h);
        if (w <= 0) w = 1;
        if (h <= 0) h = 1;
        // Moments relative to the window's corner, summed in float32 in pixel order.
        float m00 = 0, m10 = 0, m01 = 0;
        for (int32_t j = 0; j < h; ++j) {
            const T* row = reinterpret_cast<const T*>(reinterpret_cast<const uint8_t*>(src) +
                                                      static_cast<size_t>(y + j) * srcStride) + x;
            for (int32_t i = 0; i < w; ++i) {
                const float v = static_cast<float>(row[i]);
                m00 += v;
                m10 += v * static_cast<float>(i);
                m01 += v * static_cast<float>(j);
            }
        }
        if (std::fabs(m00) < 1.19209e-7f) break;
        const int32_t dx = roundHalfAway(static_cast<double>(m10 / m00) - w * 0.5);
        const int32_t dy = roundHalfAway(static_cast<double>(m01 / m00) - h * 0.5);
        x = std::clamp(x + dx, 0, width - 1), y = std::clamp(y + dy, 0, height - 1);
        if (dx * dx + dy * dy < minStep) break;
    }
    window[0] = x, window[1] = y, window[2] = w, window[3] = h;
    return static_cast<int32_t>(pass);
}

}  // namespace

int32_t obxMeanShiftu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        int32_t* window, uint32_t maxIterations, float eps) {
    return meanShift(src, srcWidth, srcHeight, srcStride, window, maxIterations, eps);
}
int32_t obxMeanShifts32C(const int32_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                         int32_t* window, uint32_t maxIterations, float eps) {
    return meanShift(src, srcWidth, srcHeight, srcStride, window, maxIterations, eps);
}
int32_t obxMeanShiftf32C(const float* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                         int32_t* window, uint32_t maxIterations, float eps) {
    return meanShift(src, srcWidth, srcHeight, srcStride, window, maxIterations, eps);
}
