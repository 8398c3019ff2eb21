// Canny edge detector: hand-checked cases, a plain full-image model of the
// same rules, the assertion texts, the scratch-buffer bookkeeping, and
// randomized vector-against-reference comparisons.
#include <math.h>

#include <cstdlib>

#include "ombrixCannyScalar.h"
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

using CannyFn = void(const uint8_t*, uint32_t, uint32_t, uint32_t, uint8_t*, uint32_t, int32_t, int32_t);
struct Variant {
    const char* name;
    CannyFn* canny;
};
const Variant kVariants[] = {{"reference", obxFilterCanny3x3u8C}, {"vector", obxFilterCanny3x3u8V}};

// ---- The rules on whole-image arrays ---------------------------------------------

// Writes the edge map into dst (dstStride bytes a row) as the detector
// would, tracing with a stack of at most five pixels.
void modelCanny(const uint8_t* src, uint32_t w, uint32_t h, uint32_t srcStride, uint8_t* dst, uint32_t dstStride,
                int32_t low, int32_t high) {
    memset(dst, 0, size_t{w} * h);
    const int W = static_cast<int>(w), H = static_cast<int>(h);
    std::vector<int> s(w * h, 0), mag(w * h, 0), code(w * h, 0);
    std::vector<bool> peak(w * h, false), weak(w * h, false), strong(w * h, false);
    const int taps[3] = {1, 2, 1};
    for (int y = 1; y < H - 1; ++y)
        for (int x = 1; x < W - 1; ++x) {
            int sum = 0;
            for (int j = -1; j <= 1; ++j)
                for (int i = -1; i <= 1; ++i) sum += taps[i + 1] * taps[j + 1] * src[(y + j) * srcStride + x + i];
            s[y * W + x] = sum >> 4;
        }
    int maxMag = 0;
    for (int y = 2; y < H - 2; ++y)
        for (int x = 2; x < W - 2; ++x) {
            const int dx = s[y * W + x] - s[y * W + x - 1], dy = s[y * W + x] - s[(y - 1) * W + x];
            mag[y * W + x] = dx * dx + dy * dy;
            maxMag = std::max(maxMag, mag[y * W + x]);
            if (dx == 0 && dy == 0) continue;
            if (2 * std::abs(dy) < std::abs(dx)) code[y * W + x] = 1;
            else if (2 * std::abs(dx) < std::abs(dy)) code[y * W + x] = 2;
            else code[y * W + x] = (dx > 0) == (dy > 0) ? 3 : 4;
        }
    auto threshold = [&](int32_t t) {
        const float f = static_cast<float>(std::max(t, 0));
        return static_cast<int64_t>(floorf(f * f * 0.00390625f * static_cast<float>(maxMag) * 0.00390625f));
    };
    const int64_t lowT = threshold(low), highT = threshold(high);
    // (dx, dy) across the edge and along it, per code.
    const int across[5][2] = {{0, 0}, {1, 0}, {0, 1}, {1, 1}, {-1, 1}};
    const int along[5][2] = {{0, 0}, {0, 1}, {1, 0}, {-1, 1}, {1, 1}};
    for (int y = 2; y < H - 2; ++y)
        for (int x = 2; x < W - 2; ++x) {
            const int c = code[y * W + x], m = mag[y * W + x];
            if (!c) continue;
            const int ox = across[c][0], oy = across[c][1];
            peak[y * W + x] = mag[(y + oy) * W + x + ox] <= m && mag[(y - oy) * W + x - ox] < m;
            weak[y * W + x] = m >= lowT;
            strong[y * W + x] = m >= highT;
        }
    auto out = [&](int x, int y) -> uint8_t& { return dst[static_cast<size_t>(y) * dstStride + x]; };
    for (int y = 2; y < H - 2; ++y)
        for (int x = 2; x < W - 2; ++x) {
            if (!peak[y * W + x] || !strong[y * W + x]) continue;
            out(x, y) = 255;
            const int ax = along[code[y * W + x]][0], ay = along[code[y * W + x]][1];
            std::vector<std::pair<int, int>> stack = {{x, y}};
            std::pair<int, int> q = {x, y};
            for (;;) {
                for (int sign : {1, -1}) {
                    if (sign < 0 && stack.size() == 5) break;
                    const int cx = q.first + sign * ax, cy = q.second + sign * ay;
                    if ((cx == x && cy == y) || out(cx, cy) == 255 || !peak[cy * W + cx] || !weak[cy * W + cx])
                        continue;
                    out(cx, cy) = 255;
                    stack.push_back({cx, cy});
                }
                q = stack.back();
                stack.pop_back();
                if (stack.empty()) break;
            }
        }
}

