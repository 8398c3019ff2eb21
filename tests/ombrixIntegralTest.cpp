// Integral images: hand-checked tables, the definitions summed directly
// (the tilted cone included), sums that wrap 32 bits, the scratch row of the
// tilted table, the assertion texts of every reference and vector variant,
// and randomized vector-against-reference comparisons over many shapes.
#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

using PatchFn = obxIntegratePatchu8_v2_fn;
using FixedPatchFn = obxIntegrateFixedPatchu8_fn;

struct ImageForms {
    const char* name;
    obxIntegrateImageu8_v2_fn* image;
    PatchFn* patch;
    FixedPatchFn* patch12;
    FixedPatchFn* patch18;
    obxIntegrateImageLineu8_fn* line;
    obxIntegrateImageLine64u8_fn* line64;
    obxIntegrateImageYCbCr420PseudoPlanaru8_fn* ycbcr;
};
const ImageForms kReference = {"reference", obxIntegrateImageu8_v2C, obxIntegratePatchu8C,
                               obxIntegratePatch12x12u8C, obxIntegratePatch18x18u8C, obxIntegrateImageLineu8C,
                               obxIntegrateImageLine64u8C, obxIntegrateImageYCbCr420PseudoPlanaru8C};
const ImageForms kVector = {"vector", obxIntegrateImageu8_v2V, obxIntegratePatchu8V,
                            obxIntegratePatch12x12u8V, obxIntegratePatch18x18u8V, obxIntegrateImageLineu8V,
                            obxIntegrateImageLine64u8V, obxIntegrateImageYCbCr420PseudoPlanaru8V};
const ImageForms kBoth[] = {kReference, kVector};

constexpr uint32_t kUnwritten = 0xA5A5A5A5u;  // a table entry that holds the guard pattern

GuardedImage<uint8_t> imageOf(uint32_t width, uint32_t height, const std::vector<uint8_t>& pixels,
                              uint32_t padding = 3) {
    GuardedImage<uint8_t> image(width, height, width + padding, 1);
    for (uint32_t y = 0; y < height; ++y)
        for (uint32_t x = 0; x < width; ++x) image.at(x, y) = pixels[y * width + x];
    return image;
}

// A table of uint32_t entries, rows `padding` entries longer than the table,
// at `offset` bytes (a multiple of 4) past a 64-byte boundary.
GuardedImage<uint32_t> tableOf(uint32_t columns, uint32_t rows, uint32_t padding = 2, size_t offset = 4) {
    return GuardedImage<uint32_t>(columns, rows, (columns + padding) * 4, offset);
}

std::vector<uint32_t> entries(const GuardedImage<uint32_t>& table) {
    std::vector<uint32_t> all;
    for (uint32_t y = 0; y < table.height(); ++y)
        for (uint32_t x = 0; x < table.width(); ++x) all.push_back(table.at(x, y));
    return all;
}

std::vector<uint32_t> entries(const GuardedBuffer& packed) {
    std::vector<uint32_t> all(packed.size() / 4);
    memcpy(all.data(), packed.data(), packed.size());
    return all;
}

uint32_t* words(GuardedBuffer& buffer) { return reinterpret_cast<uint32_t*>(buffer.data()); }

// ---- Hand-checked tables -------------------------------------------------------------

TEST(IntegrateImage, HandCheckedTables) {
    for (const ImageForms& f : kBoth) {
        SCOPED_TRACE(f.name);
        const GuardedImage<uint8_t> one = imageOf(1, 1, {7});
        GuardedImage<uint32_t> t1 = tableOf(2, 2);
        f.image(one.data(), 1, 1, one.stride(), t1.data(), t1.stride());
        EXPECT_EQ(entries(t1), (std::vector<uint32_t>{0, 0, 0, 7}));
        EXPECT_TRUE(t1.guardsIntact());

        // 1 2 3 / 4 5 6: running sums 1 3 6 and 4 9 15, the second on top of the first.
        const GuardedImage<uint8_t> six = imageOf(3, 2, {1, 2, 3, 4, 5, 6});
        GuardedImage<uint32_t> t2 = tableOf(4, 3);
        f.image(six.data(), 3, 2, six.stride(), t2.data(), t2.stride());
        EXPECT_EQ(entries(t2), (std::vector<uint32_t>{0, 0, 0, 0, 0, 1, 3, 6, 0, 5, 12, 21}));
        EXPECT_TRUE(t2.guardsIntact());
    }
}

