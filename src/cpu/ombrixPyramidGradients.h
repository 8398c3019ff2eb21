// The level loop of the gradient pyramids. The reference and the vector
// variants of obxPyramidSobelGradientCreate{i16,i8,f32} are this same loop:
// the work is in the planar Sobel gradients, which it calls through their
// slots, so the mode's choice of gradient implementation holds underneath
// either way. Static, so that the copy compiled with NEON enabled in
// src/lanex/ stays separate from the reference path.
#ifndef OMBRIX_PYRAMID_GRADIENTS_H
#define OMBRIX_PYRAMID_GRADIENTS_H

#include "ombrix.h"

namespace ombrix_pyramid {

// Level sizes are halved from level 0's, rounding down; the later levels of
// imgPyr are only read for their pixels. Gradient rows are packed.
template <typename Out>
static int32_t sobelGradientPyramid(const obxPyramidLevel* imgPyr, obxPyramidLevel* dxPyr, obxPyramidLevel* dyPyr,
                                    uint32_t numLevels,
                                    void (*const* slot)(const uint8_t*, uint32_t, uint32_t, uint32_t, Out*, Out*,
                                                        uint32_t)) {
    uint32_t w = imgPyr[0].width, h = imgPyr[0].height;
    for (uint32_t i = 0; i < numLevels; ++i) {
        dxPyr[i].width = dyPyr[i].width = w;
        dxPyr[i].height = dyPyr[i].height = h;
        if (!dxPyr[i].ptr || !dyPyr[i].ptr) return -1;
        (*slot)(static_cast<const uint8_t*>(imgPyr[i].ptr), w, h, w, static_cast<Out*>(dxPyr[i].ptr),
                static_cast<Out*>(dyPyr[i].ptr), static_cast<uint32_t>(w * sizeof(Out)));
        w >>= 1;
        h >>= 1;
    }
    return 0;
}

}  // namespace ombrix_pyramid

#endif  // OMBRIX_PYRAMID_GRADIENTS_H
