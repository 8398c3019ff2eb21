// Reference full-range YCbCr -> RGB conversions: planar and pseudo-planar
// 4:4:4, 4:2:2 and 4:2:0 into RGB565, RGB888 and RGBA8888.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixColorScalar.h"

namespace {

// One chroma sample per pixel, at cb[x * kStep] and cr[x * kStep].
template <typename Format, uint32_t kStep>
void perPixelRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, uint32_t length) {
    for (uint32_t x = 0; x < length; ++x)
        storePixel(Format{}, dst + x * Format::kBytes, ombrix_color::ycbcrToRgb(y[x], cb[x * kStep], cr[x * kStep]));
}

// One chroma sample per two pixels: pairs while at least three pixels
// remain, then the last one or two pixels with the next sample, so with an
// odd length the last pixel has its sample alone.
template <typename Format, uint32_t kStep>
void sharedChromaRow(const uint8_t* y, const uint8_t* cb, const uint8_t* cr, uint8_t* dst, uint32_t length) {
    OMBRIX_ASSERT(length > 1);
    uint32_t x = 0;
    for (; length - x >= 3; x += 2, cb += kStep, cr += kStep) {
        storePixel(Format{}, dst + x * Format::kBytes, ombrix_color::ycbcrToRgb(y[x], *cb, *cr));
        storePixel(Format{}, dst + (x + 1) * Format::kBytes, ombrix_color::ycbcrToRgb(y[x + 1], *cb, *cr));
    }
    storePixel(Format{}, dst + x * Format::kBytes, ombrix_color::ycbcrToRgb(y[x], *cb, *cr));
    if (length - x == 2)
        storePixel(Format{}, dst + (x + 1) * Format::kBytes, ombrix_color::ycbcrToRgb(y[x + 1], *cb, *cr));
}

// Two rows with one row of chroma: each as a row of shared chroma.
template <typename Format, uint32_t kStep>
void sharedChromaTwoRows(const uint8_t* y0, const uint8_t* y1, const uint8_t* cb, const uint8_t* cr, uint8_t* dst0,
                         uint8_t* dst1, uint32_t length) {
    sharedChromaRow<Format, kStep>(y0, cb, cr, dst0, length);
    sharedChromaRow<Format, kStep>(y1, cb, cr, dst1, length);
}

OBX_YCBCR_ROW_CONVERTERS(perPixelRow, sharedChromaRow, sharedChromaTwoRows)

}  // namespace

extern "C" {

#define OBX_REFERENCE_PLANAR(...) OBX_YCBCR_DEFINE_PLANAR(C, __VA_ARGS__)
#define OBX_REFERENCE_PSEUDO_PLANAR(...) OBX_YCBCR_DEFINE_PSEUDO_PLANAR(C, __VA_ARGS__)
OBX_YCBCR_TO_RGB_OPERATIONS(OBX_REFERENCE_PLANAR, OBX_REFERENCE_PSEUDO_PLANAR)
#undef OBX_REFERENCE_PLANAR
#undef OBX_REFERENCE_PSEUDO_PLANAR

}  // extern "C"
