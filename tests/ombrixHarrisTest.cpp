// Harris corners: hand-checked responses and rules, both variants against a
// direct evaluation of the definition, the scratch buffers, the assertion
// texts, and randomized vector-against-reference comparisons with guard
// bytes after the corner list and around the count.
#include "ombrixKernels.h"
#include "ombrixMemory.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

struct Variant {
    const char* name;
    obxCornerHarrisu8_fn* detect;
    obxCornerHarrisInMasku8_fn* detectInMask;
    obxLocalHarrisMaxu8_fn* localMax;
    bool vector;
};
const Variant kVariants[] = {
    {"reference", obxCornerHarrisu8C, obxCornerHarrisInMasku8C, obxLocalHarrisMaxu8C, false},
    {"vector", obxCornerHarrisu8V, obxCornerHarrisInMasku8V, obxLocalHarrisMaxu8V, true},
};

// ---- The definition, evaluated directly ----------------------------------------------

int64_t floorDiv(int64_t a, int64_t b) { return a >= 0 ? a / b : -((-a + b - 1) / b); }

// Pixels addressed through a row length in bytes, as the operations see them.
struct Pixels {
    const uint8_t* bytes;
    size_t rowLen;
    int64_t at(uint32_t x, uint32_t y) const { return bytes[y * rowLen + x]; }
};

// R at (x, y), 3 <= x, y and x, y + 3 < the size, from the pixels alone:
// floor-halved central differences, the 25 binomial weights with one floor
// division by 256, and the squared trace floor-divided by 16, in 64 bits.
int64_t modelResponse(const Pixels& p, uint32_t x, uint32_t y) {
    static const int64_t w[5] = {1, 4, 6, 4, 1};
    int64_t sxx = 0, syy = 0, sxy = 0;
    for (int j = 0; j < 5; ++j) {
        for (int i = 0; i < 5; ++i) {
            const uint32_t u = x + i - 2, v = y + j - 2;
            const int64_t gx = floorDiv(p.at(u + 1, v) - p.at(u - 1, v), 2);
            const int64_t gy = floorDiv(p.at(u, v + 1) - p.at(u, v - 1), 2);
            sxx += w[i] * w[j] * gx * gx;
            syy += w[i] * w[j] * gy * gy;
            sxy += w[i] * w[j] * gx * gy;
        }
    }
    sxx = floorDiv(sxx, 256), syy = floorDiv(syy, 256), sxy = floorDiv(sxy, 256);
    return sxx * syy - sxy * sxy - floorDiv((sxx + syy) * (sxx + syy), 16);
}

using Excluded = std::function<bool(uint32_t, uint32_t)>;

// The corner list as (x, y) values, by the rules: pixels at least
// max(border, 5) inside, above the threshold, strictly above their 24
// neighbours, not excluded, the first `capacity` in raster order.
std::vector<uint32_t> modelCorners(const Pixels& p, uint32_t width, uint32_t height, uint32_t border,
                                   int32_t threshold, uint32_t capacity, const Excluded& excluded = nullptr) {
    std::vector<uint32_t> xy;
    const uint64_t e = border > 5 ? border : 5;
    if (2 * e >= width || 2 * e >= height) return xy;
    std::vector<int64_t> r(size_t{width} * height);
    for (uint32_t y = e - 2; y < height - e + 2; ++y)
        for (uint32_t x = e - 2; x < width - e + 2; ++x) r[size_t{y} * width + x] = modelResponse(p, x, y);
    for (uint32_t y = e; y < height - e; ++y) {
        for (uint32_t x = e; x < width - e; ++x) {
            const int64_t centre = r[size_t{y} * width + x];
            bool corner = centre > threshold;
            for (uint32_t v = y - 2; corner && v <= y + 2; ++v)
                for (uint32_t u = x - 2; u <= x + 2; ++u)
                    if ((u != x || v != y) && r[size_t{v} * width + u] >= centre) corner = false;
            if (!corner || (excluded && excluded(x, y))) continue;
            if (xy.size() / 2 == capacity) return xy;
            xy.push_back(x);
            xy.push_back(y);
        }
    }
    return xy;
}

struct Strongest {
    int32_t result;
    uint32_t x, y, score;
};
bool operator==(const Strongest& a, const Strongest& b) {
    return a.result == b.result && a.x == b.x && a.y == b.y && a.score == b.score;
}
std::ostream& operator<<(std::ostream& os, const Strongest& s) {
    return os << s.result << " at (" << s.x << ", " << s.y << ") score " << static_cast<int32_t>(s.score);
}

// What a call that finds nothing leaves in the outputs.
constexpr uint32_t kUntouched = 0xA5A5A5A5u;

Strongest modelLocalMax(const Pixels& p, uint32_t rowLen, uint32_t height, uint32_t posX, uint32_t posY) {
    const Strongest none{0, kUntouched, kUntouched, kUntouched};
    if (posX < 5 || posY < 5 || uint64_t{posX} + 6 > rowLen || uint64_t{posY} + 6 > height) return none;
    int64_t best = -1;
    Strongest s = none;
    for (uint32_t y = posY - 2; y <= posY + 2; ++y) {
        for (uint32_t x = posX - 2; x <= posX + 2; ++x) {
            const int64_t r = modelResponse(p, x, y);
            if (r > best) best = r, s = {1, x, y, static_cast<uint32_t>(r)};
        }
    }
    return s;
}

