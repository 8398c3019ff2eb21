// Scalar building blocks of the full-range YCbCr -> RGB conversions: the
// per-pixel formula, the three output packings, the image walk shared by all
// six chroma layouts, the argument contracts and the list of the eighteen
// operations. Included by the reference code and, for the image walk and the
// scalar tails, by the vector code.
//
// Every function here is static (internal linkage), so a copy compiled with
// NEON enabled in src/lanex/ can never be merged into the reference path.
#ifndef OMBRIX_COLOR_SCALAR_H
#define OMBRIX_COLOR_SCALAR_H

#include <stddef.h>
#include <stdint.h>

namespace ombrix_color {

// ---- One pixel ---------------------------------------------------------------------
//
// Full range, Q8 with rounding: with d = Cb - 128, e = Cr - 128 and
// Y' = Y * 256 + 128 (the +128 rounds; luma has no offset),
//   R = (Y' + 359 e) >> 8,  G = (Y' - 88 d - 183 e) >> 8,  B = (Y' + 454 d) >> 8,
// arithmetic shifts of signed 32-bit values, each clamped to 0..255.
constexpr int32_t kCrToR = 359;
constexpr int32_t kCbToG = 88;
constexpr int32_t kCrToG = 183;
constexpr int32_t kCbToB = 454;

static inline uint8_t clampToByte(int32_t value) {
    return static_cast<uint8_t>(value < 0 ? 0 : value > 255 ? 255 : value);
}

struct Rgb {
    uint8_t r, g, b;
};

static inline Rgb ycbcrToRgb(uint8_t y, uint8_t cb, uint8_t cr) {
    const int32_t d = static_cast<int32_t>(cb) - 128;
    const int32_t e = static_cast<int32_t>(cr) - 128;
    const int32_t luma = static_cast<int32_t>(y) * 256 + 128;
    return {clampToByte((luma + kCrToR * e) >> 8), clampToByte((luma - kCbToG * d - kCrToG * e) >> 8),
            clampToByte((luma + kCbToB * d) >> 8)};
}

// ---- Output packings ---------------------------------------------------------------
//
// Tags carry only the pixel size; the stores are overloads on the tag, so the
// packings stay free functions with internal linkage.
struct Rgb565 {
    static constexpr uint32_t kBytes = 2;
};
struct Rgb888 {
    static constexpr uint32_t kBytes = 3;
};
struct Rgba8888 {
    static constexpr uint32_t kBytes = 4;
};

// Little-endian word with B in bits 15-11, G in 10-5, R in 4-0: the top bits
// of each clamped value, truncated.
static inline void storePixel(Rgb565, uint8_t* out, Rgb p) {
    out[0] = static_cast<uint8_t>(((p.g << 3) & 0xE0) | (p.r >> 3));
    out[1] = static_cast<uint8_t>((p.b & 0xF8) | (p.g >> 5));
}
static inline void storePixel(Rgb888, uint8_t* out, Rgb p) {
    out[0] = p.r;
    out[1] = p.g;
    out[2] = p.b;
}
static inline void storePixel(Rgba8888, uint8_t* out, Rgb p) {
    out[0] = p.r;
    out[1] = p.g;
    out[2] = p.b;
    out[3] = 255;
}

// ---- Rows and images ---------------------------------------------------------------

// One row: `length` luma bytes, chroma sample k at cb[k * step] and
// cr[k * step] (step 1 for planes, 2 for interleaved Cb,Cr pairs, where
// cr = cb + 1), `length` output pixels.
typedef void RowConverter(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, uint32_t length);

// Two rows sharing one row of chroma (4:2:0): luma rows y0 and y1 into dst0
// and dst1, one sample per two pixels as in a row of 4:2:2.
typedef void TwoRowConverter(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr,
                             uint8_t* dst0, uint8_t* dst1, uint32_t length);

// Chroma per pixel, per horizontal pair, or per 2x2 block.
enum Subsampling { k444, k422, k420 };

// Row distances of an image. Strides of 0 stand for packed rows: luma
// `width`, chroma planes `width` (444) or (width+1)/2 (422, 420), interleaved
// chroma twice that for 444 and `width` for 422 and 420, output `width`
// pixels.
struct Strides {
    size_t y, cb, cr, dst;
};

static inline Strides imageStrides(Subsampling subsampling, bool interleaved, uint32_t bytesPerPixel,
                                   uint32_t width, uint32_t yStride, uint32_t dstStride, uint32_t cbStride,
                                   uint32_t crStride) {
    const uint32_t packedChroma = subsampling == k444 ? width : (width + 1) / 2;
    const uint32_t packedInterleaved = subsampling == k444 ? width * 2 : width;
    return {yStride ? yStride : width, cbStride ? cbStride : interleaved ? packedInterleaved : packedChroma,
            crStride ? crStride : interleaved ? packedInterleaved : packedChroma,
            dstStride ? dstStride : static_cast<size_t>(width) * bytesPerPixel};
}

// Walks a 4:4:4 or 4:2:2 image row by row.
static inline void convertImage(Subsampling subsampling, bool interleaved, uint32_t bytesPerPixel,
                                RowConverter* row, const uint8_t* srcY, uint32_t width, uint32_t height,
                                uint32_t yStride, uint8_t* dst, uint32_t dstStride, const uint8_t* srcCb,
                                const uint8_t* srcCr, uint32_t cbStride, uint32_t crStride) {
    const Strides s = imageStrides(subsampling, interleaved, bytesPerPixel, width, yStride, dstStride, cbStride,
                                   crStride);
    for (uint32_t i = 0; i < height; ++i, srcY += s.y, srcCb += s.cb, srcCr += s.cr, dst += s.dst)
        row(srcY, srcCb, srcCr, dst, width);
}

// Walks a 4:2:0 image two luma rows and one chroma row per pass while the
// pass's first row is inside the image, so an odd height also converts row
// `height` (one past the last) in source and destination; callers pass even
// heights.
static inline void convertImage(Subsampling subsampling, bool interleaved, uint32_t bytesPerPixel,
                                TwoRowConverter* rows, const uint8_t* srcY, uint32_t width, uint32_t height,
                                uint32_t yStride, uint8_t* dst, uint32_t dstStride, const uint8_t* srcCb,
                                const uint8_t* srcCr, uint32_t cbStride, uint32_t crStride) {
    const Strides s = imageStrides(subsampling, interleaved, bytesPerPixel, width, yStride, dstStride, cbStride,
                                   crStride);
    for (uint32_t i = 0; i < height; i += 2, srcY += 2 * s.y, srcCb += s.cb, srcCr += s.cr, dst += 2 * s.dst)
        rows(srcY, srcY + s.y, srcCb, srcCr, dst, dst + s.dst, width);
}

}  // namespace ombrix_color

