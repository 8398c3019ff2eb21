// Reference camera-preview conversions: video-range 4:2:0 to RGBA8888 and to
// RGB565, the latter also rotated by 180 degrees.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixColorPixels.h"

namespace {

// Four pixels at a time, then one at a time; the grouping does not change
// any value.
void rgb8888Row(const uint8_t* luma, const uint8_t* crcb, uint32_t* out, uint32_t width) {
    uint32_t x = 0;
    for (; x + 3 < width; x += 4) ombrix_color::crcbRowToRgb8888(luma, crcb, out, x, x + 4);
    ombrix_color::crcbRowToRgb8888(luma, crcb, out, x, width);
}

void rgb565Row(const uint8_t* luma, const uint8_t* cbcr, uint8_t* out, uint32_t width, bool rotated) {
    ombrix_color::cbcrRowToRgb565(luma, cbcr, out, width, rotated, 0, width);
}

}  // namespace

extern "C" {

OMBRIX_COLOR_PREVIEW_OPERATIONS(C, rgb8888Row, rgb565Row)

}  // extern "C"
