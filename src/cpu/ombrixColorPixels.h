// Scalar building blocks of the camera-preview and block-layout conversions
// from YCbCr to RGB: one pixel formula per coefficient set, the row and frame
// walks shared by the references and the vector variants, and the geometry
// of minimum coded units (MCUs). The vector code calls the same formulas for
// the pixels its lanes do not cover, so both paths agree by construction.
//
// Every function here is static (internal linkage), so a copy compiled with
// NEON enabled in src/lanex/ can never be merged into the reference path.
#ifndef OMBRIX_COLOR_PIXELS_H
#define OMBRIX_COLOR_PIXELS_H

#include <stddef.h>
#include <stdint.h>
#include <string.h>

namespace ombrix_color {

static inline uint8_t clampByte(int32_t v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); }

// ---- Camera preview, video range (luma 16..235), truncating ---------------------

// Q10. The luma term is clamped at zero before scaling, each sum is clamped
// to 0..0x3FFFF and then shifted without a rounding term. Returns the word
// whose bytes in memory are R, G, B, 255.
static inline uint32_t videoQ10Pixel(uint8_t y, uint8_t cb, uint8_t cr) {
    const int32_t luma = (y > 16 ? y - 16 : 0) * 1192;
    const int32_t d = cb - 128, e = cr - 128;
    auto channel = [](int32_t sum) {
        return static_cast<uint32_t>(sum < 0 ? 0 : sum > 0x3FFFF ? 0x3FFFF : sum) >> 10;
    };
    return channel(luma + 1634 * e) | channel(luma - 833 * e - 400 * d) << 8 | channel(luma + 2066 * d) << 16 |
           0xFF000000u;
}

// Q8, luma offset folded into the constant (4768 = 16 * 298); shifted without
// a rounding term, then clamped. Returns the RGB565 value: blue in bits
// 15-11, green in 10-5, red in 4-0, each the top bits of its 8-bit value.
static inline uint16_t videoQ8Rgb565Pixel(uint8_t y, uint8_t cb, uint8_t cr) {
    const int32_t luma = 298 * y - 4768;
    const int32_t d = cb - 128, e = cr - 128;
    const uint32_t r = clampByte((luma + 409 * e) >> 8);
    const uint32_t g = clampByte((luma - 100 * d - 208 * e) >> 8);
    const uint32_t b = clampByte((luma + 517 * d) >> 8);
    return static_cast<uint16_t>((b >> 3) << 11 | (g >> 2) << 5 | r >> 3);
}

// Pixels [begin, end) of one 4:2:0 row with interleaved Cr,Cb pairs; pixel x
// uses pair x / 2.
static inline void crcbRowToRgb8888(const uint8_t* luma, const uint8_t* crcb, uint32_t* dst, uint32_t begin,
                                    uint32_t end) {
    for (uint32_t x = begin; x < end; ++x) dst[x] = videoQ10Pixel(luma[x], crcb[x | 1], crcb[x & ~1u]);
}

// Pixel pairs starting at even x in [begin, end) of one 4:2:0 row with
// interleaved Cb,Cr pairs, each pair stored as one 32-bit word. Unrotated,
// pixel x lands at x of `dst` (first pixel in the low half); rotated, at
// width - 1 - x, so the pair's word holds the second pixel in its low half.
static inline void cbcrRowToRgb565(const uint8_t* luma, const uint8_t* cbcr, uint8_t* dst, uint32_t width,
                                   bool rotated, uint32_t begin, uint32_t end) {
    for (uint32_t x = begin; x + 2 <= end; x += 2) {
        const uint32_t first = videoQ8Rgb565Pixel(luma[x], cbcr[x], cbcr[x + 1]);
        const uint32_t second = videoQ8Rgb565Pixel(luma[x + 1], cbcr[x], cbcr[x + 1]);
        const uint32_t word = rotated ? second | first << 16 : first | second << 16;
        memcpy(dst + 2 * static_cast<size_t>(rotated ? width - 2 - x : x), &word, 4);
    }
}

// The frame of the YCrCb RGB8888 conversion: the chroma plane follows the
// luma plane at src + srcHeight * srcYStride and advances after every odd
// luma row; the destination advances by dstStride rounded down to whole
// words (a stride that is not a multiple of 4 loses its remainder, which
// keeps every row on the same word grid). `row(luma, crcb, out, width)`
// converts one row.
template <typename Row>
static inline void crcb420Frame(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcYStride,
                                uint32_t srcCStride, uint32_t* dst, uint32_t dstStride, Row row) {
    const uint8_t* chroma = src + static_cast<size_t>(srcHeight) * srcYStride;
    const size_t dstWords = dstStride / 4;
    for (uint32_t y = 0; y < srcHeight; ++y) {
        row(src + static_cast<size_t>(y) * srcYStride, chroma + static_cast<size_t>(y / 2) * srcCStride,
            dst + y * dstWords, srcWidth);
    }
}

