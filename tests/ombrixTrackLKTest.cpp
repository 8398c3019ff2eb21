// Lucas-Kanade tracking: the Scharr gradient kernel on hand-checked patches
// and, vector against reference, on random patches of many shapes; the
// tracker on known sub-pixel shifts of a smooth procedural texture through
// pyramids, on identical frames, flat regions, borders and windows it
// declines; and its assertion text.
#include <cmath>
#include <cstring>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

struct GradientVariant {
    const char* name;
    calcIxIy_32f_fn* kernel;
};
const GradientVariant kGradientVariants[] = {{"reference", calcIxIy_32fC}, {"vector", calcIxIy_32fV}};
std::string variantName(const ::testing::TestParamInfo<GradientVariant>& info) { return info.param.name; }

class LKGradients : public ::testing::TestWithParam<GradientVariant> {};

// A bordered 7x5 patch (inner 5x3) from a formula; the kernel's gradients.
struct PatchResult {
    std::vector<float> dx, dy;
};
PatchResult gradientsOf(calcIxIy_32f_fn* kernel, const std::function<float(int, int)>& p) {
    std::vector<float> patch(7 * 5);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 7; ++x) patch[y * 7 + x] = p(x - 1, y - 1);
    PatchResult r{std::vector<float>(15, -1.0f), std::vector<float>(15, -1.0f)};
    kernel(patch.data() + 8, 7 * 4, 5, 3, r.dx.data(), r.dy.data(), 5 * 4);
    return r;
}

TEST_P(LKGradients, HandCheckedPatches) {
    calcIxIy_32f_fn* kernel = GetParam().kernel;
    // A plane a*x + b*y: the normalised kernel gives a and b exactly.
    const PatchResult plane = gradientsOf(kernel, [](int x, int y) { return 3.0f * x - 0.5f * y + 100.0f; });
    for (int i = 0; i < 15; ++i) {
        EXPECT_EQ(plane.dx[i], 3.0f) << i;
        EXPECT_EQ(plane.dy[i], -0.5f) << i;
    }
    // An impulse of 32 at inner (2, 1): weights 3 and 10, signs by side.
    const PatchResult impulse = gradientsOf(kernel, [](int x, int y) { return x == 2 && y == 1 ? 32.0f : 0.0f; });
    const float expectDx[15] = {0, 3, 0, -3, 0, 0, 10, 0, -10, 0, 0, 3, 0, -3, 0};
    const float expectDy[15] = {0, 3, 10, 3, 0, 0, 0, 0, 0, 0, 0, -3, -10, -3, 0};
    for (int i = 0; i < 15; ++i) {
        EXPECT_EQ(impulse.dx[i], expectDx[i]) << i;
        EXPECT_EQ(impulse.dy[i], expectDy[i]) << i;
    }
    // Products and sums round in the written order: 3/32 * a + 10/32 * b,
    // then + 3/32 * c. Summing the outer terms first, or a + c before
    // scaling, gives 0x1.8774aap+3 instead.
    const auto column = [](int x, int y) {
        return x != 1 ? 0.0f : y == -1 ? 0x1.8a4p+5f : y == 0 ? 0x1.78d556p+1f : y == 1 ? 0x1.1d9p+6f : 0.0f;
    };
    EXPECT_EQ(gradientsOf(kernel, column).dx[0], 0x1.8774acp+3f);
    EXPECT_EQ(gradientsOf(kernel, [&](int x, int y) { return column(y, x); }).dy[0], 0x1.8774acp+3f);
}

