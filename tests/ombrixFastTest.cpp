// FAST9 and FAST10 corners: hand-made circles and the rules around them
// (borders, tiny images, capacity, masks, scores, suppression), every
// detector against a direct evaluation of the definition, the scoring
// operations' use of their slots, the assertion texts, and randomized
// vector-against-reference comparisons with guard bytes around every output.
#include <array>

#include "ombrix.h"
#include "ombrixFastScalar.h"
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;
using Image = GuardedImage<uint8_t>;
using Corners = std::vector<std::pair<uint32_t, uint32_t>>;

constexpr int kDx[16] = {0, 1, 2, 3, 3, 3, 2, 1, 0, -1, -2, -3, -3, -3, -2, -1};
constexpr int kDy[16] = {3, 3, 2, 1, 0, -1, -2, -3, -3, -3, -2, -1, 0, 1, 2, 3};

// ---- The definition, evaluated directly ------------------------------------------

// Some run of `arc` cyclic circle pixels all > p + b, or all < p - b.
bool definitionCorner(const Image& img, uint32_t x, uint32_t y, int64_t b, int arc) {
    const int64_t p = img.at(x, y);
    for (int sign : {1, -1})
        for (int start = 0; start < 16; ++start) {
            bool all = true;
            for (int k = 0; k < arc && all; ++k) {
                const int64_t v = img.at(x + kDx[(start + k) % 16], y + kDy[(start + k) % 16]);
                all = sign > 0 ? v > p + b : v < p - b;
            }
            if (all) return true;
        }
    return false;
}

// A mask as the tests build it: its own size and bits, set bits excluding.
struct Mask {
    uint32_t width = 0, height = 0;
    std::vector<uint8_t> bits;
    uint32_t rowBytes() const { return (width + 7) / 8; }
    bool at(uint32_t m, uint32_t r) const { return bits[r * rowBytes() + m / 8] & (0x80 >> (m % 8)); }
};

Mask randomMask(uint32_t width, uint32_t height, std::mt19937& rng) {
    Mask m{width, height, {}};
    m.bits.resize(static_cast<size_t>(m.rowBytes()) * height);
    for (uint8_t& b : m.bits) b = static_cast<uint8_t>(rng() & rng());  // a quarter of the bits set
    return m;
}

// Every corner of the window max(border, 3) in raster order; with a mask of
// ratio `scale` (mask size = image size * 2^-shift), masked pixels dropped.
Corners definitionCorners(const Image& img, int32_t b, uint32_t border, int arc, const Mask* mask = nullptr,
                          int shift = 0) {
    Corners out;
    const uint32_t e = std::max(border, 3u);
    for (uint32_t y = e; y + e < img.height(); ++y)
        for (uint32_t x = e; x + e < img.width(); ++x) {
            if (mask && (shift >= 0 ? mask->at(x >> shift, y >> shift) : mask->at(x << -shift, y << -shift)))
                continue;
            if (definitionCorner(img, x, y, b, arc)) out.push_back({x, y});
        }
    return out;
}

// ---- The operations ---------------------------------------------------------------

// Every detector called as the masked form; unmasked ones ignore the mask.
using DetectCall = std::function<void(const uint8_t*, uint32_t, uint32_t, uint32_t, int32_t, uint32_t, uint32_t*,
                                      uint32_t, uint32_t*, const uint8_t*, uint32_t, uint32_t)>;

DetectCall wrap(obxCornerFastu8_fn* f) {
    return [f](const uint8_t* s, uint32_t w, uint32_t h, uint32_t st, int32_t b, uint32_t border, uint32_t* xy,
               uint32_t cap, uint32_t* n, const uint8_t*, uint32_t, uint32_t) { f(s, w, h, st, b, border, xy, cap, n); };
}
DetectCall wrap(obxCornerFastInMasku8_fn* f) {
    return [f](const uint8_t* s, uint32_t w, uint32_t h, uint32_t st, int32_t b, uint32_t border, uint32_t* xy,
               uint32_t cap, uint32_t* n, const uint8_t* m, uint32_t mw, uint32_t mh) {
        f(s, w, h, st, b, border, xy, cap, n, m, mw, mh);
    };
}

struct Detector {
    const char* name;
    int arc;
    bool masked;
    DetectCall reference, vector;
    const char* family;  // module: src/cpu/ombrix<family>C, src/lanex/ombrix<family>V
    const char* contract;
};

const Detector kDetectors[] = {
    {"Fast9", 9, false, wrap(obxCornerFast9u8C), wrap(obxCornerFast9u8V), "Fast",
     "im && xy && numcorners && (stride == 0 || stride >= xsize)"},
    {"Fast9InMask", 9, true, wrap(obxCornerFast9InMasku8C), wrap(obxCornerFast9InMasku8V), "FastIlp",
     "im && xy && numcorners && bitMask && (stride == 0 || stride >= xsize)"},
    {"Fast10", 10, false, wrap(obxCornerFast10u8C), wrap(obxCornerFast10u8V), "Fast10",
     "src && xy && nCorners && (srcStride == 0 || srcStride >= srcWidth)"},
    {"Fast10InMask", 10, true, wrap(obxCornerFast10InMasku8C), wrap(obxCornerFast10InMasku8V), "Fast10",
     "src && xy && nCorners && mask && (srcStride == 0 || srcStride >= srcWidth)"},
};

// A corner list of `capacity` pairs (room for one when 0) and a count, both
// guarded, the count starting at a value no call leaves.
struct Output {
    GuardedBuffer xy, count;
    explicit Output(uint32_t capacity, size_t offset = 4)
        : xy(8 * std::max<size_t>(capacity, 1), offset & ~size_t{3}), count(4, 8) {
        uint32_t junk = 0xDEADBEEF;
        memcpy(count.data(), &junk, 4);
    }
    uint32_t* pairs() { return reinterpret_cast<uint32_t*>(xy.data()); }
    uint32_t* countPtr() { return reinterpret_cast<uint32_t*>(count.data()); }
    uint32_t n() const {
        uint32_t v;
        memcpy(&v, count.data(), 4);
        return v;
    }
    Corners corners() const {
        Corners out;
        const uint32_t* p = reinterpret_cast<const uint32_t*>(xy.data());
        for (uint32_t i = 0; i < n() && 8 * i < xy.size(); ++i) out.push_back({p[2 * i], p[2 * i + 1]});
        return out;
    }
    bool guardsIntact() const { return xy.guardsIntact() && count.guardsIntact(); }
};