// The frame of the packed YUV 4:2:0 to RGB565 conversions: luma and chroma
// rows `width` bytes apart, chroma after width * height luma bytes and
// advancing after every odd luma row, output rows width * 2 bytes apart.
// Rotated, source row y is written to destination row height - 1 - y.
// Only whole pixel pairs are converted: with an odd width the last source
// column is not converted (its destination column is left as it was).
// `row(luma, cbcr, out, width, rotated)` converts the pairs of one row.
template <typename Row>
static inline void yuv420Rgb565Frame(const uint8_t* yuv420sp, uint32_t width, uint32_t height, uint8_t* rgb565,
                                     bool rotated, Row row) {
    const uint8_t* chroma = yuv420sp + static_cast<size_t>(width) * height;
    for (uint32_t y = 0; y < height; ++y) {
        const uint32_t out = rotated ? height - 1 - y : y;
        row(yuv420sp + static_cast<size_t>(y) * width, chroma + static_cast<size_t>(y / 2) * width,
            rgb565 + static_cast<size_t>(out) * width * 2, width, rotated);
    }
}

// ---- Block layouts, full range, Q15 with rounding --------------------------------

// Chroma is centred on 127.5: c = 2 * C - 255 is twice its distance from the
// centre, so the coefficients are half the usual Q15 ones.
static inline int32_t blockChroma(uint8_t c) { return 2 * c - 255; }
static inline int32_t blockRedTerm(int32_t cr) { return (cr * 22970 + 16384) >> 15; }
static inline int32_t blockGreenTerm(int32_t cb, int32_t cr) { return (cb * -5638 + cr * -11700 + 16384) >> 15; }
static inline int32_t blockBlueTerm(int32_t cb) { return (cb * 29032 + 16384) >> 15; }

static inline void blockPixel(uint8_t y, uint8_t cb, uint8_t cr, uint8_t* rgb) {
    const int32_t b = blockChroma(cb), r = blockChroma(cr);
    rgb[0] = clampByte(y + blockRedTerm(r));
    rgb[1] = clampByte(y + blockGreenTerm(b, r));
    rgb[2] = clampByte(y + blockBlueTerm(b));
}

// An MCU of H x V luma blocks (8x8 bytes each, row by row, left to right then
// top to bottom), followed by one Cb and one Cr block that each cover the
// whole MCU, one sample per H x V pixels.
template <int H, int V>
struct McuShape {
    static constexpr uint32_t width = 8 * H, height = 8 * V;
    static constexpr uint32_t lumaBytes = 64 * H * V, bytes = lumaBytes + 128;
};

// Offset of the luma byte of pixel (x, y) of an MCU, and of its Cb byte (Cr is 64 further).
template <int H, int V>
static inline uint32_t mcuLumaOffset(uint32_t x, uint32_t y) {
    return ((y / 8) * H + x / 8) * 64 + (y % 8) * 8 + x % 8;
}
template <int H, int V>
static inline uint32_t mcuChromaOffset(uint32_t x, uint32_t y) {
    return McuShape<H, V>::lumaBytes + (y / V) * 8 + x / H;
}

// Converts rows [begin, end) of the left `cols` pixels of one MCU into packed
// RGB888 rows `dstStride` bytes apart; `dst` is where the MCU's top-left
// pixel goes.
template <int H, int V>
static inline void mcuRowsToRgb888(const uint8_t* mcu, uint8_t* dst, size_t dstStride, uint32_t cols,
                                   uint32_t begin, uint32_t end) {
    for (uint32_t y = begin; y < end; ++y) {
        uint8_t* out = dst + y * dstStride;
        for (uint32_t x = 0; x < cols; ++x) {
            const uint32_t c = mcuChromaOffset<H, V>(x, y);
            blockPixel(mcu[mcuLumaOffset<H, V>(x, y)], mcu[c], mcu[c + 64], out + 3 * x);
        }
    }
}
template <int H, int V>
static inline void mcuToRgb888(const uint8_t* mcu, uint8_t* dst, size_t dstStride, uint32_t cols, uint32_t rows) {
    mcuRowsToRgb888<H, V>(mcu, dst, dstStride, cols, 0, rows);
}

// Bytes from the start of one band of MCUs to the next. The 16x16 layout
// advances by ((width + 8) >> 4) MCUs, not by the number a band needs: for
// widths 1..7 past a multiple of 16 that is one MCU less, so the next band
// starts at the last MCU of the previous one. This is the layout's
// established behaviour and is kept.
template <int H, int V>
static inline size_t mcuBandAdvance(uint32_t width) {
    if (H == 2 && V == 2) return static_cast<size_t>((width + 8) >> 4) * McuShape<H, V>::bytes;
    return static_cast<size_t>((width + McuShape<H, V>::width - 1) / McuShape<H, V>::width) *
           McuShape<H, V>::bytes;
}

