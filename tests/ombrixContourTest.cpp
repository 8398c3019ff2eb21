// Contour finding: hand-traced point orders, labels left in the image, hole
// flags and hierarchies of the four modes, the capacity limits, assertion
// texts, and on random images the contour counts against connected
// components counted by flood fill.
#include <algorithm>
#include <random>

#include "ombrix.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

enum Mode { kExternal, kList, kCcomp, kTree };
const Mode kAllModes[] = {kExternal, kList, kCcomp, kTree};

using Points = std::vector<std::pair<int32_t, int32_t>>;

struct Found {
    std::vector<Points> contours;
    std::vector<int32_t> holeFlag;
    std::vector<std::array<int32_t, 4>> hierarchy;
    std::vector<uint8_t> labels;  // the image afterwards, packed
};

// An image from rows of text: '#' is 255, anything else 0. Kept in a buffer
// with a stride `pad` bytes wider than the image.
struct TextImage {
    uint32_t width, height, stride;
    std::vector<uint8_t> pixels;
    TextImage(const std::vector<std::string>& rows, uint32_t pad = 3)
        : width(rows[0].size()), height(rows.size()), stride(width + pad), pixels(size_t{stride} * height, 0) {
        for (uint32_t y = 0; y < height; ++y)
            for (uint32_t x = 0; x < width; ++x) pixels[y * stride + x] = rows[y][x] == '#' ? 255 : 0;
    }
};

Found run(Mode mode, TextImage image, uint32_t maxNumContours = 256, uint32_t pointBufferSize = 4096) {
    void* handle = obxFindContoursAllocate_(image.stride);
    const uint32_t slots = std::max(maxNumContours, 1u);
    std::vector<uint32_t> counts(slots, 0xDEAD);
    std::vector<int32_t*> starts(slots, nullptr);
    std::vector<int32_t> points(pointBufferSize + 16, -7), flags(slots, -7), hierarchy(4 * slots, -7);
    uint32_t n = 0xDEAD;
    uint8_t* src = image.pixels.data();
    const uint32_t w = image.width, h = image.height, s = image.stride;
    switch (mode) {
        case kExternal:
            obxFindContoursExternalu8_(src, w, h, s, maxNumContours, &n, counts.data(), starts.data(), points.data(),
                                       pointBufferSize, hierarchy.data(), handle);
            break;
        case kList:
            obxFindContoursListu8_(src, w, h, s, maxNumContours, &n, counts.data(), starts.data(), points.data(),
                                   pointBufferSize, handle);
            break;
        case kCcomp:
            obxFindContoursCcompu8_(src, w, h, s, maxNumContours, &n, flags.data(), counts.data(), starts.data(),
                                    points.data(), pointBufferSize, hierarchy.data(), handle);
            break;
        case kTree:
            obxFindContoursTreeu8_(src, w, h, s, maxNumContours, &n, flags.data(), counts.data(), starts.data(),
                                   points.data(), pointBufferSize, hierarchy.data(), handle);
            break;
    }
    obxFindContoursDelete_(handle);
    Found f;
    EXPECT_LE(n, maxNumContours);
    int32_t* expectedStart = points.data();
    for (uint32_t i = 0; i < n && i < maxNumContours; ++i) {
        EXPECT_EQ(starts[i], expectedStart) << "contour " << i << " does not follow the previous one";
        Points c;
        for (uint32_t k = 0; k < counts[i]; ++k) c.push_back({starts[i][2 * k], starts[i][2 * k + 1]});
        expectedStart += 2 * counts[i];
        f.contours.push_back(c);
        if (mode == kCcomp || mode == kTree) f.holeFlag.push_back(flags[i]);
        if (mode != kList) f.hierarchy.push_back({hierarchy[4 * i], hierarchy[4 * i + 1], hierarchy[4 * i + 2], hierarchy[4 * i + 3]});
    }
    EXPECT_LE(expectedStart - points.data(), int64_t{pointBufferSize}) << "points beyond the buffer size";
    for (size_t k = pointBufferSize; k < points.size(); ++k) EXPECT_EQ(points[k], -7) << "write past the buffer";
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) f.labels.push_back(image.pixels[y * s + x]);
    return f;
}