Corners detect(const DetectCall& call, const Image& img, int32_t b, uint32_t border = 3, uint32_t capacity = 100000,
               const Mask* mask = nullptr, uint32_t stride = ~0u) {
    Output out(capacity);
    const std::vector<uint8_t> clear((img.width() + 7) / 8 * img.height() + 1, 0);  // masked forms without a mask
    call(img.data(), img.width(), img.height(), stride == ~0u ? img.stride() : stride, b, border, out.pairs(),
         capacity, out.countPtr(), mask ? mask->bits.data() : clear.data(), mask ? mask->width : img.width(),
         mask ? mask->height : img.height());
    EXPECT_TRUE(out.guardsIntact());
    return out.corners();
}

std::string describe(const Corners& c) {
    std::string s;
    for (size_t i = 0; i < c.size() && i < 8; ++i)
        s += "(" + std::to_string(c[i].first) + "," + std::to_string(c[i].second) + ")";
    return std::to_string(c.size()) + " corners " + s + (c.size() > 8 ? "..." : "");
}

// ---- Scenes -----------------------------------------------------------------------

Image uniformImage(uint32_t w, uint32_t h, uint8_t value, uint32_t padding = 0, size_t offset = 0) {
    Image img(w, h, w + padding, offset);
    img.fill(value);
    return img;
}

// Rectangles and discs of random grey levels over a ramp, with mild noise:
// corners at rectangle corners, few in flat areas.
void photoScene(Image& img, std::mt19937& rng) {
    const uint32_t w = img.width(), h = img.height();
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x) img.at(x, y) = static_cast<uint8_t>(40 + (x + 2 * y) % 90);
    for (int shape = 0, shapes = 3 + static_cast<int>((w * h) / 400); shape < shapes; ++shape) {
        const int cx = static_cast<int>(rng() % (w + 1)), cy = static_cast<int>(rng() % (h + 1));
        const int rx = 2 + static_cast<int>(rng() % 12), ry = 2 + static_cast<int>(rng() % 12);
        const uint8_t level = static_cast<uint8_t>(rng());
        const bool disc = rng() % 2;
        for (int y = std::max(0, cy - ry); y < std::min<int>(h, cy + ry); ++y)
            for (int x = std::max(0, cx - rx); x < std::min<int>(w, cx + rx); ++x)
                if (!disc || (x - cx) * (x - cx) * ry * ry + (y - cy) * (y - cy) * rx * rx <= rx * rx * ry * ry)
                    img.at(x, y) = level;
    }
    for (uint32_t y = 0; y < h; ++y)
        for (uint32_t x = 0; x < w; ++x)
            img.at(x, y) = static_cast<uint8_t>(std::clamp(img.at(x, y) + static_cast<int>(rng() % 9) - 4, 0, 255));
}

// ---- Hand-made circles ---------------------------------------------------------------

// A 7-row image of 100s with the circle around (cx, 3) set from `ring`
// (value per position, -1 = leave 100).
Image circleImage(uint32_t width, uint32_t cx, const std::array<int, 16>& ring, uint8_t centre = 100) {
    Image img = uniformImage(width, 7, 100, 5, 3);
    img.at(cx, 3) = centre;
    for (int i = 0; i < 16; ++i)
        if (ring[i] >= 0) img.at(cx + kDx[i], 3 + kDy[i]) = static_cast<uint8_t>(ring[i]);
    return img;
}

// `length` positions from `start` (cyclic) at `value`, the others -1.
std::array<int, 16> arcRing(int start, int length, int value) {
    std::array<int, 16> ring;
    ring.fill(-1);
    for (int k = 0; k < length; ++k) ring[(start + k) % 16] = value;
    return ring;
}

struct CircleCase {
    const char* what;
    std::array<int, 16> ring;
    bool fast9, fast10;
};

// Barrier 20 around a centre of 100: brighter is > 120, darker < 80.
const CircleCase kCircleCases[] = {
    {"8 brighter", arcRing(0, 8, 121), false, false},
    {"9 brighter", arcRing(3, 9, 121), true, false},
    {"10 brighter", arcRing(5, 10, 121), true, true},
    {"9 brighter wrapping 12..15, 0..4", arcRing(12, 9, 121), true, false},
    {"10 brighter wrapping 15, 0..8", arcRing(15, 10, 200), true, true},
    {"9 darker", arcRing(7, 9, 79), true, false},
    {"10 darker wrapping", arcRing(10, 10, 0), true, true},
    {"8 darker", arcRing(9, 8, 0), false, false},
    {"9 at exactly p + barrier", arcRing(2, 9, 120), false, false},
    {"9 at exactly p - barrier", arcRing(2, 9, 80), false, false},
    {"16 brighter", arcRing(0, 16, 255), true, true},
    {"uniform", arcRing(0, 0, 0), false, false},
};

// Each circle is placed at several columns of a 7-row image of 40 columns
// (first and last group of a vector row among them) and at the centre of a
// 7x7 image. Only row 3 is examined; circle pixels on that row can be
// corners too, so the whole list is checked against the definition.
TEST(FastCircles, HandMadeArcs) {
    for (const CircleCase& c : kCircleCases) {
        for (uint32_t cx : {3u, 4u, 10u, 18u, 19u, 20u, 33u, 34u, 35u, 36u}) {
            for (uint32_t width : {40u, 7u}) {
                if (width == 7 && cx != 3) continue;
                SCOPED_TRACE(::testing::Message() << c.what << " at " << cx << " width " << width);
                const Image img = circleImage(width, cx, c.ring);
                for (const Detector& d : kDetectors) {
                    const Corners want = definitionCorners(img, 20, 0, d.arc);
                    const bool expected = d.arc == 9 ? c.fast9 : c.fast10;
                    EXPECT_EQ(std::count(want.begin(), want.end(), std::make_pair(cx, 3u)), expected ? 1 : 0)
                        << d.name;
                    if (width == 7) {
                        EXPECT_EQ(want.size(), expected ? 1u : 0u);
                    }
                    EXPECT_EQ(detect(d.reference, img, 20), want) << d.name;
                    EXPECT_EQ(detect(d.vector, img, 20), want) << d.name << " vector";
                }
            }
        }
    }
}

