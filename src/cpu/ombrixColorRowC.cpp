// Reference row converters from packed RGB to YCbCr: one row of `width`
// pixels into Y and chroma rows. The public conversions reach them through
// their table slots.
#include "ombrixColorRgbRows.h"
#include "ombrixKernels.h"

namespace {

using namespace ombrix_color;

template <class Format>
void planarFull(const uint8_t* src, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t width) {
    fullChromaRow<Format>(src, dstY, dstCb, dstCr, 1, width);
}
template <class Format>
void planarPairs(const uint8_t* src, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t width) {
    pairChromaRow<Format>(src, dstY, dstCb, dstCr, 1, width);
}
template <class Format>
void lumaOnly(const uint8_t* src, uint8_t* dstY, uint32_t width) {
    lumaRow<Format>(src, dstY, width);
}
template <class Format>
void interleavedFull(const uint8_t* src, uint8_t* dstY, uint8_t* dstC, uint32_t width) {
    fullChromaRow<Format>(src, dstY, dstC, dstC + 1, 2, width);
}
template <class Format>
void interleavedPairs(const uint8_t* src, uint8_t* dstY, uint8_t* dstC, uint32_t width) {
    pairChromaRow<Format>(src, dstY, dstC, dstC + 1, 2, width);
}

}  // namespace

extern "C" {

OMBRIX_RGB_ROW_CONVERTERS(rgb5652, C, Rgb565In)
OMBRIX_RGB_ROW_CONVERTERS(rgb8882, C, Rgb888In)
OMBRIX_RGB_ROW_CONVERTERS(rgba88882, C, Rgba8888In)

}  // extern "C"
