// Adaptive thresholds: the threshold rule, the local average taken through
// the table, and the vector variants against their references.
#include <gtest/gtest.h>
#include <limits.h>

#include <random>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using ombrix_test::AssertionText;
using ombrix_test::comparisonGeometries;
using ombrix_test::GuardedImage;
using ombrix_test::pixelDifference;

struct AdaptiveForm {
    const char* name;
    obxAdaptiveThresholdu8_fn* reference;
    obxAdaptiveThresholdu8_fn* vector;
    bool gaussian;
    uint32_t minSize;  // smallest width and height the smoothing accepts
};

const AdaptiveForm kForms[] = {
    {"Gaussian3x3", obxAdaptiveThresholdGaussian3x3u8C, obxAdaptiveThresholdGaussian3x3u8V, true, 3},
    {"Gaussian5x5", obxAdaptiveThresholdGaussian5x5u8C, obxAdaptiveThresholdGaussian5x5u8V, true, 5},
    {"Gaussian11x11", obxAdaptiveThresholdGaussian11x11u8C, obxAdaptiveThresholdGaussian11x11u8V, true, 11},
    {"Mean3x3", obxAdaptiveThresholdMean3x3u8C, obxAdaptiveThresholdMean3x3u8V, false, 3},
    {"Mean5x5", obxAdaptiveThresholdMean5x5u8C, obxAdaptiveThresholdMean5x5u8V, false, 5},
    {"Mean11x11", obxAdaptiveThresholdMean11x11u8C, obxAdaptiveThresholdMean11x11u8V, false, 11},
};

void PrintTo(const AdaptiveForm& form, std::ostream* os) { *os << form.name; }

class AdaptiveThreshold : public ::testing::TestWithParam<AdaptiveForm> {
protected:
    // Runs `fn` on a constant image and returns the result.
    static GuardedImage<uint8_t> onConstant(obxAdaptiveThresholdu8_fn* fn, uint8_t level, int32_t maxValue,
                                            int32_t type, int32_t value) {
        GuardedImage<uint8_t> src(23, 17, 29, 3), dst(23, 17, 24, 5);
        src.fill(level);
        dst.fill(77);
        fn(src.data(), 23, 17, 29, maxValue, type, value, dst.data(), 24);
        EXPECT_TRUE(dst.guardsIntact());
        return dst;
    }
};

// On a constant image the Gaussian average equals the source everywhere, so
// d = 0 and only value > 0 lifts pixels above the threshold.
TEST_P(AdaptiveThreshold, ConstantImageBinaryAndInverted) {
    const AdaptiveForm& form = GetParam();
    for (obxAdaptiveThresholdu8_fn* fn : {form.reference, form.vector}) {
        const auto zero = onConstant(fn, 90, 200, 0, 0);
        const auto one = onConstant(fn, 90, 200, 0, 1);
        const auto inverted = onConstant(fn, 90, 200, 1, 1);
        const uint32_t c = 11;  // a pixel far from every border
        EXPECT_EQ(zero.at(c, 8), 0);
        EXPECT_EQ(one.at(c, 8), 200);
        EXPECT_EQ(inverted.at(c, 8), 0);
        if (form.gaussian) {
            EXPECT_EQ(pixelDifference(zero, onConstant(fn, 90, 0, 0, 0)), "") << "all zero";
            EXPECT_EQ(one.at(0, 0), 200);
            EXPECT_EQ(one.at(22, 16), 200);
        } else {
            // The zero-padded mean is darker at the border: d > 0 there.
            EXPECT_EQ(zero.at(0, 0), 200);
            EXPECT_EQ(zero.at(c, 0), 200);
            EXPECT_EQ(zero.at(22, 8), 200);
            EXPECT_EQ(inverted.at(0, 0), 0);
        }
    }
}

TEST_P(AdaptiveThreshold, MaxValueKeepsItsLowByte) {
    const AdaptiveForm& form = GetParam();
    EXPECT_EQ(onConstant(form.reference, 10, 256 + 7, 0, 1).at(11, 8), 7);
    EXPECT_EQ(onConstant(form.vector, 10, -1, 0, 1).at(11, 8), 255);
}

TEST_P(AdaptiveThreshold, UnknownTypeZeroFillsWholeRows) {
    const AdaptiveForm& form = GetParam();
    for (obxAdaptiveThresholdu8_fn* fn : {form.reference, form.vector}) {
        for (int32_t type : {2, -1, 1000}) {
            GuardedImage<uint8_t> src(20, 13, 20, 0), dst(20, 13, 26, 1);
            src.fill(50);
            fn(src.data(), 20, 13, 20, 255, type, 0, dst.data(), 26);
            for (uint32_t i = 0; i < 26 * 13; ++i) ASSERT_EQ(dst.data()[i], 0) << i;
        }
    }
}