const std::vector<std::string> kSquare = {
    ".......",
    ".......",
    "..###..",
    "..###..",
    "..###..",
    ".......",
};

// Ring: a one-pixel wall around a 3x3 hole.
const std::vector<std::string> kRing = {
    ".........",
    ".........",
    "..#####..",
    "..#...#..",
    "..#...#..",
    "..#...#..",
    "..#####..",
    ".........",
};

// Four pixels touching only at corners enclose one background pixel, which
// is a hole: background is 4-connected where foreground is 8-connected.
const std::vector<std::string> kDiamond = {
    "......",
    "......",
    "...#..",
    "..#.#.",
    "...#..",
    "......",
};

TEST(Contour, SinglePixelIsOnePointLabelledNegative) {
    std::vector<std::string> rows(10, std::string(10, '.'));
    rows[5][5] = '#';
    for (Mode mode : kAllModes) {
        const Found f = run(mode, TextImage(rows));
        ASSERT_EQ(f.contours.size(), 1u) << mode;
        EXPECT_EQ(f.contours[0], (Points{{5, 5}}));
        EXPECT_EQ(f.labels[5 * 10 + 5], 254);  // -2 as a signed byte
        EXPECT_EQ(std::count(f.labels.begin(), f.labels.end(), 0), 99);
    }
}

TEST(Contour, EmptyImageHasNoContours) {
    for (Mode mode : kAllModes) EXPECT_TRUE(run(mode, TextImage(std::vector<std::string>(4, "....."))).contours.empty());
}

TEST(Contour, SquareRunsDownTheLeftSideFirst) {
    const Points expected = {{2, 2}, {2, 3}, {2, 4}, {3, 4}, {4, 4}, {4, 3}, {4, 2}, {3, 2}};
    for (Mode mode : kAllModes) {
        const Found f = run(mode, TextImage(kSquare));
        ASSERT_EQ(f.contours.size(), 1u);
        EXPECT_EQ(f.contours[0], expected) << mode;
        // Pixels whose east neighbour was seen as background are negative;
        // the centre is untouched foreground.
        const std::vector<uint8_t> row3(f.labels.begin() + 3 * 7, f.labels.begin() + 4 * 7);
        EXPECT_EQ(row3, (std::vector<uint8_t>{0, 0, 2, 1, 254, 0, 0}));
    }
}

TEST(Contour, RingHasAnOuterBorderAndAHole) {
    const Points outer = {{2, 2}, {2, 3}, {2, 4}, {2, 5}, {2, 6}, {3, 6}, {4, 6}, {5, 6},
                          {6, 6}, {6, 5}, {6, 4}, {6, 3}, {6, 2}, {5, 2}, {4, 2}, {3, 2}};
    // The hole border cuts the corners: it runs through 8-connected pixels
    // around the 4-connected hole.
    const Points hole = {{2, 3}, {3, 2}, {4, 2}, {5, 2}, {6, 3}, {6, 4},
                         {6, 5}, {5, 6}, {4, 6}, {3, 6}, {2, 5}, {2, 4}};
    const Found external = run(kExternal, TextImage(kRing));
    ASSERT_EQ(external.contours.size(), 1u);
    EXPECT_EQ(external.contours[0], outer);
    EXPECT_EQ(external.hierarchy[0], (std::array<int32_t, 4>{-1, -1, -1, -1}));
    for (Mode mode : {kList, kCcomp, kTree}) {
        const Found f = run(mode, TextImage(kRing));
        ASSERT_EQ(f.contours.size(), 2u);
        EXPECT_EQ(f.contours[0], outer) << mode;
        EXPECT_EQ(f.contours[1], hole) << mode;
        if (mode == kList) continue;
        EXPECT_EQ(f.holeFlag, (std::vector<int32_t>{0, 1}));
        EXPECT_EQ(f.hierarchy[0], (std::array<int32_t, 4>{-1, -1, 1, -1}));
        EXPECT_EQ(f.hierarchy[1], (std::array<int32_t, 4>{-1, -1, -1, 0}));
    }
}

