// Reference block-matching optical flow and its 16x16 block kernels, and the
// pyramidal Lucas-Kanade tracker with its gradient kernel.
#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "ombrix.h"
#include "ombrixAssert.h"
#include "ombrixKernels.h"
#include "ombrixTrackScalar.h"

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

// ---- Lucas-Kanade optical flow ---------------------------------------------------

void calcIxIy_32fC(const float32_t* src, uint32_t srcStride, uint32_t width, uint32_t height, float32_t* dx,
                   float32_t* dy, uint32_t dstStride) {
    for (uint32_t y = 0; y < height; ++y) {
        const auto* row = reinterpret_cast<const float32_t*>(reinterpret_cast<const uint8_t*>(src) + y * srcStride);
        const auto* above = reinterpret_cast<const float32_t*>(reinterpret_cast<const uint8_t*>(row) - srcStride);
        const auto* below = reinterpret_cast<const float32_t*>(reinterpret_cast<const uint8_t*>(row) + srcStride);
        ombrix_track::scharrRow(above, row, below, 0, width, reinterpret_cast<float32_t*>(
                                    reinterpret_cast<uint8_t*>(dx) + y * dstStride),
                                reinterpret_cast<float32_t*>(reinterpret_cast<uint8_t*>(dy) + y * dstStride));
    }
}