// Images of height 6 or less have no rows to examine; border 0..3 all mean
// 3; border 5 drops five pixels at each edge.
TEST(FastScan, BordersAndSmallImages) {
    std::mt19937 rng(5);
    for (const Detector& d : kDetectors) {
        SCOPED_TRACE(d.name);
        for (uint32_t h = 1; h <= 6; ++h) {
            Image noise(30, h, 30, 0);
            noise.fillRandom(rng);
            for (const DetectCall* call : {&d.reference, &d.vector}) EXPECT_EQ(detect(*call, noise, 0), Corners{});
        }
        Image img(61, 23, 64, 1);
        photoScene(img, rng);
        const Corners all = definitionCorners(img, 10, 3, d.arc);
        const Corners inner = definitionCorners(img, 10, 5, d.arc);
        ASSERT_GT(inner.size(), 2u);
        ASSERT_LT(inner.size(), all.size());
        for (const auto& [x, y] : inner) EXPECT_TRUE(x >= 5 && y >= 5 && x < 56 && y < 18);
        for (const DetectCall* call : {&d.reference, &d.vector}) {
            for (uint32_t border : {0u, 1u, 2u, 3u}) EXPECT_EQ(detect(*call, img, 10, border), all) << border;
            EXPECT_EQ(detect(*call, img, 10, 5), inner);
            EXPECT_EQ(detect(*call, img, 10, 12), Corners{});  // 12 >= 23 - 12
            EXPECT_EQ(detect(*call, img, 10, 0x80000000u), Corners{});
        }
        const Image flat = uniformImage(50, 20, 77);
        for (int32_t b : {0, 5, 40})
            for (const DetectCall* call : {&d.reference, &d.vector}) EXPECT_EQ(detect(*call, flat, b), Corners{});
    }
}

// Capacity k keeps the first k corners in raster order; 0 still stores one
// and reports 1. Guards right after the k pairs (one pair for 0) stay intact.
TEST(FastScan, CapacityTruncatesInRasterOrder) {
    std::mt19937 rng(8);
    Image img(97, 31, 100, 2);
    img.fillRandom(rng);
    for (const Detector& d : kDetectors) {
        const Corners all = definitionCorners(img, 30, 3, d.arc);
        ASSERT_GT(all.size(), 40u) << d.name;
        for (const DetectCall* call : {&d.reference, &d.vector}) {
            for (uint32_t capacity : {0u, 1u, 2u, 17u, static_cast<uint32_t>(all.size() - 1),
                                      static_cast<uint32_t>(all.size()), static_cast<uint32_t>(all.size() + 3)}) {
                SCOPED_TRACE(::testing::Message() << d.name << " capacity " << capacity);
                const size_t kept = std::min<size_t>(std::max(capacity, 1u), all.size());
                EXPECT_EQ(detect(*call, img, 30, 3, capacity), Corners(all.begin(), all.begin() + kept));
            }
        }
    }
}

// Negative and out-of-range barriers: the strict comparisons in signed
// arithmetic (a barrier of -1 makes v >= p brighter and v <= p darker).
TEST(FastScan, BarriersAcrossTheWholeRange) {
    std::mt19937 rng(21);
    Image img(70, 14, 70, 5);
    photoScene(img, rng);
    for (const Detector& d : kDetectors)
        for (int32_t b : {-100000, -300, -256, -255, -40, -2, -1, 0, 1, 254, 255, 256, 100000}) {
            SCOPED_TRACE(::testing::Message() << d.name << " barrier " << b);
            const Corners want = definitionCorners(img, b, 3, d.arc);
            EXPECT_EQ(detect(d.reference, img, b), want);
            EXPECT_EQ(detect(d.vector, img, b), want);
        }
}

// ---- Masks ----------------------------------------------------------------------------

// The seven ratios map pixel (x, y) to (x >> s, y >> s) or (x << -s, y << -s);
// other sizes give no corners (and write the count 0).
TEST(FastMask, SevenRatiosAndNoOthers) {
    std::mt19937 rng(13);
    Image img(64, 48, 70, 1);
    photoScene(img, rng);
    for (const Detector& d : kDetectors) {
        if (!d.masked) continue;
        for (int shift = -3; shift <= 3; ++shift) {
            SCOPED_TRACE(::testing::Message() << d.name << " shift " << shift);
            const uint32_t mw = shift >= 0 ? 64 >> shift : 64 << -shift, mh = shift >= 0 ? 48 >> shift : 48 << -shift;
            const Mask mask = randomMask(mw, mh, rng);
            const Corners want = definitionCorners(img, 15, 3, d.arc, &mask, shift);
            ASSERT_GT(want.size(), 3u);
            ASSERT_LT(want.size(), definitionCorners(img, 15, 3, d.arc).size());
            EXPECT_EQ(detect(d.reference, img, 15, 3, 100000, &mask), want);
            EXPECT_EQ(detect(d.vector, img, 15, 3, 100000, &mask), want);
        }
        for (const auto& [mw, mh] : {std::pair<uint32_t, uint32_t>{192, 144}, {128, 48}, {64, 24}, {32, 48},
                                     {65, 48}, {16, 16}, {0, 0}}) {
            Mask mask = randomMask(mw, mh, rng);
            mask.bits.resize(std::max<size_t>(mask.bits.size(), 1));
            std::fill(mask.bits.begin(), mask.bits.end(), 0);
            for (const DetectCall* call : {&d.reference, &d.vector}) {
                Output out(10);
                (*call)(img.data(), 64, 48, img.stride(), 15, 3, out.pairs(), 10, out.countPtr(), mask.bits.data(),
                        mw, mh);
                EXPECT_EQ(out.n(), 0u) << d.name << " mask " << mw << "x" << mh;
            }
        }
    }
}