// ---- Images ------------------------------------------------------------------------

GuardedImage<uint8_t> imageOf(uint32_t w, uint32_t h, uint32_t padding, size_t offset,
                              uint8_t (*pixel)(uint32_t x, uint32_t y)) {
    GuardedImage<uint8_t> image(w, h, w + padding, offset);
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) image.at(x, y) = pixel(x, y);
    return image;
}

// Procedural scenes with edges in every direction, plateaus and noise.
enum class Scene { Noise, Disc, Stripes, Blocks, NoisyRamp, Extremes, Flat };

void paint(GuardedImage<uint8_t>& image, Scene scene, std::mt19937& rng) {
    const double cx = image.width() * 0.45, cy = image.height() * 0.55;
    const double r = 0.35 * std::min(image.width(), image.height()) + 1;
    for (uint32_t y = 0; y < image.height(); ++y)
        for (uint32_t x = 0; x < image.width(); ++x) {
            uint32_t v = 0;
            switch (scene) {
                case Scene::Noise: v = rng() & 0xFF; break;
                case Scene::Disc: v = (x - cx) * (x - cx) + (y - cy) * (y - cy) < r * r ? 220 : 30; break;
                case Scene::Stripes: v = ((x + 2 * y) / 5) % 2 ? 200 : 60; break;
                case Scene::Blocks: v = ((x / 7) * 53 + (y / 5) * 97) % 256; break;
                case Scene::NoisyRamp: v = (x * 3 + y) % 200 + rng() % 24; break;
                case Scene::Extremes: v = ((x / 2) * 31 + (y / 2) * 17) % 7 < 3 ? 255 : 0; break;
                case Scene::Flat: v = 255 * (image.width() % 3) / 2; break;
            }
            image.at(x, y) = static_cast<uint8_t>(v);
        }
}

// Runs a variant into a fresh dst buffer of dstStride * h bytes, prefilled
// with `fill`, and returns the whole buffer.
std::vector<uint8_t> run(CannyFn* canny, const GuardedImage<uint8_t>& src, uint32_t dstStride, int32_t low,
                         int32_t high, uint8_t fill = 0x5A) {
    std::vector<uint8_t> dst(size_t{dstStride} * src.height(), fill);
    canny(src.data(), src.width(), src.height(), src.stride(), dst.data(), dstStride, low, high);
    return dst;
}

// ---- Hand-checked cases ------------------------------------------------------------

// Expects 255 exactly where `edge(x, y)` and 0 elsewhere in a packed w x h result.
void expectEdgesWhere(const std::vector<uint8_t>& dst, uint32_t w, uint32_t h,
                      const std::function<bool(uint32_t, uint32_t)>& edge) {
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) ASSERT_EQ(dst[y * w + x], edge(x, y) ? 255 : 0) << x << "," << y;
}