// The label map left behind: 2 and 254 in List; in Tree the outer border is
// number 2 (labels 2 / 254) and the hole number 3 (labels 3 / 253).
TEST(Contour, RingLabelsStayInTheImage) {
    const struct {
        Mode mode;
        std::vector<std::string> rows;  // one character per pixel
    } cases[] = {
        {kList, {".........", ".........", "..2222N..", "..N...N..", "..N...N..", "..N...N..", "..2222N..", "........."}},
        {kTree, {".........", ".........", "..2222N..", "..h...N..", "..h...N..", "..h...N..", "..2222N..", "........."}},
    };
    for (const auto& c : cases) {
        const Found f = run(c.mode, TextImage(kRing));
        for (uint32_t y = 0; y < c.rows.size(); ++y)
            for (uint32_t x = 0; x < 9; ++x) {
                const char m = c.rows[y][x];
                const uint8_t expected = m == '2' ? 2 : m == 'N' ? 254 : m == 'h' ? 253 : 0;
                EXPECT_EQ(f.labels[y * 9 + x], expected) << c.mode << " at " << x << "," << y;
            }
    }
}

TEST(Contour, DiagonalNeighboursAreConnected) {
    const struct {
        std::vector<std::string> rows;
        std::vector<Points> contours;  // List mode
    } cases[] = {
        {{"......", "......", "......", "...#..", "....#.", "......"}, {{{3, 3}, {4, 4}}}},
        {{"......", "......", "......", "....#.", "...#..", "......"}, {{{4, 3}, {3, 4}}}},
        {kDiamond, {{{3, 2}, {2, 3}, {3, 4}, {4, 3}}, {{2, 3}, {3, 2}, {4, 3}, {3, 4}}}},
    };
    for (const auto& c : cases) EXPECT_EQ(run(kList, TextImage(c.rows)).contours, c.contours);
    const Found tree = run(kTree, TextImage(kDiamond));
    EXPECT_EQ(tree.holeFlag, (std::vector<int32_t>{0, 1}));
    EXPECT_EQ(tree.hierarchy[1][3], 0);
}

// Everything on the outermost rows and columns is cleared first.
TEST(Contour, ImageBorderIsClearedBeforeTheScan) {
    const std::vector<std::string> full(5, "######");
    const Points inner = {{1, 1}, {1, 2}, {1, 3}, {2, 3}, {3, 3}, {4, 3}, {4, 2}, {4, 1}, {3, 1}, {2, 1}};
    for (Mode mode : kAllModes) {
        const Found f = run(mode, TextImage(full, 0));
        ASSERT_EQ(f.contours.size(), 1u);
        EXPECT_EQ(f.contours[0], inner) << mode;
        for (uint32_t x = 0; x < 6; ++x) EXPECT_EQ(f.labels[x] | f.labels[4 * 6 + x], 0);
        for (uint32_t y = 0; y < 5; ++y) EXPECT_EQ(f.labels[y * 6] | f.labels[y * 6 + 5], 0);
    }
    // Thin images have no interior at all.
    for (const auto& rows : {std::vector<std::string>{"#####", "#####"}, std::vector<std::string>(6, "##")})
        for (Mode mode : kAllModes) EXPECT_TRUE(run(mode, TextImage(rows)).contours.empty());
}

// A big ring holding a small ring holding a dot.
const std::vector<std::string> kNested = {
    ".................",
    ".###############.",
    ".#.............#.",
    ".#.............#.",
    ".#..#########..#.",
    ".#..#.......#..#.",
    ".#..#.......#..#.",
    ".#..#.......#..#.",
    ".#..#...#...#..#.",
    ".#..#.......#..#.",
    ".#..#.......#..#.",
    ".#..#.......#..#.",
    ".#..#########..#.",
    ".#.............#.",
    ".#.............#.",
    ".###############.",
    ".................",
};