// ---- Row converters ------------------------------------------------------------------
//
// Names the eighteen row converters of a file from its three row templates,
// PerPixel<Format, step>, SharedChroma<Format, step> and
// SharedChromaTwoRows<Format, step> (step 1 for chroma planes, 2 for Cb,Cr
// pairs): yuvp2* per pixel from planes, yuv2* per pixel from pairs, yyuvp2*
// and yyuv2* one sample per two pixels, yyyyuvp2* and yyyyuv2* one sample
// per 2x2 pixels, two rows at a time. The output order is R, G, B(, A)
// whatever the names say.
#define OBX_YCBCR_ROW_CONVERTERS(PerPixel, SharedChroma, SharedChromaTwoRows)                               \
    constexpr ombrix_color::RowConverter* yuvp2bgr565 = PerPixel<ombrix_color::Rgb565, 1>;                  \
    constexpr ombrix_color::RowConverter* yuvp2bgr888 = PerPixel<ombrix_color::Rgb888, 1>;                  \
    constexpr ombrix_color::RowConverter* yuvp2bgra = PerPixel<ombrix_color::Rgba8888, 1>;                  \
    constexpr ombrix_color::RowConverter* yuv2bgr565 = PerPixel<ombrix_color::Rgb565, 2>;                   \
    constexpr ombrix_color::RowConverter* yuv2bgr888 = PerPixel<ombrix_color::Rgb888, 2>;                   \
    constexpr ombrix_color::RowConverter* yuv2bgra = PerPixel<ombrix_color::Rgba8888, 2>;                   \
    constexpr ombrix_color::RowConverter* yyuvp2bgr565 = SharedChroma<ombrix_color::Rgb565, 1>;             \
    constexpr ombrix_color::RowConverter* yyuvp2bgr888 = SharedChroma<ombrix_color::Rgb888, 1>;             \
    constexpr ombrix_color::RowConverter* yyuvp2bgra = SharedChroma<ombrix_color::Rgba8888, 1>;             \
    constexpr ombrix_color::RowConverter* yyuv2bgr565 = SharedChroma<ombrix_color::Rgb565, 2>;              \
    constexpr ombrix_color::RowConverter* yyuv2bgr888 = SharedChroma<ombrix_color::Rgb888, 2>;              \
    constexpr ombrix_color::RowConverter* yyuv2bgra = SharedChroma<ombrix_color::Rgba8888, 2>;              \
    constexpr ombrix_color::TwoRowConverter* yyyyuvp2bgr565 = SharedChromaTwoRows<ombrix_color::Rgb565, 1>; \
    constexpr ombrix_color::TwoRowConverter* yyyyuvp2bgr888 = SharedChromaTwoRows<ombrix_color::Rgb888, 1>; \
    constexpr ombrix_color::TwoRowConverter* yyyyuvp2bgra = SharedChromaTwoRows<ombrix_color::Rgba8888, 1>; \
    constexpr ombrix_color::TwoRowConverter* yyyyuv2bgr565 = SharedChromaTwoRows<ombrix_color::Rgb565, 2>;  \
    constexpr ombrix_color::TwoRowConverter* yyyyuv2bgr888 = SharedChromaTwoRows<ombrix_color::Rgb888, 2>;  \
    constexpr ombrix_color::TwoRowConverter* yyyyuv2bgra = SharedChromaTwoRows<ombrix_color::Rgba8888, 2>;