// ---- Calls with guarded outputs ------------------------------------------------------

Pixels pixelsOf(const GuardedImage<uint8_t>& img) { return {img.data(), img.stride()}; }

struct MaskArg {
    const uint8_t* bits;
    uint32_t width, height;
};

// Runs a detector with the list and the count in guarded buffers (every
// byte starting as the sentinel) and returns the list as (x, y) values.
// Nothing outside the first count pairs and the count may change.
std::vector<uint32_t> detect(const Variant& v, const GuardedImage<uint8_t>& img, uint32_t stride, uint32_t border,
                             uint32_t capacity, int32_t threshold, const MaskArg* mask = nullptr,
                             size_t listOffset = 0, size_t countOffset = 0) {
    GuardedBuffer list(size_t{capacity} * 8, listOffset), count(4, countOffset);
    uint32_t* xy = reinterpret_cast<uint32_t*>(list.data());
    uint32_t* n = reinterpret_cast<uint32_t*>(count.data());
    if (mask)
        v.detectInMask(img.data(), img.width(), img.height(), stride, border, xy, capacity, n, threshold, mask->bits,
                       mask->width, mask->height);
    else
        v.detect(img.data(), img.width(), img.height(), stride, border, xy, capacity, n, threshold);
    EXPECT_TRUE(list.guardsIntact()) << v.name;
    EXPECT_TRUE(count.guardsIntact()) << v.name;
    EXPECT_LE(*n, capacity) << v.name;
    const uint32_t found = std::min(*n, capacity);
    EXPECT_TRUE(GuardedBuffer::untouched(list.data() + size_t{found} * 8, list.data() + list.size()))
        << v.name << ": the list changed beyond its count";
    return std::vector<uint32_t>(xy, xy + 2 * found);
}

Strongest localMax(const Variant& v, const GuardedImage<uint8_t>& img, uint32_t stride, uint32_t posX,
                   uint32_t posY) {
    Strongest s{0, kUntouched, kUntouched, kUntouched};
    s.result = v.localMax(img.data(), img.width(), img.height(), stride, posX, posY, &s.x, &s.y, &s.score);
    return s;
}

// ---- Scenes --------------------------------------------------------------------------

enum class Scene { Photo, Noise, Flat, Impulses };
constexpr int kScenes = 4;

// Photo: shading, filled rectangles and discs of random levels (corners and
// curved edges) and a little noise. Noise: every byte random. Flat: one
// level. Impulses: single bright or dark pixels on a random level.
void paint(GuardedImage<uint8_t>& img, Scene scene, std::mt19937& rng) {
    const uint32_t w = img.width(), h = img.height();
    const uint8_t level = static_cast<uint8_t>(rng());
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x)
            img.at(x, y) = scene == Scene::Photo ? static_cast<uint8_t>(40 + (3 * x + 2 * y) % 97)
                           : scene == Scene::Noise ? static_cast<uint8_t>(rng())
                                                   : level;
    if (scene == Scene::Photo) {
        const int shapes = 2 + static_cast<int>((w * h) / 400);
        for (int s = 0; s < shapes; ++s) {
            const uint32_t x0 = rng() % w, y0 = rng() % h, size = 3 + rng() % 20;
            const uint8_t value = static_cast<uint8_t>(rng());
            const bool disc = rng() % 3 == 0;
            for (uint32_t y = y0; y < std::min(h, y0 + size); ++y)
                for (uint32_t x = x0; x < std::min(w, x0 + size); ++x) {
                    const int dx = 2 * static_cast<int>(x - x0) - static_cast<int>(size);
                    const int dy = 2 * static_cast<int>(y - y0) - static_cast<int>(size);
                    if (!disc || dx * dx + dy * dy <= static_cast<int>(size * size)) img.at(x, y) = value;
                }
        }
        for (uint32_t y = 0; y < h; ++y)
            for (uint32_t x = 0; x < w; ++x)
                img.at(x, y) = static_cast<uint8_t>(std::clamp(img.at(x, y) + static_cast<int>(rng() % 7) - 3, 0, 255));
    } else if (scene == Scene::Impulses) {
        for (uint32_t i = 0; i < (w * h) / 50 + 1; ++i) img.at(rng() % w, rng() % h) = static_cast<uint8_t>(rng());
    }
}

// Thresholds from below every response to above the strongest (about 2^30).
int32_t randomThreshold(std::mt19937& rng) {
    const int32_t choices[] = {INT32_MIN, -100000, -1, 0, 1, 1000, 100000, 1000000, 20000000, INT32_MAX};
    return rng() % 4 ? choices[rng() % 10] : static_cast<int32_t>(rng() % 3000000) - 1000000;
}

GuardedImage<uint8_t> imageOf(uint32_t w, uint32_t h, uint8_t level) {
    GuardedImage<uint8_t> img(w, h, w, 0);
    img.fill(level);
    return img;
}

