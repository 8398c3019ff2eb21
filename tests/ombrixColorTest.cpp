// Full-range YCbCr -> RGB conversions: hand-checked pixels (rounding ties
// among them), every layout against a per-pixel model, packed-stride
// defaults, assertion texts, and every vector variant against its reference.
#include "ombrixColorOperations.h"
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

using ombrix_color_ops::k420;
using ombrix_color_ops::k422;
using ombrix_color_ops::kOperations;
using ombrix_color_ops::Operation;

// The source planes of one call. Planar chroma uses cb and cr; pseudo-planar
// chroma uses cb alone as the plane of Cb,Cr pairs. Rows are padded and
// misaligned as given; `packed` rows are passed as strides of 0, which
// stand for luma `width`, chroma planes `width` or (width+1)/2, chroma pairs
// 2 * width (4:4:4) or `width`: with an odd width a 4:2:2/4:2:0 row of pairs
// then reads one byte of the next row.
struct Source {
    GuardedImage<uint8_t> y, cb, cr;
    bool packed;
    Source(const Operation& op, uint32_t width, uint32_t height, uint32_t padding, size_t offset, bool packed = false)
        : y(width, height, width + padding, offset),
          cb(chromaBytes(op, width, packed), op.chromaRows(height), chromaBytes(op, width, packed) + padding, offset + 3),
          cr(op.chromaSamples(width), op.chromaRows(height), op.chromaSamples(width) + padding, offset + 5),
          packed(packed) {}
    static uint32_t chromaBytes(const Operation& op, uint32_t width, bool packed) {
        return op.planar ? op.chromaSamples(width) : packed && op.shared() ? width : 2 * op.chromaSamples(width);
    }
    void setChroma(const Operation& op, uint32_t k, uint32_t row, std::pair<uint8_t, uint8_t> c) {
        (op.planar ? cb.at(k, row) : cb.at(2 * k, row)) = c.first;
        (op.planar ? cr.at(k, row) : cb.at(2 * k + 1, row)) = c.second;
    }
    std::pair<uint8_t, uint8_t> chroma(const Operation& op, uint32_t k, uint32_t row) const {
        return op.planar ? std::make_pair(cb.at(k, row), cr.at(k, row))
                         : std::make_pair(cb.at(2 * k, row), cb.at(2 * k + 1, row));
    }
    void call(const Operation& op, bool vector, uint32_t width, uint32_t height, uint8_t* dst, uint32_t dstStride) {
        const uint32_t ys = packed ? 0 : y.stride(), cbs = packed ? 0 : cb.stride(), crs = packed ? 0 : cr.stride();
        if (op.planar)
            (vector ? op.planarV : op.planarC)(y.data(), cb.data(), cr.data(), width, height, ys, cbs, crs, dst,
                                               packed ? 0 : dstStride);
        else
            (vector ? op.pseudoV : op.pseudoC)(y.data(), cb.data(), width, height, ys, cbs, dst, packed ? 0 : dstStride);
    }
};

struct Rgb {
    uint8_t r, g, b;
};

// The bytes of one output pixel, packed by hand.
std::vector<uint8_t> packed(uint32_t bytes, Rgb p) {
    if (bytes == 2) {
        const uint16_t word = static_cast<uint16_t>((p.b >> 3) << 11 | (p.g >> 2) << 5 | p.r >> 3);
        return {static_cast<uint8_t>(word & 0xFF), static_cast<uint8_t>(word >> 8)};
    }
    if (bytes == 3) return {p.r, p.g, p.b};
    return {p.r, p.g, p.b, 255};
}

std::vector<uint8_t> pixelAt(const GuardedImage<uint8_t>& dst, uint32_t bytes, uint32_t x, uint32_t y) {
    return std::vector<uint8_t>(dst.row(y) + x * bytes, dst.row(y) + (x + 1) * bytes);
}

// The Q8 formula written out: Y' = 256 Y + 128, d = Cb - 128, e = Cr - 128.
Rgb formula(int32_t luma, int32_t cb, int32_t cr) {
    auto clamp = [](int32_t v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); };
    const int32_t l = luma * 256 + 128, d = cb - 128, e = cr - 128;
    return {clamp((l + 359 * e) >> 8), clamp((l - 88 * d - 183 * e) >> 8), clamp((l + 454 * d) >> 8)};
}