// Single mask bits by hand around a corner at (18, 3): its own bit, the
// other bits of its byte, and the bit of a mask twice the size.
TEST(FastMask, SingleBits) {
    const Image img = circleImage(40, 18, arcRing(3, 10, 121));
    for (const Detector& d : kDetectors) {
        if (!d.masked) continue;
        SCOPED_TRACE(d.name);
        const auto check = [&](const Mask& mask, int shift, bool cornerKept) {
            const Corners want = definitionCorners(img, 20, 3, d.arc, &mask, shift);
            EXPECT_EQ(std::count(want.begin(), want.end(), std::make_pair(18u, 3u)), cornerKept ? 1 : 0);
            EXPECT_EQ(detect(d.reference, img, 20, 3, 10, &mask), want);
            EXPECT_EQ(detect(d.vector, img, 20, 3, 10, &mask), want);
        };
        Mask same{40, 7, std::vector<uint8_t>(35, 0)};
        check(same, 0, true);
        same.bits[3 * 5 + 2] = 0x20;  // column 18: byte 2, bit 0x80 >> 2
        check(same, 0, false);
        same.bits[3 * 5 + 2] = 0xDF;  // the byte's other columns
        check(same, 0, true);
        Mask twice{80, 14, std::vector<uint8_t>(140, 0)};
        twice.bits[6 * 10 + 4] = 0x08;  // (36, 6) = 2 * (18, 3): byte 4, bit 0x80 >> 4
        check(twice, -1, false);
        // Half of 7 rows is no ratio: no corners at all.
        const Mask half{20, 3, std::vector<uint8_t>(9, 0)};
        EXPECT_EQ(detect(d.reference, img, 20, 3, 10, &half), Corners{});
        EXPECT_EQ(detect(d.vector, img, 20, 3, 10, &half), Corners{});
    }
}

// ---- Scores --------------------------------------------------------------------------

struct ScoreKernel {
    const char* name;
    int arc;
    obxFastCornerScore_fn* fn;
};
const ScoreKernel kScoreKernels[] = {
    {"fast9_corner_scoreC", 9, fast9_corner_scoreC},
    {"fast9_corner_scoreV", 9, fast9_corner_scoreV},
    {"fast10_corner_scoreC", 10, fast10_corner_scoreC},
    {"fast10_corner_scoreV", 10, fast10_corner_scoreV},
};

uint32_t scoreAt(obxFastCornerScore_fn* f, const Image& img, uint32_t x, uint32_t y, int32_t barrier) {
    int32_t offsets[16];
    for (int i = 0; i < 16; ++i) offsets[i] = kDx[i] + kDy[i] * static_cast<int32_t>(img.stride());
    return f(img.row(y) + x, offsets, barrier);
}

// Bisection worked out by hand. Centre 100; arc of 9 at 130..210 (smallest
// difference 30): the test passes up to 29. A tenth pixel at 125 makes a
// 10-arc whose smallest difference is 25: FAST10 24, FAST9 still 29 (the 9
// without it). Not a FAST10 corner at barrier 10: the score is the barrier.
TEST(FastScore, BisectionByHand) {
    std::array<int, 16> nine = arcRing(0, 0, 0);
    for (int k = 0; k < 9; ++k) nine[(14 + k) % 16] = 130 + 10 * k;
    std::array<int, 16> ten = nine;
    ten[7] = 125;
    std::array<int, 16> dark = arcRing(4, 12, 60);
    dark[9] = 50;
    struct Case {
        const char* what;
        std::array<int, 16> ring;
        int32_t barrier;
        uint32_t fast9, fast10;
    } cases[] = {
        {"9 at +30..+110", nine, 10, 29, 10},
        {"9 at +30..+110, barrier 29", nine, 29, 29, 29},
        {"9 at +30..+110, barrier 30", nine, 30, 30, 30},
        {"10 with +25", ten, 10, 29, 24},
        {"12 darker by 40, one by 50", dark, 0, 39, 39},
        {"12 darker, barrier -5", dark, -5, 39, 39},
        {"uniform, barrier 7", arcRing(0, 0, 0), 7, 7, 7},
        {"uniform, barrier -3", arcRing(0, 0, 0), -3, static_cast<uint32_t>(-1), static_cast<uint32_t>(-1)},
        {"all 255", arcRing(0, 16, 255), 0, 154, 154},
        {"barrier 254", arcRing(0, 16, 255), 254, 254, 254},
        {"barrier 255", arcRing(0, 16, 255), 255, 255, 255},
    };
    for (const Case& c : cases) {
        const Image img = circleImage(7, 3, c.ring);
        for (const ScoreKernel& k : kScoreKernels)
            EXPECT_EQ(scoreAt(k.fn, img, 3, 3, c.barrier), k.arc == 9 ? c.fast9 : c.fast10) << c.what << " " << k.name;
    }
}

// Circles with arcs of 6 to 12 pixels of random contrast, and random ones:
// every kernel gives the largest passing threshold from the barrier up (the
// barrier when none passes), found here by a downward scan.
TEST(FastScore, KernelsFindTheLargestPassingThreshold) {
    std::mt19937 rng(31);
    for (int trial = 0; trial < 400; ++trial) {
        std::array<int, 16> ring;
        const int centre = static_cast<int>(rng() % 256);
        for (int& v : ring) v = static_cast<int>(rng() % 256);
        if (trial % 4) {
            const int start = rng() % 16, length = 6 + rng() % 7, sign = rng() % 2 ? 1 : -1;
            for (int k = 0; k < length; ++k)
                ring[(start + k) % 16] = std::clamp(centre + sign * static_cast<int>(1 + rng() % 80), 0, 255);
        }
        const Image img = circleImage(7, 3, ring, static_cast<uint8_t>(centre));
        const int32_t barriers[] = {0, 1, 5, 20, 60, 200, 254, 255, -1, -7, -300};
        const int32_t barrier = barriers[trial % 11];
        for (const ScoreKernel& k : kScoreKernels) {
            int32_t want = 254;
            while (want > barrier && !definitionCorner(img, 3, 3, want, k.arc)) --want;
            if (want < barrier || !definitionCorner(img, 3, 3, barrier, k.arc)) want = barrier;
            EXPECT_EQ(scoreAt(k.fn, img, 3, 3, barrier), static_cast<uint32_t>(want))
                << k.name << " trial " << trial << " barrier " << barrier;
        }
    }
}

// ---- Suppression ------------------------------------------------------------------

struct Scored {
    Corners xy;
    std::vector<uint32_t> scores;
};

Scored suppress(const Corners& xy, const std::vector<uint32_t>& scores, uint32_t height) {
    std::vector<uint32_t> flat, table(height + 1, 0x12345678), outXy(2 * xy.size() + 2), outScores(xy.size() + 1);
    for (const auto& [x, y] : xy) flat.insert(flat.end(), {x, y});
    uint32_t n = 0xDEAD;
    nms_processing(flat.data(), scores.data(), table.data(), static_cast<uint32_t>(xy.size()), outXy.data(),
                   outScores.data(), &n);
    Scored out;
    for (uint32_t i = 0; i < n; ++i) out.xy.push_back({outXy[2 * i], outXy[2 * i + 1]});
    out.scores.assign(outScores.begin(), outScores.begin() + n);
    return out;
}