// A vertical step, 0 in columns < 9 and 255 from column 9: the smoothed row
// is ... 0, 63, 191, 255 ... (columns 7 .. 10), so the backward differences
// are 63, 128, 64 at columns 8, 9, 10 and only column 9 is a local maximum.
// A horizontal step likewise marks its first bright row.
TEST(Canny, StepEdgesGiveOneLineWhereTheDifferencePeaks) {
    const GuardedImage<uint8_t> vertical = imageOf(20, 12, 2, 3, [](uint32_t x, uint32_t) -> uint8_t { return x >= 9 ? 255 : 0; });
    const GuardedImage<uint8_t> horizontal = imageOf(15, 16, 0, 0, [](uint32_t, uint32_t y) -> uint8_t { return y >= 7 ? 255 : 0; });
    for (const Variant& v : kVariants)
        for (int32_t t : {1, 128, 256}) {
            SCOPED_TRACE(::testing::Message() << v.name << " " << t);
            expectEdgesWhere(run(v.canny, vertical, 20, t, t), 20, 12,
                             [](uint32_t x, uint32_t y) { return x == 9 && y >= 2 && y <= 9; });
            expectEdgesWhere(run(v.canny, horizontal, 15, t, t), 15, 16,
                             [](uint32_t x, uint32_t y) { return y == 7 && x >= 2 && x <= 12; });
        }
}

// A horizontal step 0 -> V at row 4, with column 10 at B from row 4 down.
// Row 4 is the edge (code 2, peaks across rows); its largest magnitude, at
// (10, 4), is the one seed at high = 256, and the trace steps along the row
// both ways, taking every pixel at or above lowT: a stack of two pixels
// would leave the row's left part out. Off the row, weaker local maxima
// such as (9, 6) stay unmarked even at low = 0.
//   V 200, B 240: row magnitudes 10000 but 11074 12164 11089 10049 at x 9 .. 12.
//   V 120, B 164: row magnitudes 3600 but 4420 5105 4420 3664 at x 9 .. 12;
//   low 215 gives lowT = 3600 exactly (accepted), low 216 gives 3634.
TEST(Canny, TraceFollowsTheEdgeBothWaysFromOneSeed) {
    static uint8_t bright, bump;
    const struct {
        uint8_t bright, bump;
        int32_t low;
        uint32_t first, last;  // marked columns of row 4
    } cases[] = {{200, 240, 0, 2, 18}, {200, 240, 128, 2, 18}, {120, 164, 215, 2, 18}, {120, 164, 216, 9, 12}};
    for (const auto& c : cases) {
        bright = c.bright;
        bump = c.bump;
        const GuardedImage<uint8_t> src = imageOf(21, 9, 1, 0, [](uint32_t x, uint32_t y) -> uint8_t {
            return y < 4 ? 0 : x == 10 ? bump : bright;
        });
        for (const Variant& v : kVariants) {
            SCOPED_TRACE(::testing::Message() << v.name << " bright " << int{c.bright} << " low " << c.low);
            expectEdgesWhere(run(v.canny, src, 21, c.low, 256), 21, 9,
                             [&c](uint32_t x, uint32_t y) { return y == 4 && x >= c.first && x <= c.last; });
        }
    }
}

// The product is rounded to single precision before the floor: 15^2 / 256 *
// 113887 / 256 is 390.99998 exactly, but 391 in float.
TEST(Canny, ThresholdsAreFormedInSinglePrecision) {
    const struct {
        int32_t threshold, maxMag, expected;
    } cases[] = {{15, 113887, 391}, {17, 81183, 358}, {128, 12164, 3041}, {256, 130050, 130050},
                 {255, 130050, 129035}, {0, 130050, 0}, {-7, 130050, 0}, {300, 0, 0},
                 {50000, 130050, INT32_MAX}};
    for (const auto& c : cases)
        EXPECT_EQ(ombrix_canny::magnitudeThreshold(c.threshold, c.maxMag), c.expected) << c.threshold << " " << c.maxMag;
}

// ---- The model on many images ----------------------------------------------------

