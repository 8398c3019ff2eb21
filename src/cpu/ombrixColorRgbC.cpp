// Reference conversions from packed RGB to YCbCr and gray. The YCbCr layouts
// are built from the row converters, which are called through their table
// slots so that a vector mode accelerates the rows while this outer loop
// stays scalar.
#include <stddef.h>

#include "ombrixAssert.h"
#include "ombrixColorRgbRows.h"
#include "ombrixKernels.h"

namespace {

using namespace ombrix_color;

// Chroma per pixel, per horizontal pair, per 2x2 block.
enum class Sampling { Full, Pairs, Blocks };

// The row converters of one input format, as the table holds them now.
struct RowConverters {
    obxRgbRowPlanar_fn* planarFull;
    obxRgbRowPlanar_fn* planarPairs;
    obxRgbRowLuma_fn* luma;
    obxRgbRowInterleaved_fn* interleavedFull;
    obxRgbRowInterleaved_fn* interleavedPairs;
};

template <class Format>
RowConverters currentRows();
template <>
RowConverters currentRows<Rgb565In>() {
    return {rgb5652yuvp_, rgb5652yyuvp_, rgb5652y_, rgb5652yuv_, rgb5652yyuv_};
}
template <>
RowConverters currentRows<Rgb888In>() {
    return {rgb8882yuvp_, rgb8882yyuvp_, rgb8882y_, rgb8882yuv_, rgb8882yyuv_};
}
template <>
RowConverters currentRows<Rgba8888In>() {
    return {rgba88882yuvp_, rgba88882yyuvp_, rgba88882y_, rgba88882yuv_, rgba88882yyuv_};
}

// Walks the image: `withChroma(srcRow, yRow, chromaRow)` converts every row
// of 444 and 422, and the first row of each 420 pair, whose second row gets
// luma only. 420 advances two rows per pass while the row counter is below
// the height, so an odd height also converts row `height`.
template <Sampling S, class ChromaRow>
void forEachRow(const uint8_t* src, uint32_t width, uint32_t height, size_t srcStride, uint8_t* dstY,
                size_t dstYStride, obxRgbRowLuma_fn* luma, ChromaRow withChroma) {
    const uint32_t step = S == Sampling::Blocks ? 2 : 1;
    size_t chromaRow = 0;
    for (uint32_t y = 0; y < height; y += step, ++chromaRow) {
        const uint8_t* s = src + y * srcStride;
        uint8_t* d = dstY + y * dstYStride;
        withChroma(s, d, chromaRow);
        if (S == Sampling::Blocks) luma(s + srcStride, d + dstYStride, width);
    }
}

template <class Format, Sampling S>
void toPlanar(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dstY,
              uint8_t* dstCb, uint8_t* dstCr, uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride) {
    const uint32_t packedChroma = S == Sampling::Full ? width : width >> 1;
    const size_t cbStride = dstCbStride ? dstCbStride : packedChroma;
    const size_t crStride = dstCrStride ? dstCrStride : packedChroma;
    const RowConverters rows = currentRows<Format>();
    obxRgbRowPlanar_fn* const row = S == Sampling::Full ? rows.planarFull : rows.planarPairs;
    forEachRow<S>(src, width, height, srcStride ? srcStride : width * Format::kBytes, dstY,
                  dstYStride ? dstYStride : width, rows.luma,
                  [&](const uint8_t* s, uint8_t* y, size_t c) {
                      row(s, y, dstCb + c * cbStride, dstCr + c * crStride, width);
                  });
}

template <class Format, Sampling S>
void toPseudoPlanar(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride, uint8_t* dstY,
                    uint8_t* dstC, uint32_t dstYStride, uint32_t dstCStride) {
    const size_t cStride = dstCStride ? dstCStride : S == Sampling::Full ? width * 2 : width;
    const RowConverters rows = currentRows<Format>();
    obxRgbRowInterleaved_fn* const row = S == Sampling::Full ? rows.interleavedFull : rows.interleavedPairs;
    forEachRow<S>(src, width, height, srcStride ? srcStride : width * Format::kBytes, dstY,
                  dstYStride ? dstYStride : width, rows.luma,
                  [&](const uint8_t* s, uint8_t* y, size_t c) { row(s, y, dstC + c * cStride, width); });
}

}  // namespace

#define OMBRIX_PLANAR_ARGS                                                                               \
    const uint8_t *src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t *dstY,        \
        uint8_t *dstCb, uint8_t *dstCr, uint32_t dstYStride, uint32_t dstCbStride, uint32_t dstCrStride
#define OMBRIX_PSEUDO_PLANAR_ARGS                                                                        \
    const uint8_t *src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride, uint8_t *dstY,        \
        uint8_t *dstC, uint32_t dstYStride, uint32_t dstCStride
#define OMBRIX_PLANAR_PASS src, srcWidth, srcHeight, srcStride, dstY, dstCb, dstCr, dstYStride, dstCbStride, dstCrStride
#define OMBRIX_PSEUDO_PLANAR_PASS src, srcWidth, srcHeight, srcStride, dstY, dstC, dstYStride, dstCStride