// Walks the MCUs of a width x height image, left to right in bands of MCU
// height, top to bottom, and hands each to `mcu(src, dst, cols, rows)` with
// the part of it that lies inside the image: a last MCU column or band that
// the image only partly covers converts only its pixels inside the image, so
// nothing outside width x height of dst is written.
template <int H, int V, typename Mcu>
static inline void mcuFrame(const uint8_t* src, uint32_t width, uint32_t height, uint8_t* dst, Mcu mcu) {
    typedef McuShape<H, V> Shape;
    const size_t dstStride = static_cast<size_t>(width) * 3;
    const size_t advance = mcuBandAdvance<H, V>(width);
    for (uint32_t top = 0; top < height; top += Shape::height) {
        const uint32_t rows = height - top < Shape::height ? height - top : Shape::height;
        const uint8_t* band = src + (top / Shape::height) * advance;
        for (uint32_t left = 0, i = 0; left < width; left += Shape::width, ++i) {
            const uint32_t cols = width - left < Shape::width ? width - left : Shape::width;
            mcu(band + static_cast<size_t>(i) * Shape::bytes, dst + top * dstStride + left * 3, dstStride, cols, rows);
        }
    }
}

}  // namespace ombrix_color

// ---- Entry points ------------------------------------------------------------------
//
// The reference and the vector module export the same operations with the
// same contracts and frames; they differ only in the row or MCU converter
// they pass. Each module expands these once, after including ombrixAssert.h,
// with its suffix (C or V) and its converters.

// Defines the three preview operations <name><suffix>:
//   rgb8888Row(luma, crcb, out, width), rgb565Row(luma, cbcr, out, width, rotated).
#define OMBRIX_COLOR_PREVIEW_OPERATIONS(suffix, rgb8888Row, rgb565Row)                                         \
    void obxColorYCrCb420PseudoPlanarToRGB8888u8##suffix(const uint8_t* src, uint32_t srcWidth,              \
                                                         uint32_t srcHeight, uint32_t srcYStride,            \
                                                         uint32_t srcCStride, uint32_t* dst, uint32_t dstStride) { \
        OMBRIX_ASSERT(src && dst && srcWidth && srcHeight && srcYStride && srcCStride && dstStride);          \
        ombrix_color::crcb420Frame(src, srcWidth, srcHeight, srcYStride, srcCStride, dst, dstStride, rgb8888Row); \
    }                                                                                                         \
    void obxColorYUV420toRGB565u8##suffix(const uint8_t* yuv420sp, uint32_t width, uint32_t height,          \
                                          uint8_t* rgb565) {                                                  \
        OMBRIX_ASSERT(yuv420sp && rgb565 && width && height);                                                 \
        ombrix_color::yuv420Rgb565Frame(yuv420sp, width, height, rgb565, false, rgb565Row);                   \
    }                                                                                                         \
    void obxColorYUV420toRGB565u8Rotate180##suffix(const uint8_t* yuv420sp, uint32_t width, uint32_t height, \
                                                   uint8_t* rgb565) {                                         \
        OMBRIX_ASSERT(yuv420sp && rgb565 && width && height);                                                 \
        ombrix_color::yuv420Rgb565Frame(yuv420sp, width, height, rgb565, true, rgb565Row);                    \
    }

// Defines one block-layout operation <name><suffix> over MCUs of H x V
// blocks, its source argument named `source`, converting each MCU with
// mcu<H, V>(src, dst, dstStride, cols, rows).
#define OMBRIX_COLOR_BLOCK_OPERATION(name, suffix, source, H, V, mcu)                          \
    void name##suffix(const uint8_t* source, uint32_t width, uint32_t height, uint8_t* dst) { \
        OMBRIX_ASSERT(source && dst && width && height);                                      \
        ombrix_color::mcuFrame<H, V>(source, width, height, dst, mcu<H, V>);                  \
    }
#define OMBRIX_COLOR_BLOCK_OPERATIONS(suffix, mcu)                                       \
    OMBRIX_COLOR_BLOCK_OPERATION(obxColorYCrCbH1V1toRGB888u8, suffix, src, 1, 1, mcu)  \
    OMBRIX_COLOR_BLOCK_OPERATION(obxColorYCrCbH2V2toRGB888u8, suffix, ysrc, 2, 2, mcu) \
    OMBRIX_COLOR_BLOCK_OPERATION(obxColorYCrCbH2V1toRGB888u8, suffix, ysrc, 2, 1, mcu) \
    OMBRIX_COLOR_BLOCK_OPERATION(obxColorYCrCbH1V2toRGB888u8, suffix, ysrc, 1, 2, mcu)

#endif  // OMBRIX_COLOR_PIXELS_H