TEST(IntegratePatch, HandCheckedTables) {
    // The 2x2 patch at (1, 2) of a 4x4 image: pixels 9 10 / 13 14 (value = 4 y + x).
    std::vector<uint8_t> ramp(16);
    for (int i = 0; i < 16; ++i) ramp[i] = static_cast<uint8_t>(i);
    const GuardedImage<uint8_t> image = imageOf(4, 4, ramp);
    const GuardedImage<uint8_t> white = imageOf(20, 19, std::vector<uint8_t>(20 * 19, 255));
    for (const ImageForms& f : kBoth) {
        SCOPED_TRACE(f.name);
        GuardedBuffer sums(9 * 4, 4), squares(9 * 4, 8);
        f.patch(image.data(), 4, 4, image.stride(), 1, 2, 2, 2, words(sums), words(squares));
        EXPECT_EQ(entries(sums), (std::vector<uint32_t>{0, 0, 0, 0, 9, 19, 0, 22, 46}));
        EXPECT_EQ(entries(squares), (std::vector<uint32_t>{0, 0, 0, 0, 81, 181, 0, 250, 546}));
        EXPECT_TRUE(sums.guardsIntact() && squares.guardsIntact());

        // 144 * 255 = 36720, 144 * 255^2 = 9363600; 324 * 255 = 82620, 324 * 255^2 = 21068100.
        for (uint32_t size : {12u, 18u}) {
            GuardedBuffer s((size + 1) * (size + 1) * 4, 4), q((size + 1) * (size + 1) * 4, 12);
            (size == 12 ? f.patch12 : f.patch18)(white.data(), 20, 19, white.stride(), 1, 1, words(s), words(q));
            const std::vector<uint32_t> sum = entries(s), square = entries(q);
            EXPECT_EQ(sum.back(), size == 12 ? 36720u : 82620u);
            EXPECT_EQ(square.back(), size == 12 ? 9363600u : 21068100u);
            EXPECT_EQ(sum[size + 2], 255u) << "first pixel";
            EXPECT_EQ(sum[size], 0u) << "row 0";
            EXPECT_TRUE(s.guardsIntact() && q.guardsIntact()) << size;
        }
    }
}

TEST(IntegrateLine, HandCheckedSums) {
    const uint8_t pixels[64] = {3, 4, 250};  // the rest 0
    std::vector<uint8_t> white(64, 255);
    for (const ImageForms& f : kBoth) {
        SCOPED_TRACE(f.name);
        uint32_t sum = kUnwritten, sum2 = kUnwritten;
        f.line(pixels, 0, &sum, &sum2);
        EXPECT_EQ(sum, 0u);
        EXPECT_EQ(sum2, 0u);
        f.line(pixels, 3, &sum, &sum2);
        EXPECT_EQ(sum, 257u);
        EXPECT_EQ(sum2, 62525u);
        uint16_t sum16 = 0xA5A5;
        f.line64(white.data(), &sum16, &sum2);
        EXPECT_EQ(sum16, 16320u);
        EXPECT_EQ(sum2, 4161600u);
        f.line64(pixels, &sum16, &sum2);
        EXPECT_EQ(sum16, 257u);
        EXPECT_EQ(sum2, 62525u);
    }
}

