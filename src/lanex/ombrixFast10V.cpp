// Vector FAST10 detection, masked and unmasked, and the vector FAST10 score
// routine (see ombrixFastLanes.h).
#include "ombrixFastLanes.h"

using namespace ombrix_fast;

extern "C" {

void obxCornerFast10u8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                        int32_t barrier, uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* nCorners) {
    OMBRIX_ASSERT(src && xy && nCorners && (srcStride == 0 || srcStride >= srcWidth) && ( srcWidth <= 2048 ));
    *nCorners = 0;
    detectRows<10>(src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners, NoMask{});
}

void obxCornerFast10InMasku8V(const uint8_t* src, uint32_t srcWidth, uint32_t srcHeight, uint32_t srcStride,
                              int32_t barrier, uint32_t border, uint32_t* xy, uint32_t nCornersMax,
                              uint32_t* nCorners, const uint8_t* mask, uint32_t maskWidth, uint32_t maskHeight) {
    OMBRIX_ASSERT(src && xy && nCorners && mask && (srcStride == 0 || srcStride >= srcWidth) && ( srcWidth <= 2048 ));
    *nCorners = 0;
    MaskMap map;
    if (!mapMask(mask, maskWidth, maskHeight, srcWidth, srcHeight, &map)) return;
    detectRows<10>(src, srcWidth, srcHeight, srcStride, barrier, border, xy, nCornersMax, nCorners, map);
}

uint32_t fast10_corner_scoreV(const uint8_t* p, const int32_t* pixel, int32_t barrier) {
    return directScore<10>(p, pixel, barrier);
}

}  // extern "C"