// 32x24, zero, with single pixels of 255 at (15, 5), (5, 12), (15, 12) and
// (26, 18): each is a corner of response 6967728 (see SinglePixel below),
// two of them at distance 5 from an edge.
GuardedImage<uint8_t> fourImpulses() {
    GuardedImage<uint8_t> img = imageOf(32, 24, 0);
    for (auto [x, y] : {std::pair{15, 5}, {5, 12}, {15, 12}, {26, 18}}) img.at(x, y) = 255;
    return img;
}
const std::vector<uint32_t> kFourCorners = {15, 5, 5, 12, 15, 12, 26, 18};

// ---- Hand-checked responses ----------------------------------------------------------

// One pixel of 255 at (10, 10) on 0: gx is 127 left of it and
// (0 - 255) >> 1 = -128 right of it, gy likewise above and below, so
// gxx = 16129 at (9, 10), 16384 at (11, 10), and gxy = 0 everywhere.
// Sxx(10, 10) = (4 * 6 * 16129 + 4 * 6 * 16384) >> 8 = 780312 >> 8 = 3048
// = Syy, Sxy = 0, R = 3048^2 - (6096^2 >> 4) = 9290304 - 2322576 = 6967728.
// (A gradient truncated towards zero would give 6858432.)
TEST(HarrisByHand, SinglePixel) {
    GuardedImage<uint8_t> img = imageOf(21, 21, 0);
    img.at(10, 10) = 255;
    for (const Variant& v : kVariants) {
        EXPECT_EQ(localMax(v, img, 21, 10, 10), (Strongest{1, 10, 10, 6967728})) << v.name;
        EXPECT_EQ(detect(v, img, 21, 0, 10, 0), (std::vector<uint32_t>{10, 10})) << v.name;
    }
}

// A 2x2 block of 5 at (7..8, 7..8) on 0: the gradients are 2 before the
// block and (0 - 5) >> 1 = -3 after it, and the strongest response is 12 at
// (8, 8). Truncated gradients would give 3 at (7, 7); shifting by 4 after
// each smoothing pass instead of by 8 once, 7 at (7, 8). As a corner, 12
// must beat the threshold strictly.
TEST(HarrisByHand, FloorGradientsAndOneShiftAfterBothPasses) {
    GuardedImage<uint8_t> img = imageOf(15, 15, 0);
    for (uint32_t y = 7; y <= 8; ++y)
        for (uint32_t x = 7; x <= 8; ++x) img.at(x, y) = 5;
    for (const Variant& v : kVariants) {
        EXPECT_EQ(localMax(v, img, 15, 7, 7), (Strongest{1, 8, 8, 12})) << v.name;
        EXPECT_EQ(detect(v, img, 15, 0, 10, 11), (std::vector<uint32_t>{8, 8})) << v.name;
        EXPECT_EQ(detect(v, img, 15, 0, 10, 12), std::vector<uint32_t>{}) << v.name << ": equal to the threshold";
    }
}

// Ramps whose central differences are all +3 or all -3: gx = 1 gives
// Sxx = 1 and R = -(1 >> 4) = 0 everywhere, so the first of 25 equal
// responses wins; gx = (-3) >> 1 = -2 gives Sxx = 4 and R = -(16 >> 4) = -1,
// which never beats the starting -1. A flat image has R = 0.
TEST(HarrisByHand, LocalMaximumOfUniformResponses) {
    const struct {
        const char* what;
        int step;  // added every two columns
        Strongest expected;
    } cases[] = {
        {"rising ramp", 3, {1, 14, 10, 0}},
        {"falling ramp", -3, {0, kUntouched, kUntouched, kUntouched}},
        {"flat", 0, {1, 14, 10, 0}},
    };
    for (const auto& c : cases) {
        GuardedImage<uint8_t> img(30, 24, 30, 3);
        for (uint32_t y = 0; y < 24; ++y)
            for (uint32_t x = 0; x < 30; ++x) img.at(x, y) = static_cast<uint8_t>(100 + c.step * static_cast<int>(x / 2));
        for (const Variant& v : kVariants) {
            EXPECT_EQ(localMax(v, img, 30, 16, 12), c.expected) << v.name << " " << c.what;
            EXPECT_EQ(detect(v, img, 0, 0, 10, INT32_MIN), std::vector<uint32_t>{}) << v.name << " " << c.what;
        }
    }
}

// ---- The detector's rules ------------------------------------------------------------

// Two pixels of 254 side by side: the responses are mirror images of each
// other, so the two strongest are equal neighbours and neither is a corner;
// nothing else is either. One pixel of 254 is a corner.
TEST(HarrisRules, PlateauOfTwoEqualMaximaIsNoCorner) {
    GuardedImage<uint8_t> img = imageOf(21, 21, 0);
    img.at(10, 10) = 254;
    for (const Variant& v : kVariants) EXPECT_EQ(detect(v, img, 21, 0, 10, INT32_MIN), (std::vector<uint32_t>{10, 10}));
    img.at(11, 10) = 254;
    const Pixels p = pixelsOf(img);
    ASSERT_EQ(modelResponse(p, 10, 10), modelResponse(p, 11, 10));
    for (const Variant& v : kVariants)
        EXPECT_EQ(detect(v, img, 21, 0, 10, INT32_MIN), std::vector<uint32_t>{}) << v.name;
}

