// Scalar building blocks of the RGB to YCbCr conversions: the input pixel
// formats, the Q8 pixel formulas and the row converters built from them.
// Included by the reference code and, for the scalar tails, by the vector
// code.
//
// Everything here has internal linkage (anonymous namespace), so a copy
// compiled with NEON enabled in src/lanex/ can never be merged into the
// reference path.
#ifndef OMBRIX_COLOR_RGB_ROWS_H
#define OMBRIX_COLOR_RGB_ROWS_H

#include <stdint.h>

namespace ombrix_color {
namespace {

struct Rgb {
    int32_t r, g, b;
};

// ---- Input formats: how one pixel is read, and whether chroma is clamped ------

// Little-endian 16-bit word, R in bits 15-11, G in 10-5, B in 4-0. Fields
// are widened by shifting alone (low bits zero), so no channel exceeds 252
// and chroma never reaches the clamp.
struct Rgb565In {
    static constexpr uint32_t kBytes = 2;
    static constexpr bool kClampChroma = false;
    static Rgb read(const uint8_t* p) {
        const uint32_t w = p[0] | static_cast<uint32_t>(p[1]) << 8;
        return {static_cast<int32_t>((w >> 11) << 3), static_cast<int32_t>(((w >> 5) & 63) << 2),
                static_cast<int32_t>((w & 31) << 3)};
    }
};

// Bytes B, G, R.
struct Rgb888In {
    static constexpr uint32_t kBytes = 3;
    static constexpr bool kClampChroma = true;
    static Rgb read(const uint8_t* p) { return {p[2], p[1], p[0]}; }
};

// Bytes B, G, R and an ignored fourth byte.
struct Rgba8888In {
    static constexpr uint32_t kBytes = 4;
    static constexpr bool kClampChroma = true;
    static Rgb read(const uint8_t* p) { return {p[2], p[1], p[0]}; }
};

// ---- Q8 full-range formulas, rounding, arithmetic shifts ------------------------

inline uint8_t lumaQ8(Rgb c) { return static_cast<uint8_t>((29 * c.b + 150 * c.g + 77 * c.r + 128) >> 8); }

// 128 + (term + 128) >> 8. A saturated primary gives a shifted term of 128,
// which the 8-bit formats clamp to 255.
template <class Format>
inline uint8_t chromaQ8(int32_t term) {
    const int32_t shifted = (term + 128) >> 8;
    if (Format::kClampChroma && shifted > 127) return 255;
    return static_cast<uint8_t>(128 + shifted);
}
template <class Format>
inline uint8_t cbQ8(Rgb c) {
    return chromaQ8<Format>(128 * c.b - 85 * c.g - 43 * c.r);
}
template <class Format>
inline uint8_t crQ8(Rgb c) {
    return chromaQ8<Format>(128 * c.r - 107 * c.g - 21 * c.b);
}

// ---- Row converters over `width` pixels -------------------------------------------

template <class Format>
void lumaRow(const uint8_t* src, uint8_t* dstY, uint32_t width) {
    for (uint32_t x = 0; x < width; ++x) dstY[x] = lumaQ8(Format::read(src + x * Format::kBytes));
}

// One Cb and one Cr per pixel; `chromaStep` is 1 for separate planes and 2
// for interleaved pairs (dstCr = dstCb + 1).
template <class Format>
void fullChromaRow(const uint8_t* src, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t chromaStep,
                   uint32_t width) {
    for (uint32_t x = 0; x < width; ++x) {
        const Rgb c = Format::read(src + x * Format::kBytes);
        dstY[x] = lumaQ8(c);
        dstCb[x * chromaStep] = cbQ8<Format>(c);
        dstCr[x * chromaStep] = crQ8<Format>(c);
    }
}

// One Cb and one Cr per pixel pair, from the even pixel alone (decimation).
// An odd width writes nothing at all.
template <class Format>
void pairChromaRow(const uint8_t* src, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t chromaStep,
                   uint32_t width) {
    if (width & 1) return;
    for (uint32_t x = 0; x < width; x += 2) {
        const Rgb even = Format::read(src + x * Format::kBytes);
        dstY[x] = lumaQ8(even);
        dstY[x + 1] = lumaQ8(Format::read(src + (x + 1) * Format::kBytes));
        dstCb[x / 2 * chromaStep] = cbQ8<Format>(even);
        dstCr[x / 2 * chromaStep] = crQ8<Format>(even);
    }
}

// ---- RGB888 read as bytes R, G, B: interleaved Y, Cr, Cb (Q15) and gray (Q16) ----

inline uint8_t clampU8(int32_t v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); }

inline void yCrCbQ15(const uint8_t* rgb, uint8_t* out) {
    const int32_t r = rgb[0], g = rgb[1], b = rgb[2];
    out[0] = clampU8((9798 * r + 19235 * g + 3736 * b + 16384) >> 15);
    out[1] = clampU8(128 + ((16384 * r - 13720 * g - 2664 * b + 16384) >> 15));
    out[2] = clampU8(128 + ((-5529 * r - 10855 * g + 16384 * b + 16384) >> 15));
}

inline void yCrCbRow(const uint8_t* src, uint8_t* dst, uint32_t width) {
    for (uint32_t x = 0; x < width; ++x) yCrCbQ15(src + 3 * x, dst + 3 * x);
}

inline void grayRow(const uint8_t* src, uint8_t* dst, uint32_t width) {
    for (uint32_t x = 0; x < width; ++x) {
        const uint32_t r = src[3 * x], g = src[3 * x + 1], b = src[3 * x + 2];
        dst[x] = static_cast<uint8_t>((19595 * r + 38469 * g + 7471 * b + 32768) >> 16);
    }
}

}  // namespace
}  // namespace ombrix_color

// Defines the five row converters of one input format, <prefix><shape><suffix>
// (rgb8882yuvpC, rgb8882yuvpV, ...), from templates that the including file
// provides: planarFull, planarPairs, lumaOnly, interleavedFull and
// interleavedPairs over `Format`.
#define OMBRIX_RGB_ROW_CONVERTERS(prefix, suffix, Format)                                             \
    void prefix##yuvp##suffix(const uint8_t* src, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,      \
                              uint32_t width) {                                                       \
        planarFull<Format>(src, dstY, dstCb, dstCr, width);                                           \
    }                                                                                                 \
    void prefix##yyuvp##suffix(const uint8_t* src, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr,     \
                               uint32_t width) {                                                      \
        planarPairs<Format>(src, dstY, dstCb, dstCr, width);                                          \
    }                                                                                                 \
    void prefix##y##suffix(const uint8_t* src, uint8_t* dstY, uint32_t width) {                       \
        lumaOnly<Format>(src, dstY, width);                                                           \
    }                                                                                                 \
    void prefix##yuv##suffix(const uint8_t* src, uint8_t* dstY, uint8_t* dstC, uint32_t width) {      \
        interleavedFull<Format>(src, dstY, dstC, width);                                              \
    }                                                                                                 \
    void prefix##yyuv##suffix(const uint8_t* src, uint8_t* dstY, uint8_t* dstC, uint32_t width) {     \
        interleavedPairs<Format>(src, dstY, dstC, width);                                             \
    }

#endif  // OMBRIX_COLOR_RGB_ROWS_H
