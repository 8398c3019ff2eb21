// Adaptive thresholds: the threshold rule against averages put into the
// smoothing slots by hand, a hand-checked 3x3 mean, assertion texts, and the
// vector variants against their references.
#include <limits.h>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

struct AdaptiveForm {
    const char* name;
    obxAdaptiveThresholdu8_fn *reference, *vector;
    int slot;          // the smoothing slot it averages through, in this order
    uint32_t minSize;  // smallest width and height the smoothing accepts
    bool gaussian() const { return slot < 3; }
};

const AdaptiveForm kForms[] = {
    {"Gaussian3x3", obxAdaptiveThresholdGaussian3x3u8C, obxAdaptiveThresholdGaussian3x3u8V, 0, 3},
    {"Gaussian5x5", obxAdaptiveThresholdGaussian5x5u8C, obxAdaptiveThresholdGaussian5x5u8V, 1, 5},
    {"Gaussian11x11", obxAdaptiveThresholdGaussian11x11u8C, obxAdaptiveThresholdGaussian11x11u8V, 2, 11},
    {"Mean3x3", obxAdaptiveThresholdMean3x3u8C, obxAdaptiveThresholdMean3x3u8V, 3, 3},
    {"Mean5x5", obxAdaptiveThresholdMean5x5u8C, obxAdaptiveThresholdMean5x5u8V, 4, 5},
    {"Mean11x11", obxAdaptiveThresholdMean11x11u8C, obxAdaptiveThresholdMean11x11u8V, 5, 11},
};

void PrintTo(const AdaptiveForm& form, std::ostream* os) { *os << form.name; }

class AdaptiveThreshold : public ::testing::TestWithParam<AdaptiveForm> {};

// Stand-ins for the six smoothing slots the forms average through: every
// pixel of the average becomes gAverage; the calls are recorded by slot,
// and the Gaussian's border flag kept (7 for the box filters, which have none).
uint8_t gAverage;
std::vector<int> gSlots;
uint32_t gBorderFlag;
template <int Slot>
void constantGaussian(const uint8_t*, uint32_t w, uint32_t h, uint32_t, uint8_t* dst, uint32_t stride,
                      uint32_t blurBorder) {
    gSlots.push_back(Slot);
    gBorderFlag = blurBorder;
    for (uint32_t y = 0; y < h; ++y) memset(dst + static_cast<size_t>(y) * stride, gAverage, w);
}
template <int Slot>
void constantBox(const uint8_t* src, uint32_t w, uint32_t h, uint32_t s, uint8_t* dst, uint32_t stride) {
    constantGaussian<Slot>(src, w, h, s, dst, stride, 7);
}

// Points the smoothing slots at the stand-ins while it is alive.
class ConstantAverage {
public:
    ConstantAverage() {
        obxFilterGaussian3x3u8_v2_ = constantGaussian<0>, obxFilterGaussian5x5u8_v2_ = constantGaussian<1>;
        obxFilterGaussian11x11u8_v2_ = constantGaussian<2>;
        obxBoxFilter3x3u8_ = constantBox<3>, obxBoxFilter5x5u8_ = constantBox<4>, obxBoxFilter11x11u8_ = constantBox<5>;
    }
    ~ConstantAverage() {
        obxFilterGaussian3x3u8_v2_ = gaussian3_, obxFilterGaussian5x5u8_v2_ = gaussian5_;
        obxFilterGaussian11x11u8_v2_ = gaussian11_;
        obxBoxFilter3x3u8_ = box3_, obxBoxFilter5x5u8_ = box5_, obxBoxFilter11x11u8_ = box11_;
    }

private:
    obxFilterGaussian3x3u8_v2_fn* const gaussian3_ = obxFilterGaussian3x3u8_v2_;
    obxFilterGaussian5x5u8_v2_fn* const gaussian5_ = obxFilterGaussian5x5u8_v2_;
    obxFilterGaussian11x11u8_v2_fn* const gaussian11_ = obxFilterGaussian11x11u8_v2_;
    obxBoxFilter3x3u8_fn* const box3_ = obxBoxFilter3x3u8_;
    obxBoxFilter5x5u8_fn* const box5_ = obxBoxFilter5x5u8_;
    obxBoxFilter11x11u8_fn* const box11_ = obxBoxFilter11x11u8_;
};