// The rule by brute force: a corner goes when one of its 8 neighbours in the
// raw list scores >= its score.
Scored suppressByDefinition(const Corners& xy, const std::vector<uint32_t>& scores) {
    Scored out;
    for (size_t i = 0; i < xy.size(); ++i) {
        bool gone = false;
        for (size_t j = 0; j < xy.size() && !gone; ++j)
            gone = j != i && scores[j] >= scores[i] &&
                   std::abs(static_cast<int64_t>(xy[j].first) - xy[i].first) <= 1 &&
                   std::abs(static_cast<int64_t>(xy[j].second) - xy[i].second) <= 1;
        if (!gone) {
            out.xy.push_back(xy[i]);
            out.scores.push_back(scores[i]);
        }
    }
    return out;
}

TEST(FastSuppression, HandLists) {
    struct Case {
        const char* what;
        Corners xy;
        std::vector<uint32_t> scores;
        Corners kept;
    } cases[] = {
        {"equal horizontal neighbours both go", {{5, 4}, {6, 4}}, {20, 20}, {}},
        {"20 and 21: the 21 stays", {{5, 4}, {6, 4}}, {20, 21}, {{6, 4}}},
        {"21 and 20: the 21 stays", {{5, 4}, {6, 4}}, {21, 20}, {{5, 4}}},
        {"two apart both stay", {{5, 4}, {7, 4}}, {20, 20}, {{5, 4}, {7, 4}}},
        {"vertical and diagonal", {{5, 3}, {9, 3}, {6, 4}, {9, 4}, {5, 5}}, {10, 30, 20, 30, 19},
         {{6, 4}}},
        {"removed by a removed neighbour", {{5, 4}, {6, 4}, {7, 4}}, {20, 21, 22}, {{7, 4}}},
        {"rows apart stay", {{5, 2}, {5, 4}, {0, 6}}, {1, 1, 1}, {{5, 2}, {5, 4}, {0, 6}}},
        {"one corner", {{3, 0}}, {9}, {{3, 0}}},
        {"empty", {}, {}, {}},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(suppress(c.xy, c.scores, 8).xy, c.kept) << c.what;
        EXPECT_EQ(suppressByDefinition(c.xy, c.scores).xy, c.kept) << c.what;
    }
}

TEST(FastSuppression, RandomListsFollowTheRule) {
    std::mt19937 rng(44);
    for (int trial = 0; trial < 200; ++trial) {
        Corners xy;
        std::vector<uint32_t> scores;
        for (uint32_t y = 0; y < 12; ++y)
            for (uint32_t x = 0; x < 12; ++x)
                if (rng() % 3 == 0) {
                    xy.push_back({x, y});
                    scores.push_back(rng() % 4);
                }
        const Scored got = suppress(xy, scores, 12), want = suppressByDefinition(xy, scores);
        ASSERT_EQ(got.xy, want.xy) << trial;
        ASSERT_EQ(got.scores, want.scores) << trial;
    }
}

// ---- Scoring operations --------------------------------------------------------------

// Every scoring operation called with suppression on or off (forms without
// the argument ignore it), and its detector's slot and score slot.
using ScoreCall = std::function<void(const uint8_t*, uint32_t, uint32_t, uint32_t, int32_t, uint32_t, uint32_t*,
                                     uint32_t*, uint32_t, uint32_t*, const uint8_t*, uint32_t, uint32_t, uint32_t,
                                     uint32_t*)>;

struct Scorer {
    const char* name;
    int arc;
    bool masked, hasNms;
    ScoreCall call;
    const char* family;
    const char* contract;
};

const char kFast9Score[] = "im && xy && scores && numcorners && (stride == 0 || stride >= xsize)";
const char kFast9MaskScore[] = "im && xy && scores && numcorners && bitMask && (stride == 0 || stride >= xsize)";
const char kFast10Score[] = "src && xy && scores && nCorners && (srcStride == 0 || srcStride >= srcWidth)";
const char kFast10MaskScore[] = "src && xy && scores && nCorners && mask && (srcStride == 0 || srcStride >= srcWidth)";

const Scorer kScorers[] = {
    {"Fast9Score_v3", 9, false, false,
     [](const uint8_t* s, uint32_t w, uint32_t h, uint32_t st, int32_t b, uint32_t e, uint32_t* xy, uint32_t* sc,
        uint32_t cap, uint32_t* n, const uint8_t*, uint32_t, uint32_t, uint32_t, uint32_t*) {
         obxCornerFast9Scoreu8C(s, w, h, st, b, e, xy, sc, cap, n);
     },
     "Fast", kFast9Score},
    {"Fast9Score_v4", 9, false, true,
     [](const uint8_t* s, uint32_t w, uint32_t h, uint32_t st, int32_t b, uint32_t e, uint32_t* xy, uint32_t* sc,
        uint32_t cap, uint32_t* n, const uint8_t*, uint32_t, uint32_t, uint32_t nms, uint32_t* t) {
         obxCornerFast9Scoreu8_v2C(s, w, h, st, b, e, xy, sc, cap, n, nms, t);
     },
     "Fast", kFast9Score},
    {"Fast9InMaskScore_v3", 9, true, false,
     [](const uint8_t* s, uint32_t w, uint32_t h, uint32_t st, int32_t b, uint32_t e, uint32_t* xy, uint32_t* sc,
        uint32_t cap, uint32_t* n, const uint8_t* m, uint32_t mw, uint32_t mh, uint32_t, uint32_t*) {
         obxCornerFast9InMaskScoreu8C(s, w, h, st, b, e, xy, sc, cap, n, m, mw, mh);
     },
     "FastIlp", kFast9MaskScore},
    {"Fast9InMaskScore_v4", 9, true, true,
     [](const uint8_t* s, uint32_t w, uint32_t h, uint32_t st, int32_t b, uint32_t e, uint32_t* xy, uint32_t* sc,
        uint32_t cap, uint32_t* n, const uint8_t* m, uint32_t mw, uint32_t mh, uint32_t nms, uint32_t* t) {
         obxCornerFast9InMaskScoreu8_v2C(s, w, h, st, b, e, xy, sc, cap, n, m, mw, mh, nms, t);
     },
     "FastIlp", kFast9MaskScore},
    {"Fast10Score", 10, false, true,
     [](const uint8_t* s, uint32_t w, uint32_t h, uint32_t st, int32_t b, uint32_t e, uint32_t* xy, uint32_t* sc,
        uint32_t cap, uint32_t* n, const uint8_t*, uint32_t, uint32_t, uint32_t nms, uint32_t* t) {
         obxCornerFast10Scoreu8C(s, w, h, st, b, e, xy, sc, cap, n, nms, t);
     },
     "Fast10", kFast10Score},
    {"Fast10InMaskScore", 10, true, true,
     [](const uint8_t* s, uint32_t w, uint32_t h, uint32_t st, int32_t b, uint32_t e, uint32_t* xy, uint32_t* sc,
        uint32_t cap, uint32_t* n, const uint8_t* m, uint32_t mw, uint32_t mh, uint32_t nms, uint32_t* t) {
         obxCornerFast10InMaskScoreu8C(s, w, h, st, b, e, xy, sc, cap, n, m, mw, mh, nms, t);
     },
     "Fast10", kFast10MaskScore},
};
void PrintTo(const Scorer& s, std::ostream* os) { *os << s.name; }

