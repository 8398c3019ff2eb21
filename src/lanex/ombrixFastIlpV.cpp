// Vector masked FAST9 detection (see ombrixFastLanes.h).
#include "ombrixFastLanes.h"

using namespace ombrix_fast;

extern "C" {

void obxCornerFast9InMasku8V(const uint8_t* im, uint32_t xsize, uint32_t ysize, uint32_t stride, int32_t barrier,
                             uint32_t border, uint32_t* xy, uint32_t nCornersMax, uint32_t* numcorners,
                             const uint8_t* bitMask, uint32_t maskWidth, uint32_t maskHeight) {
    OMBRIX_ASSERT(im && xy && numcorners && bitMask && (stride == 0 || stride >= xsize) && ( xsize <= 2048 ));
    *numcorners = 0;
    MaskMap mask;
    if (!mapMask(bitMask, maskWidth, maskHeight, xsize, ysize, &mask)) return;
    detectRows<9>(im, xsize, ysize, stride, barrier, border, xy, nCornersMax, numcorners, mask);
}

}  // extern "C"