TEST(HarrisRules, BordersUpToFiveMeanFive) {
    const GuardedImage<uint8_t> img = fourImpulses();
    const struct {
        uint32_t border;
        std::vector<uint32_t> expected;
    } cases[] = {
        {0, kFourCorners}, {3, kFourCorners}, {5, kFourCorners}, {6, {15, 12}}, {11, {15, 12}}, {12, {}}, {0xFFFFFFFFu, {}},
    };
    for (const auto& c : cases)
        for (const Variant& v : kVariants)
            EXPECT_EQ(detect(v, img, 32, c.border, 10, 0), c.expected) << v.name << " border " << c.border;
}

// A 5x5 image passes the contract and has no row to examine; so has any
// side of 10 or less; 11x11 has exactly its centre.
TEST(HarrisRules, SmallImages) {
    std::mt19937 rng(5);
    for (auto [w, h] : {std::pair{5u, 5u}, {10u, 40u}, {40u, 10u}, {5u, 30u}}) {
        GuardedImage<uint8_t> img(w, h, w + 3, 1);
        img.fillRandom(rng);
        for (const Variant& v : kVariants)
            EXPECT_EQ(detect(v, img, w + 3, 0, 10, INT32_MIN), std::vector<uint32_t>{}) << v.name << " " << w << "x" << h;
    }
    GuardedImage<uint8_t> img = imageOf(11, 11, 30);
    img.at(5, 5) = 200;
    for (const Variant& v : kVariants) EXPECT_EQ(detect(v, img, 11, 0, 10, 0), (std::vector<uint32_t>{5, 5})) << v.name;
}

// The list keeps the first corners in raster order; a capacity of 0 writes
// nothing even when the very first examined pixel is a corner.
TEST(HarrisRules, CapacityKeepsTheFirstInRasterOrder) {
    const GuardedImage<uint8_t> img = fourImpulses();
    for (uint32_t capacity : {0u, 1u, 2u, 3u, 4u, 9u})
        for (const Variant& v : kVariants)
            EXPECT_EQ(detect(v, img, 32, 0, capacity, 0),
                      std::vector<uint32_t>(kFourCorners.begin(), kFourCorners.begin() + 2 * std::min(capacity, 4u)))
                << v.name << " capacity " << capacity;
    GuardedImage<uint8_t> first = imageOf(11, 11, 0);
    first.at(5, 5) = 255;
    for (const Variant& v : kVariants) {
        EXPECT_EQ(detect(v, first, 11, 0, 1, 0), (std::vector<uint32_t>{5, 5})) << v.name;
        EXPECT_EQ(detect(v, first, 11, 0, 0, 0), std::vector<uint32_t>{}) << v.name;
    }
}

TEST(HarrisRules, FlatImageHasNoCorners) {
    const GuardedImage<uint8_t> img = imageOf(40, 30, 77);
    for (int32_t threshold : {INT32_MIN, -1, 0, 1})
        for (const Variant& v : kVariants)
            EXPECT_EQ(detect(v, img, 0, 0, 10, threshold), std::vector<uint32_t>{}) << v.name << " " << threshold;
}

// Each supported size pair with one mask bit set over (15, 12): that corner
// goes, the others stay. Unsupported pairs give an empty list, with the
// count written.
TEST(HarrisRules, MaskSizes) {
    const GuardedImage<uint8_t> img = fourImpulses();
    const std::vector<uint32_t> withoutOne = {15, 5, 5, 12, 26, 18};
    const struct {
        int shift;  // image to mask: x >> shift, or x << -shift
        uint32_t maskWidth, maskHeight;
    } ratios[] = {{0, 32, 24}, {-1, 64, 48}, {1, 16, 12}, {-2, 128, 96}, {2, 8, 6}, {-3, 256, 192}, {3, 4, 3}};
    for (const auto& r : ratios) {
        const uint32_t rowBytes = (r.maskWidth + 7) / 8;
        std::vector<uint8_t> bits(size_t{rowBytes} * r.maskHeight, 0);
        const MaskArg mask{bits.data(), r.maskWidth, r.maskHeight};
        for (const Variant& v : kVariants)
            EXPECT_EQ(detect(v, img, 32, 0, 10, 0, &mask), kFourCorners) << v.name << " clear mask, shift " << r.shift;
        const uint32_t mx = r.shift >= 0 ? 15u >> r.shift : 15u << -r.shift;
        const uint32_t my = r.shift >= 0 ? 12u >> r.shift : 12u << -r.shift;
        bits[size_t{my} * rowBytes + mx / 8] = static_cast<uint8_t>(0x80 >> (mx % 8));
        for (const Variant& v : kVariants)
            EXPECT_EQ(detect(v, img, 32, 0, 10, 0, &mask), withoutOne) << v.name << " shift " << r.shift;
    }
    std::vector<uint8_t> clear(64 * 384, 0);
    for (auto [mw, mh] : {std::pair{96u, 72u}, {64u, 24u}, {32u, 48u}, {33u, 24u}, {16u, 24u}, {512u, 384u}}) {
        const MaskArg mask{clear.data(), mw, mh};
        for (const Variant& v : kVariants)
            EXPECT_EQ(detect(v, img, 32, 0, 10, 0, &mask), std::vector<uint32_t>{}) << v.name << " " << mw << "x" << mh;
    }
}