namespace {

constexpr int32_t kTracked = 1;
constexpr int32_t kSingular = -2;
constexpr int32_t kLost = -4;

// What the tracker keeps per level in its working area: three 32-bit words.
// The level images themselves are read from the pyramids when needed.
struct LevelInfo {
    float32_t scale;
    uint32_t width, height;
};
static_assert(sizeof(LevelInfo) == 12, "three words per level");

// floor(v) as an integer; false for values too large to address a pixel
// (and for NaN), which the caller treats as leaving the image.
bool floorToInt(float32_t v, int64_t& out) {
    if (!(v > -1073741824.0f && v < 1073741824.0f)) return false;
    out = static_cast<int64_t>(std::floor(v));
    return true;
}

// Bilinear interpolation at a fractional offset (ax, ay) from a pixel, in
// float32: weights formed once, the four products summed in raster order.
struct Bilinear {
    float32_t w00, w01, w10, w11;
    Bilinear(float32_t ax, float32_t ay)
        : w00((1.0f - ax) * (1.0f - ay)), w01(ax * (1.0f - ay)), w10((1.0f - ax) * ay), w11(ax * ay) {}
    float32_t at(const uint8_t* p, uint32_t stride) const {
        return w00 * static_cast<float32_t>(p[0]) + w01 * static_cast<float32_t>(p[1]) +
               w10 * static_cast<float32_t>(p[stride]) + w11 * static_cast<float32_t>(p[stride + 1]);
    }
};

// The window of one feature at one level: offsets x0..x1, y0..y1 from the
// feature's pixel, clipped so that the bordered first-image patch (one more
// pixel on each side, plus the bilinear neighbour) lies inside the level.
struct Window {
    int64_t x0, x1, y0, y1;
    uint32_t cols() const { return static_cast<uint32_t>(x1 - x0 + 1); }
    uint32_t rows() const { return static_cast<uint32_t>(y1 - y0 + 1); }
};

// Tracks every feature whose status is still 1 through one level. Returns
// nothing; positions and statuses are written per feature.
void trackLevel(const uint8_t* img1, const uint8_t* img2, const LevelInfo& level, bool coarsest,
                const float32_t* featureXY, float32_t* featureXY_out, int32_t* featureStatus, int32_t numFeatures,
                int32_t hw, int32_t hh, int32_t maxIterations, float32_t* Ix, float32_t* Iy, float32_t* I,
                float32_t* patch) {
    const int64_t w = level.width, h = level.height;
    for (int32_t i = 0; i < numFeatures; ++i) {
        if (featureStatus[i] != kTracked) continue;
        float32_t* const out = featureXY_out + 2 * i;
        float32_t ex = coarsest ? out[0] * level.scale : out[0] * 2.0f;
        float32_t ey = coarsest ? out[1] * level.scale : out[1] * 2.0f;
        const float32_t px = featureXY[2 * i] * level.scale, py = featureXY[2 * i + 1] * level.scale;

        // The first image's window, clipped to the level.
        int64_t ix, iy;
        if (!floorToInt(px, ix) || !floorToInt(py, iy)) {
            featureStatus[i] = kLost;
            continue;
        }
        const Window win{std::max<int64_t>(-hw, 1 - ix), std::min<int64_t>(hw, w - 3 - ix),
                         std::max<int64_t>(-hh, 1 - iy), std::min<int64_t>(hh, h - 3 - iy)};
        if (win.x1 - win.x0 + 1 < 3 || win.y1 - win.y0 + 1 < 3) {
            featureStatus[i] = kLost;
            continue;
        }
        const uint32_t cols = win.cols(), rows = win.rows(), patchCols = cols + 2;

        // Bordered patch of the first image, its inner part as the window's
        // intensities, and the gradients through the kernel slot.
        const Bilinear first(px - static_cast<float32_t>(ix), py - static_cast<float32_t>(iy));
        for (uint32_t r = 0; r < rows + 2; ++r) {
            const uint8_t* src = img1 + static_cast<size_t>(iy + win.y0 - 1 + r) * level.width + (ix + win.x0 - 1);
            for (uint32_t c = 0; c < patchCols; ++c) patch[r * patchCols + c] = first.at(src + c, level.width);
        }
        for (uint32_t r = 0; r < rows; ++r)
            for (uint32_t c = 0; c < cols; ++c) I[r * cols + c] = patch[(r + 1) * patchCols + c + 1];
        calcIxIy_32f_(patch + patchCols + 1, patchCols * 4, cols, rows, Ix, Iy, cols * 4);

        // The gradient matrix, once per feature and level.
        float32_t gxx = 0, gxy = 0, gyy = 0;
        const uint32_t area = cols * rows;
        for (uint32_t k = 0; k < area; ++k) {
            gxx += Ix[k] * Ix[k];
            gxy += Ix[k] * Iy[k];
            gyy += Iy[k] * Iy[k];
        }
        const float32_t det = gxx * gyy - gxy * gxy;
        if (static_cast<double>(det) < 1e-7) {
            featureStatus[i] = kSingular;
            continue;
        }
        const float32_t invDet = 1.0f / det;

        int32_t status = kTracked;
        float32_t prevDx = 0, prevDy = 0;
        for (int32_t k = 0;; ++k) {
            // The second image's window at the estimate, bilinear, without border.
            int64_t jx, jy;
            if (!floorToInt(ex, jx) || !floorToInt(ey, jy) || jx + win.x0 < 0 || jx + win.x1 + 1 > w - 1 ||
                jy + win.y0 < 0 || jy + win.y1 + 1 > h - 1) {
                status = kLost;
                break;
            }
            const Bilinear second(ex - static_cast<float32_t>(jx), ey - static_cast<float32_t>(jy));
            float32_t bx = 0, by = 0;
            for (uint32_t r = 0; r < rows; ++r) {
                const uint8_t* src = img2 + static_cast<size_t>(jy + win.y0 + r) * level.width + (jx + win.x0);
                for (uint32_t c = 0; c < cols; ++c) {
                    const uint32_t at = r * cols + c;
                    const float32_t diff = I[at] - second.at(src + c, level.width);
                    bx += diff * Ix[at];
                    by += diff * Iy[at];
                }
            }
            const float32_t dx = invDet * (gyy * bx - gxy * by);
            const float32_t dy = invDet * (gxx * by - gxy * bx);
            ex += dx;
            ey += dy;
            if (dx * dx + dy * dy < 0.0009) break;
            if (k >= 1 && std::fabs(dx + prevDx) < 0.01 && std::fabs(dy + prevDy) < 0.01) {
                // Oscillating between two positions: settle half-way.
                ex -= dx * 0.5f;
                ey -= dy * 0.5f;
                break;
            }
            if (k + 1 >= maxIterations) break;
            prevDx = dx;
            prevDy = dy;
        }
        out[0] = ex;
        out[1] = ey;
        featureStatus[i] = status;
    }
}

// The pyramidal tracker over a caller-provided working area of scratchSize
// bytes. Bad window sizes, null pointers, no features, a negative level
// count or a short working area return without writing anything.
void lkOpticalFlow(const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                   const obxPyramidLevel* src1Pyr, const obxPyramidLevel* src2Pyr, const float32_t* featureXY,
                   float32_t* featureXY_out, int32_t* featureStatus, int32_t numFeatures, int32_t hw, int32_t hh,
                   int32_t maxIterations, int32_t numLevels, void* scratch, uint32_t scratchSize) {
    if (hw < 2 || hh < 2) return;
    if (!src1 || !src2 || !src1Pyr || !src2Pyr || !featureXY || !featureXY_out || !featureStatus || !scratch) return;
    if (numFeatures < 1 || numLevels < 0) return;
    const uint64_t windowArea = uint64_t(2 * hh + 1) * uint64_t(2 * hw + 1);
    const uint64_t patchArea = uint64_t(2 * hh + 3) * uint64_t(2 * hw + 3);
    if (scratchSize < (patchArea + windowArea * 3) * 4 + 12 * uint64_t(numLevels)) return;
    for (int32_t l = 1; l < numLevels; ++l)
        if (!src1Pyr[l].ptr || !src2Pyr[l].ptr) return;

    float32_t* const Ix = static_cast<float32_t*>(scratch);
    float32_t* const Iy = Ix + windowArea;
    float32_t* const I = Iy + windowArea;
    float32_t* const patch = I + windowArea;
    LevelInfo* const levels = reinterpret_cast<LevelInfo*>(patch + patchArea);
    float32_t scale = 1.0f;
    for (int32_t l = 0; l < numLevels; ++l, scale *= 0.5f) {
        levels[l].scale = scale;
        levels[l].width = l == 0 ? width : std::min(src1Pyr[l].width, src2Pyr[l].width);
        levels[l].height = l == 0 ? height : std::min(src1Pyr[l].height, src2Pyr[l].height);
    }

    std::fill(featureStatus, featureStatus + numFeatures, kTracked);
    for (int32_t l = numLevels - 1; l >= 0; --l) {
        const uint8_t* img1 = l == 0 ? src1 : static_cast<const uint8_t*>(src1Pyr[l].ptr);
        const uint8_t* img2 = l == 0 ? src2 : static_cast<const uint8_t*>(src2Pyr[l].ptr);
        trackLevel(img1, img2, levels[l], l == numLevels - 1, featureXY, featureXY_out, featureStatus, numFeatures,
                   hw, hh, maxIterations, Ix, Iy, I, patch);
    }
}

}  // namespace