TEST(IntegrateYCbCr420, HandCheckedTables) {
    for (const ImageForms& f : kBoth) {
        SCOPED_TRACE(f.name);
        // 2x2 luma: integralY = 0 0 / 0 Y(0,0); chroma tables of 1x1 entry, 0.
        const GuardedImage<uint8_t> y2 = imageOf(2, 2, {9, 200, 100, 255});
        const GuardedImage<uint8_t> c2 = imageOf(2, 1, {33, 44});
        GuardedImage<uint32_t> ty = tableOf(2, 2), tcb = tableOf(1, 1), tcr = tableOf(1, 1);
        f.ycbcr(y2.data(), c2.data(), 2, 2, y2.stride(), c2.stride(), ty.data(), tcb.data(), tcr.data(), ty.stride(),
                tcb.stride(), tcr.stride());
        EXPECT_EQ(entries(ty), (std::vector<uint32_t>{0, 0, 0, 9}));
        EXPECT_EQ(entries(tcb), (std::vector<uint32_t>{0}));
        EXPECT_EQ(entries(tcr), (std::vector<uint32_t>{0}));
        EXPECT_TRUE(ty.guardsIntact() && tcb.guardsIntact() && tcr.guardsIntact());

        // 6x4 frame, chroma pairs (Cb, Cr): row 0 (1, 100) (2, 200) (3, 250),
        // row 1 (4, 7) (5, 8) (6, 9). Tables of 3x2 entries: only chroma row 0
        // and its first two pairs enter. Luma 1 everywhere: integralY(x, y) = x y.
        const GuardedImage<uint8_t> y6 = imageOf(6, 4, std::vector<uint8_t>(24, 1));
        const GuardedImage<uint8_t> c6 = imageOf(6, 2, {1, 100, 2, 200, 3, 250, 4, 7, 5, 8, 6, 9});
        GuardedImage<uint32_t> ly = tableOf(6, 4), lcb = tableOf(3, 2), lcr = tableOf(3, 2);
        f.ycbcr(y6.data(), c6.data(), 6, 4, y6.stride(), c6.stride(), ly.data(), lcb.data(), lcr.data(), ly.stride(),
                lcb.stride(), lcr.stride());
        for (uint32_t y = 0; y < 4; ++y)
            for (uint32_t x = 0; x < 6; ++x) EXPECT_EQ(ly.at(x, y), x * y) << x << "," << y;
        EXPECT_EQ(entries(lcb), (std::vector<uint32_t>{0, 0, 0, 0, 1, 3}));
        EXPECT_EQ(entries(lcr), (std::vector<uint32_t>{0, 0, 0, 0, 100, 300}));
        EXPECT_TRUE(ly.guardsIntact() && lcb.guardsIntact() && lcr.guardsIntact());
    }
}

// A 258x258 patch of 255s: the squared sums pass 2^32 in the last rows,
// where the row above is added. 258^2 * 255^2 = 4328324100 = 2^32 + 33356804.
TEST(IntegratePatch, SquaredSumsWrap) {
    constexpr uint32_t kSize = 258;
    const GuardedImage<uint8_t> white = imageOf(kSize + 5, kSize + 2, std::vector<uint8_t>((kSize + 5) * (kSize + 2), 255));
    for (const ImageForms& f : kBoth) {
        GuardedBuffer s((kSize + 1) * (kSize + 1) * 4, 4), q((kSize + 1) * (kSize + 1) * 4, 4);
        f.patch(white.data(), kSize + 5, kSize + 2, white.stride(), 3, 1, kSize, kSize, words(s), words(q));
        const std::vector<uint32_t> sum = entries(s), square = entries(q);
        EXPECT_EQ(sum.back(), kSize * kSize * 255u) << f.name;
        EXPECT_EQ(square.back(), 33356804u) << f.name;
        // Row 256 ends just below 2^32 (256 * 258 * 65025 = 4294771200); row
        // 257 is past it: 257 * 258 * 65025 - 2^32 = 16580354.
        EXPECT_EQ(square[(kSize + 1) * 257 - 1], 4294771200u) << f.name;
        EXPECT_EQ(square[(kSize + 1) * 258 - 1], 16580354u) << f.name;
        EXPECT_TRUE(s.guardsIntact() && q.guardsIntact());
    }
}

// ---- The definitions, summed directly ------------------------------------------------

// Sum of image pixels x0 <= x < x1, y0 <= y < y1, modulo 2^32 (squared when asked).
uint32_t blockSum(const GuardedImage<uint8_t>& image, uint32_t x0, uint32_t y0, uint32_t x1, uint32_t y1,
                  bool squared = false, uint32_t step = 1, uint32_t channel = 0) {
    uint32_t sum = 0;
    for (uint32_t y = y0; y < y1; ++y)
        for (uint32_t x = x0; x < x1; ++x) {
            const uint32_t p = image.at(x * step + channel, y);
            sum += squared ? p * p : p;
        }
    return sum;
}