// Points the detector and score slots of FAST9 and FAST10 at the vector
// variants (or at `fake` ones) for the lifetime of the object.
struct SlotSwap {
    SlotSwap(bool vector) {
        if (!vector) return;
        obxCornerFast9u8_v2_ = obxCornerFast9u8V;
        obxCornerFast9InMasku8_v2_ = obxCornerFast9InMasku8V;
        obxCornerFast10u8_ = obxCornerFast10u8V;
        obxCornerFast10InMasku8_ = obxCornerFast10InMasku8V;
        fast9_corner_score_ = fast9_corner_scoreV;
        fast10_corner_score_ = fast10_corner_scoreV;
    }
    ~SlotSwap() {
        obxCornerFast9u8_v2_ = obxCornerFast9u8C;
        obxCornerFast9InMasku8_v2_ = obxCornerFast9InMasku8C;
        obxCornerFast10u8_ = obxCornerFast10u8C;
        obxCornerFast10InMasku8_ = obxCornerFast10InMasku8C;
        fast9_corner_score_ = fast9_corner_scoreC;
        fast10_corner_score_ = fast10_corner_scoreC;
    }
};

class FastScoring : public ::testing::TestWithParam<Scorer> {};

// Detection, then the score of each corner; with suppression, the rule
// applied to the raw list, within a tempBuf of exactly 3 * capacity + height
// words. The same with the slots on the vector variants.
TEST_P(FastScoring, DetectScoreAndSuppress) {
    const Scorer& s = GetParam();
    std::mt19937 rng(60);
    for (int trial = 0; trial < 12; ++trial) {
        const uint32_t w = 20 + rng() % 90, h = 8 + rng() % 30;
        Image img(w, h, w + rng() % 9, rng() % 16);
        if (trial % 3) photoScene(img, rng);
        else img.fillRandom(rng);
        const Mask mask = randomMask(w, h, rng);
        const int32_t barrier = 5 + static_cast<int32_t>(rng() % 40);
        const Corners raw = definitionCorners(img, barrier, 3, s.arc, s.masked ? &mask : nullptr);
        const uint32_t capacity = trial % 4 == 3 && raw.size() > 2 ? static_cast<uint32_t>(raw.size() / 2) : 5000;
        const Corners listed(raw.begin(), raw.begin() + std::min<size_t>(raw.size(), capacity));
        std::vector<uint32_t> scores;
        for (const auto& [x, y] : listed)
            scores.push_back(scoreAt(s.arc == 9 ? fast9_corner_scoreC : fast10_corner_scoreC, img, x, y, barrier));
        for (bool vector : {false, true}) {
            const SlotSwap slots(vector);
            for (uint32_t nms : {0u, 1u}) {
                SCOPED_TRACE(::testing::Message() << "trial " << trial << (vector ? " vector slots" : "")
                                                  << " nms " << nms << " " << w << "x" << h);
                const Scored want = nms && s.hasNms ? suppressByDefinition(listed, scores) : Scored{listed, scores};
                Output out(capacity);
                GuardedBuffer scoreBuf(4 * capacity, 4), temp(4 * (3 * capacity + h), 8);
                s.call(img.data(), w, h, img.stride(), barrier, 3, out.pairs(),
                       reinterpret_cast<uint32_t*>(scoreBuf.data()), capacity, out.countPtr(), mask.bits.data(), w,
                       h, nms, reinterpret_cast<uint32_t*>(temp.data()));
                EXPECT_EQ(out.corners(), want.xy);
                const uint32_t* got = reinterpret_cast<const uint32_t*>(scoreBuf.data());
                EXPECT_EQ(std::vector<uint32_t>(got, got + std::min<uint32_t>(out.n(), capacity)), want.scores);
                EXPECT_TRUE(out.guardsIntact() && scoreBuf.guardsIntact() && temp.guardsIntact());
            }
        }
    }
}

// Capacity 0 stores the one corner the detectors store even so, with its
// score, with and without suppression.
TEST_P(FastScoring, CapacityZeroKeepsOneCorner) {
    const Scorer& s = GetParam();
    const Image img = circleImage(7, 3, arcRing(3, 12, 200));
    Output out(0);
    GuardedBuffer scoreBuf(4, 4), temp(4 * 7, 8);
    const Mask clear{7, 7, std::vector<uint8_t>(7, 0)};
    for (uint32_t nms : {0u, 1u}) {
        s.call(img.data(), 7, 7, img.stride(), 20, 3, out.pairs(), reinterpret_cast<uint32_t*>(scoreBuf.data()), 0,
               out.countPtr(), clear.bits.data(), 7, 7, nms, reinterpret_cast<uint32_t*>(temp.data()));
        EXPECT_EQ(out.corners(), (Corners{{3, 3}})) << nms;
        EXPECT_EQ(*reinterpret_cast<uint32_t*>(scoreBuf.data()), 99u) << nms;
        EXPECT_TRUE(out.guardsIntact() && scoreBuf.guardsIntact() && temp.guardsIntact());
    }
}

