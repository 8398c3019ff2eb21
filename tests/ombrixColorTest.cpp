// Full-range YCbCr -> RGB conversions: hand-checked pixels, packings, odd
// widths and heights, packed-stride defaults, assertion texts, and every
// vector variant against its reference.
#include <gtest/gtest.h>

#include <functional>
#include <random>
#include <utility>
#include <string>
#include <vector>

#include "ombrixColorOperations.h"
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using ombrix_test::GuardedImage;

using ombrix_color_ops::k420;
using ombrix_color_ops::k422;
using ombrix_color_ops::k444;
using ombrix_color_ops::kOperations;
using ombrix_color_ops::Operation;

// The source planes of one call. Planar chroma uses cb and cr; pseudo-planar
// chroma uses cb alone as the plane of Cb,Cr pairs. Rows are padded and
// misaligned as given.
struct Source {
    GuardedImage<uint8_t> y, cb, cr;
    Source(const Operation& op, uint32_t width, uint32_t height, uint32_t padding, size_t offset)
        : y(width, height, width + padding, offset),
          cb(chromaBytes(op, width), op.chromaRows(height), chromaBytes(op, width) + padding, offset + 3),
          cr(op.chromaSamples(width), op.chromaRows(height), op.chromaSamples(width) + padding, offset + 5) {}
    static uint32_t chromaBytes(const Operation& op, uint32_t width) {
        return op.planar ? op.chromaSamples(width) : 2 * op.chromaSamples(width);
    }
    // Luma `luma` everywhere; chroma sample k of every row (Cb, Cr) = chroma(k).
    template <typename Chroma>
    void set(const Operation& op, uint8_t luma, Chroma chroma) {
        y.fill(luma);
        for (uint32_t r = 0; r < cb.height(); ++r)
            for (uint32_t k = 0; k < op.chromaSamples(y.width()); ++k) setChroma(op, k, r, chroma(k));
    }
    void setChroma(const Operation& op, uint32_t k, uint32_t row, std::pair<uint8_t, uint8_t> c) {
        if (op.planar) {
            cb.at(k, row) = c.first;
            cr.at(k, row) = c.second;
        } else {
            cb.at(2 * k, row) = c.first;
            cb.at(2 * k + 1, row) = c.second;
        }
    }
    void call(const Operation& op, bool vector, uint32_t width, uint32_t height, uint8_t* dst, uint32_t dstStride) {
        if (op.planar)
            (vector ? op.planarV : op.planarC)(y.data(), cb.data(), cr.data(), width, height, y.stride(),
                                               cb.stride(), cr.stride(), dst, dstStride);
        else
            (vector ? op.pseudoV : op.pseudoC)(y.data(), cb.data(), width, height, y.stride(), cb.stride(), dst,
                                               dstStride);
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

// Pixels worked out by hand from the Q8 formula (Y' = 256 Y + 128).
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
};

// Runs `body` on every operation that `keep` accepts, naming it in failures.
template <typename Keep, typename Body>
void forEachOperation(Keep keep, Body body) {
    for (const Operation& op : kOperations) {
        if (!keep(op)) continue;
        SCOPED_TRACE(op.name);
        body(op);
    }
}

// Each hand pixel fills two horizontally adjacent pixels sharing one chroma
// sample, on two rows (one 4:2:0 chroma row).
TEST(ColorConversion, HandCheckedPixels) {
    forEachOperation([](const Operation&) { return true; }, [](const Operation& op) {
        const uint32_t n = sizeof kHandPixels / sizeof kHandPixels[0];
        for (bool vector : {false, true}) {
            for (uint32_t repeat : {1u, 5u}) {  // 16 and 80 pixels: scalar forms and vector steps
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

// An odd width: the last pixel has chroma sample (width - 1) / 2 to itself.
TEST(ColorConversion, OddWidthLastPixelHasItsOwnSample) {
    forEachOperation([](const Operation&) { return true; }, [](const Operation& op) {
        for (bool vector : {false, true}) {
            for (uint32_t width : {3u, 5u, 37u, 65u, 99u}) {
                Source src(op, width, 2, 2, 0);
                // Luma 76 everywhere; neutral chroma except the last sample, red's.
                const uint32_t last = op.chromaSamples(width) - 1;
                src.set(op, 76, [last](uint32_t k) {
                    return k == last ? std::pair<uint8_t, uint8_t>{85, 255} : std::pair<uint8_t, uint8_t>{128, 128};
                });
                GuardedImage<uint8_t> dst(width * op.bytes, 2, width * op.bytes, 5);
                src.call(op, vector, width, 2, dst.data(), dst.stride());
                for (uint32_t r = 0; r < 2; ++r) {
                    EXPECT_EQ(pixelAt(dst, op.bytes, width - 1, r), packed(op.bytes, {254, 0, 0})) << width;
                    // Its left neighbour, which has the sample before, stays grey.
                    EXPECT_EQ(pixelAt(dst, op.bytes, width - 2, r), packed(op.bytes, {76, 76, 76})) << width;
                }
                EXPECT_TRUE(dst.guardsIntact());
            }
        }
    });
}

TEST(ColorConversion, Rgb565WordsOfRedAndBlue) {
    forEachOperation([](const Operation& op) { return op.bytes == 2; }, [](const Operation& op) {
        for (bool vector : {false, true}) {
            for (uint32_t width : {2u, 40u}) {
                Source src(op, width, 2, 0, 0);
                src.set(op, 76, [](uint32_t) { return std::pair<uint8_t, uint8_t>{85, 255}; });
                std::vector<uint16_t> words(width * 2, 0x5555);
                src.call(op, vector, width, 2, reinterpret_cast<uint8_t*>(words.data()), width * 2);
                for (uint16_t w : words) EXPECT_EQ(w, 0x001F);
                src.set(op, 29, [](uint32_t) { return std::pair<uint8_t, uint8_t>{255, 107}; });
                src.call(op, vector, width, 2, reinterpret_cast<uint8_t*>(words.data()), width * 2);
                for (uint16_t w : words) EXPECT_EQ(w, 0xF800);
            }
        }
    });
}

// Stride 0 everywhere reads and writes the same bytes as the explicit packed
// strides: luma `width`, chroma planes `width` or (width+1)/2, chroma pairs
// 2 * width (4:4:4) or `width`, output `width` pixels.
TEST(ColorConversion, ZeroStridesArePacked) {
    forEachOperation([](const Operation&) { return true; }, [](const Operation& op) {
        std::mt19937 rng(41);
        for (bool vector : {false, true}) {
            for (uint32_t width : {2u, 7u, 33u, 64u, 101u}) {
                const uint32_t height = 4;
                const uint32_t chromaStride = op.planar ? op.chromaSamples(width) : op.shared() ? width : 2 * width;
                // One spare chroma byte: with an odd width a 4:2:2/4:2:0 row of
                // pairs reads width + 1 bytes from rows `width` apart.
                std::vector<uint8_t> y(width * height), cb(chromaStride * height + 1), cr(chromaStride * height + 1);
                ombrix_test::fillRandom(y.data(), y.size(), rng);
                ombrix_test::fillRandom(cb.data(), cb.size(), rng);
                ombrix_test::fillRandom(cr.data(), cr.size(), rng);
                std::vector<uint8_t> implicit(width * height * op.bytes, 0x11), explicitly(implicit.size(), 0x22);
                const uint32_t dstStride = width * op.bytes;
                if (op.planar) {
                    auto f = vector ? op.planarV : op.planarC;
                    f(y.data(), cb.data(), cr.data(), width, height, 0, 0, 0, implicit.data(), 0);
                    f(y.data(), cb.data(), cr.data(), width, height, width, chromaStride, chromaStride,
                      explicitly.data(), dstStride);
                } else {
                    auto f = vector ? op.pseudoV : op.pseudoC;
                    f(y.data(), cb.data(), width, height, 0, 0, implicit.data(), 0);
                    f(y.data(), cb.data(), width, height, width, chromaStride, explicitly.data(), dstStride);
                }
                EXPECT_EQ(implicit, explicitly) << (vector ? "vector " : "reference ") << width;
            }
        }
    });
}

// Only 4:4:4 takes a width of 1 (the others' refusal is among the assertion texts).
TEST(ColorConversion, WidthOneIn444) {
    forEachOperation([](const Operation& op) { return !op.shared(); }, [](const Operation& op) {
        for (bool vector : {false, true}) {
            Source src(op, 1, 3, 4, 7);
            src.set(op, 76, [](uint32_t) { return std::pair<uint8_t, uint8_t>{85, 255}; });
            GuardedImage<uint8_t> dst(op.bytes, 3, op.bytes + 1, 3);
            src.call(op, vector, 1, 3, dst.data(), dst.stride());
            for (uint32_t r = 0; r < 3; ++r) EXPECT_EQ(pixelAt(dst, op.bytes, 0, r), packed(op.bytes, {254, 0, 0}));
            EXPECT_TRUE(dst.guardsIntact());
        }
    });
}

// 4:2:0 converts two rows per chroma row; with an odd height its last pass
// still converts two rows, the second being row `height`, one past the
// image, in source and destination. The buffers here have that row.
TEST(ColorConversion, OddHeightIn420ConvertsOneRowMore) {
    forEachOperation([](const Operation& op) { return op.subsampling == k420; }, [](const Operation& op) {
        for (bool vector : {false, true}) {
            const uint32_t width = 40, height = 3;
            Source src(op, width, height + 1, 0, 0);  // luma rows 0..3, chroma rows 0..1
            src.set(op, 76, [](uint32_t) { return std::pair<uint8_t, uint8_t>{85, 255}; });
            for (uint32_t x = 0; x < width; ++x) src.y.at(x, 3) = 0;  // row 3: Y = 0 with red's chroma
            GuardedImage<uint8_t> dst(width * op.bytes, height + 1, width * op.bytes, 0);
            src.call(op, vector, width, height, dst.data(), dst.stride());
            // Y = 0, Cb = 85, Cr = 255: R = (128 + 45593) >> 8 = 178, G = (128 + 3784 - 23241) >> 8 < 0,
            // B = (128 - 19522) >> 8 < 0.
            for (uint32_t x = 0; x < width; ++x) {
                EXPECT_EQ(pixelAt(dst, op.bytes, x, 2), packed(op.bytes, {254, 0, 0}));
                EXPECT_EQ(pixelAt(dst, op.bytes, x, 3), packed(op.bytes, {178, 0, 0}));
            }
        }
    });
}

// The vector variant against the reference on many shapes, with guard bytes
// around every plane and row. 4:2:0 heights are even.
TEST(ColorConversion, VectorMatchesReference) {
    forEachOperation([](const Operation&) { return true; }, [](const Operation& op) {
        std::mt19937 rng(7);
        const uint32_t minWidth = op.shared() ? 2 : 1;
        for (const ombrix_test::ImageGeometry& g : ombrix_test::comparisonGeometries(minWidth, 1, 900, 12)) {
            SCOPED_TRACE(::testing::Message() << g);
            const uint32_t height = op.subsampling == k420 ? g.height + (g.height & 1) : g.height;
            Source src(op, g.width, height, g.srcPadding, g.srcOffset);
            src.y.fillRandom(rng);
            src.cb.fillRandom(rng);
            src.cr.fillRandom(rng);
            const uint32_t rowBytes = g.width * op.bytes;
            GuardedImage<uint8_t> expected(rowBytes, height, rowBytes + g.dstPadding, g.dstOffset);
            GuardedImage<uint8_t> actual(rowBytes, height, rowBytes + g.dstPadding, g.dstOffset);
            src.call(op, false, g.width, height, expected.data(), expected.stride());
            src.call(op, true, g.width, height, actual.data(), actual.stride());
            ASSERT_EQ(ombrix_test::pixelDifference(expected, actual), "");
            ASSERT_TRUE(actual.guardsIntact());
            ASSERT_TRUE(expected.guardsIntact());
        }
    });
}

// Extreme content: all 0, all 255, and luma and chroma at opposite ends.
TEST(ColorConversion, VectorMatchesReferenceAtTheExtremes) {
    forEachOperation([](const Operation&) { return true; }, [](const Operation& op) {
        const uint32_t width = 70, height = 2;
        for (uint8_t luma : {0, 255})
            for (uint8_t cb : {0, 255})
                for (uint8_t cr : {0, 128, 255}) {
                    Source src(op, width, height, 1, 1);
                    src.set(op, luma, [&](uint32_t) { return std::pair<uint8_t, uint8_t>{cb, cr}; });
                    GuardedImage<uint8_t> expected(width * op.bytes, height, width * op.bytes, 0);
                    GuardedImage<uint8_t> actual(width * op.bytes, height, width * op.bytes, 0);
                    src.call(op, false, width, height, expected.data(), expected.stride());
                    src.call(op, true, width, height, actual.data(), actual.stride());
                    EXPECT_EQ(ombrix_test::pixelDifference(expected, actual), "") << +luma << " " << +cb << " " << +cr;
                }
    });
}

// Every chroma pair at luma values from both ends and the middle: the
// vector formula against the reference, and the reference against the
// formula written out here.
TEST(ColorConversion, EveryChromaPairMatchesTheFormula) {
    const Operation& op = kOperations[1];  // 4:4:4 planar to RGB888
    ASSERT_EQ(std::string(op.name), "obxColorYCbCr444PlanarToRGB888u8");
    Source src(op, 256, 256, 0, 0);
    for (uint32_t cr = 0; cr < 256; ++cr)
        for (uint32_t cb = 0; cb < 256; ++cb) src.setChroma(op, cb, cr, {static_cast<uint8_t>(cb), static_cast<uint8_t>(cr)});
    auto clamp = [](int32_t v) { return static_cast<uint8_t>(v < 0 ? 0 : v > 255 ? 255 : v); };
    for (uint8_t luma : {0, 1, 100, 128, 254, 255}) {
        src.y.fill(luma);
        GuardedImage<uint8_t> expected(256 * 3, 256, 256 * 3, 0), actual(256 * 3, 256, 256 * 3, 0);
        src.call(op, false, 256, 256, expected.data(), expected.stride());
        src.call(op, true, 256, 256, actual.data(), actual.stride());
        ASSERT_EQ(ombrix_test::pixelDifference(expected, actual), "") << +luma;
        for (int32_t cr = 0; cr < 256; ++cr)
            for (int32_t cb = 0; cb < 256; ++cb) {
                const int32_t l = luma * 256 + 128, d = cb - 128, e = cr - 128;
                const Rgb rgb = {clamp((l + 359 * e) >> 8), clamp((l - 88 * d - 183 * e) >> 8), clamp((l + 454 * d) >> 8)};
                ASSERT_EQ(pixelAt(expected, 3, cb, cr), packed(3, rgb)) << +luma << " " << cb << " " << cr;
            }
    }
}

TEST(ColorConversion, SlotStartsOnTheReference) {
    forEachOperation([](const Operation&) { return true; }, [](const Operation& op) {
        if (op.planar)
            EXPECT_EQ(*op.planarSlot, op.planarC);
        else
            EXPECT_EQ(*op.pseudoSlot, op.pseudoC);
    });
}

// ---- Assertion texts -----------------------------------------------------------------

using ombrix_test::AssertionCase;
using ombrix_test::AssertionText;

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
    const size_t kindCount = sizeof kKinds / sizeof kKinds[0];
    std::vector<AssertionCase> cases;
    size_t variant = 0;
    for (const Operation& op : kOperations) {
        for (bool vector : {false, true}) {
            const std::string module = vector ? "src/lanex/ombrixColorV" : "src/cpu/ombrixColorC";
            const std::string name = std::string(op.name) + (vector ? "V " : "C ");
            const Kind& kind = kKinds[variant++ % kindCount];
            const auto change = kind.change;
            cases.push_back({name + kind.what, violation(op, vector, [change, op](Arguments& a) { change(a, op); }),
                             module, contract(op)});
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(ColorConversion, AssertionText, ::testing::ValuesIn(assertionCases()),
                         ombrix_test::assertionCaseName);

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
                        ombrix_test::assertionPattern(vector ? "src/lanex/ombrixColorV" : "src/cpu/ombrixColorC",
                                                      ownTerm ? contract(op) : "length > 1"))
                << op.name << (vector ? "V" : "C");
        }
    }
}

}  // namespace
