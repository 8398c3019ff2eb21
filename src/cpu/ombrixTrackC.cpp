// Reference block-matching optical flow and its 16x16 block kernels.
#include <algorithm>
#include <cstdlib>

#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixKernels.h"

uint32_t calculateBlockSum16x16C(const uint8_t* block, uint32_t stride) {
    uint32_t sum = 0;
    for (uint32_t y = 0; y < 16; ++y, block += stride)
        for (uint32_t x = 0; x < 16; ++x) sum += block[x];
    return sum;
}

uint32_t calculateBlockSAD_ZeroMean16x16C(const uint8_t* a, uint32_t aStride, const uint8_t* b, uint32_t bStride) {
    const int32_t meanDifference = static_cast<int32_t>(calculateBlockSum16x16_(b, bStride) >> 8) -
                                   static_cast<int32_t>(calculateBlockSum16x16_(a, aStride) >> 8);
    uint32_t sum = 0;
    for (uint32_t y = 0; y < 16; ++y, a += aStride, b += bStride)
        for (uint32_t x = 0; x < 16; ++x) sum += std::abs(b[x] - a[x] - meanDifference);
    return sum;
}

namespace {

// The best match so far and the largest SAD seen, updated in scan order with
// a strict comparison so that the first minimum wins.
struct Match {
    uint32_t best, bestX, bestY, worst;
    void consider(uint32_t sad, uint32_t x, uint32_t y) {
        if (sad < best) best = sad, bestX = x, bestY = y;
        worst = std::max(worst, sad);
    }
};

// Candidate positions from `first` while <= `last`, in `step`s. Coordinates
// are unsigned: a start that wrapped below zero exceeds `last`, so nothing
// near the top or left edge is searched.
template <typename Visit>
void scanRange(uint32_t first, uint32_t last, uint32_t step, Visit visit) {
    for (uint32_t v = first; v <= last; v += step) {
        visit(v);
        if (last - v < step) break;  // the next step would pass `last` (or wrap)
    }
}

}  // namespace

void obxTrackBMOpticalFlow16x16u8C(const uint8_t* src1, const uint8_t* src2, uint32_t srcWidth, uint32_t srcHeight,
                                   uint32_t srcStride, uint32_t roiLeft, uint32_t roiTop, uint32_t roiRight,
                                   uint32_t roiBottom, uint32_t shiftSize, uint32_t searchWidth,
                                   uint32_t searchHeight, uint32_t searchStep, uint32_t reserved, uint32_t* numMv,
                                   uint32_t* locX, uint32_t* locY, uint32_t* mvX, uint32_t* mvY) {
    (void)reserved;
    OMBRIX_ASSERT(src1 && src2 && numMv && locX && locY && mvX && mvY);
    *numMv = 0;
    if (srcWidth < 16 || srcHeight < 16 || srcStride < srcWidth || roiRight > srcWidth || roiBottom > srcHeight ||
        roiRight - roiLeft < 16 || roiBottom - roiTop < 16 || shiftSize == 0 || searchStep == 0)
        return;
    const uint32_t lastX = srcWidth - 16, lastY = srcHeight - 16;
    const uint32_t gridLastX = std::min((roiRight + shiftSize - 1) / shiftSize * shiftSize, lastX);
    const uint32_t gridLastY = std::min((roiBottom + shiftSize - 1) / shiftSize * shiftSize, lastY);
    uint32_t count = 0;
    scanRange(roiTop - roiTop % shiftSize, gridLastY, shiftSize, [&](uint32_t y) {
        scanRange(roiLeft - roiLeft % shiftSize, gridLastX, shiftSize, [&](uint32_t x) {
            const uint8_t* const block = src1 + y * srcStride + x;
            const auto sadAt = [&](uint32_t u, uint32_t v) {
                return obxSumOfAbsoluteDiff16x16u8_(block, srcStride, src2 + v * srcStride + u, srcStride);
            };
            // Blocks that only changed in brightness, or are too dark, are not matched.
            const uint32_t sum = calculateBlockSum16x16_(block, srcStride);
            const uint32_t zeroMean =
                calculateBlockSAD_ZeroMean16x16_(block, srcStride, src2 + y * srcStride + x, srcStride);
            if (zeroMean < 1280 + sum * 8 / 100 || sum < 5120) return;
            Match match{sadAt(x, y), x, y, 0};
            const auto searchAround = [&](uint32_t cx, uint32_t cy, uint32_t rangeX, uint32_t rangeY, uint32_t step) {
                scanRange(cy - rangeY, std::min(cy + rangeY, lastY), step, [&](uint32_t v) {
                    scanRange(cx - rangeX, std::min(cx + rangeX, lastX), step,
                              [&](uint32_t u) { match.consider(sadAt(u, v), u, v); });
                });
            };
            searchAround(x, y, searchWidth, searchHeight, searchStep);
            if (searchStep >= 2) searchAround(match.bestX, match.bestY, 1, 1, 1);
            if (match.bestX == x && match.bestY == y) return;
            if (static_cast<float>(match.best) < 0.5f * static_cast<float>(sum) && match.best < (match.worst >> 1)) {
                locX[count] = x, locY[count] = y, mvX[count] = match.bestX, mvY[count] = match.bestY;
                ++count;
            }
        });
    });
    *numMv = count;
}
