// Vector FAST9 detection and the vector FAST9 score routine (see
// ombrixFastLanes.h).
#include "ombrixFastLanes.h"

using namespace ombrix_fast;

extern "C" {

void obxCornerFast9u8V(const uint8_t* im, uint32_t xsize, uint32_t ysize, uint32_t stride, int32_t barrier,
                       uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* numcorners) {
    OMBRIX_ASSERT(im && xy && numcorners && (stride == 0 || stride >= xsize) && ( xsize <= 2048 ));
    *numcorners = 0;
    detectRows<9>(im, xsize, ysize, stride, barrier, border, xy, nCornersMax, numcorners, NoMask{});
}

uint32_t fast9_corner_scoreV(const uint8_t* p, const int32_t* pixel, int32_t barrier) {
    return directScore<9>(p, pixel, barrier);
}

}  // extern "C"
