// Reference 3x3 dilation and erosion.
#include "ombrix.h"
#include "ombrixAssert.h"

namespace {

struct Maximum {
    static uint8_t pick(uint8_t a, uint8_t b) { return a > b ? a : b; }
};
struct Minimum {
    static uint8_t pick(uint8_t a, uint8_t b) { return a < b ? a : b; }
};

// Every output pixel, border included, is Pick over the pixels of its 3x3
// neighbourhood that lie inside the image: 9 in the interior, 6 along an
// edge, 4 at a corner (fewer when the image is 1 or 2 pixels wide or high).
template <typename Pick>
void neighbourhoodExtreme3x3(const uint8_t* src, uint32_t width, uint32_t height, uint32_t srcStride,
                             uint8_t* dst, uint32_t dstStride) {
    for (uint32_t y = 0; y < height; ++y) {
        const uint32_t top = y > 0 ? y - 1 : 0, bottom = y + 1 < height ? y + 1 : y;
        uint8_t* out = dst + static_cast<size_t>(y) * dstStride;
        for (uint32_t x = 0; x < width; ++x) {
            const uint32_t left = x > 0 ? x - 1 : 0, right = x + 1 < width ? x + 1 : x;
            uint8_t extreme = src[static_cast<size_t>(y) * srcStride + x];
            for (uint32_t ny = top; ny <= bottom; ++ny)
                for (uint32_t nx = left; nx <= right; ++nx)
                    extreme = Pick::pick(extreme, src[static_cast<size_t>(ny) * srcStride + nx]);
            out[x] = extreme;
        }
    }
}

}  // namespace

extern "C" {

void obxFilterDilate3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dst && (dstStride >= srcWidth));
    neighbourhoodExtreme3x3<Maximum>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

void obxFilterErode3x3u8C(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                          uint8_t* dst, uint32_t dstStride) {
    OMBRIX_ASSERT(src && srcWidth && srcHeight && (srcStride >= srcWidth) && dst && (dstStride >= srcWidth));
    neighbourhoodExtreme3x3<Minimum>(src, srcWidth, srcHeight, srcStride, dst, dstStride);
}

}  // extern "C"
