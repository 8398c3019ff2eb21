// Argument contracts of the box filters, dilation, erosion and the global
// threshold: every reference and vector variant logs the exact expression
// and exits with status 1.
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

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

// The reference and the vector variants of each filter.
struct NeighbourhoodContract {
    const char* name;
    std::vector<obxNeighbourhoodu8_fn*> functions;  // C, V(, V2)
    const char* family;
    const char* expression;
    uint32_t minSize;   // smallest accepted width and height
    bool dstStrideAtLeastWidth;  // the contract bounds dstStride by the width, not only by 0
};

const NeighbourhoodContract kNeighbourhoodContracts[] = {
    {"obxBoxFilter3x3u8", {obxBoxFilter3x3u8C, obxBoxFilter3x3u8V}, "Smooth", kBox3x3, 3, false},
    {"obxBoxFilter5x5u8", {obxBoxFilter5x5u8C, obxBoxFilter5x5u8V}, "Smooth", kBox5x5, 5, false},
    {"obxBoxFilter11x11u8", {obxBoxFilter11x11u8C, obxBoxFilter11x11u8V, obxBoxFilter11x11u8V2}, "Smooth", kBox11x11,
     11, false},
    {"obxFilterDilate3x3u8", {obxFilterDilate3x3u8C, obxFilterDilate3x3u8V}, "Filter1", kMorphology, 1, true},
    {"obxFilterErode3x3u8", {obxFilterErode3x3u8C, obxFilterErode3x3u8V}, "Filter1", kMorphology, 1, true},
};

uint8_t gSrc[16 * 16], gDst[16 * 16];

// One violated contract: the arguments after the function; null pointers
// where `nullSrc` or `nullDst`.
struct Arguments {
    const char* what;
    bool nullSrc, nullDst;
    uint32_t width, height, srcStride, dstStride, threshold;
};

std::vector<AssertionCase> assertionCases() {
    std::vector<AssertionCase> cases;
    auto add = [&cases](const std::string& name, const std::string& module, const char* expression, Arguments a,
                        auto* f) {
        cases.push_back({name + " " + a.what, [f, a] {
            const uint8_t* src = a.nullSrc ? nullptr : gSrc;
            uint8_t* dst = a.nullDst ? nullptr : gDst;
            if constexpr (std::is_same_v<decltype(f), obxNeighbourhoodu8_fn*>)
                f(src, a.width, a.height, a.srcStride, dst, a.dstStride);
            else
                f(src, a.width, a.height, a.srcStride, dst, a.dstStride, a.threshold);
        }, module, expression});
    };
    for (const NeighbourhoodContract& c : kNeighbourhoodContracts) {
        const uint32_t n = c.minSize;
        std::vector<Arguments> violations = {
            {"null src", true, false, n, n, 16, 16, 0},        {"null dst", false, true, n, n, 16, 16, 0},
            {"zero width", false, false, 0, n, 16, 16, 0},     {"zero height", false, false, n, 0, 16, 16, 0},
            {"srcStride below width", false, false, n, n, n - 1, 16, 0},
            {"zero srcStride", false, false, n, n, 0, 16, 0},  {"zero dstStride", false, false, n, n, 16, 0, 0}};
        if (c.dstStrideAtLeastWidth) violations.push_back({"dstStride below width", false, false, 5, 5, 16, 4, 0});
        if (n > 1) {
            violations.push_back({"width one below the kernel", false, false, n - 1, n, 16, 16, 0});
            violations.push_back({"height one below the kernel", false, false, n, n - 1, 16, 16, 0});
        }
        for (size_t i = 0; i < c.functions.size(); ++i)
            for (const Arguments& a : violations)
                add(std::string(c.name) + (i ? i > 1 ? "V2" : "V" : "C"), moduleOf(c.family, i > 0), c.expression, a,
                    c.functions[i]);
    }
    for (bool vector : {false, true}) {
        const std::string name = vector ? "obxFilterThresholdu8V" : "obxFilterThresholdu8C";
        for (const Arguments& a : {Arguments{"null src", true, false, 4, 4, 16, 16, 1},
                                   Arguments{"null dst", false, true, 4, 4, 16, 16, 1},
                                   Arguments{"zero dstStride", false, false, 4, 4, 16, 0, 1},
                                   Arguments{"zero srcStride", false, false, 0, 0, 0, 16, 1},
                                   Arguments{"srcStride below width", false, false, 5, 4, 4, 16, 1},
                                   Arguments{"threshold 2^31", false, false, 4, 4, 16, 16, 0x80000000u},
                                   Arguments{"threshold 2^32-1", false, false, 4, 4, 16, 16, 0xFFFFFFFFu}})
            add(name, moduleOf("Threshold", vector), kThreshold, a, vector ? obxFilterThresholdu8V : obxFilterThresholdu8C);
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Filter, AssertionText, ::testing::ValuesIn(assertionCases()),
                         assertionCaseName);

}  // namespace