TEST(Contour, NestedRingsGiveEachModeItsHierarchy) {
    using H = std::vector<std::array<int32_t, 4>>;
    const struct {
        Mode mode;
        std::vector<int32_t> holeFlag;
        H hierarchy;
    } cases[] = {
        {kExternal, {}, {{-1, -1, -1, -1}}},
        {kCcomp, {0, 1, 0, 1, 0}, {{2, -1, 1, -1}, {-1, -1, -1, 0}, {4, 0, 3, -1}, {-1, -1, -1, 2}, {-1, 2, -1, -1}}},
        {kTree, {0, 1, 0, 1, 0}, {{-1, -1, 1, -1}, {-1, -1, 2, 0}, {-1, -1, 3, 1}, {-1, -1, 4, 2}, {-1, -1, -1, 3}}},
    };
    for (const auto& c : cases) {
        const Found f = run(c.mode, TextImage(kNested));
        EXPECT_EQ(f.holeFlag, c.holeFlag) << c.mode;
        EXPECT_EQ(f.hierarchy, c.hierarchy) << c.mode;
    }
    const Found list = run(kList, TextImage(kNested));
    ASSERT_EQ(list.contours.size(), 5u);
    EXPECT_EQ(list.contours[4], (Points{{8, 8}}));
}

// Siblings: three dots at the top level, then two dots inside one hole.
TEST(Contour, SiblingsAreLinkedBothWays) {
    const std::vector<std::string> rows = {
        "...........", ".#.#.#.....", "...........", ".#######...", ".#.....#...",
        ".#.#.#.#...", ".#.....#...", ".#######...", "...........",
    };
    // Contours in scan order: dots 0, 1, 2; ring 3 with hole 4; dots 5, 6.
    using H = std::vector<std::array<int32_t, 4>>;
    const H tree = {{1, -1, -1, -1}, {2, 0, -1, -1}, {3, 1, -1, -1}, {-1, 2, 4, -1},
                    {-1, -1, 5, 3},  {6, -1, -1, 4}, {-1, 5, -1, 4}};
    EXPECT_EQ(run(kTree, TextImage(rows)).hierarchy, tree);
    const H ccomp = {{1, -1, -1, -1}, {2, 0, -1, -1}, {3, 1, -1, -1}, {5, 2, 4, -1},
                     {-1, -1, -1, 3}, {6, 3, -1, -1}, {-1, 5, -1, -1}};
    EXPECT_EQ(run(kCcomp, TextImage(rows)).hierarchy, ccomp);
    const H external = {{1, -1, -1, -1}, {2, 0, -1, -1}, {3, 1, -1, -1}, {-1, 2, -1, -1}};
    EXPECT_EQ(run(kExternal, TextImage(rows)).hierarchy, external);
}

// A point is kept only while the count of values stays below the buffer size;
// the contour being traced when it fills is dropped whole.
TEST(Contour, PointBufferAndContourLimits) {
    const std::vector<std::string> twoShapes = {
        "..........", ".#........", "..........", "..###.....", "..###.....", "..###.....", "..........",
    };
    const struct {
        uint32_t maxNumContours, pointBufferSize;
        size_t expected;
    } cases[] = {
        {256, 18, 1},   // 1 + 8 points need 18 values: the count would reach 18
        {256, 19, 2},
        {256, 2, 0},    // not even one point
        {256, 3, 1},
        {256, 0, 0},
        {1, 4096, 1},
        {0, 4096, 0},
    };
    for (const auto& c : cases)
        for (Mode mode : {kExternal, kList}) {
            const Found f = run(mode, TextImage(twoShapes), c.maxNumContours, c.pointBufferSize);
            EXPECT_EQ(f.contours.size(), c.expected) << c.maxNumContours << " " << c.pointBufferSize;
            // Rows past an early stop still hold 0 and 1, not the input.
            EXPECT_EQ(std::count(f.labels.begin(), f.labels.end(), 255), 0);
        }
    EXPECT_EQ(run(kTree, TextImage(twoShapes), 127, 18).contours.size(), 1u);
}