void obxTrackLKOpticalFlowf32C(const uint8_t* src1, const uint8_t* src2, uint32_t width, uint32_t height,
                               const obxPyramidLevel* src1Pyr, const obxPyramidLevel* src2Pyr,
                               const obxPyramidLevel* dxPyr, const obxPyramidLevel* dyPyr, const float32_t* featureXY,
                               float32_t* featureXY_out, int32_t* featureStatus, int32_t numFeatures,
                               int32_t windowWidth, int32_t windowHeight, int32_t maxIterations, int32_t numLevels) {
    (void)dxPyr;
    (void)dyPyr;
    OMBRIX_ASSERT(src1 && src2 && src1Pyr && src2Pyr && featureXY && featureXY_out && (sizeof(*featureXY_out) == sizeof(float)) && (sizeof(*featureXY) == sizeof(float)) && featureStatus);
    // Three window arrays, the bordered patch and three words per level. The
    // tracker sizes the window as 2 * (size / 2) + 1, so an even size leaves
    // this area short and the tracker declines it.
    const int64_t W = windowWidth, H = windowHeight, L = numLevels;
    const int64_t bytes = (W * H * 3 + (H + 2) * (W + 2) + L * 3) * 4;
    const bool sane = W >= 0 && W <= 65535 && H >= 0 && H <= 65535 && L >= 0 && L <= 65535 && bytes <= UINT32_MAX;
    void* scratch = sane ? obxMemAlloc(static_cast<uint32_t>(bytes), 16) : nullptr;
    for (int32_t k = 0; k < 2 * numFeatures; ++k) featureXY_out[k] = featureXY[k];
    lkOpticalFlow(src1, src2, width, height, src1Pyr, src2Pyr, featureXY, featureXY_out, featureStatus, numFeatures,
                  windowWidth / 2, windowHeight / 2, maxIterations, numLevels, scratch, sane ? uint32_t(bytes) : 0);
    obxMemFree(scratch);
}