// With d = source - average, a pixel gets maxValue's low byte where d > -value
// (type 0; type 1 swaps the two results). Every d lies in -255 .. 255, so any
// value at or beyond +-256 decides like +-256, while +-255 does not: the
// averages 255 and 0 put the sources 0 and 255 on d = -255 and d = 255.
struct RuleCase {
    uint8_t average;
    int32_t maxValue, type, value;
    uint8_t expected[3];  // for the sources 0, 101 and 255
};
const RuleCase kRuleCases[] = {
    {100, 9, 0, 0, {0, 9, 9}},            // d = -100, 1, 155 against 0
    {255, 9, 0, 255, {0, 9, 9}},          // d = -255 is not above -255
    {255, 9, 0, 256, {9, 9, 9}},          // ... but is above -256
    {255, 9, 0, INT_MAX, {9, 9, 9}},
    {255, 9, 1, 256, {0, 0, 0}},          // inverted
    {0, 9, 0, -255, {0, 0, 0}},           // d = 255 is not above 255
    {0, 9, 0, -254, {0, 0, 9}},           // ... but is above 254
    {0, 9, 0, INT_MIN, {0, 0, 0}},
    {0, 9, 1, -254, {9, 9, 0}},           // inverted
    {128, 256 + 7, 0, 0, {0, 0, 7}},      // maxValue keeps its low byte
    {128, -1, 1, 0, {255, 255, 0}},
};

TEST_P(AdaptiveThreshold, RuleOnHandPutAverages) {
    const AdaptiveForm& form = GetParam();
    const ConstantAverage stand;
    const uint8_t sources[3] = {0, 101, 255};
    const uint32_t width = 21, height = 5;  // a vector step and a scalar tail
    GuardedImage<uint8_t> src(width, height, width + 2, 1);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) src.at(x, y) = sources[(x + y) % 3];
    for (const RuleCase& c : kRuleCases) {
        for (obxAdaptiveThresholdu8_fn* fn : {form.reference, form.vector}) {
            SCOPED_TRACE(::testing::Message() << (fn == form.vector ? "vector" : "reference") << " average "
                                              << +c.average << " type " << c.type << " value " << c.value);
            gAverage = c.average;
            gSlots.clear();
            gBorderFlag = 0;
            GuardedImage<uint8_t> dst(width, height, width + 3, 5);
            fn(src.data(), width, height, src.stride(), c.maxValue, c.type, c.value, dst.data(), dst.stride());
            EXPECT_EQ(gSlots, std::vector<int>{form.slot}) << "one average, through the form's own slot";
            EXPECT_EQ(gBorderFlag, form.gaussian() ? 1u : 7u) << "Gaussian averages include the border";
            for (uint32_t y = 0; y < height; ++y)
                for (uint32_t x = 0; x < width; ++x) ASSERT_EQ(dst.at(x, y), c.expected[(x + y) % 3]) << x << "," << y;
            EXPECT_TRUE(dst.guardsIntact());
        }
    }
}

TEST_P(AdaptiveThreshold, UnknownTypeZeroFillsWholeRows) {
    const AdaptiveForm& form = GetParam();
    for (obxAdaptiveThresholdu8_fn* fn : {form.reference, form.vector}) {
        for (int32_t type : {2, -1, 1000}) {
            GuardedImage<uint8_t> src(20, 13, 20, 0), dst(26, 13, 26, 1);
            src.fill(50);
            fn(src.data(), 20, 13, 20, 255, type, 0, dst.data(), 26);
            for (uint32_t i = 0; i < 26 * 13; ++i) ASSERT_EQ(dst.data()[i], 0) << i;
            EXPECT_TRUE(dst.guardsIntact());
        }
    }
}

// The threshold type, value and maxValue vary with the shape.
TEST_P(AdaptiveThreshold, VectorMatchesReference) {
    auto with = [](obxAdaptiveThresholdu8_fn* f) {
        return [f](const uint8_t* src, uint32_t w, uint32_t h, uint32_t srcStride, uint8_t* dst, uint32_t dstStride) {
            const int32_t values[] = {0, 3, -7, 255, -255, 300, INT_MIN, INT_MAX};
            f(src, w, h, srcStride, static_cast<int32_t>((w * 7 + h) % 300), static_cast<int32_t>((w + h) % 2),
              values[(w * 3 + h) % 8], dst, dstStride);
        };
    };
    const AdaptiveForm& form = GetParam();
    expectSameAsReference(with(form.reference), with(form.vector), form.minSize, form.minSize, 17, 20);
}