INSTANTIATE_TEST_SUITE_P(Fast, FastScoring, ::testing::ValuesIn(kScorers),
                         [](const auto& info) { return std::string(info.param.name); });

// The scoring operations reach the detector and the score routine through
// their slots: fakes installed there decide the result.
void fakeDetect(const uint8_t*, uint32_t, uint32_t, uint32_t, int32_t, uint32_t, uint32_t* xy, uint32_t,
                uint32_t* n) {
    const uint32_t list[] = {4, 3, 5, 3, 9, 4};
    memcpy(xy, list, sizeof list);
    *n = 3;
}
void fakeDetectInMask(const uint8_t* s, uint32_t w, uint32_t h, uint32_t st, int32_t b, uint32_t e, uint32_t* xy,
                      uint32_t cap, uint32_t* n, const uint8_t*, uint32_t, uint32_t) {
    fakeDetect(s, w, h, st, b, e, xy, cap, n);
}
uint32_t fakeScore(const uint8_t* p, const int32_t*, int32_t) { return *p; }  // the centre's value

TEST(FastScoringSlots, DetectorAndScoreComeFromTheSlots) {
    Image img = uniformImage(16, 8, 0);
    img.at(4, 3) = 7, img.at(5, 3) = 8, img.at(9, 4) = 2;
    obxCornerFast9u8_v2_ = fakeDetect;
    obxCornerFast10u8_ = fakeDetect;
    obxCornerFast9InMasku8_v2_ = fakeDetectInMask;
    obxCornerFast10InMasku8_ = fakeDetectInMask;
    fast9_corner_score_ = fakeScore;
    fast10_corner_score_ = fakeScore;
    for (const Scorer& s : kScorers) {
        for (uint32_t nms : {0u, 1u}) {
            Output out(8);
            uint32_t scores[8] = {}, temp[3 * 8 + 8];
            const uint8_t mask[16] = {};
            s.call(img.data(), 16, 8, 16, 10, 3, out.pairs(), scores, 8, out.countPtr(), mask, 16, 8, nms, temp);
            const bool suppressed = nms && s.hasNms;  // (4, 3) at 7 goes next to (5, 3) at 8
            EXPECT_EQ(out.corners(), suppressed ? (Corners{{5, 3}, {9, 4}}) : (Corners{{4, 3}, {5, 3}, {9, 4}}))
                << s.name;
            EXPECT_EQ(std::vector<uint32_t>(scores, scores + out.n()),
                      suppressed ? (std::vector<uint32_t>{8, 2}) : (std::vector<uint32_t>{7, 8, 2}))
                << s.name;
        }
    }
    const SlotSwap restore(false);
}

// ---- Vector variants against their references ----------------------------------------

// Many sizes from 1x1 up, padded and misaligned rows, photo-like scenes and
// noise, several barriers (negative and beyond 255 among them), capacities
// that cut the list, masks of every ratio; equal lists and counts, guards
// after the list and around the count intact, the image unchanged.
TEST(FastVector, MatchesReference) {
    std::mt19937 rng(2024);
    std::vector<ImageGeometry> shapes = comparisonGeometries(1, 1, 17, 40);
    for (uint32_t w : {22u, 23u, 37u, 38u, 39u, 54u, 55u, 2048u}) shapes.push_back({w, 9, 3, 0, 5, 0});
    const int32_t barriers[] = {10, 20, 0, 35, 5, -2, 300, 15};
    size_t index = 0;
    for (const ImageGeometry& g : shapes) {
        ++index;
        Image img(g.width, g.height, g.width + g.srcPadding, g.srcOffset);
        if (index % 3 == 0) img.fillRandom(rng);
        else photoScene(img, rng);
        const Image before = [&] {
            Image copy(g.width, g.height, g.width + g.srcPadding, g.srcOffset);
            copy.copyPixelsFrom(img);
            return copy;
        }();
        const int32_t barrier = barriers[index % 8];
        const uint32_t border = index % 5 == 0 ? static_cast<uint32_t>(rng() % 7) : 3;
        const uint32_t capacity = index % 4 == 0 ? static_cast<uint32_t>(rng() % 20) : 100000;
        const int shift = static_cast<int>(rng() % 7) - 3;
        const uint32_t mw = shift >= 0 ? g.width >> shift : g.width << -shift;
        const uint32_t mh = shift >= 0 ? g.height >> shift : g.height << -shift;
        Mask mask = randomMask(std::max(mw, 1u), std::max(mh, 1u), rng);
        mask.width = mw, mask.height = mh;
        const uint32_t stride = g.srcPadding == 0 && index % 2 ? 0 : img.stride();
        for (const Detector& d : kDetectors) {
            SCOPED_TRACE(::testing::Message() << d.name << " " << g << " barrier " << barrier << " border " << border
                                              << " capacity " << capacity << " mask shift " << shift);
            const Corners want = detect(d.reference, img, barrier, border, capacity, &mask, stride);
            ASSERT_EQ(describe(detect(d.vector, img, barrier, border, capacity, &mask, stride)), describe(want));
            ASSERT_EQ(detect(d.vector, img, barrier, border, capacity, &mask, stride), want);
        }
        ASSERT_EQ(pixelDifference(before, img), "");
        ASSERT_TRUE(img.guardsIntact());
    }
}

// Every one of the 65536 brighter (and darker) patterns of the circle, one
// centre each in cells of 7x7: the centres are corners exactly when the
// pattern holds a cyclic run of 9 (10), and the lists of both variants,
// which also hold corners among the circle pixels, are equal.
bool hasRun(uint32_t pattern, int arc) {
    for (int start = 0; start < 16; ++start) {
        int k = 0;
        while (k < arc && (pattern >> ((start + k) % 16) & 1)) ++k;
        if (k == arc) return true;
    }
    return false;
}

