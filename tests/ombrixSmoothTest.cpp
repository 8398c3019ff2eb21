// Box filters: hand-checked values, and every vector variant against its
// reference.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "ombrixKernels.h"
#include "ombrixNeighbourhoodCompare.h"

namespace {

using ombrix_test::GuardedImage;

struct BoxImplementation {
    const char* name;
    obxNeighbourhoodu8_fn* filter;
    uint32_t size;  // n of the n x n box
};

void PrintTo(const BoxImplementation& p, std::ostream* os) { *os << p.name; }

const BoxImplementation kBoxImplementations[] = {
    {"obxBoxFilter3x3u8C", obxBoxFilter3x3u8C, 3},
    {"obxBoxFilter3x3u8V", obxBoxFilter3x3u8V, 3},
    {"obxBoxFilter5x5u8C", obxBoxFilter5x5u8C, 5},
    {"obxBoxFilter5x5u8V", obxBoxFilter5x5u8V, 5},
    {"obxBoxFilter11x11u8C", obxBoxFilter11x11u8C, 11},
    {"obxBoxFilter11x11u8V", obxBoxFilter11x11u8V, 11},
    {"obxBoxFilter11x11u8V2", obxBoxFilter11x11u8V2, 11},
};

class BoxFilter : public ::testing::TestWithParam<BoxImplementation> {};

// Runs the filter on a packed width x height image and returns dst.
std::vector<uint8_t> run(const BoxImplementation& box, const std::vector<uint8_t>& src, uint32_t width,
                         uint32_t height) {
    std::vector<uint8_t> dst(src.size(), 0x5A);
    box.filter(src.data(), width, height, width, dst.data(), width);
    return dst;
}

TEST_P(BoxFilter, ConstantWhiteIsDarkerAtTheZeroPaddedBorder) {
    const BoxImplementation& box = GetParam();
    const uint32_t width = 2 * box.size + 3, height = box.size + 1;
    const std::vector<uint8_t> dst = run(box, std::vector<uint8_t>(width * height, 255), width, height);
    auto at = [&](uint32_t x, uint32_t y) { return +dst[y * width + x]; };
    const uint32_t r = box.size / 2;
    // Interior: n*n*255 * reciprocal + 32768 >> 16 is 255 for every size
    // (2295 * 7282, 6375 * 2621 and 30855 * 542 all land in [255, 256) * 65536).
    EXPECT_EQ(at(r, r), 255);
    EXPECT_EQ(at(width - 1 - r, height - 1 - r), 255);
    struct Expected {
        uint32_t corner, edge;  // corner: (r+1)^2 pixels inside; edge: (r+1)*n inside
    };
    // 3x3: 4 * 255 = 1020 -> 1020 * 7282 + 32768 >> 16 = 113; 6 * 255 = 1530 -> 170.
    // 5x5: 9 * 255 = 2295 -> 2295 * 2621 + 32768 >> 16 = 92; 15 * 255 = 3825 -> 153.
    // 11x11: 36 * 255 = 9180 -> 9180 * 542 + 32768 >> 16 = 76; 66 * 255 = 16830 -> 139.
    const Expected expected = box.size == 3 ? Expected{113, 170} : box.size == 5 ? Expected{92, 153} : Expected{76, 139};
    EXPECT_EQ(at(0, 0), expected.corner);
    EXPECT_EQ(at(width - 1, 0), expected.corner);
    EXPECT_EQ(at(0, height - 1), expected.corner);
    EXPECT_EQ(at(width - 1, height - 1), expected.corner);
    EXPECT_EQ(at(r, 0), expected.edge);          // top edge, full width of the box inside
    EXPECT_EQ(at(0, r), expected.edge);          // left edge
    EXPECT_EQ(at(width - 1, r), expected.edge);  // right edge
    EXPECT_EQ(at(r + 1, height - 1), expected.edge);
}

TEST_P(BoxFilter, KeepsTheInexactReciprocal) {
    const BoxImplementation& box = GetParam();
    const uint32_t n = box.size, centre = n / 2;
    // Whole box inside an n x n image, centred on (centre, centre):
    // 3x3: 9 * 100 + 17 = 917 -> 917 * 7282 + 32768 >> 16 = 102 (917 / 9 = 101.9);
    // 5x5: 24 * 120 + 108 = 2988 -> 2988 * 2621 + 32768 >> 16 = 119 (2988 / 25 = 119.52 rounds to 120);
    // 11x11: 120 * 6 + 66 = 786 -> 786 * 542 + 32768 >> 16 = 7 (786 / 121 = 6.496 rounds to 6).
    const uint8_t base = n == 3 ? 100 : n == 5 ? 120 : 6;
    const uint8_t extra = n == 3 ? 117 : n == 5 ? 108 : 66;
    const int expected = n == 3 ? 102 : n == 5 ? 119 : 7;
    std::vector<uint8_t> src(n * n, base);
    src[0] = extra;
    EXPECT_EQ(run(box, src, n, n)[centre * n + centre], expected);
}

TEST_P(BoxFilter, OddWidthsAndStridesTouchOnlyThePixels) {
    const BoxImplementation& box = GetParam();
    for (uint32_t width = box.size; width < box.size + 37; width += 3) {
        const uint32_t height = box.size + 2;
        GuardedImage<uint8_t> src(width, height, width + 7, 3), dst(width, height, width + 5, 1);
        src.fill(255);
        box.filter(src.data(), width, height, src.stride(), dst.data(), dst.stride());
        EXPECT_TRUE(dst.guardsIntact()) << width;
        EXPECT_EQ(dst.at(width / 2, height / 2), 255) << width;
        EXPECT_LT(dst.at(width - 1, height / 2), 255) << width;
    }
}

INSTANTIATE_TEST_SUITE_P(Implementations, BoxFilter, ::testing::ValuesIn(kBoxImplementations),
                         [](const auto& info) { return std::string(info.param.name); });

// A single bright pixel spreads over the n x n block around it, each pixel
// getting 255 / (n * n) rounded through the reciprocal.
TEST(BoxFilterReference, SinglePixelSpreadsOverItsBox) {
    const uint32_t width = 9, height = 7;
    std::vector<uint8_t> src(width * height, 0), dst(width * height, 0x5A);
    src[3 * width + 4] = 255;
    obxBoxFilter3x3u8C(src.data(), width, height, width, dst.data(), width);
    // 255 * 7282 + 32768 >> 16 = 28.
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) {
            const bool inBox = y >= 2 && y <= 4 && x >= 3 && x <= 5;
            EXPECT_EQ(dst[y * width + x], inBox ? 28 : 0) << x << "," << y;
        }
}