TEST(Integrate, TablesFollowTheDefinition) {
    std::mt19937 rng(11);
    for (uint32_t w : {1u, 2u, 7u, 8u, 9u, 17u, 26u})
        for (uint32_t h : {1u, 2u, 5u}) {
            GuardedImage<uint8_t> image(w + 2, h + 3, w + 5, 3);
            image.fillRandom(rng);
            for (const ImageForms& f : kBoth) {
                SCOPED_TRACE(::testing::Message() << f.name << " " << w << "x" << h);
                GuardedImage<uint32_t> table = tableOf(w + 1, h + 1);
                f.image(image.data(), w, h, image.stride(), table.data(), table.stride());
                GuardedBuffer s((w + 1) * (h + 1) * 4, 4), q((w + 1) * (h + 1) * 4, 4);
                f.patch(image.data(), w + 2, h + 3, image.stride(), 2, 3, w, h, words(s), words(q));
                // Frames of (w + 2) x (h + 2) with chroma rows of w + 2 bytes.
                const uint32_t fw = w + 2, fh = h + 2, cw = fw / 2, ch = fh / 2;
                GuardedImage<uint32_t> ty = tableOf(fw, fh), tcb = tableOf(cw, ch), tcr = tableOf(cw, ch);
                f.ycbcr(image.data(), image.row(1), fw, fh, image.stride(), image.stride(), ty.data(), tcb.data(),
                        tcr.data(), ty.stride(), tcb.stride(), tcr.stride());
                const std::vector<uint32_t> sums = entries(s), squares = entries(q);
                for (uint32_t y = 0; y <= h; ++y)
                    for (uint32_t x = 0; x <= w; ++x) {
                        ASSERT_EQ(table.at(x, y), blockSum(image, 0, 0, x, y)) << x << "," << y;
                        ASSERT_EQ(sums[y * (w + 1) + x], blockSum(image, 2, 3, 2 + x, 3 + y)) << x << "," << y;
                        ASSERT_EQ(squares[y * (w + 1) + x], blockSum(image, 2, 3, 2 + x, 3 + y, true)) << x << "," << y;
                    }
                for (uint32_t y = 0; y < fh; ++y)
                    for (uint32_t x = 0; x < fw; ++x) ASSERT_EQ(ty.at(x, y), blockSum(image, 0, 0, x, y)) << x << "," << y;
                GuardedImage<uint8_t> chroma(fw, ch, image.stride(), 0);  // rows 1.. of the image
                for (uint32_t y = 0; y < ch; ++y)
                    for (uint32_t x = 0; x < fw; ++x) chroma.at(x, y) = image.at(x, y + 1);
                for (uint32_t y = 0; y < ch; ++y)
                    for (uint32_t x = 0; x < cw; ++x) {
                        ASSERT_EQ(tcb.at(x, y), blockSum(chroma, 0, 0, x, y, false, 2, 0)) << x << "," << y;
                        ASSERT_EQ(tcr.at(x, y), blockSum(chroma, 0, 0, x, y, false, 2, 1)) << x << "," << y;
                    }
                EXPECT_TRUE(table.guardsIntact() && s.guardsIntact() && q.guardsIntact() && ty.guardsIntact() &&
                            tcb.guardsIntact() && tcr.guardsIntact());
            }
        }
}

// ---- Tilted table ----------------------------------------------------------------------

// The cone with apex pixel (a, b): y <= b and |x - a| <= b - y.
uint32_t coneSum(const GuardedImage<uint8_t>& image, int64_t a, int64_t b) {
    uint32_t sum = 0;
    for (int64_t y = 0; y <= b && y < image.height(); ++y)
        for (int64_t x = 0; x < image.width(); ++x)
            if (std::abs(x - a) <= b - y) sum += image.at(static_cast<uint32_t>(x), static_cast<uint32_t>(y));
    return sum;
}

uint32_t tilted(const GuardedImage<int32_t>& table, int64_t a, int64_t b) {  // D(a, b) = T(a + 1, b + 1)
    return static_cast<uint32_t>(table.at(static_cast<uint32_t>(a + 1), static_cast<uint32_t>(b + 1)));
}

TEST(TiltedIntegral, FirstRowsByHand) {
    const GuardedImage<uint8_t> image = imageOf(3, 3, {1, 2, 3, 4, 5, 6, 7, 8, 9});
    GuardedImage<int32_t> table(4, 4, 6 * 4, 8);
    obxTiltedIntegralu8s32C(image.data(), 3, 3, image.stride(), table.data(), table.stride());
    // Row 2: T(X, 2) = src(X - 1, 1) + src(X - 2 .. X, 0), e.g. 5 + 1 + 2 + 3
    // = 11; row 3 adds a layer, e.g. T(2, 3) = 8 + (4 + 5 + 6) + (1 + 2 + 3).
    // Column 0 holds the cones of apex column -1: T(0, 2) = 1, T(0, 3) = 1 + 4 + 2.
    const std::vector<std::vector<int32_t>> expected = {
        {0, 0, 0, 0}, {0, 1, 2, 3}, {1, 7, 11, 11}, {7, 22, 29, 26}};
    for (uint32_t y = 0; y < 4; ++y)
        for (uint32_t x = 0; x < 4; ++x) EXPECT_EQ(table.at(x, y), expected[y][x]) << x << "," << y;
    EXPECT_TRUE(table.guardsIntact());
}