// ---- The local maximum's rules -------------------------------------------------------

TEST(HarrisLocalMax, PatchMustFitTheRowsAndTheStride) {
    std::mt19937 rng(8);
    GuardedImage<uint8_t> img(16, 20, 24, 0);
    for (uint32_t y = 0; y < 20; ++y)  // the bytes beyond the width too
        for (uint32_t x = 0; x < 24; ++x) img.row(y)[x] = static_cast<uint8_t>(rng());
    const Strongest none{0, kUntouched, kUntouched, kUntouched};
    const struct {
        uint32_t stride, posX, posY;
        bool found;
    } cases[] = {
        {24, 4, 10, false},  {24, 5, 10, true},   {24, 10, 4, false}, {24, 10, 5, true},
        {24, 18, 10, true},  {24, 19, 10, false}, {24, 10, 14, true}, {24, 10, 15, false},
        {0, 10, 10, true},   {0, 11, 10, false},  {16, 10, 10, true}, {16, 11, 10, false},
        {24, 0xFFFFFFFFu, 10, false}, {24, 10, 0xFFFFFFFFu, false},  {24, 0xFFFFFFFAu, 10, false},
    };
    for (const auto& c : cases) {
        // The call reads rows rowLen bytes apart, whatever the image's own
        // stride; so does the model.
        const uint32_t rowLen = c.stride ? c.stride : 16;
        const Strongest expected = !c.found ? none : modelLocalMax({img.data(), rowLen}, rowLen, 20, c.posX, c.posY);
        for (const Variant& v : kVariants)
            EXPECT_EQ(localMax(v, img, c.stride, c.posX, c.posY), expected)
                << v.name << " stride " << c.stride << " at " << c.posX << ", " << c.posY;
    }
}

// ---- Both variants against the definition --------------------------------------------

TEST(HarrisDefinition, DetectorsFollowTheRules) {
    std::mt19937 rng(41);
    size_t corners = 0, maskedCorners = 0;
    for (int i = 0; i < 64; ++i) {
        const uint32_t w = 5 + rng() % 80, h = 5 + rng() % 50, padding = rng() % 2 ? 0 : rng() % 9;
        GuardedImage<uint8_t> img(w, h, w + padding, rng() % 8);
        paint(img, static_cast<Scene>(i % kScenes), rng);
        const uint32_t border = rng() % 3 ? 0 : rng() % 9, capacity = rng() % 4 ? 1000 : rng() % 5;
        const int32_t threshold = randomThreshold(rng);
        const uint32_t stride = padding == 0 && rng() % 2 ? 0 : w + padding;
        const std::vector<uint32_t> expected = modelCorners(pixelsOf(img), w, h, border, threshold, capacity);
        corners += expected.size() / 2;
        for (const Variant& v : kVariants)
            ASSERT_EQ(detect(v, img, stride, border, capacity, threshold), expected)
                << v.name << " " << w << "x" << h << " scene " << i % kScenes << " border " << border
                << " threshold " << threshold;

        // The same image under a random mask of the same size.
        const uint32_t rowBytes = (w + 7) / 8;
        std::vector<uint8_t> bits(size_t{rowBytes} * h);
        for (uint8_t& b : bits) b = static_cast<uint8_t>(rng() & rng());
        const MaskArg mask{bits.data(), w, h};
        const std::vector<uint32_t> masked =
            modelCorners(pixelsOf(img), w, h, border, threshold, capacity, [&](uint32_t x, uint32_t y) {
                return (bits[size_t{y} * rowBytes + x / 8] >> (7 - x % 8)) & 1;
            });
        for (const Variant& v : kVariants)
            ASSERT_EQ(detect(v, img, stride, border, capacity, threshold, &mask), masked) << v.name << " masked";
        maskedCorners += masked.size() / 2;
    }
    // The scenes and thresholds leave plenty to compare, the mask some.
    EXPECT_GT(corners, 200u);
    EXPECT_GT(maskedCorners, 50u);
    EXPECT_LT(maskedCorners, corners);
}

TEST(HarrisDefinition, LocalMaximumFollowsTheRules) {
    std::mt19937 rng(43);
    for (int i = 0; i < 40; ++i) {
        const uint32_t w = 11 + rng() % 30, h = 11 + rng() % 30;
        GuardedImage<uint8_t> img(w, h, w, rng() % 8);
        paint(img, static_cast<Scene>(i % kScenes), rng);
        for (int k = 0; k < 6; ++k) {
            const uint32_t posX = rng() % (w + 2), posY = rng() % (h + 2);
            const Strongest expected = modelLocalMax(pixelsOf(img), w, h, posX, posY);
            for (const Variant& v : kVariants)
                ASSERT_EQ(localMax(v, img, w, posX, posY), expected) << v.name << " at " << posX << ", " << posY;
        }
    }
}

// ---- Vector against reference ----------------------------------------------------------

