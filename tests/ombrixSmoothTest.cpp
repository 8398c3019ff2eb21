// Box filters: hand-checked values, every implementation against a direct
// evaluation of the definition, and every vector variant against its
// reference.
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

struct BoxImplementation {
    const char* name;
    obxNeighbourhoodu8_fn* filter;
    uint32_t size;  // n of the n x n box
    obxNeighbourhoodu8_fn* reference;  // null for a reference
};

void PrintTo(const BoxImplementation& p, std::ostream* os) { *os << p.name; }

const BoxImplementation kBoxImplementations[] = {
    {"obxBoxFilter3x3u8C", obxBoxFilter3x3u8C, 3, nullptr},
    {"obxBoxFilter3x3u8V", obxBoxFilter3x3u8V, 3, obxBoxFilter3x3u8C},
    {"obxBoxFilter5x5u8C", obxBoxFilter5x5u8C, 5, nullptr},
    {"obxBoxFilter5x5u8V", obxBoxFilter5x5u8V, 5, obxBoxFilter5x5u8C},
    {"obxBoxFilter11x11u8C", obxBoxFilter11x11u8C, 11, nullptr},
    {"obxBoxFilter11x11u8V", obxBoxFilter11x11u8V, 11, obxBoxFilter11x11u8C},
    {"obxBoxFilter11x11u8V2", obxBoxFilter11x11u8V2, 11, obxBoxFilter11x11u8C},
};

// The reciprocal 65536 / (n * n), rounded up, of each size.
uint32_t reciprocal(uint32_t n) { return n == 3 ? 7282 : n == 5 ? 2621 : 542; }

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
    const uint32_t w = width - 1, h = height - 1;
    for (const auto& [x, y] : {std::pair<uint32_t, uint32_t>{r, r}, {w - r, h - r}}) EXPECT_EQ(at(x, y), 255);
    // Corners have (r+1)^2 pixels inside, edges (r+1)*n:
    // 3x3: 4 * 255 = 1020 -> 1020 * 7282 + 32768 >> 16 = 113; 6 * 255 = 1530 -> 170.
    // 5x5: 9 * 255 = 2295 -> 2295 * 2621 + 32768 >> 16 = 92; 15 * 255 = 3825 -> 153.
    // 11x11: 36 * 255 = 9180 -> 9180 * 542 + 32768 >> 16 = 76; 66 * 255 = 16830 -> 139.
    const int corner = box.size == 3 ? 113 : box.size == 5 ? 92 : 76;
    const int edge = box.size == 3 ? 170 : box.size == 5 ? 153 : 139;
    for (const auto& [x, y] : {std::pair<uint32_t, uint32_t>{0, 0}, {w, 0}, {0, h}, {w, h}})
        EXPECT_EQ(at(x, y), corner) << x << "," << y;
    for (const auto& [x, y] : {std::pair<uint32_t, uint32_t>{r, 0}, {0, r}, {w, r}, {r + 1, h}})
        EXPECT_EQ(at(x, y), edge) << x << "," << y;
}

// Window sums whose product with the reciprocal lands on or next to a half
// (65536 * k + 32768), and the reciprocal's own inexactness. An image n rows
// high of `base`, with the first `count` pixels of the n x n window around
// its middle pixel set to `value`; n wide (a vector variant's scalar rows)
// and 2 n + 16 wide (whole vector steps).
struct RoundingCase {
    uint32_t n;
    uint8_t base;
    uint32_t count;
    uint8_t value, expected;
};
const RoundingCase kRoundingCases[] = {
    // 3x3: no sum up to 2295 lands within 3132 of a half; these are the closest.
    {3, 0, 5, 1, 1},        // 5 * 7282 = 36410 = 0.5556 * 65536: up to 1
    {3, 254, 4, 255, 254},  // 2290 * 7282 = 16675780 = 254.4522 * 65536: down
    {3, 101, 8, 102, 102},  // 917 * 7282 = 6677594 = 101.8920 * 65536
    {3, 0, 1, 255, 28},     // 255 * 7282 = 1856910 = 28.3342 * 65536
    // 5x5: 2963 * 2621 = 7766023 = 118.5001 * 65536 (7 above a half): 119;
    // 2988 * 2621 = 7831548 = 119.4999 * 65536 (4 below): 119, though 2988 / 25 = 119.52.
    {5, 118, 13, 119, 119},
    {5, 119, 13, 120, 119},
    // 11x11: 16384 * 542 = 8880128 = 135.5 * 65536 exactly: the tie rounds up to 136.
    {11, 135, 49, 136, 136},
    {11, 241, 40, 242, 241},  // 29201 * 542 = 15826942 = 241.49997 * 65536 (2 below)
    {11, 29, 58, 30, 30},     // 3567 * 542 = 1933314 = 29.50003 * 65536 (2 above)
    {11, 6, 60, 7, 7},        // 786 * 542 = 426012 = 6.5004 * 65536, though 786 / 121 = 6.496
};