// ---- Argument contracts --------------------------------------------------------------
//
// The expressions every variant asserts first, spelled as their messages
// quote them; `bytes` is the output pixel size (2, 3 or 4). A stride of 0 is
// packed.
// clang-format off
#define OBX_YCBCR444_PLANAR_CONTRACT(bytes) srcY && srcCb && srcCr && dst && srcWidth && srcHeight && ( srcYStride == 0 || srcYStride >= (srcWidth*sizeof(uint8_t)) ) && ( srcCbStride == 0 || srcCbStride >= (srcWidth*sizeof(uint8_t)) ) && ( srcCrStride == 0 || srcCrStride >= (srcWidth*sizeof(uint8_t)) ) && ( dstStride == 0 || dstStride >= (srcWidth*bytes*sizeof(uint8_t)))
#define OBX_YCBCR42X_PLANAR_CONTRACT(bytes) srcY && srcCb && srcCr && dst && srcWidth && srcHeight && ( srcYStride == 0 || srcYStride >= (srcWidth*sizeof(uint8_t)) ) && ( srcCbStride == 0 || srcCbStride >= ((srcWidth+1)/2*sizeof(uint8_t)) ) && ( srcCrStride == 0 || srcCrStride >= ((srcWidth+1)/2*sizeof(uint8_t)) ) && ( dstStride == 0 || dstStride >= (srcWidth*bytes*sizeof(uint8_t)))
#define OBX_YCBCR444_PSEUDO_CONTRACT(bytes) srcY && srcC && dst && srcWidth && srcHeight && ( srcYStride == 0 || srcYStride >= (srcWidth*sizeof(uint8_t)) ) && ( srcCStride == 0 || srcCStride >= (srcWidth*2*sizeof(uint8_t)) ) && ( dstStride == 0 || dstStride >= (srcWidth*bytes*sizeof(uint8_t)))
#define OBX_YCBCR42X_PSEUDO_CONTRACT(bytes) srcY && srcC && dst && srcWidth && srcHeight && ( srcYStride == 0 || srcYStride >= (srcWidth*sizeof(uint8_t)) ) && ( srcCStride == 0 || srcCStride >= (srcWidth*sizeof(uint8_t)) ) && ( dstStride == 0 || dstStride >= (srcWidth*bytes*sizeof(uint8_t)))
// clang-format on