// Border numbers live in the image as bytes: the hierarchical modes number at
// most 253 contours, agreeing with List while the numbers stay below 128.
TEST(Contour, NumberedModesStopAt253Contours) {
    std::vector<std::string> rows(42, std::string(42, '.'));
    for (uint32_t y = 1; y < 41; y += 2)
        for (uint32_t x = 1; x < 41; x += 2) rows[y][x] = '#';  // 400 dots
    const Found list = run(kList, TextImage(rows), 1000);
    ASSERT_EQ(list.contours.size(), 400u);
    for (Mode mode : {kCcomp, kTree}) {
        const Found f = run(mode, TextImage(rows), 1000);
        ASSERT_EQ(f.contours.size(), 253u);
        EXPECT_TRUE(std::equal(list.contours.begin(), list.contours.begin() + 126, f.contours.begin()));
    }
}

// Counts of random images against flood fills: outer borders are the
// 8-connected foreground components, holes the 4-connected background
// components that do not reach the cleared image border.
uint32_t countComponents(std::vector<uint8_t> mask, uint32_t w, uint32_t h, bool eight, bool skipBorderTouching) {
    uint32_t count = 0;
    std::vector<std::pair<uint32_t, uint32_t>> stack;
    for (uint32_t y0 = 0; y0 < h; ++y0)
        for (uint32_t x0 = 0; x0 < w; ++x0) {
            if (!mask[y0 * w + x0]) continue;
            bool touches = false;
            mask[y0 * w + x0] = 0;
            stack.push_back({x0, y0});
            while (!stack.empty()) {
                const auto [x, y] = stack.back();
                stack.pop_back();
                touches |= x == 0 || y == 0 || x == w - 1 || y == h - 1;
                for (int dy = -1; dy <= 1; ++dy)
                    for (int dx = -1; dx <= 1; ++dx) {
                        if ((!eight && dx && dy) || (!dx && !dy)) continue;
                        const int64_t nx = int64_t{x} + dx, ny = int64_t{y} + dy;
                        if (nx < 0 || ny < 0 || nx >= w || ny >= h || !mask[ny * w + nx]) continue;
                        mask[ny * w + nx] = 0;
                        stack.push_back({uint32_t(nx), uint32_t(ny)});
                    }
            }
            count += !(skipBorderTouching && touches);
        }
    return count;
}

TEST(Contour, RandomImagesHaveOneBorderPerComponentAndHole) {
    std::mt19937 rng(17);
    for (int trial = 0; trial < 60; ++trial) {
        const uint32_t w = 3 + rng() % 30, h = 3 + rng() % 20, density = 30 + rng() % 40;
        std::vector<std::string> rows(h, std::string(w, '.'));
        for (auto& row : rows)
            for (char& c : row) c = rng() % 100 < density ? '#' : '.';
        std::vector<uint8_t> fg(w * h), bg(w * h);
        for (uint32_t y = 0; y < h; ++y)
            for (uint32_t x = 0; x < w; ++x) {
                const bool set = rows[y][x] == '#' && x && y && x + 1 < w && y + 1 < h;
                fg[y * w + x] = set;
                bg[y * w + x] = !set;
            }
        const uint32_t outer = countComponents(fg, w, h, true, false);
        const uint32_t holes = countComponents(bg, w, h, false, true);
        // Foreground of any non-zero value, 1 and 2 included.
        TextImage image(rows, trial % 5);
        for (uint8_t& v : image.pixels)
            if (v) v = static_cast<uint8_t>(1 + rng() % 255);
        const Found list = run(kList, image);
        ASSERT_EQ(list.contours.size(), outer + holes) << w << "x" << h;
        // Consecutive points are 8-neighbours, also around the end.
        for (const Points& c : list.contours)
            for (size_t k = 0; k < c.size(); ++k) {
                const auto& a = c[k];
                const auto& b = c[(k + 1) % c.size()];
                EXPECT_LE(std::max(std::abs(a.first - b.first), std::abs(a.second - b.second)), c.size() > 1 ? 1 : 0);
            }
        if (outer + holes > 126) continue;
        for (Mode mode : {kCcomp, kTree}) {
            const Found f = run(mode, image);
            EXPECT_EQ(f.contours, list.contours);
            EXPECT_EQ(std::count(f.holeFlag.begin(), f.holeFlag.end(), 1), int64_t(holes));
            // Holes always have a parent and it is an outer border; in Ccomp
            // every outer border is at the top level.
            for (size_t i = 0; i < f.holeFlag.size(); ++i) {
                const int32_t parent = f.hierarchy[i][3];
                if (f.holeFlag[i]) {
                    ASSERT_GE(parent, 0);
                    EXPECT_EQ(f.holeFlag[parent], 0);
                } else if (mode == kCcomp) {
                    EXPECT_EQ(parent, -1);
                } else if (parent >= 0) {
                    EXPECT_EQ(f.holeFlag[parent], 1);
                }
            }
        }
    }
}

