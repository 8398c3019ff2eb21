// 3x3 dilation and erosion: hand-checked values, and the vector variants
// against their references.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ombrixKernels.h"
#include "ombrixNeighbourhoodCompare.h"

namespace {

using ombrix_test::GuardedImage;

struct MorphologyImplementation {
    const char* name;
    obxNeighbourhoodu8_fn* filter;
    bool dilation;
};

void PrintTo(const MorphologyImplementation& p, std::ostream* os) { *os << p.name; }

const MorphologyImplementation kImplementations[] = {
    {"obxFilterDilate3x3u8C", obxFilterDilate3x3u8C, true},
    {"obxFilterDilate3x3u8V", obxFilterDilate3x3u8V, true},
    {"obxFilterErode3x3u8C", obxFilterErode3x3u8C, false},
    {"obxFilterErode3x3u8V", obxFilterErode3x3u8V, false},
};

class Morphology : public ::testing::TestWithParam<MorphologyImplementation> {};

// A background with one pixel of the other extreme at (px, py); returns dst.
std::vector<uint8_t> singlePixel(const MorphologyImplementation& m, uint32_t width, uint32_t height, uint32_t px,
                                 uint32_t py) {
    const uint8_t background = m.dilation ? 0 : 255, spot = m.dilation ? 255 : 0;
    std::vector<uint8_t> src(width * height, background), dst(width * height, 0x5A);
    src[py * width + px] = spot;
    m.filter(src.data(), width, height, width, dst.data(), width);
    return dst;
}

TEST_P(Morphology, SinglePixelInACornerBecomesATwoByTwoBlock) {
    const MorphologyImplementation& m = GetParam();
    const uint8_t background = m.dilation ? 0 : 255, spot = m.dilation ? 255 : 0;
    for (uint32_t width : {5u, 17u, 33u}) {
        const uint32_t height = 4;
        const std::vector<uint8_t> dst = singlePixel(m, width, height, 0, 0);
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x)
                EXPECT_EQ(dst[y * width + x], x < 2 && y < 2 ? spot : background) << width << ": " << x << "," << y;
        const std::vector<uint8_t> far = singlePixel(m, width, height, width - 1, height - 1);
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x)
                EXPECT_EQ(far[y * width + x], x + 2 >= width && y + 2 >= height ? spot : background)
                    << width << ": " << x << "," << y;
    }
}

TEST_P(Morphology, SinglePixelInsideBecomesAThreeByThreeBlock) {
    const MorphologyImplementation& m = GetParam();
    const uint8_t background = m.dilation ? 0 : 255, spot = m.dilation ? 255 : 0;
    for (uint32_t px : {1u, 7u, 15u, 16u, 30u}) {
        const uint32_t width = 32, height = 5;
        const std::vector<uint8_t> dst = singlePixel(m, width, height, px, 2);
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) {
                const bool inBlock = y >= 1 && y <= 3 && x + 1 >= px && x <= px + 1;
                EXPECT_EQ(dst[y * width + x], inBlock ? spot : background) << px << ": " << x << "," << y;
            }
    }
}

// src(x, y) = 20 y + x grows to the right and downwards, so the maximum over
// the neighbours inside the image is the one at (min(x+1, w-1), min(y+1, h-1))
// and the minimum the one at (max(x-1, 0), max(y-1, 0)): corners see 4
// pixels, edges 6, and nothing outside the image counts.
TEST_P(Morphology, BorderPixelsUseOnlyTheNeighboursInside) {
    const MorphologyImplementation& m = GetParam();
    for (uint32_t width : {1u, 2u, 3u, 6u, 16u, 17u}) {
        for (uint32_t height : {1u, 2u, 4u}) {
            GuardedImage<uint8_t> src(width, height, width + 3, 5), dst(width, height, width + 2, 7);
            for (uint32_t y = 0; y < height; ++y)
                for (uint32_t x = 0; x < width; ++x) src.at(x, y) = static_cast<uint8_t>(20 * y + x + 10);
            m.filter(src.data(), width, height, src.stride(), dst.data(), dst.stride());
            for (uint32_t y = 0; y < height; ++y)
                for (uint32_t x = 0; x < width; ++x) {
                    const uint32_t nx = m.dilation ? (x + 1 < width ? x + 1 : x) : (x > 0 ? x - 1 : 0);
                    const uint32_t ny = m.dilation ? (y + 1 < height ? y + 1 : y) : (y > 0 ? y - 1 : 0);
                    EXPECT_EQ(dst.at(x, y), 20 * ny + nx + 10) << width << "x" << height << ": " << x << "," << y;
                }
            EXPECT_TRUE(dst.guardsIntact()) << width << "x" << height;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Implementations, Morphology, ::testing::ValuesIn(kImplementations),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(MorphologyVector, DilationMatchesReference) {
    ombrix_test::expectSameAsReference(obxFilterDilate3x3u8C, obxFilterDilate3x3u8V, 1, 1, 4001);
}

TEST(MorphologyVector, ErosionMatchesReference) {
    ombrix_test::expectSameAsReference(obxFilterErode3x3u8C, obxFilterErode3x3u8V, 1, 1, 4002);
}

TEST(MorphologySlots, StartOnTheReferences) {
    EXPECT_EQ(*ppobxFilterDilate3x3u8_v2, &obxFilterDilate3x3u8C);
    EXPECT_EQ(*ppobxFilterErode3x3u8_v2, &obxFilterErode3x3u8C);
}

}  // namespace