TEST(FastVector, EveryRingOfSixteen) {
    constexpr uint32_t kCells = 256, kSide = 7 * kCells;
    for (uint8_t level : {200, 0}) {
        Image img(kSide, kSide, kSide, 0);
        img.fill(100);
        for (uint32_t pattern = 0; pattern < 65536; ++pattern) {
            const uint32_t cx = 7 * (pattern % kCells) + 3, cy = 7 * (pattern / kCells) + 3;
            for (int i = 0; i < 16; ++i)
                if (pattern >> i & 1) img.at(cx + kDx[i], cy + kDy[i]) = level;
        }
        for (const Detector& d : kDetectors) {
            if (d.masked) continue;
            SCOPED_TRACE(::testing::Message() << d.name << " level " << +level);
            const Corners want = detect(d.reference, img, 20, 3, 1u << 20);
            ASSERT_EQ(detect(d.vector, img, 20, 3, 1u << 20), want);
            std::vector<uint8_t> isCorner(static_cast<size_t>(kSide) * kSide, 0);
            for (const auto& [x, y] : want) isCorner[static_cast<size_t>(y) * kSide + x] = 1;
            for (uint32_t pattern = 0; pattern < 65536; ++pattern) {
                const uint32_t cx = 7 * (pattern % kCells) + 3, cy = 7 * (pattern / kCells) + 3;
                ASSERT_EQ(isCorner[static_cast<size_t>(cy) * kSide + cx], hasRun(pattern, d.arc) ? 1 : 0) << pattern;
            }
        }
    }
}

// The score kernels at every pixel of scenes, for barriers up to 255.
TEST(FastVector, ScoreKernelsMatchReference) {
    std::mt19937 rng(99);
    for (int trial = 0; trial < 6; ++trial) {
        Image img(40, 20, 40 + trial, trial);
        if (trial % 2) img.fillRandom(rng);
        else photoScene(img, rng);
        const int32_t barrier = trial == 5 ? -20 : static_cast<int32_t>(rng() % 256);
        for (uint32_t y = 3; y < 17; ++y)
            for (uint32_t x = 3; x < 37; ++x) {
                ASSERT_EQ(scoreAt(fast9_corner_scoreV, img, x, y, barrier), scoreAt(fast9_corner_scoreC, img, x, y, barrier))
                    << x << "," << y << " barrier " << barrier;
                ASSERT_EQ(scoreAt(fast10_corner_scoreV, img, x, y, barrier),
                          scoreAt(fast10_corner_scoreC, img, x, y, barrier))
                    << x << "," << y << " barrier " << barrier;
            }
    }
}

// The vector detectors take one scratch list per call and give it back.
std::vector<void*> gTaken, gReleased;
void* countingGet(uint32_t size) {
    void* p = obxScratchGetUnaligned(size);
    gTaken.push_back(p);
    return p;
}
void countingRelease(void* p) {
    gReleased.push_back(p);
    obxScratchRelease(p);
}
void* failingGet(uint32_t) { return nullptr; }

TEST(FastVector, ReleasesItsScratch) {
    std::mt19937 rng(3);
    Image img(50, 20, 50, 0);
    img.fillRandom(rng);
    for (const Detector& d : kDetectors) {
        gTaken.clear(), gReleased.clear();
        obxGetScratchBufferUnaligned_ = countingGet;
        obxReleaseScratchBuffer_ = countingRelease;
        detect(d.vector, img, 10, 3, 3);
        detect(d.vector, img, 10);
        obxGetScratchBufferUnaligned_ = obxScratchGetUnaligned;
        obxReleaseScratchBuffer_ = obxScratchRelease;
        EXPECT_EQ(gTaken.size(), 2u) << d.name;
        EXPECT_EQ(gTaken, gReleased) << d.name;
    }
}

// ---- Assertion texts -------------------------------------------------------------------

alignas(16) uint8_t gBytes[4096];
uint32_t* words(size_t at) { return reinterpret_cast<uint32_t*>(gBytes + at); }

std::vector<AssertionCase> assertionCases() {
    std::vector<AssertionCase> cases;
    const char* const kinds[] = {"null image", "null xy", "null count", "stride one short", "null mask"};
    for (const Detector& d : kDetectors) {
        for (int kind = 0; kind < (d.masked ? 5 : 4); ++kind) {
            for (bool vector : {false, true}) {
                const DetectCall call = vector ? d.vector : d.reference;
                cases.push_back({std::string(d.name) + (vector ? "V " : "C ") + kinds[kind],
                                 [call, kind] {
                                     call(kind == 0 ? nullptr : gBytes, 8, 8, kind == 3 ? 7 : 8, 10, 3,
                                          kind == 1 ? nullptr : words(1024), 4, kind == 2 ? nullptr : words(2048),
                                          kind == 4 ? nullptr : gBytes + 3072, 8, 8);
                                 },
                                 moduleOf(d.family, vector),
                                 vector ? std::string(d.contract) + (d.arc == 9 ? " && ( xsize <= 2048 )"
                                                                                : " && ( srcWidth <= 2048 )")
                                        : d.contract});
            }
        }
        const DetectCall vector = d.vector;
        const std::string limited = std::string(d.contract) + (d.arc == 9 ? " && ( xsize <= 2048 )" : " && ( srcWidth <= 2048 )");
        cases.push_back({std::string(d.name) + "V width 2049",
                         [vector] { vector(gBytes, 2049, 1, 0, 10, 3, words(1024), 4, words(2048), gBytes, 2049, 1); },
                         moduleOf(d.family, true), limited});
        cases.push_back({std::string(d.name) + "V no scratch",
                         [vector] {
                             obxGetScratchBufferUnaligned_ = failingGet;
                             vector(gBytes, 8, 8, 8, 10, 3, words(1024), 4, words(2048), gBytes + 3072, 8, 8);
                         },
                         moduleOf(d.family, true), "corners"});
    }
    const char* const scoreKinds[] = {"null image", "null xy", "null scores", "null count", "stride one short",
                                      "null mask", "suppression without tempBuf"};
    for (const Scorer& s : kScorers) {
        for (int kind = 0; kind < 7; ++kind) {
            if ((kind == 5 && !s.masked) || (kind == 6 && !s.hasNms)) continue;
            const ScoreCall call = s.call;
            cases.push_back({std::string(s.name) + " " + scoreKinds[kind],
                             [call, kind] {
                                 call(kind == 0 ? nullptr : gBytes, 8, 8, kind == 4 ? 7 : 0, 10, 3,
                                      kind == 1 ? nullptr : words(1024), kind == 2 ? nullptr : words(1536), 4,
                                      kind == 3 ? nullptr : words(2048), kind == 5 ? nullptr : gBytes + 3072, 8, 8,
                                      1, kind == 6 ? nullptr : words(2560));
                             },
                             moduleOf(s.family, false), kind == 6 ? "tempBuf" : s.contract});
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Fast, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

}  // namespace
