// Scalar pixels of the perspective warps, the affine patch extractors and the
// RGBA remaps. The references are built from them, and the vector variants
// use the same ones for row ends, narrow patches and the cases they leave to
// scalar code, so both agree there by construction.
//
// Every function here is static (internal linkage), so a copy compiled with
// NEON enabled in src/lanex/ can never be merged into the reference path.
// Float expressions are written in the one order every implementation uses;
// the vector build keeps them unfused (-ffp-contract=off).
#ifndef OMBRIX_WARP_SCALAR_H
#define OMBRIX_WARP_SCALAR_H

#include <math.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

namespace ombrix_warp {

template <typename Pixel>
static inline Pixel* rowAt(Pixel* image, size_t stride, uint32_t y) {
    return image + static_cast<size_t>(y) * stride;
}

// ---- Perspective warp ---------------------------------------------------------------

// Homogeneous source position of a destination pixel, advanced along a row.
struct Projection {
    float X, Y, W;
};

// The four byte neighbours (channel c of pixels (ix, iy) .. (ix+1, iy+1)),
// blended in float32 and truncated.
static inline uint8_t perspectiveBlend(const uint8_t* p0, const uint8_t* p1, size_t next, float fx, float fy) {
    const float top = static_cast<float>(p0[0]) + fx * static_cast<float>(p0[next] - p0[0]);
    const float bottom = static_cast<float>(p1[0]) + fx * static_cast<float>(p1[next] - p1[0]);
    return static_cast<uint8_t>(static_cast<int32_t>(top + fy * (bottom - top)));
}

// One destination pixel of `Channels` interleaved channels at projection p.
// uLimit, vLimit = srcWidth - 1, srcHeight - 1 as floats: for u >= 0,
// trunc(u) < n holds exactly when u < n, and NaN fails every comparison.
template <int Channels>
static inline void perspectivePixel(const uint8_t* src, size_t srcStride, float uLimit, float vLimit,
                                    const Projection& p, uint8_t* out) {
    const float r = 1.0f / p.W;
    const float u = p.X * r;
    const float v = p.Y * r;
    if (!(u >= 0.0f && v >= 0.0f && u < uLimit && v < vLimit)) {
        for (int c = 0; c < Channels; ++c) out[c] = 0;
        return;
    }
    const int32_t ix = static_cast<int32_t>(u), iy = static_cast<int32_t>(v);
    const float dx = u - static_cast<float>(ix), dy = v - static_cast<float>(iy);
    const float fx = dx > 0.0f ? dx : 0.0f, fy = dy > 0.0f ? dy : 0.0f;
    const uint8_t* p0 = rowAt(src, srcStride, static_cast<uint32_t>(iy)) + static_cast<size_t>(ix) * Channels;
    const uint8_t* p1 = p0 + srcStride;
    for (int c = 0; c < Channels; ++c) out[c] = perspectiveBlend(p0 + c, p1 + c, Channels, fx, fy);
}

// Destination pixels [xBegin, xEnd) of one row; p holds the projection of
// pixel xBegin and is advanced past xEnd - 1.
template <int Channels>
static inline void perspectiveRun(const uint8_t* src, size_t srcStride, float uLimit, float vLimit,
                                  const float* m, Projection& p, uint8_t* out, uint32_t xBegin, uint32_t xEnd) {
    for (uint32_t x = xBegin; x < xEnd; ++x) {
        perspectivePixel<Channels>(src, srcStride, uLimit, vLimit, p, out + static_cast<size_t>(x) * Channels);
        p.X += m[0];
        p.Y += m[3];
        p.W += m[6];
    }
}

// ---- Q8 bilinear sampling (affine patches) ------------------------------------------

// top = p00 + (((p01 - p00) fx) >> 8), bottom alike, result top +
// (((bottom - top) fy) >> 8), flooring shifts; a neighbour whose weight is 0
// is not read, so positions on the last column or row stay inside.
static inline uint8_t bilinearQ8(const uint8_t* p, ptrdiff_t stride, int32_t fx, int32_t fy) {
    const int32_t p00 = p[0];
    const int32_t p01 = fx ? p[1] : p00;
    int32_t top = p00 + (((p01 - p00) * fx) >> 8);
    if (fy) {
        const int32_t p10 = p[stride];
        const int32_t p11 = fx ? p[stride + 1] : p10;
        const int32_t bottom = p10 + (((p11 - p10) * fx) >> 8);
        top += ((bottom - top) * fy) >> 8;
    }
    return static_cast<uint8_t>(top);
}

// Patch pixels [cBegin, cEnd) of row j of the Q16 8x8 patch. x, y of the
// pixel at column offset i are px + a0 i + a1 j and py + a2 i + a3 j; the
// caller has checked that all of them lie inside the image.
static inline void affine8x8Run(const uint8_t* src, size_t srcStride, const int32_t* pos, const int32_t* a,
                                int32_t j, uint8_t* out, int32_t cBegin, int32_t cEnd) {
    for (int32_t c = cBegin; c < cEnd; ++c) {
        const int32_t i = c - 4;
        const int64_t x = int64_t{pos[0]} + int64_t{a[0]} * i + int64_t{a[1]} * j;
        const int64_t y = int64_t{pos[1]} + int64_t{a[2]} * i + int64_t{a[3]} * j;
        const uint8_t* p = rowAt(src, srcStride, static_cast<uint32_t>(y >> 16)) + (x >> 16);
        out[c] = bilinearQ8(p, static_cast<ptrdiff_t>(srcStride), static_cast<int32_t>((x >> 8) & 255),
                            static_cast<int32_t>((y >> 8) & 255));
    }
}

// Corner (i, j) of the 8x8 patch lies in [0, (w-1) 65536] x [0, (h-1) 65536].
static inline bool affine8x8CornerInside(const int32_t* pos, const int32_t* a, int32_t i, int32_t j,
                                         uint32_t width, uint32_t height) {
    const int64_t x = int64_t{pos[0]} + int64_t{a[0]} * i + int64_t{a[1]} * j;
    const int64_t y = int64_t{pos[1]} + int64_t{a[2]} * i + int64_t{a[3]} * j;
    return x >= 0 && y >= 0 && x <= (int64_t{width} - 1) * 65536 && y <= (int64_t{height} - 1) * 65536;
}

static inline bool affine8x8Inside(const int32_t* pos, const int32_t* a, uint32_t width, uint32_t height) {
    return affine8x8CornerInside(pos, a, -4, -4, width, height) && affine8x8CornerInside(pos, a, 3, -4, width, height) &&
           affine8x8CornerInside(pos, a, -4, 3, width, height) && affine8x8CornerInside(pos, a, 3, 3, width, height);
}

// Float affine patches: the start of row j, (px + a1 j, py + a3 j).
static inline float affineRowX(const float* pos, const float* a, int32_t j) {
    return pos[0] + a[1] * static_cast<float>(j);
}
static inline float affineRowY(const float* pos, const float* a, int32_t j) {
    return pos[1] + a[3] * static_cast<float>(j);
}

// x clamped into [0, limit] (NaN to 0), in Q8.
static inline int32_t clampedQ8(float x, float limit) {
    x = x > 0.0f ? x : 0.0f;
    x = x < limit ? x : limit;
    return static_cast<int32_t>(x * 256.0f);
}

// Patch pixels [cBegin, cEnd) of row r of a float affine patch; with Clip
// a position outside [0, w-1] x [0, h-1] gives 0, otherwise it is clamped.
template <bool Clip>
static inline void affineRun(const uint8_t* src, size_t srcStride, float xLimit, float yLimit, const float* pos,
                             const float* a, int32_t halfWidth, int32_t j, uint8_t* out, uint32_t cBegin,
                             uint32_t cEnd) {
    const float rx = affineRowX(pos, a, j), ry = affineRowY(pos, a, j);
    for (uint32_t c = cBegin; c < cEnd; ++c) {
        const float i = static_cast<float>(static_cast<int32_t>(c) - halfWidth);
        const float x = rx + a[0] * i;
        const float y = ry + a[2] * i;
        if (Clip && !(x >= 0.0f && y >= 0.0f && x <= xLimit && y <= yLimit)) {
            out[c] = 0;
            continue;
        }
        const int32_t xq = clampedQ8(x, xLimit), yq = clampedQ8(y, yLimit);
        const uint8_t* p = rowAt(src, srcStride, static_cast<uint32_t>(yq >> 8)) + (xq >> 8);
        out[c] = bilinearQ8(p, static_cast<ptrdiff_t>(srcStride), xq & 255, yq & 255);
    }
}

// ---- Rotated 17x17 patch -------------------------------------------------------------

// Offset from the centre in Q8: trunc((x + 16) 256) - 4096, a flooring
// conversion for every offset above -16.
static inline int32_t rotatedQ8(float x) { return static_cast<int32_t>((x + 16.0f) * 256.0f) - 4096; }

// Patch pixels [cBegin, cEnd) of patch row r; cs = (c, s).
static inline void rotatedRun(const uint8_t* centre, ptrdiff_t stride, float c, float s, int32_t r, uint8_t* out,
                              int32_t cBegin, int32_t cEnd) {
    const float j = static_cast<float>(r - 8);
    const float rx = -s * j, ry = c * j;
    for (int32_t col = cBegin; col < cEnd; ++col) {
        const float i = static_cast<float>(col - 8);
        const int32_t xq = rotatedQ8(rx + c * i), yq = rotatedQ8(ry + s * i);
        const uint8_t* p = centre + (yq >> 8) * stride + (xq >> 8);
        out[col] = bilinearQ8(p, stride, xq & 255, yq & 255);
    }
}

// ---- RGBA remaps ----------------------------------------------------------------------

// Coordinates whose truncation fits int32_t; NaN fails.
static inline bool convertible(float v) { return v > -2147483648.0f && v < 2147483648.0f; }

static inline const float* mapRow(const float* map, uint32_t mapStride, uint32_t y) {
    return reinterpret_cast<const float*>(reinterpret_cast<const uint8_t*>(map) + static_cast<size_t>(y) * mapStride);
}

// Destination pixels [xBegin, xEnd) of a nearest-neighbour row.
static inline void remapNearestRun(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                   const float* mx, const float* my, uint8_t* out, uint32_t xBegin,
                                   uint32_t xEnd) {
    for (uint32_t x = xBegin; x < xEnd; ++x) {
        const float rx = mx[x] >= 0.0f ? mx[x] + 0.5f : mx[x] - 0.5f;
        const float ry = my[x] >= 0.0f ? my[x] + 0.5f : my[x] - 0.5f;
        uint32_t pixel = 0;
        if (convertible(rx) && convertible(ry)) {
            const uint32_t col = static_cast<uint32_t>(static_cast<int32_t>(rx));
            const uint32_t row = static_cast<uint32_t>(static_cast<int32_t>(ry));
            if (col < srcWidth && row < srcHeight) memcpy(&pixel, rowAt(src, srcStride, row) + size_t{col} * 4, 4);
        }
        memcpy(out + size_t{x} * 4, &pixel, 4);
    }
}

// floor(v) for a convertible v: truncate, then step down when that exceeds v.
static inline int32_t floorToInt(float v) {
    const int32_t t = static_cast<int32_t>(v);
    return static_cast<float>(t) > v ? t - 1 : t;
}

// Destination pixels [xBegin, xEnd) of a bilinear row.
static inline void remapBilinearRun(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                                    const float* mx, const float* my, uint8_t* out, uint32_t xBegin,
                                    uint32_t xEnd) {
    for (uint32_t x = xBegin; x < xEnd; ++x) {
        uint8_t* o = out + size_t{x} * 4;
        if (!convertible(mx[x]) || !convertible(my[x])) {
            memset(o, 0, 4);
            continue;
        }
        const int32_t x0 = floorToInt(mx[x]), y0 = floorToInt(my[x]);
        const float fx = mx[x] - static_cast<float>(x0);
        const float fy = my[x] - static_cast<float>(y0);
        const float weights[4] = {(1.0f - fx) * (1.0f - fy), fx * (1.0f - fy), (1.0f - fx) * fy, fx * fy};
        float sums[4] = {0.0f, 0.0f, 0.0f, 0.0f};
        for (int k = 0; k < 4; ++k) {
            // Neighbours in the order (x0, y0), (x0+1, y0), (x0, y0+1), (x0+1, y0+1);
            // the +1 is taken in unsigned arithmetic, so x0 = INT32_MAX wraps outside.
            const uint32_t col = static_cast<uint32_t>(x0) + static_cast<uint32_t>(k & 1);
            const uint32_t row = static_cast<uint32_t>(y0) + static_cast<uint32_t>(k >> 1);
            if (col >= srcWidth || row >= srcHeight) continue;
            const uint8_t* p = rowAt(src, srcStride, row) + size_t{col} * 4;
            for (int ch = 0; ch < 4; ++ch) sums[ch] += weights[k] * static_cast<float>(p[ch]);
        }
        for (int ch = 0; ch < 4; ++ch)
            o[ch] = static_cast<uint8_t>(static_cast<uint32_t>(static_cast<int32_t>(sums[ch] + 0.5f)));
    }
}

}  // namespace ombrix_warp

#endif  // OMBRIX_WARP_SCALAR_H