std::vector<AssertionCase> assertionCases() {
    static uint8_t image[8 * 8];
    static uint32_t n, counts[200];
    static int32_t* starts[200];
    static int32_t points[64], flags[200], hierarchy[800];
    static void* handle = obxFindContoursAllocateC(8);
    const std::string module = "src/cpu/ombrixContourC";
    const std::string external = "src && numContours && numContourPoints && contourStartPoints && pointBuffer && hierarchy && contourHandle && srcWidth && srcHeight && (srcStride >= srcWidth)";
    const std::string list = "src && numContours && numContourPoints && contourStartPoints && pointBuffer && contourHandle && srcWidth && srcHeight && (srcStride >= srcWidth)";
    const std::string hierarchical = "src && numContours && holeFlag && numContourPoints && contourStartPoints && pointBuffer && hierarchy && contourHandle && srcWidth && srcHeight && (srcStride >= srcWidth)";
    return {
        {"External null image", [] { obxFindContoursExternalu8C(nullptr, 8, 8, 8, 200, &n, counts, starts, points, 64, hierarchy, handle); }, module, external},
        {"External no hierarchy", [] { obxFindContoursExternalu8C(image, 8, 8, 8, 200, &n, counts, starts, points, 64, nullptr, handle); }, module, external},
        {"External stride", [] { obxFindContoursExternalu8C(image, 8, 8, 7, 200, &n, counts, starts, points, 64, hierarchy, handle); }, module, external},
        {"List no handle", [] { obxFindContoursListu8C(image, 8, 8, 8, 200, &n, counts, starts, points, 64, nullptr); }, module, list},
        {"List zero height", [] { obxFindContoursListu8C(image, 8, 0, 8, 200, &n, counts, starts, points, 64, handle); }, module, list},
        {"Ccomp no hole flags", [] { obxFindContoursCcompu8C(image, 8, 8, 8, 200, &n, nullptr, counts, starts, points, 64, hierarchy, handle); }, module, hierarchical},
        {"Ccomp 126 contours", [] { obxFindContoursCcompu8C(image, 8, 8, 8, 126, &n, flags, counts, starts, points, 64, hierarchy, handle); }, module, "maxNumContours > 126"},
        {"Tree zero width", [] { obxFindContoursTreeu8C(image, 0, 8, 8, 200, &n, flags, counts, starts, points, 64, hierarchy, handle); }, module, hierarchical},
        {"Tree 126 contours", [] { obxFindContoursTreeu8C(image, 8, 8, 8, 126, &n, flags, counts, starts, points, 64, hierarchy, handle); }, module, "maxNumContours > 126"},
        {"Delete null", [] { obxFindContoursDeleteC(nullptr); }, module, "contourHandle"},
    };
}

INSTANTIATE_TEST_SUITE_P(Contour, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

TEST(Contour, HandleHoldsTheNeighbourOffsetsTwice) {
    const int32_t* offsets = static_cast<const int32_t*>(obxFindContoursAllocate_(100));
    ASSERT_NE(offsets, nullptr);
    EXPECT_EQ(reinterpret_cast<uintptr_t>(offsets) % 16, 0u);
    const std::vector<int32_t> expected = {1, -99, -100, -101, -1, 99, 100, 101};
    EXPECT_EQ(std::vector<int32_t>(offsets, offsets + 8), expected);
    EXPECT_EQ(std::vector<int32_t>(offsets + 8, offsets + 16), expected);
    obxFindContoursDelete_(const_cast<int32_t*>(offsets));
}

}  // namespace