// Scratch buffers handed out filled with one byte value, a different one for
// every call: results must not depend on what the buffers held before.
uint8_t gPoison = 0;
void* poisonedGet(uint32_t size) {
    void* p = obxScratchGetUnaligned(size);
    if (p) memset(p, gPoison++, size);
    return p;
}
struct PoisonedScratch {
    PoisonedScratch() { obxGetScratchBufferUnaligned_ = poisonedGet; }
    ~PoisonedScratch() { obxGetScratchBufferUnaligned_ = obxScratchGetUnaligned; }
};

TEST(HarrisVector, DetectorsMatchTheReference) {
    const PoisonedScratch poisoned;
    std::mt19937 rng(47);
    size_t index = 0, corners = 0;
    for (const ImageGeometry& g : comparisonGeometries(5, 5, 53, 80)) {
        SCOPED_TRACE(::testing::Message() << g);
        const Scene scene = static_cast<Scene>(index++ % kScenes);
        GuardedImage<uint8_t> img(g.width, g.height, g.width + g.srcPadding, g.srcOffset);
        paint(img, scene, rng);
        const uint32_t stride = g.srcPadding == 0 && rng() % 2 ? 0 : img.stride();
        const uint32_t border = rng() % 3 ? 0 : rng() % 12;
        const uint32_t capacity = rng() % 5 ? 4000 : rng() % 20;
        const int32_t threshold = randomThreshold(rng);
        const size_t listOffset = 4 * (rng() % 4), countOffset = 4 * (rng() % 4);
        const std::vector<uint32_t> expected =
            detect(kVariants[0], img, stride, border, capacity, threshold, nullptr, listOffset, countOffset);
        ASSERT_EQ(detect(kVariants[1], img, stride, border, capacity, threshold, nullptr, listOffset, countOffset),
                  expected)
            << "scene " << static_cast<int>(scene) << " border " << border << " threshold " << threshold;

        int shift = static_cast<int>(rng() % 7) - 3;
        const uint32_t mw = shift >= 0 ? g.width >> shift : g.width << -shift;
        const uint32_t mh = shift >= 0 ? g.height >> shift : g.height << -shift;
        if (shift > 0 && ((mw << shift) != g.width || (mh << shift) != g.height || !mw || !mh)) shift = 0;
        const uint32_t maskWidth = shift ? mw : g.width, maskHeight = shift ? mh : g.height;
        std::vector<uint8_t> bits(size_t{(maskWidth + 7) / 8} * maskHeight);
        for (uint8_t& b : bits) b = static_cast<uint8_t>(rng() & rng() & rng());
        const MaskArg mask{bits.data(), maskWidth, maskHeight};
        const std::vector<uint32_t> masked =
            detect(kVariants[0], img, stride, border, capacity, threshold, &mask, listOffset, countOffset);
        ASSERT_EQ(detect(kVariants[1], img, stride, border, capacity, threshold, &mask, listOffset, countOffset), masked)
            << "mask " << maskWidth << "x" << maskHeight;
        ASSERT_TRUE(img.guardsIntact());
        corners += expected.size() / 2;
    }
    EXPECT_GT(corners, 1000u);
}

// Positions everywhere, near the edges and beyond them, and strides that let
// the patch reach past the width.
TEST(HarrisVector, LocalMaximumMatchesTheReference) {
    std::mt19937 rng(59);
    for (int i = 0; i < 120; ++i) {
        const uint32_t w = 5 + rng() % 80, h = 5 + rng() % 40, padding = rng() % 2 ? 0 : rng() % 12;
        GuardedImage<uint8_t> img(w, h, w + padding, rng() % 16);
        paint(img, static_cast<Scene>(i % kScenes), rng);
        for (uint32_t y = 0; y < h; ++y)
            for (uint32_t x = w; x < w + padding; ++x) img.row(y)[x] = static_cast<uint8_t>(rng());
        const uint32_t stride = padding == 0 && rng() % 2 ? 0 : w + padding;
        for (int k = 0; k < 8; ++k) {
            const uint32_t posX = rng() % (w + padding + 3), posY = rng() % (h + 3);
            ASSERT_EQ(localMax(kVariants[1], img, stride, posX, posY), localMax(kVariants[0], img, stride, posX, posY))
                << w << "x" << h << " stride " << stride << " at " << posX << ", " << posY;
        }
    }
}

// ---- Scratch memory ------------------------------------------------------------------

struct ScratchLog {
    std::vector<uint32_t> sizes;
    std::vector<void*> taken, released;
};
ScratchLog gScratch;
uint32_t gFailingRequest = 0;  // 1-based index of the request that gets null

void* countingGet(uint32_t size) {
    gScratch.sizes.push_back(size);
    if (gScratch.sizes.size() == gFailingRequest) return nullptr;
    void* p = obxScratchGetUnaligned(size);
    gScratch.taken.push_back(p);
    return p;
}
void countingRelease(void* p) {
    if (p) gScratch.released.push_back(p);
    obxScratchRelease(p);
}
// Says on stderr that a buffer came back, for the death test below.
void announcingRelease(void* p) {
    if (p) fprintf(stderr, "released\n");
    obxScratchRelease(p);
}

