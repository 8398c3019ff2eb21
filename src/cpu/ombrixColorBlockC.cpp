// Reference block-layout conversions: luma and chroma stored as 8x8 blocks
// grouped into minimum coded units (MCUs), to packed RGB888, one pixel at a
// time.
#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixColorPixels.h"

extern "C" {

OMBRIX_COLOR_BLOCK_OPERATIONS(C, ombrix_color::mcuToRgb888)

}  // extern "C"