TEST(LKGradients, VectorMatchesReferenceOnRandomPatches) {
    std::mt19937 rng(11);
    std::uniform_real_distribution<float> value(0.0f, 255.0f);
    for (const ImageGeometry& g : comparisonGeometries(1, 1, 23, 60)) {
        SCOPED_TRACE(::testing::Message() << g);
        // Rows of width + 2 (+ padding) floats; misalignment in whole floats.
        const uint32_t srcStride = (g.width + 2 + g.srcPadding) * 4, dstStride = (g.width + g.dstPadding) * 4;
        GuardedImage<float> src(g.width + 2, g.height + 2, srcStride, g.srcOffset & ~size_t{3});
        for (uint32_t y = 0; y < g.height + 2; ++y)
            for (uint32_t x = 0; x < g.width + 2; ++x)
                src.at(x, y) = rng() % 4 ? value(rng) : static_cast<float>(rng() % 256);
        const size_t dstOffset = g.dstOffset & ~size_t{3};
        GuardedImage<float> dxRef(g.width, g.height, dstStride, dstOffset), dyRef(g.width, g.height, dstStride, dstOffset);
        GuardedImage<float> dxVec(g.width, g.height, dstStride, dstOffset), dyVec(g.width, g.height, dstStride, dstOffset);
        const float* inner = src.row(1) + 1;
        calcIxIy_32fC(inner, srcStride, g.width, g.height, dxRef.data(), dyRef.data(), dstStride);
        calcIxIy_32fV(inner, srcStride, g.width, g.height, dxVec.data(), dyVec.data(), dstStride);
        for (uint32_t y = 0; y < g.height; ++y) {
            ASSERT_EQ(memcmp(dxRef.row(y), dxVec.row(y), g.width * 4), 0) << "dx row " << y;
            ASSERT_EQ(memcmp(dyRef.row(y), dyVec.row(y), g.width * 4), 0) << "dy row " << y;
        }
        ASSERT_TRUE(dxVec.guardsIntact() && dyVec.guardsIntact() && src.guardsIntact());
        ASSERT_TRUE(dxRef.guardsIntact() && dyRef.guardsIntact());
    }
}

INSTANTIATE_TEST_SUITE_P(Track, LKGradients, ::testing::ValuesIn(kGradientVariants), variantName);

// ---- The tracker -------------------------------------------------------------------

// A smooth texture of several orientations and wavelengths (8 to 30 pixels),
// sampled at (x - shiftX, y - shiftY) and rounded to 8 bits.
float textureAt(double x, double y) {
    return static_cast<float>(128 + 40 * std::sin(0.31 * x + 0.17 * y) + 30 * std::cos(0.23 * y - 0.19 * x + 1.0) +
                              25 * std::sin(0.11 * x + 0.6) * std::cos(0.27 * y) + 20 * std::sin(0.07 * (x + y)));
}

struct Frames {
    uint32_t width, height, levels;
    std::vector<uint8_t> first, second;
    std::vector<obxPyramidLevel> pyr1, pyr2;

    Frames(uint32_t w, uint32_t h, uint32_t numLevels, double shiftX, double shiftY,
           const std::function<float(double, double)>& texture = textureAt)
        : width(w), height(h), levels(numLevels), first(size_t{w} * h), second(size_t{w} * h), pyr1(numLevels),
          pyr2(numLevels) {
        for (uint32_t y = 0; y < h; ++y)
            for (uint32_t x = 0; x < w; ++x) {
                first[size_t{y} * w + x] = static_cast<uint8_t>(std::lround(std::clamp(texture(x, y), 0.0f, 255.0f)));
                second[size_t{y} * w + x] =
                    static_cast<uint8_t>(std::lround(std::clamp(texture(x - shiftX, y - shiftY), 0.0f, 255.0f)));
            }
        for (auto* p : {&pyr1, &pyr2}) EXPECT_EQ(obxPyramidAllocate_(p->data(), w, h, 1, numLevels, 0), 0);
        EXPECT_EQ(obxPyramidCreateu8_(first.data(), w, h, numLevels, pyr1.data()), 0);
        EXPECT_EQ(obxPyramidCreateu8_(second.data(), w, h, numLevels, pyr2.data()), 0);
    }
    ~Frames() {
        obxPyramidDelete_(pyr1.data(), levels, 1);
        obxPyramidDelete_(pyr2.data(), levels, 1);
    }
};

struct Tracked {
    std::vector<float> xy;
    std::vector<int32_t> status;
};

constexpr float kUnwritten = -12345.0f;
constexpr int32_t kUnwrittenStatus = 77;

Tracked track(const Frames& f, const std::vector<float>& xy, int32_t window, int32_t iterations = 20,
              int32_t windowHeight = 0, obxTrackLKOpticalFlowf32_fn* op = obxTrackLKOpticalFlowf32_) {
    const int32_t n = static_cast<int32_t>(xy.size() / 2);
    Tracked t{std::vector<float>(xy.size(), kUnwritten), std::vector<int32_t>(n, kUnwrittenStatus)};
    op(f.first.data(), f.second.data(), f.width, f.height, f.pyr1.data(), f.pyr2.data(), nullptr, nullptr, xy.data(),
       t.xy.data(), t.status.data(), n, window, windowHeight ? windowHeight : window, iterations,
       static_cast<int32_t>(f.levels));
    return t;
}