// The local average is taken through the smoothing slot, with the border on.
uint32_t gCalls, gBorderFlag;
void recordingGaussian(const uint8_t*, uint32_t w, uint32_t h, uint32_t, uint8_t* dst, uint32_t stride,
                       uint32_t blurBorder) {
    ++gCalls;
    gBorderFlag = blurBorder;
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) dst[y * stride + x] = 100;
}
void recordingBox(const uint8_t* src, uint32_t w, uint32_t h, uint32_t s, uint8_t* dst, uint32_t stride) {
    recordingGaussian(src, w, h, s, dst, stride, 0);
}

TEST_P(AdaptiveThreshold, AverageComesThroughTheTable) {
    const AdaptiveForm& form = GetParam();
    auto* const gaussian3 = obxFilterGaussian3x3u8_v2_;
    auto* const gaussian5 = obxFilterGaussian5x5u8_v2_;
    auto* const gaussian11 = obxFilterGaussian11x11u8_v2_;
    auto* const box3 = obxBoxFilter3x3u8_;
    auto* const box5 = obxBoxFilter5x5u8_;
    auto* const box11 = obxBoxFilter11x11u8_;
    obxFilterGaussian3x3u8_v2_ = obxFilterGaussian5x5u8_v2_ = obxFilterGaussian11x11u8_v2_ = recordingGaussian;
    obxBoxFilter3x3u8_ = obxBoxFilter5x5u8_ = obxBoxFilter11x11u8_ = recordingBox;
    for (obxAdaptiveThresholdu8_fn* fn : {form.reference, form.vector}) {
        gCalls = 0;
        gBorderFlag = 7;
        GuardedImage<uint8_t> src(16, 12, 16, 0), dst(16, 12, 16, 0);
        src.fill(101);  // one above the recorded average of 100
        fn(src.data(), 16, 12, 16, 9, 0, 0, dst.data(), 16);
        EXPECT_EQ(gCalls, 1u);
        if (form.gaussian) {
            EXPECT_EQ(gBorderFlag, 1u);
        }
        EXPECT_EQ(dst.at(0, 0), 9);
        EXPECT_EQ(dst.at(15, 11), 9);
    }
    obxFilterGaussian3x3u8_v2_ = gaussian3;
    obxFilterGaussian5x5u8_v2_ = gaussian5;
    obxFilterGaussian11x11u8_v2_ = gaussian11;
    obxBoxFilter3x3u8_ = box3;
    obxBoxFilter5x5u8_ = box5;
    obxBoxFilter11x11u8_ = box11;
}

// Hand-checked 3x3 mean: one bright pixel in a dark image.
TEST(AdaptiveThresholdHand, MeanAroundOneBrightPixel) {
    GuardedImage<uint8_t> src(5, 5, 5, 0), dst(5, 5, 5, 0);
    src.fill(0);
    src.at(2, 2) = 90;  // every 3x3 mean touching it is (90 * 7282 + 32768) >> 16 = 10
    obxAdaptiveThresholdMean3x3u8C(src.data(), 5, 5, 5, 255, 0, -5, dst.data(), 5);
    // T = average + 5: the centre (90 > 15) passes, its neighbours (0 > 15) and
    // the rest (0 > 5) do not.
    for (uint32_t y = 0; y < 5; ++y)
        for (uint32_t x = 0; x < 5; ++x) EXPECT_EQ(dst.at(x, y), x == 2 && y == 2 ? 255 : 0) << x << "," << y;
}

TEST_P(AdaptiveThreshold, VectorMatchesReference) {
    const AdaptiveForm& form = GetParam();
    std::mt19937 rng(404);
    const int32_t values[] = {0, 3, -7, 255, -255, 300, INT_MIN, INT_MAX};
    for (const auto& g : comparisonGeometries(form.minSize, form.minSize, 17, 20)) {
        const uint32_t srcStride = g.width + g.srcPadding, dstStride = g.width + g.dstPadding;
        GuardedImage<uint8_t> src(g.width, g.height, srcStride, g.srcOffset);
        src.fillRandom(rng);
        GuardedImage<uint8_t> expected(g.width, g.height, dstStride, g.dstOffset);
        GuardedImage<uint8_t> actual(g.width, g.height, dstStride, g.dstOffset);
        const int32_t type = static_cast<int32_t>(rng() % 2);
        const int32_t value = values[rng() % 8];
        const int32_t maxValue = static_cast<int32_t>(rng() % 300);
        form.reference(src.data(), g.width, g.height, srcStride, maxValue, type, value, expected.data(), dstStride);
        form.vector(src.data(), g.width, g.height, srcStride, maxValue, type, value, actual.data(), dstStride);
        ASSERT_EQ(pixelDifference(expected, actual), "") << g << " type " << type << " value " << value;
        ASSERT_TRUE(actual.guardsIntact()) << g;
        ASSERT_TRUE(expected.guardsIntact()) << g;
    }
}