TEST_P(BoxFilter, WindowSumsNextToAHalf) {
    const BoxImplementation& box = GetParam();
    for (const RoundingCase& c : kRoundingCases) {
        if (c.n != box.size) continue;
        for (uint32_t width : {c.n, 2 * c.n + 16}) {
            std::vector<uint8_t> src(width * c.n, c.base);
            for (uint32_t i = 0; i < c.count; ++i) src[i / c.n * width + width / 2 - c.n / 2 + i % c.n] = c.value;
            EXPECT_EQ(run(box, src, width, c.n)[c.n / 2 * width + width / 2], c.expected)
                << width << " wide, sum " << c.n * c.n * c.base + c.count * (c.value - c.base);
        }
    }
}

// Every pixel, border included: the sum of its n x n neighbourhood inside
// the image times the reciprocal, plus 32768, shifted right by 16. Widths
// beyond the column strips of both implementations (512 and 1024 columns)
// check the strip bookkeeping they share.
TEST_P(BoxFilter, FollowsTheDefinition) {
    const BoxImplementation& box = GetParam();
    const int n = static_cast<int>(box.size), r = n / 2;
    std::mt19937 rng(77 + n);
    std::vector<uint32_t> widths = {1023, 1024, 1025, 2100, 2048 + box.size};
    for (uint32_t w = box.size; w < box.size + 37; w += 3) widths.push_back(w);
    for (uint32_t width : widths) {
        const uint32_t height = box.size + 2;
        GuardedImage<uint8_t> src(width, height, width + 7, 3), dst(width, height, width + 5, 1);
        src.fillRandom(rng);
        box.filter(src.data(), width, height, src.stride(), dst.data(), dst.stride());
        ASSERT_TRUE(dst.guardsIntact()) << width;
        for (int y = 0; y < static_cast<int>(height); ++y)
            for (int x = 0; x < static_cast<int>(width); ++x) {
                uint32_t sum = 0;
                for (int j = std::max(0, y - r); j <= std::min<int>(height - 1, y + r); ++j)
                    for (int i = std::max(0, x - r); i <= std::min<int>(width - 1, x + r); ++i) sum += src.at(i, j);
                ASSERT_EQ(dst.at(x, y), (sum * reciprocal(box.size) + 32768) >> 16) << width << " at " << x << "," << y;
            }
    }
}

class BoxFilterVector : public BoxFilter {};

TEST_P(BoxFilterVector, MatchesReference) {
    const BoxImplementation& box = GetParam();
    expectSameAsReference(box.reference, box.filter, box.size, box.size, 3000 + box.size);
}

const auto boxName = [](const auto& info) { return std::string(info.param.name); };
INSTANTIATE_TEST_SUITE_P(Implementations, BoxFilter, ::testing::ValuesIn(kBoxImplementations), boxName);
INSTANTIATE_TEST_SUITE_P(Variants, BoxFilterVector,
                         ::testing::Values(kBoxImplementations[1], kBoxImplementations[3], kBoxImplementations[5],
                                           kBoxImplementations[6]),
                         boxName);

}  // namespace