INSTANTIATE_TEST_SUITE_P(Forms, AdaptiveThreshold, ::testing::ValuesIn(kForms),
                         [](const auto& info) { return std::string(info.param.name); });

// A 3x3 mean by hand: one bright pixel in a dark image.
TEST(AdaptiveThresholdHand, MeanAroundOneBrightPixel) {
    GuardedImage<uint8_t> src(5, 5, 5, 0);
    src.fill(0);
    src.at(2, 2) = 90;  // every 3x3 mean touching it is (90 * 7282 + 32768) >> 16 = 10
    for (auto* fn : {obxAdaptiveThresholdMean3x3u8C, obxAdaptiveThresholdMean3x3u8V}) {
        GuardedImage<uint8_t> dst(5, 5, 5, 0);
        fn(src.data(), 5, 5, 5, 255, 0, -5, dst.data(), 5);
        // T = average + 5: the centre (90 > 15) passes, its neighbours (0 > 15)
        // and the rest (0 > 5) do not.
        for (uint32_t y = 0; y < 5; ++y)
            for (uint32_t x = 0; x < 5; ++x) EXPECT_EQ(dst.at(x, y), x == 2 && y == 2 ? 255 : 0) << x << "," << y;
    }
}

// ---- Assertion texts ----------------------------------------------------------------

const char kCommon[] = "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride";
const char kMean5x5[] =
    "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && dstStride && srcWidth > 4 && srcHeight > 4";
// The 11x11 mean form checks no size itself: a small image is refused by the
// 11x11 box filter it calls through the table.
const char kBox11x11[] = "src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth) && "
                         "srcWidth > 10 && srcHeight > 10";

// Calls that break the contract: one per reference and per vector variant.
struct AdaptiveViolation {
    const char* what;
    obxAdaptiveThresholdu8_fn* fn;
    uint32_t width, height, srcStride, dstStride;
    const char* expression;
};

const AdaptiveViolation kViolations[] = {
    {"Gaussian3x3 C stride", obxAdaptiveThresholdGaussian3x3u8C, 8, 8, 7, 8, kCommon},
    {"Gaussian3x3 V width", obxAdaptiveThresholdGaussian3x3u8V, 0, 8, 8, 8, kCommon},
    {"Gaussian5x5 C dstStride", obxAdaptiveThresholdGaussian5x5u8C, 8, 8, 8, 0, kCommon},
    {"Gaussian5x5 V stride", obxAdaptiveThresholdGaussian5x5u8V, 9, 9, 8, 9, kCommon},
    {"Gaussian11x11 C width", obxAdaptiveThresholdGaussian11x11u8C, 0, 9, 9, 9, kCommon},
    {"Gaussian11x11 V height", obxAdaptiveThresholdGaussian11x11u8V, 8, 0, 8, 8, kCommon},
    {"Mean3x3 C width", obxAdaptiveThresholdMean3x3u8C, 0, 8, 8, 8, kCommon},
    {"Mean3x3 V stride", obxAdaptiveThresholdMean3x3u8V, 8, 8, 7, 8, kCommon},
    {"Mean5x5 C small", obxAdaptiveThresholdMean5x5u8C, 4, 8, 8, 8, kMean5x5},
    {"Mean5x5 V small", obxAdaptiveThresholdMean5x5u8V, 8, 4, 8, 8, kMean5x5},
    {"Mean11x11 C stride", obxAdaptiveThresholdMean11x11u8C, 20, 20, 19, 20, kCommon},
    {"Mean11x11 V height", obxAdaptiveThresholdMean11x11u8V, 20, 0, 20, 20, kCommon},
    {"Mean11x11 C small", obxAdaptiveThresholdMean11x11u8C, 10, 10, 10, 10, kBox11x11},
};

std::vector<AssertionCase> assertionCases() {
    static uint8_t src[32 * 32], dst[32 * 32];
    std::vector<AssertionCase> cases;
    for (const AdaptiveViolation& v : kViolations) {
        const std::string module = v.expression == kBox11x11 ? moduleOf("Smooth", false)
                                                              : moduleOf("AdaptiveThreshold", strstr(v.what, " V "));
        cases.push_back({v.what, [v] { v.fn(src, v.width, v.height, v.srcStride, 255, 0, 0, dst, v.dstStride); },
                         module, v.expression});
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(AdaptiveThreshold, AssertionText, ::testing::ValuesIn(assertionCases()),
                         assertionCaseName);

}  // namespace