// ---- The operations --------------------------------------------------------------------
//
// PLANAR(name, subsampling, output tag, row converter, contract) and
// PSEUDO_PLANAR(...) for each operation. The reference and the vector file
// expand this list with their own definitions and their own row converters
// (OBX_YCBCR_ROW_CONVERTERS).
#define OBX_YCBCR_TO_RGB_OPERATIONS(PLANAR, PSEUDO_PLANAR)                                                    \
    PLANAR(obxColorYCbCr444PlanarToRGB565u8, k444, Rgb565, yuvp2bgr565, OBX_YCBCR444_PLANAR_CONTRACT(2))      \
    PLANAR(obxColorYCbCr444PlanarToRGB888u8, k444, Rgb888, yuvp2bgr888, OBX_YCBCR444_PLANAR_CONTRACT(3))      \
    PLANAR(obxColorYCbCr444PlanarToRGBA8888u8, k444, Rgba8888, yuvp2bgra, OBX_YCBCR444_PLANAR_CONTRACT(4))    \
    PLANAR(obxColorYCbCr422PlanarToRGB565u8, k422, Rgb565, yyuvp2bgr565, OBX_YCBCR42X_PLANAR_CONTRACT(2))     \
    PLANAR(obxColorYCbCr422PlanarToRGB888u8, k422, Rgb888, yyuvp2bgr888, OBX_YCBCR42X_PLANAR_CONTRACT(3))     \
    PLANAR(obxColorYCbCr422PlanarToRGBA8888u8, k422, Rgba8888, yyuvp2bgra, OBX_YCBCR42X_PLANAR_CONTRACT(4))   \
    PLANAR(obxColorYCbCr420PlanarToRGB565u8, k420, Rgb565, yyyyuvp2bgr565, OBX_YCBCR42X_PLANAR_CONTRACT(2))   \
    PLANAR(obxColorYCbCr420PlanarToRGB888u8, k420, Rgb888, yyyyuvp2bgr888, OBX_YCBCR42X_PLANAR_CONTRACT(3))   \
    PLANAR(obxColorYCbCr420PlanarToRGBA8888u8, k420, Rgba8888, yyyyuvp2bgra, OBX_YCBCR42X_PLANAR_CONTRACT(4)) \
    PSEUDO_PLANAR(obxColorYCbCr444PseudoPlanarToRGB565u8, k444, Rgb565, yuv2bgr565,                           \
                  OBX_YCBCR444_PSEUDO_CONTRACT(2))                                                            \
    PSEUDO_PLANAR(obxColorYCbCr444PseudoPlanarToRGB888u8, k444, Rgb888, yuv2bgr888,                           \
                  OBX_YCBCR444_PSEUDO_CONTRACT(3))                                                            \
    PSEUDO_PLANAR(obxColorYCbCr444PseudoPlanarToRGBA8888u8, k444, Rgba8888, yuv2bgra,                         \
                  OBX_YCBCR444_PSEUDO_CONTRACT(4))                                                            \
    PSEUDO_PLANAR(obxColorYCbCr422PseudoPlanarToRGB565u8, k422, Rgb565, yyuv2bgr565,                          \
                  OBX_YCBCR42X_PSEUDO_CONTRACT(2))                                                            \
    PSEUDO_PLANAR(obxColorYCbCr422PseudoPlanarToRGB888u8, k422, Rgb888, yyuv2bgr888,                          \
                  OBX_YCBCR42X_PSEUDO_CONTRACT(3) && srcWidth > 1)                                            \
    PSEUDO_PLANAR(obxColorYCbCr422PseudoPlanarToRGBA8888u8, k422, Rgba8888, yyuv2bgra,                        \
                  OBX_YCBCR42X_PSEUDO_CONTRACT(4))                                                            \
    PSEUDO_PLANAR(obxColorYCbCr420PseudoPlanarToRGB565u8, k420, Rgb565, yyyyuv2bgr565,                        \
                  OBX_YCBCR42X_PSEUDO_CONTRACT(2))                                                            \
    PSEUDO_PLANAR(obxColorYCbCr420PseudoPlanarToRGB888u8, k420, Rgb888, yyyyuv2bgr888,                        \
                  OBX_YCBCR42X_PSEUDO_CONTRACT(3))                                                            \
    PSEUDO_PLANAR(obxColorYCbCr420PseudoPlanarToRGBA8888u8, k420, Rgba8888, yyyyuv2bgra,                      \
                  OBX_YCBCR42X_PSEUDO_CONTRACT(4))

// Defines `name##suffix` for every operation of the list: the contract, then
// the image walk with this file's row converter. Pseudo-planar chroma is
// walked as two planes one byte apart, sharing the one stride.
#define OBX_YCBCR_DEFINE(suffix, name, subsampling, Format, row, contract, interleaved, parameters, ...)      \
    void name##suffix parameters {                                                                            \
        OMBRIX_ASSERT(contract);                                                                              \
        ombrix_color::convertImage(ombrix_color::subsampling, interleaved, ombrix_color::Format::kBytes, row, \
                                   srcY, srcWidth, srcHeight, srcYStride, dst, dstStride, __VA_ARGS__);       \
    }
#define OBX_YCBCR_DEFINE_PLANAR(suffix, name, subsampling, Format, row, contract)                          \
    OBX_YCBCR_DEFINE(suffix, name, subsampling, Format, row, contract, false,                              \
                     (const uint8_t* srcY, const uint8_t* srcCb, const uint8_t* srcCr, uint32_t srcWidth,  \
                      uint32_t srcHeight, uint32_t srcYStride, uint32_t srcCbStride, uint32_t srcCrStride, \
                      uint8_t* dst, uint32_t dstStride),                                                   \
                     srcCb, srcCr, srcCbStride, srcCrStride)
#define OBX_YCBCR_DEFINE_PSEUDO_PLANAR(suffix, name, subsampling, Format, row, contract)               \
    OBX_YCBCR_DEFINE(suffix, name, subsampling, Format, row, contract, true,                           \
                     (const uint8_t* srcY, const uint8_t* srcC, uint32_t srcWidth, uint32_t srcHeight, \
                      uint32_t srcYStride, uint32_t srcCStride, uint8_t* dst, uint32_t dstStride),     \
                     srcC, srcC + 1, srcCStride, srcCStride)

#endif  // OMBRIX_COLOR_SCALAR_H