struct VectorPair {
    const char* name;
    obxNeighbourhoodu8_fn *reference, *vector;
    uint32_t size;
};

void PrintTo(const VectorPair& p, std::ostream* os) { *os << p.name; }

const VectorPair kVectorPairs[] = {
    {"obxBoxFilter3x3u8V", obxBoxFilter3x3u8C, obxBoxFilter3x3u8V, 3},
    {"obxBoxFilter5x5u8V", obxBoxFilter5x5u8C, obxBoxFilter5x5u8V, 5},
    {"obxBoxFilter11x11u8V", obxBoxFilter11x11u8C, obxBoxFilter11x11u8V, 11},
    {"obxBoxFilter11x11u8V2", obxBoxFilter11x11u8C, obxBoxFilter11x11u8V2, 11},
};

class BoxFilterVector : public ::testing::TestWithParam<VectorPair> {};

TEST_P(BoxFilterVector, MatchesReference) {
    const VectorPair& p = GetParam();
    ombrix_test::expectSameAsReference(p.reference, p.vector, p.size, p.size, 3000 + p.size);
}

// Wider than the column strips that both implementations work in.
TEST_P(BoxFilterVector, MatchesReferenceOnWideImages) {
    const VectorPair& p = GetParam();
    std::mt19937 rng(77);
    for (uint32_t width : {1023u, 1024u, 1025u, 1030u, 2100u, 2048u + p.size}) {
        const uint32_t height = p.size + 3;
        GuardedImage<uint8_t> src(width, height, width + 5, 1);
        src.fillRandom(rng);
        GuardedImage<uint8_t> expected(width, height, width + 3, 2), actual(width, height, width + 3, 2);
        p.reference(src.data(), width, height, src.stride(), expected.data(), expected.stride());
        p.vector(src.data(), width, height, src.stride(), actual.data(), actual.stride());
        EXPECT_EQ(ombrix_test::pixelDifference(expected, actual), "") << width;
        EXPECT_TRUE(actual.guardsIntact()) << width;
    }
}

INSTANTIATE_TEST_SUITE_P(Variants, BoxFilterVector, ::testing::ValuesIn(kVectorPairs),
                         [](const auto& info) { return std::string(info.param.name); });

TEST(BoxFilterSlots, StartOnTheReferences) {
    EXPECT_EQ(*ppobxBoxFilter3x3u8, &obxBoxFilter3x3u8C);
    EXPECT_EQ(*ppobxBoxFilter5x5u8, &obxBoxFilter5x5u8C);
    EXPECT_EQ(*ppobxBoxFilter11x11u8, &obxBoxFilter11x11u8C);
    EXPECT_NE(&obxBoxFilter11x11u8V, &obxBoxFilter11x11u8V2);
}

}  // namespace
