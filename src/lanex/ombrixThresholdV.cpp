// Vector global threshold.
#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixNeon.h"

namespace {

// 255 where pixel >= level, else 0, then masked by `keep` (all 0 when the
// threshold exceeds every pixel value).
inline uint8x16_t binarise(uint8x16_t pixels, uint8x16_t level, uint8x16_t keep) {
    return vandq_u8(vcgeq_u8(pixels, level), keep);
}

}  // namespace

extern "C" {

void obxFilterThresholdu8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                           uint8_t* dst, uint32_t dstStride, uint32_t threshold) {
    OMBRIX_ASSERT(src && dst && dstStride && srcStride && (srcStride >=srcWidth) && (signed)threshold >= 0);
    // A threshold above 255 is beyond every pixel: the comparison result is dropped.
    const uint8_t level = threshold > 255 ? 255 : static_cast<uint8_t>(threshold);
    const uint8_t keep = threshold > 255 ? 0 : 255;
    const uint8x16_t levels = vdupq_n_u8(level), keeps = vdupq_n_u8(keep);
    for (uint32_t y = 0; y < srcHeight; ++y) {
        const uint8_t* in = src + static_cast<size_t>(y) * srcStride;
        uint8_t* out = dst + static_cast<size_t>(y) * dstStride;
        if (srcWidth < 16) {
            for (uint32_t x = 0; x < srcWidth; ++x) out[x] = in[x] >= level ? keep : 0;
            continue;
        }
        uint32_t x = 0;
        for (; x + 64 <= srcWidth; x += 64) {
            const uint8x16_t a = vld1q_u8(in + x), b = vld1q_u8(in + x + 16);
            const uint8x16_t c = vld1q_u8(in + x + 32), d = vld1q_u8(in + x + 48);
            vst1q_u8(out + x, binarise(a, levels, keeps));
            vst1q_u8(out + x + 16, binarise(b, levels, keeps));
            vst1q_u8(out + x + 32, binarise(c, levels, keeps));
            vst1q_u8(out + x + 48, binarise(d, levels, keeps));
        }
        for (; x + 16 <= srcWidth; x += 16) vst1q_u8(out + x, binarise(vld1q_u8(in + x), levels, keeps));
        // The last group may overlap the previous one; it writes the same values again.
        if (x < srcWidth)
            vst1q_u8(out + srcWidth - 16, binarise(vld1q_u8(in + srcWidth - 16), levels, keeps));
    }
}

}  // extern "C"