std::vector<float> gridPoints(uint32_t w, uint32_t h, uint32_t margin, uint32_t step) {
    std::vector<float> xy;
    for (uint32_t y = margin; y + margin < h; y += step)
        for (uint32_t x = margin; x + margin < w; x += step) xy.push_back(x + 0.25f * (x % 3)), xy.push_back(y + 0.3f);
    return xy;
}

// The tracker with its gradient kernel slot on one variant, as the vector
// mode installs it; the slot goes back to the reference afterwards.
class LKTracker : public ::testing::TestWithParam<GradientVariant> {
protected:
    void SetUp() override { calcIxIy_32f_ = GetParam().kernel; }
    void TearDown() override { calcIxIy_32f_ = calcIxIy_32fC; }
};

TEST_P(LKTracker, FollowsSubPixelShiftsThroughPyramidLevels) {
    struct Case {
        double dx, dy;
        int32_t levels, window;
    };
    const Case cases[] = {{0.4, -0.7, 1, 9}, {2.3, 1.6, 2, 9}, {-5.7, 3.2, 3, 11}, {9.45, -6.15, 4, 15}, {-3.4, -2.2, 2, 13}};
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.dx << "," << c.dy << " levels " << c.levels << " window " << c.window);
        const Frames f(256, 192, c.levels, c.dx, c.dy);
        // Far enough from the edges for the window at the coarsest level.
        const uint32_t margin = (c.window / 2 + 4) << (c.levels - 1);
        const std::vector<float> xy = gridPoints(f.width, f.height, margin, 13);
        const Tracked t = track(f, xy, c.window);
        std::vector<double> errors;
        for (size_t i = 0; i < t.status.size(); ++i) {
            ASSERT_EQ(t.status[i], 1) << i;
            errors.push_back(std::hypot(t.xy[2 * i] - xy[2 * i] - c.dx, t.xy[2 * i + 1] - xy[2 * i + 1] - c.dy));
        }
        // Steps stop below 0.03 pixel; where the texture is nearly straight
        // a few points stop further off along it.
        std::sort(errors.begin(), errors.end());
        EXPECT_LT(errors[errors.size() / 2], 0.025);
        EXPECT_LT(errors[errors.size() * 9 / 10], 0.05);
        EXPECT_LT(errors.back(), 0.12);
    }
}

TEST_P(LKTracker, IdenticalFramesGiveNoDisplacement) {
    const Frames f(96, 64, 3, 0, 0);
    const std::vector<float> xy = gridPoints(f.width, f.height, 16, 7);
    const Tracked t = track(f, xy, 7);
    EXPECT_EQ(t.xy, xy);
    EXPECT_EQ(t.status, std::vector<int32_t>(xy.size() / 2, 1));
}

TEST_P(LKTracker, FlatRegionsBordersAndExits) {
    // Left part flat grey, the rest textured; the second frame moves the
    // texture 4.5 pixels right. Window 7: hw = hh = 3.
    const auto halfFlat = [](double x, double y) { return x < 48 ? 90.0f : textureAt(x, y); };
    const Frames f(112, 64, 1, 4.5, 0, halfFlat);
    const std::vector<float> xy = {
        20.5f,  30.0f,  // flat: singular gradient matrix
        -0.5f,  30.0f,  // floor -1: columns 2 .. 3 remain of the window
        0.5f,   30.0f,  // columns 1 .. 3 remain: enough, and flat
        111.2f, 30.0f,  // columns -3 .. -2 remain (the patch needs up to x + 2)
        110.9f, 30.0f,  // columns -3 .. -1 remain, fits; the match lies past the edge
        104.3f, 30.0f,  // fits; the match at 108.8 needs columns up to 112
        -3.0f,  30.0f,  // outside
        70.2f,  2.5f,   // top border: rows -1 .. 3 remain
        70.2f,  30.0f,  // inside
    };
    const Tracked t = track(f, xy, 7);
    EXPECT_EQ(t.status, (std::vector<int32_t>{-2, -4, -2, -4, -4, -4, -4, 1, 1}));
    // Failures before the iterations keep the input position.
    for (int i : {0, 1, 2, 3, 6}) EXPECT_EQ(t.xy[2 * i], xy[2 * i]) << i;
    for (int i : {7, 8}) {
        EXPECT_NEAR(t.xy[2 * i], 74.7f, 0.1) << i;
        EXPECT_NEAR(t.xy[2 * i + 1], xy[2 * i + 1], 0.1) << i;
    }
}