// Every entry against its cone, for packed (stride 0) and padded sources;
// and rotated rectangles from four entries, as the header describes.
TEST(TiltedIntegral, EntriesSumTheirCone) {
    std::mt19937 rng(5);
    for (uint32_t w : {1u, 2u, 3u, 8u, 13u, 31u})
        for (uint32_t h : {1u, 2u, 4u, 9u}) {
            const bool packed = (w + h) % 2 == 0;
            GuardedImage<uint8_t> image(w, h, packed ? w : w + 7, 5);
            image.fillRandom(rng);
            GuardedImage<int32_t> table(w + 1, h + 1, (w + 1 + h % 3) * 4, 4);
            obxTiltedIntegralu8s32C(image.data(), w, h, packed ? 0 : image.stride(), table.data(),
                                    table.stride() + h % 4);
            for (uint32_t y = 0; y <= h; ++y)
                for (uint32_t x = 0; x <= w; ++x)
                    ASSERT_EQ(static_cast<uint32_t>(table.at(x, y)), coneSum(image, int64_t{x} - 1, int64_t{y} - 1))
                        << w << "x" << h << " at " << x << "," << y;
            ASSERT_TRUE(table.guardsIntact()) << w << "x" << h;
            if (w < 13 || h < 9) continue;
            for (int64_t a = 0; a < w; ++a)
                for (int64_t b = 0; b < h; ++b)
                    for (int64_t rw = 1; rw <= 4; ++rw)
                        for (int64_t rh = 1; rh <= 4; ++rh) {
                            if (a - rw < -1 || a + rh > w - 1 || b - rw - rh < -1) continue;
                            uint32_t direct = 0;
                            for (uint32_t y = 0; y < h; ++y)
                                for (uint32_t x = 0; x < w; ++x) {
                                    const int64_t p = (b - y) + (x - a), q = (b - y) - (x - a);
                                    if (p >= 0 && p < 2 * rh && q >= 0 && q < 2 * rw) direct += image.at(x, y);
                                }
                            const uint32_t fromTable = tilted(table, a, b) - tilted(table, a - rw, b - rw) -
                                                       tilted(table, a + rh, b - rh) +
                                                       tilted(table, a - rw + rh, b - rw - rh);
                            ASSERT_EQ(fromTable, direct) << a << "," << b << " " << rw << "x" << rh;
                        }
        }
}

// One scratch row per call, returned before the call returns: with 31 of
// the 32 pool entries out, calls keep succeeding.
TEST(TiltedIntegral, ReleasesItsScratchRow) {
    ASSERT_EQ(obxMemInit(), 0);
    std::vector<void*> held;
    for (int i = 0; i < 31; ++i) held.push_back(obxGetScratchBufferUnaligned_(16));
    ASSERT_EQ(std::count(held.begin(), held.end(), nullptr), 0);
    const GuardedImage<uint8_t> image = imageOf(2, 2, {1, 2, 3, 4});
    GuardedImage<int32_t> table(3, 3, 12, 0);
    for (int call = 0; call < 3; ++call) {
        obxTiltedIntegralu8s32C(image.data(), 2, 2, image.stride(), table.data(), table.stride());
        EXPECT_EQ(table.at(2, 2), 1 + 2 + 4);
    }
    for (void* p : held) obxReleaseScratchBuffer_(p);
    EXPECT_EQ(obxMemDeInit(), 0);
}

// ---- Assertion texts -------------------------------------------------------------------

alignas(16) uint8_t gBytes[8192];
uint32_t* gTable = reinterpret_cast<uint32_t*>(gBytes + 4096);

