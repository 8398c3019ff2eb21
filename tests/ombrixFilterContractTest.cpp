// Argument contracts of the box filters, dilation, erosion and the global
// threshold: every reference and vector variant logs the exact expression
// and exits with status 1, and accepts the smallest valid arguments.
#include <gtest/gtest.h>

#include <functional>
#include <string>
#include <vector>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {


const char kBox3x3[] =
    "src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth ) && srcWidth > 2 && "
    "srcHeight > 2";
const char kBox5x5[] =
    "src && dst && srcWidth && srcHeight && srcStride && dstStride && (srcStride >=srcWidth) && srcWidth > 4 && "
    "srcHeight > 4";
const char kBox11x11[] =
    "src && dst && srcWidth && srcHeight && srcStride && dstStride && ( srcStride >=srcWidth) && srcWidth > 10 && "
    "srcHeight > 10";
const char kMorphology[] = "src && srcWidth && srcHeight && (srcStride >= srcWidth) && dst && (dstStride >= srcWidth)";
const char kThreshold[] = "src && dst && dstStride && srcStride && (srcStride >=srcWidth) && (signed)threshold >= 0";

struct NeighbourhoodContract {
    const char* name;
    obxNeighbourhoodu8_fn* function;
    const char* module;
    const char* expression;
    uint32_t minSize;   // smallest accepted width and height
    bool dstStrideAtLeastWidth;  // the contract bounds dstStride by the width, not only by 0
};

const NeighbourhoodContract kNeighbourhoodContracts[] = {
    {"obxBoxFilter3x3u8C", obxBoxFilter3x3u8C, "src/cpu/ombrixSmoothC", kBox3x3, 3, false},
    {"obxBoxFilter3x3u8V", obxBoxFilter3x3u8V, "src/lanex/ombrixSmoothV", kBox3x3, 3, false},
    {"obxBoxFilter5x5u8C", obxBoxFilter5x5u8C, "src/cpu/ombrixSmoothC", kBox5x5, 5, false},
    {"obxBoxFilter5x5u8V", obxBoxFilter5x5u8V, "src/lanex/ombrixSmoothV", kBox5x5, 5, false},
    {"obxBoxFilter11x11u8C", obxBoxFilter11x11u8C, "src/cpu/ombrixSmoothC", kBox11x11, 11, false},
    {"obxBoxFilter11x11u8V", obxBoxFilter11x11u8V, "src/lanex/ombrixSmoothV", kBox11x11, 11, false},
    {"obxBoxFilter11x11u8V2", obxBoxFilter11x11u8V2, "src/lanex/ombrixSmoothV", kBox11x11, 11, false},
    {"obxFilterDilate3x3u8C", obxFilterDilate3x3u8C, "src/cpu/ombrixFilter1C", kMorphology, 1, true},
    {"obxFilterDilate3x3u8V", obxFilterDilate3x3u8V, "src/lanex/ombrixFilter1V", kMorphology, 1, true},
    {"obxFilterErode3x3u8C", obxFilterErode3x3u8C, "src/cpu/ombrixFilter1C", kMorphology, 1, true},
    {"obxFilterErode3x3u8V", obxFilterErode3x3u8V, "src/lanex/ombrixFilter1V", kMorphology, 1, true},
};

struct ThresholdContract {
    const char* name;
    obxFilterThresholdu8_v2_fn* function;
    const char* module;
};

const ThresholdContract kThresholdContracts[] = {
    {"obxFilterThresholdu8C", obxFilterThresholdu8C, "src/cpu/ombrixThresholdC"},
    {"obxFilterThresholdu8V", obxFilterThresholdu8V, "src/lanex/ombrixThresholdV"},
};

uint8_t gSrc[16 * 16], gDst[16 * 16];

// One row per violated contract: the call, the module and the expression.
using ombrix_test::AssertionCase;
using ombrix_test::AssertionText;

