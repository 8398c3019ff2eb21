// Reference implementations of the perspective warps (one and three
// channels), the affine patch extractors (Q16 8x8, float of any size,
// clamped or clipped), the rotated 17x17 and sub-pixel translated copies, and
// the RGBA8888 remaps (nearest and bilinear).
#include <math.h>
#include <string.h>

#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixWarpScalar.h"

using namespace ombrix_warp;

namespace {

template <int Channels>
void warpPerspective(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t* dst,
                     uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride, const float* m) {
    const float uLimit = static_cast<float>(srcWidth - 1), vLimit = static_cast<float>(srcHeight - 1);
    Projection row = {m[2], m[5], m[8]};
    for (uint32_t y = 0; y < dstHeight; ++y) {
        Projection p = row;
        perspectiveRun<Channels>(src, srcStride, uLimit, vLimit, m, p, rowAt(dst, dstStride, y), 0, dstWidth);
        row.X += m[1];
        row.Y += m[4];
        row.W += m[7];
    }
}

template <bool Clip>
void transformAffine(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                     const float* pos, const float* a, uint8_t* patch, uint32_t patchWidth, uint32_t patchHeight,
                     uint32_t patchStride) {
    const float xLimit = static_cast<float>(srcWidth - 1), yLimit = static_cast<float>(srcHeight - 1);
    for (uint32_t r = 0; r < patchHeight; ++r)
        affineRun<Clip>(src, srcStride, xLimit, yLimit, pos, a, static_cast<int32_t>(patchWidth / 2),
                        static_cast<int32_t>(r) - static_cast<int32_t>(patchHeight / 2), rowAt(patch, patchStride, r),
                        0, patchWidth);
}

// dx * 128 rounded half away from zero, within +-2^31 / 2^7 pixels.
int32_t toQ7(float d) {
    const float scaled = d * 128.0f;
    const float limit = 2147483520.0f;  // the largest float below 2^31
    if (!(scaled == scaled)) return 0;
    if (scaled >= limit) return 2147483647;
    if (scaled <= -limit) return -2147483647;
    return static_cast<int32_t>(scaled >= 0.0f ? scaled + 0.5f : scaled - 0.5f);
}

uint32_t clampIndex(int64_t v, uint32_t n) {
    return v < 0 ? 0 : v >= n ? n - 1 : static_cast<uint32_t>(v);
}

}  // namespace

extern "C" {

void obxWarpPerspectiveu8_v2C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                              const float32_t* warpmatrix) {
    OMBRIX_ASSERT(src && dst && warpmatrix && srcWidth && srcHeight && dstWidth && dstHeight && (srcStride >= srcWidth) && (dstStride >= dstWidth));
    warpPerspective<1>(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride, warpmatrix);
}

void obxWarpPerspectiveu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint8_t* dst,
                           uint32_t dstWidth, uint32_t dstHeight, const float32_t* warpmatrix) {
    obxWarpPerspectiveu8_v2C(src, srcWidth, srcHeight, srcWidth, dst, dstWidth, dstHeight, dstWidth, warpmatrix);
}

void obx3ChannelWarpPerspectiveu8_v2C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight,
                                      uint32_t srcStride, uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight,
                                      uint32_t dstStride, const float32_t* warpmatrix) {
    OMBRIX_ASSERT(src && dst && warpmatrix && srcWidth && srcHeight && dstWidth && dstHeight && (srcStride >= srcWidth) && (dstStride >= dstWidth));
    warpPerspective<3>(src, srcWidth, srcHeight, srcStride, dst, dstWidth, dstHeight, dstStride, warpmatrix);
}

void obx3ChannelWarpPerspectiveu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint8_t* dst,
                                   uint32_t dstWidth, uint32_t dstHeight, const float32_t* warpmatrix) {
    obx3ChannelWarpPerspectiveu8_v2C(src, srcWidth, srcHeight, srcWidth * 3, dst, dstWidth, dstHeight,
                                     dstWidth * 3, warpmatrix);
}

int32_t obxTransformAffine8x8u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                 const int32_t* nPos, const int32_t* nAffine, uint8_t* patch,
                                 uint32_t patchStride) {
    OMBRIX_ASSERT(src && nPos && nAffine && patch && srcWidth && srcHeight && (srcStride >= srcWidth) && ((patchStride >= 8)));
    if (!affine8x8Inside(nPos, nAffine, srcWidth, srcHeight)) return 1;
    for (int32_t j = -4; j < 4; ++j)
        affine8x8Run(src, srcStride, nPos, nAffine, j, rowAt(patch, patchStride, static_cast<uint32_t>(j + 4)), 0, 8);
    return 0;
}