std::vector<AssertionCase> assertionCases() {
    std::vector<AssertionCase> cases;
    const std::string image = "src && dst && srcWidth && srcHeight && (srcStride >= srcWidth) && (dstStride >= (srcWidth+1)*sizeof(uint32_t))";
    const std::string patch = "src && dst && dst2 && srcWidth && srcHeight && (srcStride >= srcWidth)";
    const std::string line = "imageIn && intgrl && intgrlSqrd";
    const std::string line64 = "pxls && sum && sum2";
    const std::string ycbcr = "srcY && srcC && integralY && integralCb && integralCr && srcWidth && srcHeight && (srcYStride >= srcWidth) && (srcCStride >= srcWidth) && (integralYStride >= srcWidth*sizeof(uint32_t)) && (integralCbStride >= (srcWidth/2)*sizeof(uint32_t)) && (integralCrStride >= (srcWidth/2)*sizeof(uint32_t))";
    for (const ImageForms& f : kBoth) {
        const bool vector = &f == &kBoth[1];
        auto add = [&](const std::string& what, std::function<void()> violate, const std::string& text) {
            cases.push_back({std::string(f.name) + " " + what, std::move(violate), moduleOf("Integral", vector), text});
        };
        const uint8_t* s = gBytes;
        uint32_t* t = gTable;
        add("image: null source", [f, t] { f.image(nullptr, 4, 4, 4, t, 20); }, image);
        add("image: null table", [f, s] { f.image(s, 4, 4, 4, nullptr, 20); }, image);
        add("image: zero width", [f, s, t] { f.image(s, 0, 4, 4, t, 20); }, image);
        add("image: zero height", [f, s, t] { f.image(s, 4, 0, 4, t, 20); }, image);
        add("image: srcStride below width", [f, s, t] { f.image(s, 4, 4, 3, t, 20); }, image);
        add("image: dstStride one entry short", [f, s, t] { f.image(s, 4, 4, 4, t, 19); }, image);
        add("patch: null source", [f, t] { f.patch(nullptr, 8, 8, 8, 0, 0, 2, 2, t, t + 16); }, patch);
        add("patch: null sums", [f, s, t] { f.patch(s, 8, 8, 8, 0, 0, 2, 2, nullptr, t); }, patch);
        add("patch: null squares", [f, s, t] { f.patch(s, 8, 8, 8, 0, 0, 2, 2, t, nullptr); }, patch);
        add("patch: zero width", [f, s, t] { f.patch(s, 0, 8, 8, 0, 0, 2, 2, t, t + 16); }, patch);
        add("patch: srcStride below width", [f, s, t] { f.patch(s, 8, 8, 7, 0, 0, 2, 2, t, t + 16); }, patch);
        add("patch12: null squares", [f, s, t] { f.patch12(s, 20, 20, 20, 0, 0, t, nullptr); }, patch);
        add("patch12: zero height", [f, s, t] { f.patch12(s, 20, 0, 20, 0, 0, t, t + 200); }, patch);
        add("patch18: null source", [f, t] { f.patch18(nullptr, 20, 20, 20, 0, 0, t, t + 400); }, patch);
        add("patch18: srcStride below width", [f, s, t] { f.patch18(s, 20, 20, 19, 0, 0, t, t + 400); }, patch);
        add("line: null pixels", [f, t] { f.line(nullptr, 3, t, t + 1); }, line);
        add("line: null sum", [f, s, t] { f.line(s, 3, nullptr, t + 1); }, line);
        add("line: null squares", [f, s, t] { f.line(s, 3, t, nullptr); }, line);
        add("line64: null pixels", [f, t] { f.line64(nullptr, reinterpret_cast<uint16_t*>(t), t + 1); }, line64);
        add("line64: null sum", [f, s, t] { f.line64(s, nullptr, t + 1); }, line64);
        add("line64: null squares", [f, s, t] { f.line64(s, reinterpret_cast<uint16_t*>(t), nullptr); }, line64);
        auto frame = [f, s, t](int fault) {
            const uint8_t* y = fault == 0 ? nullptr : s;
            const uint8_t* c = fault == 1 ? nullptr : s + 64;
            uint32_t* ty = fault == 2 ? nullptr : t;
            uint32_t* tcb = fault == 3 ? nullptr : t + 100;
            uint32_t* tcr = fault == 4 ? nullptr : t + 200;
            const uint32_t width = fault == 5 ? 0 : 6, height = fault == 6 ? 0 : 4;
            f.ycbcr(y, c, width, height, fault == 7 ? 5 : 6, fault == 8 ? 5 : 6, ty, tcb, tcr, fault == 9 ? 23 : 24,
                    fault == 10 ? 11 : 12, fault == 11 ? 11 : 12);
        };
        const char* faults[] = {"null luma",         "null chroma",          "null luma table",
                                "null Cb table",     "null Cr table",        "zero width",
                                "zero height",       "luma stride below width", "chroma stride below width",
                                "luma table stride short", "Cb table stride short", "Cr table stride short"};
        for (int fault = 0; fault < 12; ++fault)
            add(std::string("YCbCr420: ") + faults[fault], [frame, fault] { frame(fault); }, ycbcr);
    }
    // The tilted table asserts only that it got its scratch row: every pool
    // entry is taken first.
    cases.push_back({"tilted: no scratch row",
                     [] {
                         obxMemInit();
                         while (obxGetScratchBufferUnaligned_(4)) {
                         }
                         obxTiltedIntegralu8s32C(gBytes, 4, 4, 4, reinterpret_cast<int32_t*>(gTable), 20);
                     },
                     moduleOf("Integral", false), "buf"});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Integral, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

// ---- Vector against reference ------------------------------------------------------------

// Random pixels, sparse pixels (mostly 0), or all 255.
void fillContent(GuardedImage<uint8_t>& image, int content, std::mt19937& rng) {
    image.fillRandom(rng);
    for (uint32_t y = 0; y < image.height() && content; ++y)
        for (uint32_t x = 0; x < image.width(); ++x)
            image.at(x, y) = content == 2 ? 255 : rng() % 8 ? 0 : image.at(x, y);
}

// Tables with row padding (checked as guards) and a byte-stride remainder
// that the conversion to entries must drop.
TEST(IntegrateImage, VectorMatchesReference) {
    std::mt19937 rng(21);
    int index = 0;
    for (const ImageGeometry& g : comparisonGeometries(1, 1, 21, 40)) {
        SCOPED_TRACE(::testing::Message() << g);
        GuardedImage<uint8_t> src(g.width, g.height, g.width + g.srcPadding, g.srcOffset);
        fillContent(src, index % 3, rng);
        const uint32_t extra = index++ % 4;
        GuardedImage<uint32_t> expected = tableOf(g.width + 1, g.height + 1, g.dstPadding % 9, g.dstOffset / 4 * 4);
        GuardedImage<uint32_t> actual = tableOf(g.width + 1, g.height + 1, g.dstPadding % 9, g.dstOffset / 4 * 4);
        obxIntegrateImageu8_v2C(src.data(), g.width, g.height, src.stride(), expected.data(), expected.stride() + extra);
        obxIntegrateImageu8_v2V(src.data(), g.width, g.height, src.stride(), actual.data(), actual.stride() + extra);
        ASSERT_EQ(pixelDifference(expected, actual), "");
        ASSERT_TRUE(actual.guardsIntact() && expected.guardsIntact() && src.guardsIntact());
    }
}

TEST(IntegrateYCbCr420, VectorMatchesReference) {
    std::mt19937 rng(22);
    int index = 0;
    for (const ImageGeometry& g : comparisonGeometries(1, 1, 22, 40)) {
        SCOPED_TRACE(::testing::Message() << g);
        const uint32_t cw = g.width / 2, ch = g.height / 2;
        GuardedImage<uint8_t> luma(g.width, g.height, g.width + g.srcPadding, g.srcOffset);
        GuardedImage<uint8_t> chroma(g.width, (g.height + 1) / 2, g.width + g.dstPadding % 5, g.dstOffset);
        fillContent(luma, index % 3, rng);
        fillContent(chroma, index % 3, rng);
        const uint32_t extra = index++ % 4;
        GuardedImage<uint32_t> ey = tableOf(g.width, g.height, g.dstPadding % 7, g.srcOffset / 4 * 4);
        GuardedImage<uint32_t> ecb = tableOf(cw, ch, g.srcPadding % 3, 8), ecr = tableOf(cw, ch, g.dstPadding % 4, 4);
        GuardedImage<uint32_t> ay = tableOf(g.width, g.height, g.dstPadding % 7, g.srcOffset / 4 * 4);
        GuardedImage<uint32_t> acb = tableOf(cw, ch, g.srcPadding % 3, 8), acr = tableOf(cw, ch, g.dstPadding % 4, 4);
        obxIntegrateImageYCbCr420PseudoPlanaru8C(luma.data(), chroma.data(), g.width, g.height, luma.stride(),
                                                 chroma.stride(), ey.data(), ecb.data(), ecr.data(), ey.stride() + extra,
                                                 ecb.stride() + extra, ecr.stride() + extra);
        obxIntegrateImageYCbCr420PseudoPlanaru8V(luma.data(), chroma.data(), g.width, g.height, luma.stride(),
                                                 chroma.stride(), ay.data(), acb.data(), acr.data(), ay.stride() + extra,
                                                 acb.stride() + extra, acr.stride() + extra);
        ASSERT_EQ(pixelDifference(ey, ay), "");
        ASSERT_EQ(pixelDifference(ecb, acb), "");
        ASSERT_EQ(pixelDifference(ecr, acr), "");
        ASSERT_TRUE(ay.guardsIntact() && acb.guardsIntact() && acr.guardsIntact() && ey.guardsIntact() &&
                    ecb.guardsIntact() && ecr.guardsIntact() && luma.guardsIntact() && chroma.guardsIntact());
    }
}

// Patches of every width up to 40 and random ones, anywhere in the image,
// the fixed sizes among them; packed tables at misaligned addresses.
TEST(IntegratePatch, VectorMatchesReference) {
    std::mt19937 rng(23);
    for (int i = 0; i < 160; ++i) {
        const uint32_t kind = i % 8;  // 0: 12x12, 1: 18x18, others general
        const uint32_t pw = kind == 0 ? 12 : kind == 1 ? 18 : i < 80 ? i / 2 : rng() % 300;
        const uint32_t ph = kind == 0 ? 12 : kind == 1 ? 18 : rng() % 24;
        const uint32_t iw = pw + rng() % 20 + 1, ih = ph + rng() % 5 + 1;
        const uint32_t px = rng() % (iw - pw + 1), py = rng() % (ih - ph + 1);
        SCOPED_TRACE(::testing::Message() << "patch " << pw << "x" << ph << " at " << px << "," << py << " of " << iw
                                          << "x" << ih);
        GuardedImage<uint8_t> src(iw, ih, iw + rng() % 9, rng() % 16);
        fillContent(src, i % 3, rng);
        const size_t bytes = size_t{pw + 1} * (ph + 1) * 4, offset = rng() % 16 / 4 * 4;
        GuardedBuffer es(bytes, offset), eq(bytes, offset + 4), as(bytes, offset), aq(bytes, offset + 4);
        if (kind == 0) {
            obxIntegratePatch12x12u8C(src.data(), iw, ih, src.stride(), px, py, words(es), words(eq));
            obxIntegratePatch12x12u8V(src.data(), iw, ih, src.stride(), px, py, words(as), words(aq));
        } else if (kind == 1) {
            obxIntegratePatch18x18u8C(src.data(), iw, ih, src.stride(), px, py, words(es), words(eq));
            obxIntegratePatch18x18u8V(src.data(), iw, ih, src.stride(), px, py, words(as), words(aq));
        } else {
            obxIntegratePatchu8C(src.data(), iw, ih, src.stride(), px, py, pw, ph, words(es), words(eq));
            obxIntegratePatchu8V(src.data(), iw, ih, src.stride(), px, py, pw, ph, words(as), words(aq));
        }
        ASSERT_EQ(entries(es), entries(as));
        ASSERT_EQ(entries(eq), entries(aq));
        ASSERT_TRUE(as.guardsIntact() && aq.guardsIntact() && es.guardsIntact() && eq.guardsIntact());
    }
}

// Every count up to 300 and the largest, from every alignment; the 64-pixel
// form on random, sparse and white lines.
TEST(IntegrateLine, VectorMatchesReference) {
    std::mt19937 rng(24);
    GuardedBuffer pixels(65535 + 16, 0);
    fillRandom(pixels.data(), pixels.size(), rng);
    std::vector<uint32_t> counts;
    for (uint32_t n = 0; n <= 300; ++n) counts.push_back(n);
    counts.push_back(65535);
    for (uint32_t n : counts) {
        const uint8_t* line = pixels.data() + n % 16;
        GuardedBuffer e(8, 4), a(8, 4);
        obxIntegrateImageLineu8C(line, static_cast<uint16_t>(n), words(e), words(e) + 1);
        obxIntegrateImageLineu8V(line, static_cast<uint16_t>(n), words(a), words(a) + 1);
        ASSERT_EQ(entries(e), entries(a)) << n;
        ASSERT_TRUE(a.guardsIntact()) << n;
    }
    for (int i = 0; i < 48; ++i) {
        GuardedImage<uint8_t> line(64, 1, 64, i % 16);
        fillContent(line, i % 3, rng);
        GuardedBuffer e16(2, 2), a16(2, 2), e32(4, 4), a32(4, 4);
        obxIntegrateImageLine64u8C(line.data(), reinterpret_cast<uint16_t*>(e16.data()), words(e32));
        obxIntegrateImageLine64u8V(line.data(), reinterpret_cast<uint16_t*>(a16.data()), words(a32));
        ASSERT_EQ(memcmp(e16.data(), a16.data(), 2), 0) << i;
        ASSERT_EQ(entries(e32), entries(a32)) << i;
        ASSERT_TRUE(a16.guardsIntact() && a32.guardsIntact()) << i;
    }
}

}  // namespace