TEST_P(LKTracker, IterationLimitCountsUpdates) {
    // Limits 0 and 1 both make exactly one update; 2 makes a second one.
    const Frames f(96, 64, 1, 1.6, -1.2);
    const std::vector<float> xy = {40.3f, 30.6f, 57.0f, 33.2f};
    const Tracked zero = track(f, xy, 9, 0), one = track(f, xy, 9, 1), two = track(f, xy, 9, 2);
    const Tracked many = track(f, xy, 9, 30);
    EXPECT_EQ(zero.xy, one.xy);
    for (size_t i = 0; i < 2; ++i) {
        EXPECT_NE(one.xy[2 * i], two.xy[2 * i]) << i;
        EXPECT_NE(one.xy[2 * i], xy[2 * i]) << i;
        EXPECT_LT(std::hypot(many.xy[2 * i] - xy[2 * i] - 1.6, many.xy[2 * i + 1] - xy[2 * i + 1] + 1.2), 0.05) << i;
    }
}

TEST_P(LKTracker, DeclinedWindowsWriteNothing) {
    // hw or hh below 2, and even sizes, whose working area the call sizes
    // from W and H while the window needs 2 * (W / 2) + 1: the tracker
    // returns before writing, so only the copied input positions remain.
    const Frames f(64, 48, 2, 1.0, 0.5);
    const std::vector<float> xy = gridPoints(f.width, f.height, 14, 9);
    const std::pair<int32_t, int32_t> sizes[] = {{3, 9}, {9, 3}, {4, 9}, {8, 8}, {10, 11}, {9, 6}, {2, 2}};
    for (auto [w, h] : sizes) {
        const Tracked t = track(f, xy, w, 20, h);
        EXPECT_EQ(t.xy, xy) << w << "x" << h;
        EXPECT_EQ(t.status, std::vector<int32_t>(xy.size() / 2, kUnwrittenStatus)) << w << "x" << h;
    }
    // Odd sizes of 5 and more, unequal too, do track.
    const Tracked t = track(f, xy, 5, 20, 9);
    EXPECT_EQ(t.status, std::vector<int32_t>(xy.size() / 2, 1));
}

INSTANTIATE_TEST_SUITE_P(Track, LKTracker, ::testing::ValuesIn(kGradientVariants), variantName);

TEST(LKTrackerSlots, VectorKernelTracksBitForBitAndTheU8SlotIsTheSameTracker) {
    const Frames f(192, 144, 3, -3.3, 2.7);
    std::vector<float> xy = gridPoints(f.width, f.height, 6, 11);
    xy.push_back(2.0f), xy.push_back(70.0f);  // near the border: clipped windows
    const Tracked reference = track(f, xy, 9);
    calcIxIy_32f_ = calcIxIy_32fV;
    const Tracked vector = track(f, xy, 9);
    calcIxIy_32f_ = calcIxIy_32fC;
    EXPECT_EQ(memcmp(reference.xy.data(), vector.xy.data(), xy.size() * 4), 0);
    EXPECT_EQ(reference.status, vector.status);
    const Tracked viaU8 = track(f, xy, 9, 20, 0, obxTrackLKOpticalFlowu8_);
    EXPECT_EQ(memcmp(reference.xy.data(), viaU8.xy.data(), xy.size() * 4), 0);
    EXPECT_EQ(reference.status, viaU8.status);
}

uint8_t gImage[16 * 16];
obxPyramidLevel gPyr[1] = {{gImage, 16, 16}};
float gXY[2] = {8, 8}, gXYOut[2];
int32_t gStatus[1];

std::vector<AssertionCase> assertionCases() {
    const std::string text =
        "src1 && src2 && src1Pyr && src2Pyr && featureXY && featureXY_out && (sizeof(*featureXY_out) == "
        "sizeof(float)) && (sizeof(*featureXY) == sizeof(float)) && featureStatus";
    std::vector<AssertionCase> cases;
    for (int missing = 0; missing < 7; ++missing) {
        cases.push_back({"null argument " + std::to_string(missing),
                         [missing] {
                             const auto pick = [missing](int i, auto* p) { return i == missing ? nullptr : p; };
                             obxTrackLKOpticalFlowf32C(pick(0, gImage), pick(1, gImage), 16, 16, pick(2, gPyr),
                                                       pick(3, gPyr), nullptr, nullptr, pick(4, gXY), pick(5, gXYOut),
                                                       pick(6, gStatus), 1, 5, 5, 10, 1);
                         },
                         moduleOf("Track", false), text});
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(TrackLK, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

}  // namespace
