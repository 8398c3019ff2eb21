// Reference global threshold.
#include "ombrix.h"
#include "ombrixAssert.h"

extern "C" {

// Pixels below `threshold` become 0, all others 255; a threshold above 255
// therefore clears the image. Zero width or height writes nothing.
void obxFilterThresholdu8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint8_t* dst, uint32_t dstStride, uint32_t threshold) {
    OMBRIX_ASSERT(src && dst && dstStride && srcStride && (srcStride >=srcWidth) && (signed)threshold >= 0);
    for (uint32_t y = 0; y < srcHeight; ++y) {
        const uint8_t* in = src + static_cast<size_t>(y) * srcStride;
        uint8_t* out = dst + static_cast<size_t>(y) * dstStride;
        for (uint32_t x = 0; x < srcWidth; ++x) out[x] = in[x] < threshold ? 0 : 255;
    }
}

}  // extern "C"
