// 3x3 dilation and erosion: every implementation against the definition on
// shaped and random images, and the vector variants against their
// references.
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

struct MorphologyImplementation {
    const char* name;
    obxNeighbourhoodu8_fn* filter;
    bool dilation;
};

const MorphologyImplementation kImplementations[] = {
    {"dilate C", obxFilterDilate3x3u8C, true}, {"dilate V", obxFilterDilate3x3u8V, true},
    {"erode C", obxFilterErode3x3u8C, false},  {"erode V", obxFilterErode3x3u8V, false},
};

// Every pixel, border included, is the maximum (minimum) of the pixels of
// its 3x3 neighbourhood inside the image: 9 in the interior, 6 along an
// edge, 4 at a corner, fewer in images 1 or 2 pixels wide or high. Images:
// one pixel of the other extreme in a corner, at the far corner or inside
// (a 2x2 or 3x3 block grows from it), 20 y + x + 10 growing right and down
// (so each result is a corner of the neighbourhood), and random pixels.
TEST(Morphology, FollowsTheDefinition) {
    std::mt19937 rng(5);
    for (uint32_t width : {1u, 2u, 3u, 5u, 6u, 16u, 17u, 32u, 33u}) {
        for (uint32_t height : {1u, 2u, 4u, 5u}) {
            const uint32_t spots[][2] = {{0, 0}, {width - 1, height - 1}, {1, 2}, {7, 2}, {15, 2}, {16, 2}, {30, 2}};
            for (int content = 0; content < 9; ++content) {
                for (const MorphologyImplementation& m : kImplementations) {
                    SCOPED_TRACE(::testing::Message() << m.name << ": " << width << "x" << height
                                                      << " content " << content);
                    GuardedImage<uint8_t> src(width, height, width + 3, 5), dst(width, height, width + 2, 7);
                    src.fill(m.dilation ? 0 : 255);
                    if (content < 7 && spots[content][0] < width && spots[content][1] < height)
                        src.at(spots[content][0], spots[content][1]) = m.dilation ? 255 : 0;
                    for (uint32_t y = 0; y < height && content == 7; ++y)
                        for (uint32_t x = 0; x < width; ++x) src.at(x, y) = static_cast<uint8_t>(20 * y + x + 10);
                    if (content == 8) src.fillRandom(rng);
                    m.filter(src.data(), width, height, src.stride(), dst.data(), dst.stride());
                    ASSERT_TRUE(dst.guardsIntact());
                    for (uint32_t y = 0; y < height; ++y)
                        for (uint32_t x = 0; x < width; ++x) {
                            uint8_t extreme = src.at(x, y);
                            for (uint32_t ny = y ? y - 1 : 0; ny <= std::min(y + 1, height - 1); ++ny)
                                for (uint32_t nx = x ? x - 1 : 0; nx <= std::min(x + 1, width - 1); ++nx) {
                                    const uint8_t p = src.at(nx, ny);
                                    extreme = m.dilation ? std::max(extreme, p) : std::min(extreme, p);
                                }
                            ASSERT_EQ(dst.at(x, y), extreme) << x << "," << y;
                        }
                }
            }
        }
    }
}

TEST(MorphologyVector, DilationMatchesReference) {
    expectSameAsReference(obxFilterDilate3x3u8C, obxFilterDilate3x3u8V, 1, 1, 4001);
}

TEST(MorphologyVector, ErosionMatchesReference) {
    expectSameAsReference(obxFilterErode3x3u8C, obxFilterErode3x3u8V, 1, 1, 4002);
}

}  // namespace