// Scratch buffers handed out filled with one byte value: results must not
// depend on what earlier calls left in the pool.
uint8_t gPoison = 0;
void* poisonedGet(uint32_t size) {
    void* p = obxScratchGetUnaligned(size);
    if (p) memset(p, gPoison, size);
    return p;
}
struct PoisonedScratch {
    PoisonedScratch() { obxGetScratchBufferUnaligned_ = poisonedGet; }
    ~PoisonedScratch() { obxGetScratchBufferUnaligned_ = obxScratchGetUnaligned; }
};

// Thresholds across the whole range: negative, 0, inside, 256 and beyond,
// low equal to high among them.
std::pair<int32_t, int32_t> randomThresholds(std::mt19937& rng) {
    const int32_t lows[] = {-40, 0, 0, 1, 30, 60, 100, 200, 256, 300};
    const int32_t low = rng() % 3 ? lows[rng() % 10] : static_cast<int32_t>(rng() % 300);
    const int32_t highs[] = {low, low + 1, low + 50, 256, 257, 1000, 50000};
    return {low, std::max(low, highs[rng() % 7])};
}

// Both variants against the model on random scenes, flat ones among them
// (no edges at all), with old bytes (255 among them) in dst: they survive
// beyond the clear of width * height bytes and block traces, and the ring
// of two pixels along the border is never an edge.
TEST(Canny, FollowsTheRules) {
    const PoisonedScratch poisoned;
    std::mt19937 rng(17);
    for (int i = 0; i < 140; ++i) {
        const uint32_t w = 3 + rng() % 70, h = 3 + rng() % 40, dstStride = w + (rng() % 2 ? 0 : rng() % 9);
        GuardedImage<uint8_t> src(w, h, w + rng() % 5, rng() % 8);
        paint(src, static_cast<Scene>(i % 7), rng);
        const auto [low, high] = randomThresholds(rng);
        std::vector<uint8_t> expected(size_t{dstStride} * h);
        for (uint8_t& b : expected) b = rng() % 4 ? 255 : static_cast<uint8_t>(rng());
        const std::vector<uint8_t> before = expected;
        modelCanny(src.data(), w, h, src.stride(), expected.data(), dstStride, low, high);
        for (const Variant& v : kVariants) {
            std::vector<uint8_t> actual = before;
            gPoison = static_cast<uint8_t>(rng());
            v.canny(src.data(), w, h, src.stride(), actual.data(), dstStride, low, high);
            ASSERT_EQ(actual, expected) << v.name << " " << w << "x" << h << " stride " << dstStride << " scene "
                                        << i % 7 << " thresholds " << low << ", " << high;
        }
    }
}

// ---- Vector against reference ----------------------------------------------------

TEST(Canny, VectorMatchesReference) {
    const PoisonedScratch poisoned;
    std::mt19937 rng(23);
    size_t index = 0;
    for (const ImageGeometry& g : comparisonGeometries(3, 3, 29, 80)) {
        SCOPED_TRACE(::testing::Message() << g);
        GuardedImage<uint8_t> src(g.width, g.height, g.width + g.srcPadding, g.srcOffset);
        paint(src, static_cast<Scene>(index++ % 6), rng);
        const auto [low, high] = randomThresholds(rng);
        const uint32_t dstStride = g.width + g.dstPadding;
        const size_t size = size_t{dstStride} * g.height;
        GuardedBuffer reference(size, g.dstOffset), vector(size, g.dstOffset);
        for (size_t i = 0; i < size; ++i) reference.data()[i] = vector.data()[i] = rng() % 3 ? 255 : 0x33;
        gPoison = static_cast<uint8_t>(rng());
        obxFilterCanny3x3u8C(src.data(), g.width, g.height, src.stride(), reference.data(), dstStride, low, high);
        gPoison = static_cast<uint8_t>(rng());
        obxFilterCanny3x3u8V(src.data(), g.width, g.height, src.stride(), vector.data(), dstStride, low, high);
        ASSERT_EQ(memcmp(reference.data(), vector.data(), size), 0) << "thresholds " << low << ", " << high;
        ASSERT_TRUE(vector.guardsIntact());
        ASSERT_TRUE(reference.guardsIntact());
        ASSERT_TRUE(src.guardsIntact());
    }
}