struct CountingScratch {
    CountingScratch() {
        gScratch = {};
        gFailingRequest = 0;
        obxGetScratchBufferUnaligned_ = countingGet;
        obxReleaseScratchBuffer_ = countingRelease;
    }
    ~CountingScratch() {
        obxGetScratchBufferUnaligned_ = obxScratchGetUnaligned;
        obxReleaseScratchBuffer_ = obxScratchRelease;
    }
};

// Products (width * 30 bytes), smoothed row (width * 6) and responses
// (width * 20), all returned, also when the image is too small to examine
// anything or the list fills early. An unsupported mask takes none; the
// local maximum never takes any.
TEST(HarrisScratch, ThreeBuffersTakenAndReleased) {
    const GuardedImage<uint8_t> img = fourImpulses();
    const GuardedImage<uint8_t> tiny = imageOf(5, 5, 9);
    std::vector<uint8_t> bits(4 * 24, 0);
    const MaskArg mask{bits.data(), 32, 24}, odd{bits.data(), 31, 24};
    for (const Variant& v : kVariants) {
        for (int call = 0; call < 4; ++call) {
            SCOPED_TRACE(::testing::Message() << v.name << " call " << call);
            const CountingScratch counting;
            const uint32_t w = call == 2 ? 5 : 32;
            if (call == 0) detect(v, img, 32, 0, 10, 0);
            if (call == 1) detect(v, img, 32, 0, 1, 0, &mask);
            if (call == 2) detect(v, tiny, 5, 0, 1, 0);
            if (call == 3) detect(v, img, 32, 7, 10, 0, &mask);
            EXPECT_EQ(gScratch.sizes, (std::vector<uint32_t>{w * 30, w * 6, w * 20}));
            std::vector<void*> taken = gScratch.taken, released = gScratch.released;
            std::sort(taken.begin(), taken.end());
            std::sort(released.begin(), released.end());
            EXPECT_EQ(taken, released);
        }
        const CountingScratch counting;
        detect(v, img, 32, 0, 10, 0, &odd);
        uint32_t x, y, score;
        v.localMax(img.data(), 32, 24, 32, 10, 10, &x, &y, &score);
        EXPECT_TRUE(gScratch.sizes.empty()) << v.name;
    }
}

// With the pool ready, the buffers go back to it: after the calls every one
// of the 32 entries can be taken again.
TEST(HarrisScratch, PoolEntriesComeBack) {
    ASSERT_EQ(obxMemInit(), 0);
    const GuardedImage<uint8_t> img = fourImpulses();
    std::vector<uint8_t> bits(4 * 24, 0);
    const MaskArg mask{bits.data(), 32, 24};
    for (const Variant& v : kVariants) {
        EXPECT_EQ(detect(v, img, 32, 0, 10, 0), kFourCorners) << v.name;
        EXPECT_EQ(detect(v, img, 32, 0, 2, 0, &mask), std::vector<uint32_t>(kFourCorners.begin(), kFourCorners.begin() + 4))
            << v.name;
        EXPECT_EQ(detect(v, img, 32, 0, 10, 0), kFourCorners) << v.name << " again";
    }
    std::vector<void*> out;
    for (uint32_t i = 0; i < kScratchPoolSize; ++i) out.push_back(obxGetScratchBufferUnaligned_(16));
    EXPECT_EQ(std::count(out.begin(), out.end(), nullptr), 0);
    for (void* p : out) obxReleaseScratchBuffer_(p);
    ASSERT_EQ(obxMemDeInit(), 0);
}

const char kScratchText[] = "corner && grads && blurgrads";

// All three are requested; the two obtained go back before the process
// ends, whichever one is missing.
TEST(HarrisScratchDeathTest, MissingBufferReleasesThoseObtained) {
    const GuardedImage<uint8_t> img = fourImpulses();
    for (const Variant& v : kVariants) {
        for (uint32_t failing : {1u, 2u, 3u}) {
            const auto call = [&img, &v, failing] {
                gScratch = {};
                gFailingRequest = failing;
                obxGetScratchBufferUnaligned_ = countingGet;
                obxReleaseScratchBuffer_ = announcingRelease;
                uint32_t xy[8], n;
                v.detect(img.data(), 32, 24, 32, 0, xy, 4, &n, 0);
            };
            EXPECT_EXIT(call(), ::testing::ExitedWithCode(1),
                        "^released\nreleased\n" +
                            assertionPattern(moduleOf("Harris", v.vector), kScratchText).substr(1))
                << v.name << " failing request " << failing;
        }
    }
}

// ---- Assertion texts ---------------------------------------------------------------------

alignas(16) uint8_t gBytes[4096];
uint32_t gOut[16];

const char kDetectorContract[] =
    "(srcImg) && (xy) && (numcorners) && (width) && (height) && (stride == 0 || stride >= width) && width > 4 && height > 4";
const char kMaskedContract[] =
    "(srcImg) && (xy) && (numcorners) && (bitMask) && (width) && (height) && (stride == 0 || stride >= width) && (maskHeight) && (maskWidth)";
const char kLocalMaxContract[] =
    "(src) && (srcWidth) && (srcHeight) && (srcStride == 0 || srcStride >= srcWidth) && (maxX) && (maxY) && (maxScore)";