// Pixels worked out by hand from the Q8 formula.
struct HandPixel {
    uint8_t y, cb, cr;
    Rgb rgb;
};
const HandPixel kHandPixels[] = {
    {0, 128, 128, {0, 0, 0}},          // black
    {255, 128, 128, {255, 255, 255}},  // white
    {255, 128, 255, {255, 164, 255}},  // R = 111001 >> 8 = 433 clamps; G = 42167 >> 8
    {0, 128, 0, {0, 92, 0}},           // R = -45824 >> 8 clamps to 0; G = 23552 >> 8
    {100, 200, 50, {0, 131, 228}},     // R = -2274 >> 8 = -9; G = 33666 >> 8; B = 58416 >> 8
    {50, 128, 130, {53, 49, 50}},      // the rounding term: (12800 + 128 + 718) >> 8 = 53, not 52
    {76, 85, 255, {254, 0, 0}},        // red: RGB565 word 0x001F
    {29, 255, 107, {0, 0, 254}},       // blue: RGB565 word 0xF800
    // Ties: 359 * -128 = -45952 and 183 * -128 = -23424 are 179.5 and 91.5
    // times 256, 454 * 64 = 29056 is 113.5 times 256: the +128 lifts them.
    {180, 192, 0, {1, 250, 255}},      // R = 256 >> 8, G = (46208 - 5632 + 23424) >> 8 = 64000 >> 8
    {100, 192, 128, {100, 78, 214}},   // B = (25728 + 29056) >> 8 = 54784 >> 8
    // 359 * 41 = 14719 is 127/256 short of 57.5 * 256: R = 40447 >> 8 = 157.
    {100, 128, 169, {157, 71, 100}},   // G = (25728 - 7503) >> 8 = 18225 >> 8
};

// Runs `body` on every operation, naming it in failures.
template <typename Body>
void forEachOperation(Body body) {
    for (const Operation& op : kOperations) {
        SCOPED_TRACE(op.name);
        body(op);
    }
}

// Each hand pixel fills two horizontally adjacent pixels sharing one chroma
// sample, on two rows (one 4:2:0 chroma row).
TEST(ColorConversion, HandCheckedPixels) {
    forEachOperation([](const Operation& op) {
        const uint32_t n = sizeof kHandPixels / sizeof kHandPixels[0];
        for (bool vector : {false, true}) {
            for (uint32_t repeat : {1u, 5u}) {  // scalar forms and vector steps
                const uint32_t width = 2 * n * repeat, height = 2;
                Source src(op, width, height, 3, 1);
                for (uint32_t x = 0; x < width; ++x)
                    for (uint32_t r = 0; r < height; ++r) src.y.at(x, r) = kHandPixels[x / 2 % n].y;
                for (uint32_t r = 0; r < src.cb.height(); ++r)
                    for (uint32_t k = 0; k < op.chromaSamples(width); ++k) {
                        const HandPixel& h = kHandPixels[(op.shared() ? k : k / 2) % n];
                        src.setChroma(op, k, r, {h.cb, h.cr});
                    }
                GuardedImage<uint8_t> dst(width * op.bytes, height, width * op.bytes + 7, 2);
                src.call(op, vector, width, height, dst.data(), dst.stride());
                for (uint32_t r = 0; r < height; ++r)
                    for (uint32_t x = 0; x < width; ++x)
                        EXPECT_EQ(pixelAt(dst, op.bytes, x, r), packed(op.bytes, kHandPixels[x / 2 % n].rgb))
                            << (vector ? "vector" : "reference") << " pixel " << x << " row " << r;
                EXPECT_TRUE(dst.guardsIntact());
            }
        }
    });
}

// Every pixel against the formula, with chroma sample x / 2 (4:2:2, 4:2:0)
// of chroma row y / 2 (4:2:0): with an odd width the last pixel has its
// sample to itself. 4:2:0 converts two rows per chroma row; with an odd
// height its last pass also converts row `height`, one past the image, in
// source and destination. The buffers here have that row; other layouts
// leave it alone. Contents alternate between random bytes and the extremes
// 0, 128 and 255; strides are padded or 0 (packed).
TEST(ColorConversion, EveryLayoutFollowsTheFormula) {
    forEachOperation([](const Operation& op) {
        std::mt19937 rng(41);
        const uint32_t sizes[][3] = {{1, 3, 0},  {2, 2, 1},  {3, 5, 0},  {5, 4, 1},  {7, 4, 1},  {16, 3, 0}, {33, 4, 1},
                                     {37, 6, 0}, {64, 4, 1}, {65, 2, 0}, {70, 1, 0}, {99, 4, 0}, {101, 4, 1}};
        for (bool vector : {false, true}) {
            for (const auto& size : sizes) {
                const uint32_t width = size[0], height = size[1], rows = height + 1, padding = size[2] ? 0 : 2;
                if (width == 1 && op.shared()) continue;  // refused; see the assertion texts
                SCOPED_TRACE(::testing::Message() << (vector ? "vector " : "reference ") << width << "x" << height
                                                  << (size[2] ? " packed" : ""));
                Source src(op, width, rows, padding, width % 4, size[2]);
                const uint8_t extremes[3] = {0, 128, 255};
                for (GuardedImage<uint8_t>* plane : {&src.y, &src.cb, &src.cr}) {
                    plane->fillRandom(rng);
                    if (width % 2)
                        for (uint32_t r = 0; r < plane->height(); ++r)
                            for (uint32_t x = 0; x < plane->width(); ++x) plane->at(x, r) = extremes[plane->at(x, r) % 3];
                }
                GuardedImage<uint8_t> dst(width * op.bytes, rows, width * op.bytes + padding, 5);
                src.call(op, vector, width, height, dst.data(), dst.stride());
                ASSERT_TRUE(dst.guardsIntact());
                const bool extraRow = op.subsampling == k420 && height % 2;
                for (uint32_t y = 0; y < (extraRow ? rows : height); ++y)
                    for (uint32_t x = 0; x < width; ++x) {
                        const auto c = src.chroma(op, op.shared() ? x / 2 : x, op.subsampling == k420 ? y / 2 : y);
                        ASSERT_EQ(pixelAt(dst, op.bytes, x, y), packed(op.bytes, formula(src.y.at(x, y), c.first, c.second)))
                            << x << "," << y;
                    }
                for (uint32_t x = 0; x < width * op.bytes && !extraRow; ++x) ASSERT_EQ(dst.at(x, height), 0xA5) << x;
            }
        }
    });
}