void obxTransformAffineu8_v2C(const uint8_t* nImage, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              const float32_t* nPos, const float32_t* nAffine, uint8_t* nPatch,
                              uint32_t patchWidth, uint32_t patchHeight, uint32_t patchStride) {
    OMBRIX_ASSERT(nImage && nPatch && ( sizeof(*nPos)==sizeof(float) ) && ( sizeof(*nAffine) ==sizeof(float) ) && srcWidth && srcHeight && patchWidth && patchHeight && (srcStride >= srcWidth) && (patchStride >= patchWidth));
    transformAffine<false>(nImage, srcWidth, srcHeight, srcStride, nPos, nAffine, nPatch, patchWidth, patchHeight,
                           patchStride);
}

void obxTransformAffineClippedu8C(const uint8_t* nImage, uint32_t srcWidth, uint32_t srcHeight,
                                  uint32_t srcStride, const float32_t* nPos, const float32_t* nAffine,
                                  uint8_t* nPatch, uint32_t patchWidth, uint32_t patchHeight,
                                  uint32_t patchStride) {
    OMBRIX_ASSERT(nImage && nPatch && ( sizeof(*nPos)==sizeof(float) ) && ( sizeof(*nAffine) ==sizeof(float) ) && srcWidth && srcHeight && patchWidth && patchHeight && (srcStride >= srcWidth) && (patchStride >= patchWidth));
    transformAffine<true>(nImage, srcWidth, srcHeight, srcStride, nPos, nAffine, nPatch, patchWidth, patchHeight,
                          patchStride);
}

void obxCopyRotated17x17u8C(const uint8_t* region, uint32_t regionStride, float32_t orientation, uint8_t* patch) {
    OMBRIX_ASSERT(region && patch);
    const float c = cosf(orientation), s = sinf(orientation);
    for (int32_t r = 0; r < 17; ++r)
        rotatedRun(region, static_cast<ptrdiff_t>(regionStride), c, s, r, patch + 17 * r, 0, 17);
}

void obxCopyTranslatedSubPixu8Q7C(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                  int32_t dxQ7, int32_t dyQ7, uint8_t* dst) {
    OMBRIX_ASSERT(src && dst && width && height && (stride >= width));
    const int64_t sx = dxQ7 >> 7, sy = dyQ7 >> 7;
    const uint32_t fx = static_cast<uint32_t>(dxQ7) & 127, fy = static_cast<uint32_t>(dyQ7) & 127;
    const uint32_t w00 = (128 - fx) * (128 - fy), w01 = fx * (128 - fy), w10 = (128 - fx) * fy, w11 = fx * fy;
    for (uint32_t y = 0; y < height; ++y) {
        const uint8_t* r0 = rowAt(src, stride, clampIndex(y + sy, height));
        const uint8_t* r1 = rowAt(src, stride, clampIndex(y + sy + 1, height));
        uint8_t* out = rowAt(dst, stride, y);
        for (uint32_t x = 0; x < width; ++x) {
            const uint32_t c0 = clampIndex(x + sx, width), c1 = clampIndex(x + sx + 1, width);
            out[x] = static_cast<uint8_t>((r0[c0] * w00 + r0[c1] * w01 + r1[c0] * w10 + r1[c1] * w11 + 8192) >> 14);
        }
    }
}

void obxCopyTranslatedSubPixu8f32C(const uint8_t* src, uint32_t width, uint32_t height, uint32_t stride,
                                   float32_t dx, float32_t dy, uint8_t* dst) {
    OMBRIX_ASSERT(src && dst && width && height && (stride >= width));
    obxCopyTranslatedSubPixu8Q7_(src, width, height, stride, toQ7(dx), toQ7(dy), dst);
}

void obxRemapRGBA8888NNu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                           const float32_t* mapX, const float32_t* mapY, uint32_t mapStride) {
    OMBRIX_ASSERT((src != 0) && (srcStride >= srcWidth*4) && (dst != 0) && (dstStride >= dstWidth*4) && (mapX != 0) && (mapY != 0) && (mapStride >= (dstWidth*sizeof(float32_t))));
    for (uint32_t y = 0; y < dstHeight; ++y)
        remapNearestRun(src, srcWidth, srcHeight, srcStride, mapRow(mapX, mapStride, y), mapRow(mapY, mapStride, y),
                        rowAt(dst, dstStride, y), 0, dstWidth);
}

void obxRemapRGBA8888BLu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint8_t* dst, uint32_t dstWidth, uint32_t dstHeight, uint32_t dstStride,
                           const float32_t* mapX, const float32_t* mapY, uint32_t mapStride) {
    OMBRIX_ASSERT((src != 0) && (srcStride >= srcWidth*4) && (dst != 0) && (dstStride >= dstWidth*4) && (mapX != 0) && (mapY != 0) && (mapStride >= (dstWidth*sizeof(float32_t))));
    for (uint32_t y = 0; y < dstHeight; ++y)
        remapBilinearRun(src, srcWidth, srcHeight, srcStride, mapRow(mapX, mapStride, y),
                         mapRow(mapY, mapStride, y), rowAt(dst, dstStride, y), 0, dstWidth);
}

}  // extern "C"
