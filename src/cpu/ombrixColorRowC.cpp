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
void interleavedFull(const uint8_t* src, uint8_t* dstY, uint8_t* dstC, uint32_t width) {
    fullChromaRow<Format>(src, dstY, dstC, dstC + 1, 2, width);
}
template <class Format>
void interleavedPairs(const uint8_t* src, uint8_t* dstY, uint8_t* dstC, uint32_t width) {
    pairChromaRow<Format>(src, dstY, dstC, dstC + 1, 2, width);
}

}  // namespace

// The five converters of one input format.
#define OMBRIX_RGB_ROW_CONVERTERS(prefix, Format)                                                    \
    void prefix##yuvpC(const uint8_t* src, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t width) { \
        planarFull<Format>(src, dstY, dstCb, dstCr, width);                                          \
    }                                                                                                \
    void prefix##yyuvpC(const uint8_t* src, uint8_t* dstY, uint8_t* dstCb, uint8_t* dstCr, uint32_t width) { \
        planarPairs<Format>(src, dstY, dstCb, dstCr, width);                                         \
    }                                                                                                \
    void prefix##yC(const uint8_t* src, uint8_t* dstY, uint32_t width) { lumaRow<Format>(src, dstY, width); } \
    void prefix##yuvC(const uint8_t* src, uint8_t* dstY, uint8_t* dstC, uint32_t width) {            \
        interleavedFull<Format>(src, dstY, dstC, width);                                             \
    }                                                                                                \
    void prefix##yyuvC(const uint8_t* src, uint8_t* dstY, uint8_t* dstC, uint32_t width) {           \
        interleavedPairs<Format>(src, dstY, dstC, width);                                            \
    }

extern "C" {

OMBRIX_RGB_ROW_CONVERTERS(rgb5652, Rgb565In)
OMBRIX_RGB_ROW_CONVERTERS(rgb8882, Rgb888In)
OMBRIX_RGB_ROW_CONVERTERS(rgba88882, Rgba8888In)

}  // extern "C"