// The vector variant against the reference on many shapes, with guard bytes
// around every plane and row. 4:2:0 heights are even.
TEST(ColorConversion, VectorMatchesReference) {
    forEachOperation([](const Operation& op) {
        std::mt19937 rng(7);
        for (const ImageGeometry& g : comparisonGeometries(op.shared() ? 2 : 1, 1, 900, 12)) {
            SCOPED_TRACE(::testing::Message() << g);
            const uint32_t height = op.subsampling == k420 ? g.height + (g.height & 1) : g.height;
            Source src(op, g.width, height, g.srcPadding, g.srcOffset);
            for (GuardedImage<uint8_t>* plane : {&src.y, &src.cb, &src.cr}) plane->fillRandom(rng);
            const uint32_t rowBytes = g.width * op.bytes;
            GuardedImage<uint8_t> expected(rowBytes, height, rowBytes + g.dstPadding, g.dstOffset);
            GuardedImage<uint8_t> actual(rowBytes, height, rowBytes + g.dstPadding, g.dstOffset);
            src.call(op, false, g.width, height, expected.data(), expected.stride());
            src.call(op, true, g.width, height, actual.data(), actual.stride());
            ASSERT_EQ(pixelDifference(expected, actual), "");
            ASSERT_TRUE(actual.guardsIntact());
            ASSERT_TRUE(expected.guardsIntact());
        }
    });
}

// Every chroma pair at luma values from both ends and the middle: the
// vector formula against the reference, and the reference against the
// formula written out here.
TEST(ColorConversion, EveryChromaPairMatchesTheFormula) {
    const Operation& op = kOperations[1];  // 4:4:4 planar to RGB888
    Source src(op, 256, 256, 0, 0);
    for (uint32_t cr = 0; cr < 256; ++cr)
        for (uint32_t cb = 0; cb < 256; ++cb) src.setChroma(op, cb, cr, {static_cast<uint8_t>(cb), static_cast<uint8_t>(cr)});
    for (uint8_t luma : {0, 1, 100, 128, 254, 255}) {
        src.y.fill(luma);
        GuardedImage<uint8_t> expected(256 * 3, 256, 256 * 3, 0), actual(256 * 3, 256, 256 * 3, 0);
        src.call(op, false, 256, 256, expected.data(), expected.stride());
        src.call(op, true, 256, 256, actual.data(), actual.stride());
        ASSERT_EQ(pixelDifference(expected, actual), "") << +luma;
        for (int32_t cr = 0; cr < 256; ++cr)
            for (int32_t cb = 0; cb < 256; ++cb)
                ASSERT_EQ(pixelAt(expected, 3, cb, cr), packed(3, formula(luma, cb, cr))) << +luma << " " << cb << " " << cr;
    }
}

// ---- Assertion texts -----------------------------------------------------------------

