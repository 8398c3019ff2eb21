// Reference tile moments of u8, s32 and f32 weights (order of the sums in
// ombrixMomentsScalar.h).
#include "ombrixKernels.h"
#include "ombrixMomentsScalar.h"

namespace {

template <typename T>
void integerMoments(const T* src, uint32_t width, uint32_t height, uint32_t stride, bool isSigned,
                    double moments[10]) {
    uint64_t m[10] = {};
    for (uint32_t y = 0; y < height; ++y) {
        const T* row = reinterpret_cast<const T*>(reinterpret_cast<const uint8_t*>(src) + size_t{y} * stride);
        uint64_t s[4] = {};
        for (uint32_t x = 0; x < width; ++x)
            momentsAddPixel(s, x, static_cast<uint64_t>(static_cast<int64_t>(row[x])));
        momentsAddRow(m, y, s);
    }
    momentsFinish(m, isSigned, moments);
}

}  // namespace

void obxMomentsInTileu8C(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride, double moments[10]) {
    integerMoments(src, width, height, stride, false, moments);
}

void obxMomentsInTiles32C(const int32_t* src, uint32_t width, uint32_t height, uint32_t stride, double moments[10]) {
    integerMoments(src, width, height, stride, true, moments);
}

void obxMomentsInTilef32C(const float* src, uint32_t width, uint32_t height, uint32_t stride, double moments[10]) {
    double m[10] = {};
    for (uint32_t y = 0; y < height; ++y) {
        const float* row = reinterpret_cast<const float*>(reinterpret_cast<const uint8_t*>(src) + size_t{y} * stride);
        float lanes[4][4] = {};
        const uint32_t body = width & ~3u;
        for (uint32_t x = 0; x < body; ++x) {
            const float xf = static_cast<float>(x);
            float p = row[x];
            float* l = lanes[x & 3];
            l[0] += p;
            p = xf * p, l[1] += p;
            p = xf * p, l[2] += p;
            p = xf * p, l[3] += p;
        }
        float s[4];
        for (int k = 0; k < 4; ++k) s[k] = (lanes[0][k] + lanes[2][k]) + (lanes[1][k] + lanes[3][k]);
        momentsTailF32(row, body, width, s);
        momentsAddRowF32(m, y, s);
    }
    for (int i = 0; i < 10; ++i) moments[i] = m[i];
}