INSTANTIATE_TEST_SUITE_P(Forms, AdaptiveThreshold, ::testing::ValuesIn(kForms),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- Assertion texts ----------------------------------------------------------------

const char kCommon[] = "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride";
const char kMean5x5[] =
    "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcWidth > 4 && srcHeight > 4";

// Calls that break the contract, each with the module and text it must name.
struct AdaptiveViolation {
    const char* what;
    obxAdaptiveThresholdu8_fn* fn;
    uint32_t width, height, srcStride, dstStride;
    const char* module;
    const char* expression;
};

const AdaptiveViolation kViolations[] = {
    {"Gaussian3x3 C stride", obxAdaptiveThresholdGaussian3x3u8C, 8, 8, 7, 8, "src/cpu/ombrixAdaptiveThresholdC", kCommon},
    {"Gaussian3x3 V width", obxAdaptiveThresholdGaussian3x3u8V, 0, 8, 8, 8, "src/lanex/ombrixAdaptiveThresholdV", kCommon},
    {"Gaussian5x5 C dstStride", obxAdaptiveThresholdGaussian5x5u8C, 8, 8, 8, 0, "src/cpu/ombrixAdaptiveThresholdC", kCommon},
    {"Gaussian5x5 V stride", obxAdaptiveThresholdGaussian5x5u8V, 9, 9, 8, 9, "src/lanex/ombrixAdaptiveThresholdV", kCommon},
    {"Gaussian11x11 C width", obxAdaptiveThresholdGaussian11x11u8C, 0, 9, 9, 9, "src/cpu/ombrixAdaptiveThresholdC", kCommon},
    {"Gaussian11x11 V height", obxAdaptiveThresholdGaussian11x11u8V, 8, 0, 8, 8, "src/lanex/ombrixAdaptiveThresholdV", kCommon},
    {"Mean3x3 C width", obxAdaptiveThresholdMean3x3u8C, 0, 8, 8, 8, "src/cpu/ombrixAdaptiveThresholdC", kCommon},
    {"Mean3x3 V stride", obxAdaptiveThresholdMean3x3u8V, 8, 8, 7, 8, "src/lanex/ombrixAdaptiveThresholdV", kCommon},
    {"Mean5x5 C small", obxAdaptiveThresholdMean5x5u8C, 4, 8, 8, 8, "src/cpu/ombrixAdaptiveThresholdC", kMean5x5},
    {"Mean5x5 V small", obxAdaptiveThresholdMean5x5u8V, 8, 4, 8, 8, "src/lanex/ombrixAdaptiveThresholdV", kMean5x5},
    {"Mean11x11 C stride", obxAdaptiveThresholdMean11x11u8C, 20, 20, 19, 20, "src/cpu/ombrixAdaptiveThresholdC", kCommon},
    {"Mean11x11 V height", obxAdaptiveThresholdMean11x11u8V, 20, 0, 20, 20, "src/lanex/ombrixAdaptiveThresholdV", kCommon},
};

std::vector<ombrix_test::AssertionCase> assertionCases() {
    static uint8_t src[32 * 32], dst[32 * 32];
    std::vector<ombrix_test::AssertionCase> cases;
    for (const AdaptiveViolation& v : kViolations)
        cases.push_back({v.what, [v] { v.fn(src, v.width, v.height, v.srcStride, 255, 0, 0, dst, v.dstStride); },
                         v.module, v.expression});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(AdaptiveThreshold, AssertionText, ::testing::ValuesIn(assertionCases()),
                         ombrix_test::assertionCaseName);

// The 11x11 mean form checks no size itself: a small image is refused by the
// 11x11 box filter it calls through the table.
TEST(AdaptiveThresholdContract, Mean11x11LeavesTheSizeToTheBoxFilter) {
    static uint8_t src[10 * 10], dst[10 * 10];
    EXPECT_EXIT(obxAdaptiveThresholdMean11x11u8C(src, 10, 10, 10, 255, 0, 0, dst, 10),
                ::testing::ExitedWithCode(1), "^E/: src/cpu/ombrixSmoothC@[0-9]+: .*srcWidth > 10 && srcHeight > 10 Assertion failed\n$");
}

}  // namespace