std::vector<AssertionCase> assertionCases() {
    // One detector call: null arguments by flag, sizes, and the scratch
    // request that gets null (0 for none).
    struct Detector {
        const char* what;
        bool nullSrc, nullXy, nullCount, nullMask;
        uint32_t width, height, stride, maskWidth, maskHeight, failingRequest;
    };
    const Detector detectorCases[] = {
        {"null image", true, false, false, false, 16, 16, 16, 16, 16, 0},
        {"null list", false, true, false, false, 16, 16, 16, 16, 16, 0},
        {"null count", false, false, true, false, 16, 16, 16, 16, 16, 0},
        {"zero width", false, false, false, false, 0, 16, 16, 16, 16, 0},
        {"zero height", false, false, false, false, 16, 0, 16, 16, 16, 0},
        {"stride below width", false, false, false, false, 16, 16, 15, 16, 16, 0},
        {"no products", false, false, false, false, 16, 16, 0, 16, 16, 1},
        {"no smoothed row", false, false, false, false, 16, 16, 16, 16, 16, 2},
        {"no responses", false, false, false, false, 16, 16, 16, 16, 16, 3},
    };
    std::vector<AssertionCase> cases;
    for (const Variant& variant : kVariants) {
        const std::string module = moduleOf("Harris", variant.vector), name = variant.name;
        for (const Detector& c : detectorCases) {
            const char* expected = c.failingRequest ? kScratchText : kDetectorContract;
            obxCornerHarrisu8_fn* const detect = variant.detect;
            cases.push_back({name + " detector " + c.what, [detect, c] {
                                 gScratch = {};
                                 gFailingRequest = c.failingRequest;
                                 obxGetScratchBufferUnaligned_ = countingGet;
                                 detect(c.nullSrc ? nullptr : gBytes, c.width, c.height, c.stride,
                                        0, c.nullXy ? nullptr : gOut, 4, c.nullCount ? nullptr : gOut + 8, 0);
                             },
                             module, expected});
            obxCornerHarrisInMasku8_fn* const masked = variant.detectInMask;
            cases.push_back({name + " masked " + c.what, [masked, c] {
                                 gScratch = {};
                                 gFailingRequest = c.failingRequest;
                                 obxGetScratchBufferUnaligned_ = countingGet;
                                 masked(c.nullSrc ? nullptr : gBytes, c.width, c.height, c.stride, 0,
                                        c.nullXy ? nullptr : gOut, 4, c.nullCount ? nullptr : gOut + 8, 0,
                                        gBytes + 2048, c.maskWidth, c.maskHeight);
                             },
                             module, c.failingRequest ? kScratchText : kMaskedContract});
        }
        // Contract terms of one detector only: sizes of 4 for the detector,
        // the mask pointer and sizes for the masked one.
        for (auto [w, h] : {std::pair{4u, 16u}, {16u, 4u}}) {
            obxCornerHarrisu8_fn* const detect = variant.detect;
            cases.push_back({name + " detector " + std::to_string(w) + "x" + std::to_string(h), [detect, w = w, h = h] {
                                 detect(gBytes, w, h, 0, 0, gOut, 4, gOut + 8, 0);
                             },
                             module, kDetectorContract});
        }
        for (auto [mask, mw, mh] : {std::tuple{false, 16u, 16u}, {true, 0u, 16u}, {true, 16u, 0u}}) {
            obxCornerHarrisInMasku8_fn* const masked = variant.detectInMask;
            cases.push_back({name + " masked mask " + std::to_string(mask) + " " + std::to_string(mw) + "x" +
                                 std::to_string(mh),
                             [masked, mask = mask, mw = mw, mh = mh] {
                                 masked(gBytes, 16, 16, 16, 0, gOut, 4, gOut + 8, 0, mask ? gBytes + 2048 : nullptr, mw,
                                        mh);
                             },
                             module, kMaskedContract});
        }
        const struct {
            const char* what;
            bool nullSrc;
            uint32_t width, height, stride;
            int nullOutput;  // 0 none, 1 maxX, 2 maxY, 3 maxScore
        } localCases[] = {
            {"null image", true, 16, 16, 16, 0}, {"zero width", false, 0, 16, 16, 0},
            {"zero height", false, 16, 0, 16, 0}, {"stride below width", false, 16, 16, 15, 0},
            {"null maxX", false, 16, 16, 16, 1}, {"null maxY", false, 16, 16, 16, 2},
            {"null maxScore", false, 16, 16, 16, 3},
        };
        for (const auto& c : localCases) {
            obxLocalHarrisMaxu8_fn* const localMax = variant.localMax;
            cases.push_back({name + " local maximum " + c.what, [localMax, c] {
                                 localMax(c.nullSrc ? nullptr : gBytes, c.width, c.height, c.stride, 8, 8,
                                          c.nullOutput == 1 ? nullptr : gOut, c.nullOutput == 2 ? nullptr : gOut + 1,
                                          c.nullOutput == 3 ? nullptr : gOut + 2);
                             },
                             module, kLocalMaxContract});
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Harris, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

}  // namespace