// ---- Scratch memory --------------------------------------------------------------

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
    gScratch.released.push_back(p);
    obxScratchRelease(p);
}

TEST(Canny, TakesThreeScratchBuffersAndReleasesThemAll) {
    const GuardedImage<uint8_t> src = imageOf(13, 9, 2, 0, [](uint32_t x, uint32_t y) -> uint8_t { return static_cast<uint8_t>(x * y * 7); });
    for (const Variant& v : kVariants) {
        gScratch = {};
        gFailingRequest = 0;
        obxGetScratchBufferUnaligned_ = countingGet;
        obxReleaseScratchBuffer_ = countingRelease;
        run(v.canny, src, 13, 10, 20);
        obxGetScratchBufferUnaligned_ = obxScratchGetUnaligned;
        obxReleaseScratchBuffer_ = obxScratchRelease;
        EXPECT_EQ(gScratch.sizes, (std::vector<uint32_t>{26, 117, 117 * 4})) << v.name;
        std::vector<void*> taken = gScratch.taken, released = gScratch.released;
        std::sort(taken.begin(), taken.end());
        std::sort(released.begin(), released.end());
        EXPECT_EQ(taken, released) << v.name;
    }
}

// ---- Assertion texts -------------------------------------------------------------

alignas(16) uint8_t gBytes[4096];

// The contract, and each scratch request answered with null in turn (the
// 1-based index of the failing request), naming the buffer it asked for.
std::vector<AssertionCase> assertionCases() {
    const char* const contract =
        "srcImg && width && height && (srcStride >= width) && dstImg && (dstStride >= width) && (low <= high) && width > 2 && height > 2";
    const struct Violation {
        const char* what;
        bool nullSrc, nullDst;
        uint32_t width, height, srcStride, dstStride;
        int32_t low;
        uint32_t failingRequest;
        const char* expression;
    } violations[] = {
        {"null source", true, false, 16, 16, 16, 16, 10, 0, contract},
        {"zero width", false, false, 0, 16, 16, 16, 10, 0, contract},
        {"zero height", false, false, 16, 0, 16, 16, 10, 0, contract},
        {"srcStride below width", false, false, 16, 16, 15, 16, 10, 0, contract},
        {"null destination", false, true, 16, 16, 16, 16, 10, 0, contract},
        {"dstStride below width", false, false, 16, 16, 16, 15, 10, 0, contract},
        {"low above high", false, false, 16, 16, 16, 16, 21, 0, contract},
        {"width 2", false, false, 2, 16, 16, 16, 10, 0, contract},
        {"height 2", false, false, 16, 2, 16, 16, 10, 0, contract},
        {"no smoothing rows", false, false, 16, 16, 16, 16, 10, 1, "smooth"},
        {"no flags", false, false, 16, 16, 16, 16, 10, 2, "dir"},
        {"no magnitudes", false, false, 16, 16, 16, 16, 10, 3, "mag"},
    };
    std::vector<AssertionCase> cases;
    for (const Violation& v : violations) {
        for (const Variant& variant : kVariants) {
            CannyFn* const canny = variant.canny;
            cases.push_back({std::string(variant.name) + " " + v.what, [canny, v] {
                gScratch = {};
                gFailingRequest = v.failingRequest;
                obxGetScratchBufferUnaligned_ = countingGet;
                canny(v.nullSrc ? nullptr : gBytes, v.width, v.height, v.srcStride, v.nullDst ? nullptr : gBytes + 2048,
                      v.dstStride, v.low, 20);
            }, moduleOf("Edge", canny == obxFilterCanny3x3u8V), v.expression});
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Canny, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

}  // namespace