std::vector<AssertionCase> assertionCases() {
    std::vector<AssertionCase> cases;
    for (const NeighbourhoodContract& c : kNeighbourhoodContracts) {
        const uint32_t n = c.minSize;
        auto add = [&](const char* what, std::function<void(obxNeighbourhoodu8_fn*)> call) {
            obxNeighbourhoodu8_fn* f = c.function;
            cases.push_back({std::string(c.name) + " " + what, [f, call] { call(f); }, c.module, c.expression});
        };
        add("null src", [n](obxNeighbourhoodu8_fn* f) { f(nullptr, n, n, 16, gDst, 16); });
        add("null dst", [n](obxNeighbourhoodu8_fn* f) { f(gSrc, n, n, 16, nullptr, 16); });
        add("zero width", [n](obxNeighbourhoodu8_fn* f) { f(gSrc, 0, n, 16, gDst, 16); });
        add("zero height", [n](obxNeighbourhoodu8_fn* f) { f(gSrc, n, 0, 16, gDst, 16); });
        add("srcStride below width", [n](obxNeighbourhoodu8_fn* f) { f(gSrc, n, n, n - 1, gDst, 16); });
        add("zero srcStride", [n](obxNeighbourhoodu8_fn* f) { f(gSrc, n, n, 0, gDst, 16); });
        add("zero dstStride", [n](obxNeighbourhoodu8_fn* f) { f(gSrc, n, n, 16, gDst, 0); });
        if (c.dstStrideAtLeastWidth) {
            add("dstStride below width", [](obxNeighbourhoodu8_fn* f) { f(gSrc, 5, 5, 16, gDst, 4); });
        }
        if (n > 1) {
            add("width one below the kernel", [n](obxNeighbourhoodu8_fn* f) { f(gSrc, n - 1, n, 16, gDst, 16); });
            add("height one below the kernel", [n](obxNeighbourhoodu8_fn* f) { f(gSrc, n, n - 1, 16, gDst, 16); });
        }
    }
    for (const ThresholdContract& c : kThresholdContracts) {
        auto add = [&](const char* what, std::function<void(obxFilterThresholdu8_v2_fn*)> call) {
            obxFilterThresholdu8_v2_fn* f = c.function;
            cases.push_back({std::string(c.name) + " " + what, [f, call] { call(f); }, c.module, kThreshold});
        };
        add("null src", [](obxFilterThresholdu8_v2_fn* f) { f(nullptr, 4, 4, 16, gDst, 16, 1); });
        add("null dst", [](obxFilterThresholdu8_v2_fn* f) { f(gSrc, 4, 4, 16, nullptr, 16, 1); });
        add("zero dstStride", [](obxFilterThresholdu8_v2_fn* f) { f(gSrc, 4, 4, 16, gDst, 0, 1); });
        add("zero srcStride", [](obxFilterThresholdu8_v2_fn* f) { f(gSrc, 0, 0, 0, gDst, 16, 1); });
        add("srcStride below width", [](obxFilterThresholdu8_v2_fn* f) { f(gSrc, 5, 4, 4, gDst, 16, 1); });
        add("threshold 2^31", [](obxFilterThresholdu8_v2_fn* f) { f(gSrc, 4, 4, 16, gDst, 16, 0x80000000u); });
        add("threshold 2^32-1", [](obxFilterThresholdu8_v2_fn* f) { f(gSrc, 4, 4, 16, gDst, 16, 0xFFFFFFFFu); });
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Filter, AssertionText, ::testing::ValuesIn(assertionCases()),
                         ombrix_test::assertionCaseName);

// The smallest accepted arguments: minimum size, strides equal to the width.
TEST(FilterContract, SmallestValidArgumentsPass) {
    for (const NeighbourhoodContract& c : kNeighbourhoodContracts) {
        const uint32_t n = c.minSize;
        uint8_t src[11 * 11], dst[11 * 11 + 1];
        for (uint32_t i = 0; i < n * n; ++i) src[i] = 255;
        dst[n * n] = 0x5A;
        c.function(src, n, n, n, dst, n);
        EXPECT_EQ(dst[n * n], 0x5A) << c.name;
        // Box filters: the centre sees the whole box; dilation and erosion of a
        // constant image keep it.
        EXPECT_EQ(dst[(n / 2) * n + n / 2], 255) << c.name;
    }
    for (const ThresholdContract& c : kThresholdContracts) {
        const uint8_t src[1] = {40};
        uint8_t dst[1] = {1};
        c.function(src, 1, 1, 1, dst, 1, 0x7FFFFFFFu);
        EXPECT_EQ(dst[0], 0) << c.name;
        c.function(src, 0, 0, 1, dst, 1, 0);  // nothing to write
        EXPECT_EQ(dst[0], 0) << c.name;
    }
}

}  // namespace