// The contract of an operation, spelled out.
std::string contract(const Operation& op) {
    const std::string bytes = std::to_string(op.bytes);
    const std::string lumaTerm = "srcWidth && srcHeight && ( srcYStride == 0 || srcYStride >= (srcWidth*sizeof(uint8_t)) )";
    const std::string dstTerm = " && ( dstStride == 0 || dstStride >= (srcWidth*" + bytes + "*sizeof(uint8_t)))";
    if (op.planar) {
        const std::string chroma = op.shared() ? "((srcWidth+1)/2*sizeof(uint8_t))" : "(srcWidth*sizeof(uint8_t))";
        return "srcY && srcCb && srcCr && dst && " + lumaTerm + " && ( srcCbStride == 0 || srcCbStride >= " +
               chroma + " ) && ( srcCrStride == 0 || srcCrStride >= " + chroma + " )" + dstTerm;
    }
    const std::string chroma = op.shared() ? "(srcWidth*sizeof(uint8_t))" : "(srcWidth*2*sizeof(uint8_t))";
    std::string text = "srcY && srcC && dst && " + lumaTerm + " && ( srcCStride == 0 || srcCStride >= " + chroma +
                       " )" + dstTerm;
    if (op.subsampling == k422 && op.bytes == 3) text += " && srcWidth > 1";
    return text;
}

alignas(16) uint8_t gY[4096], gCb[4096], gCr[4096], gDst[16384];

// Calls `op` on 8x4 images with packed strides, after `change` has modified
// the arguments.
struct Arguments {
    const uint8_t *y = gY, *cb = gCb, *cr = gCr;
    uint32_t width = 8, height = 4, yStride = 0, cbStride = 0, crStride = 0;
    uint8_t* dst = gDst;
    uint32_t dstStride = 0;
};

template <typename Change>
std::function<void()> violation(const Operation& op, bool vector, Change change) {
    return [op, vector, change] {
        Arguments a;
        change(a);
        if (op.planar)
            (vector ? op.planarV : op.planarC)(a.y, a.cb, a.cr, a.width, a.height, a.yStride, a.cbStride,
                                               a.crStride, a.dst, a.dstStride);
        else
            (vector ? op.pseudoV : op.pseudoC)(a.y, a.cb, a.width, a.height, a.yStride, a.cbStride, a.dst,
                                               a.dstStride);
    };
}

// Each reference and vector variant once with its whole contract text, the
// violated term rotating from variant to variant so that every term is hit
// by several variants.
std::vector<AssertionCase> assertionCases() {
    struct Kind {
        const char* what;
        void (*change)(Arguments&, const Operation&);
    };
    static const Kind kKinds[] = {
        {"null luma", [](Arguments& a, const Operation&) { a.y = nullptr; }},
        {"chroma stride below its row",
         [](Arguments& a, const Operation& op) { a.cbStride = (op.planar ? op.chromaSamples(8) : op.shared() ? 8 : 16) - 1; }},
        {"null destination", [](Arguments& a, const Operation&) { a.dst = nullptr; }},
        {"destination stride below its row", [](Arguments& a, const Operation& op) { a.dstStride = 8 * op.bytes - 1; }},
        {"null chroma", [](Arguments& a, const Operation&) { a.cb = nullptr; }},
        {"zero width", [](Arguments& a, const Operation&) { a.width = 0; }},
        {"luma stride below width", [](Arguments& a, const Operation&) { a.yStride = 7; }},
        {"zero height", [](Arguments& a, const Operation&) { a.height = 0; }},
        {"Cr stride below its row (null Cr when pseudo-planar has none)",
         [](Arguments& a, const Operation& op) {
             if (op.planar)
                 a.crStride = op.chromaSamples(8) - 1;
             else
                 a.dst = nullptr;
         }},
    };
    std::vector<AssertionCase> cases;
    size_t variant = 0;
    for (const Operation& op : kOperations) {
        for (bool vector : {false, true}) {
            const Kind& kind = kKinds[variant++ % (sizeof kKinds / sizeof kKinds[0])];
            const auto change = kind.change;
            cases.push_back({std::string(op.name) + (vector ? "V " : "C ") + kind.what,
                             violation(op, vector, [change, op](Arguments& a) { change(a, op); }),
                             vector ? "src/lanex/ombrixColorV" : "src/cpu/ombrixColorC", contract(op)});
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(ColorConversion, AssertionText, ::testing::ValuesIn(assertionCases()),
                         assertionCaseName);

// Every 4:2:2 and 4:2:0 variant refuses a width of 1 in its row converter,
// whose message names the same module; the 4:2:2 pseudo-planar RGB888
// contract refuses it first. (One test forking per variant: under an
// emulator a process per case would cost far more.)
TEST(ColorConversion, WidthOneIsRefusedBy422And420) {
    for (const Operation& op : kOperations) {
        if (!op.shared()) continue;
        for (bool vector : {false, true}) {
            const bool ownTerm = !op.planar && op.subsampling == k422 && op.bytes == 3;
            EXPECT_EXIT(violation(op, vector, [](Arguments& a) { a.width = 1; })(), ::testing::ExitedWithCode(1),
                        assertionPattern(vector ? "src/lanex/ombrixColorV" : "src/cpu/ombrixColorC",
                                                      ownTerm ? contract(op) : "length > 1"))
                << op.name << (vector ? "V" : "C");
        }
    }
}

}  // namespace