// The six layouts of one input format of `bpp` bytes per pixel. The contract
// texts differ between 444 and 422/420 in their spacing as well as in the
// chroma terms; both are part of the interface.
#define OMBRIX_RGB_TO_YCBCR(name, Format, bpp)                                                          \
    void obxColor##name##ToYCbCr444Planaru8C(OMBRIX_PLANAR_ARGS) {                                      \
        OMBRIX_ASSERT(src && dstY && dstCb && dstCr && srcWidth && srcHeight && ( srcStride == 0 || srcStride >= (srcWidth*bpp) ) && ( dstYStride == 0 || dstYStride >= srcWidth ) && ( dstCbStride == 0 || dstCbStride >= srcWidth ) && ( dstCrStride == 0 || dstCrStride >= srcWidth )); \
        toPlanar<Format, Sampling::Full>(OMBRIX_PLANAR_PASS);                                            \
    }                                                                                                   \
    void obxColor##name##ToYCbCr422Planaru8C(OMBRIX_PLANAR_ARGS) {                                      \
        OMBRIX_ASSERT(src && dstY && dstCb && dstCr && srcWidth && srcHeight && ( srcStride == 0 || srcStride >= (srcWidth*bpp)) && ( dstYStride == 0 || dstYStride >= srcWidth ) && ( dstCbStride == 0 || dstCbStride >= ((srcWidth+1)/2) ) && ( dstCrStride == 0 || dstCrStride >= ((srcWidth+1)/2) )); \
        toPlanar<Format, Sampling::Pairs>(OMBRIX_PLANAR_PASS);                                           \
    }                                                                                                   \
    void obxColor##name##ToYCbCr420Planaru8C(OMBRIX_PLANAR_ARGS) {                                      \
        OMBRIX_ASSERT(src && dstY && dstCb && dstCr && srcWidth && srcHeight && ( srcStride == 0 || srcStride >= (srcWidth*bpp)) && ( dstYStride == 0 || dstYStride >= srcWidth ) && ( dstCbStride == 0 || dstCbStride >= ((srcWidth+1)/2) ) && ( dstCrStride == 0 || dstCrStride >= ((srcWidth+1)/2) )); \
        toPlanar<Format, Sampling::Blocks>(OMBRIX_PLANAR_PASS);                                          \
    }                                                                                                   \
    void obxColor##name##ToYCbCr444PseudoPlanaru8C(OMBRIX_PSEUDO_PLANAR_ARGS) {                         \
        OMBRIX_ASSERT(src && dstY && dstC && srcWidth && srcHeight && ( srcStride == 0 || srcStride >= (srcWidth*bpp) ) && ( dstYStride == 0 || dstYStride >= srcWidth ) && ( dstCStride == 0 || dstCStride >= (srcWidth*2) )); \
        toPseudoPlanar<Format, Sampling::Full>(OMBRIX_PSEUDO_PLANAR_PASS);                               \
    }                                                                                                   \
    void obxColor##name##ToYCbCr422PseudoPlanaru8C(OMBRIX_PSEUDO_PLANAR_ARGS) {                         \
        OMBRIX_ASSERT(src && dstY && dstC && srcWidth && srcHeight && ( srcStride == 0 || srcStride >= (srcWidth*bpp)) && ( dstYStride == 0 || dstYStride >= srcWidth ) && ( dstCStride == 0 || dstCStride >= srcWidth )); \
        toPseudoPlanar<Format, Sampling::Pairs>(OMBRIX_PSEUDO_PLANAR_PASS);                              \
    }                                                                                                   \
    void obxColor##name##ToYCbCr420PseudoPlanaru8C(OMBRIX_PSEUDO_PLANAR_ARGS) {                         \
        OMBRIX_ASSERT(src && dstY && dstC && srcWidth && srcHeight && ( srcStride == 0 || srcStride >= (srcWidth*bpp)) && ( dstYStride == 0 || dstYStride >= srcWidth ) && ( dstCStride == 0 || dstCStride >= srcWidth )); \
        toPseudoPlanar<Format, Sampling::Blocks>(OMBRIX_PSEUDO_PLANAR_PASS);                             \
    }

extern "C" {

OMBRIX_RGB_TO_YCBCR(RGB565, Rgb565In, 2)
OMBRIX_RGB_TO_YCBCR(RGB888, Rgb888In, 3)
OMBRIX_RGB_TO_YCBCR(RGBA8888, Rgba8888In, 4)

// The strides are not part of the contract; 0 selects the packed stride.
void obxColorRGB888toYCrCbu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && dst && srcWidth && srcHeight);
    const size_t packed = static_cast<size_t>(srcWidth) * 3;
    const size_t inStride = srcStride ? srcStride : packed, outStride = dstStride ? dstStride : packed;
    for (uint32_t y = 0; y < srcHeight; ++y) yCrCbRow(src + y * inStride, dst + y * outStride, srcWidth);
}

// The contract compares the source stride with the width in pixels, not in
// bytes; rows still hold three bytes per pixel.
void obxColorRGB888ToGrayu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dst && (dstStride >= srcWidth));
    for (uint32_t y = 0; y < srcHeight; ++y)
        grayRow(src + static_cast<size_t>(y) * srcStride, dst + static_cast<size_t>(y) * dstStride, srcWidth);
}

}  // extern "C"
