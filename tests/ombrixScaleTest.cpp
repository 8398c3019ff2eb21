// Downscalers and the Gaussian 2x up-scaler: hand-checked cases of the rules
// that are easy to get wrong, every output byte of both implementations
// against a direct evaluation of the definitions, uniform images, the
// assertion texts, and randomized vector-against-reference comparisons with
// guard bytes around and between the output rows.
#include <array>
#include <cmath>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

// Every operation called as (src, srcWidth, srcHeight, srcStride, dst,
// dstWidth, dstHeight, dstStride), returning its status (0 for those
// without one). Fixed-factor forms ignore dstWidth and dstHeight; packed
// forms ignore the strides.
using Call = std::function<int32_t(const void*, uint32_t, uint32_t, uint32_t, void*, uint32_t, uint32_t, uint32_t)>;

Call wrap(obxScaleu8_fn* f) {
    return [f](const void* s, uint32_t w, uint32_t h, uint32_t ss, void* d, uint32_t, uint32_t, uint32_t ds) {
        f(static_cast<const uint8_t*>(s), w, h, ss, static_cast<uint8_t*>(d), ds);
        return 0;
    };
}
Call wrap(obxScaleDownBy2Gaussian5x5u8_fn* f) {
    return [f](const void* s, uint32_t w, uint32_t h, uint32_t, void* d, uint32_t, uint32_t, uint32_t) {
        f(static_cast<const uint8_t*>(s), w, h, static_cast<uint8_t*>(d));
        return 0;
    };
}
Call wrap(obxScaleDownBy2Gaussian5x5f32_fn* f) {
    return [f](const void* s, uint32_t w, uint32_t h, uint32_t, void* d, uint32_t, uint32_t, uint32_t) {
        f(static_cast<const float*>(s), w, h, static_cast<float*>(d));
        return 0;
    };
}
Call wrap(obxScaleDownToSizeu8_fn* f) {
    return [f](const void* s, uint32_t w, uint32_t h, uint32_t ss, void* d, uint32_t dw, uint32_t dh, uint32_t ds) {
        f(static_cast<const uint8_t*>(s), w, h, ss, static_cast<uint8_t*>(d), dw, dh, ds);
        return 0;
    };
}
Call wrap(obxScaleDown3To2u8_fn* f) {
    return [f](const void* s, uint32_t w, uint32_t h, uint32_t ss, void* d, uint32_t, uint32_t, uint32_t ds) {
        return f(static_cast<const uint8_t*>(s), w, h, ss, static_cast<uint8_t*>(d), ds);
    };
}

// ---- The definitions, evaluated directly --------------------------------------------

// A source image as doubles, read through at(x, y).
struct Pixels {
    uint32_t width, height;
    std::function<double(uint32_t, uint32_t)> at;
};

enum class Kind { Box2, Box4, Gaussian, GaussianF32, Up, Ratio, ThreeToTwo, Nearest };

// Weights of the 5-tap binomial.
const int kBinomial[5] = {1, 4, 6, 4, 1};

double gaussianDefinition(const Pixels& s, uint32_t x, uint32_t y, bool isFloat) {
    double sum = 0;
    int weight = 0;
    for (int j = 0; j < 5; ++j) {
        for (int i = 0; i < 5; ++i) {
            const int64_t sx = 2 * int64_t{x} - 2 + i, sy = 2 * int64_t{y} - 2 + j;
            if (sx < 0 || sy < 0 || sx >= s.width || sy >= s.height) continue;
            sum += kBinomial[i] * kBinomial[j] * s.at(static_cast<uint32_t>(sx), static_cast<uint32_t>(sy));
            weight += kBinomial[i] * kBinomial[j];
        }
    }
    const float r = static_cast<float>(1.0 / weight);
    // Float sources in the exact checks hold small integers: the sum is exact
    // in float, and the result is one rounding of sum * r (or sum / 256).
    if (isFloat) return weight == 256 ? static_cast<float>(sum) * 0.00390625f : static_cast<float>(sum) * r;
    if (weight == 256) return std::floor((sum + 128) / 256);
    return std::floor(0.5 + sum * static_cast<double>(r));
}

double upDefinition(const Pixels& s, uint32_t x, uint32_t y) {
    const uint32_t w = s.width, h = s.height, r = y / 2, k = x / 2;
    // Neighbours: mirrored before the first row or column, repeated after the
    // last; a mirror beyond a single row or column repeats it.
    const auto next = [](uint32_t i, uint32_t n) { return i + 1 < n ? i + 1 : n - 1; };
    const auto previous = [&next](uint32_t i, uint32_t n) { return i > 0 ? i - 1 : next(i, n); };
    const auto v = [&](uint32_t col) {
        return y % 2 == 0 ? s.at(col, previous(r, h)) + 6 * s.at(col, r) + s.at(col, next(r, h))
                          : 4 * s.at(col, r) + 4 * s.at(col, next(r, h));
    };
    const double sum = x % 2 == 0 ? v(previous(k, w)) + 6 * v(k) + v(next(k, w)) : 4 * v(k) + 4 * v(next(k, w));
    return std::floor((sum + 32) / 64);
}

double ratioDefinition(const Pixels& s, uint32_t x, uint32_t y, uint32_t dw, uint32_t dh) {
    const uint32_t kx = s.width / dw, ky = s.height / dh;
    double sum = 0;
    for (uint32_t j = 0; j < ky; ++j)
        for (uint32_t i = 0; i < kx; ++i) sum += s.at(x * kx + i, y * ky + j);
    return std::floor(sum / (kx * ky));
}

double threeToTwoDefinition(const Pixels& s, uint32_t x, uint32_t y) {
    // Corner (cx, cy) of the block, its edge neighbours and the centre.
    const uint32_t bx = x / 2 * 3, by = y / 2 * 3, cx = bx + 2 * (x % 2), cy = by + 2 * (y % 2);
    return std::floor((9 * s.at(cx, cy) + 3 * s.at(bx + 1, cy) + 3 * s.at(cx, by + 1) + s.at(bx + 1, by + 1)) / 16);
}

double definition(Kind kind, const Pixels& s, uint32_t x, uint32_t y, uint32_t dw, uint32_t dh) {
    switch (kind) {
        case Kind::Box2: return ratioDefinition(s, x, y, s.width / 2, s.height / 2);
        case Kind::Box4: return ratioDefinition(s, x, y, s.width / 4, s.height / 4);
        case Kind::Gaussian: return gaussianDefinition(s, x, y, false);
        case Kind::GaussianF32: return gaussianDefinition(s, x, y, true);
        case Kind::Up: return upDefinition(s, x, y);
        case Kind::Ratio: return ratioDefinition(s, x, y, dw, dh);
        case Kind::ThreeToTwo: return threeToTwoDefinition(s, x, y);
        case Kind::Nearest: {
            const uint64_t sx = uint64_t{x} * s.width / dw, sy = uint64_t{y} * s.height / dh;
            return s.at(static_cast<uint32_t>(sx), static_cast<uint32_t>(std::min<uint64_t>(sy, s.height - 1)));
        }
    }
    return 0;
}

// ---- The operations -----------------------------------------------------------------------

struct ScaleOp {
    const char* name;  // the slot's operation name
    Call reference, vector;
    Kind kind;
    bool packed;              // strides are width and the destination width
    uint32_t widthUnit, heightUnit;  // source sizes are multiples of these
    const char* contract;
};

bool isFloat(const ScaleOp& op) { return op.kind == Kind::GaussianF32; }
size_t elementBytes(const ScaleOp& op) { return isFloat(op) ? 4 : 1; }

// The destination size for a source size (dw, dh requested where the
// operation takes them).
void destinationSize(const ScaleOp& op, uint32_t sw, uint32_t sh, uint32_t* dw, uint32_t* dh) {
    switch (op.kind) {
        case Kind::Box2: case Kind::Gaussian: case Kind::GaussianF32: *dw = sw / 2, *dh = sh / 2; return;
        case Kind::Box4: *dw = sw / 4, *dh = sh / 4; return;
        case Kind::Up: *dw = 2 * sw, *dh = 2 * sh; return;
        case Kind::ThreeToTwo: *dw = sw / 3 * 2, *dh = sh / 3 * 2; return;
        case Kind::Ratio: case Kind::Nearest: return;
    }
}

const char kBox2[] = "imgSrc && imgDst && srcWidth && srcHeight && ((srcWidth & 1) == 0) && ((srcHeight & 1) == 0) && (srcStride >= srcWidth) && (dstStride >= srcWidth/2)";
const char kBox4[] = "imgSrc && imgDst && srcWidth && srcHeight && ((srcWidth & 3) == 0) && ((srcHeight & 3) == 0) && (srcStride >= srcWidth) && (dstStride >= srcWidth/4)";

#define SCALE_OP(name, ref, vec) #name, wrap(ref), wrap(vec)
const ScaleOp kOps[] = {
    {SCALE_OP(obxScaleDownBy2u8_v2, obxScaleDownBy2u8C, obxScaleDownBy2u8V), Kind::Box2, false, 2, 2, kBox2},
    {SCALE_OP(obxScaleDownBy4u8_v2, obxScaleDownBy4u8C, obxScaleDownBy4u8V), Kind::Box4, false, 4, 4, kBox4},
    {SCALE_OP(obxScaleDownBy2Gaussian5x5u8, obxScaleDownBy2Gaussian5x5u8C, obxScaleDownBy2Gaussian5x5u8V),
     Kind::Gaussian, true, 2, 2, "srcImg && dstImg && width && height && ((width & 1) == 0 ) && ((height & 1) == 0)"},
    {SCALE_OP(obxScaleDownBy2Gaussian5x5u8_v2, obxScaleDownBy2Gaussian5x5u8_v2C, obxScaleDownBy2Gaussian5x5u8_v2V),
     Kind::Gaussian, false, 2, 2,
     "srcImg && dstImg && srcWidth && srcHeight && ((srcWidth & 1) == 0 ) && ((srcHeight & 1) == 0) && (srcStride >= srcWidth) && (dstStride >= srcWidth/2)"},
    {SCALE_OP(obxScaleDownBy2Gaussian5x5f32, obxScaleDownBy2Gaussian5x5f32C, obxScaleDownBy2Gaussian5x5f32V),
     Kind::GaussianF32, true, 2, 2, "srcImg && width && height && ((width & 1) == 0 ) && ((height & 1) == 0)"},
    {SCALE_OP(obxScaleUpBy2Gaussian5x5u8_v2, obxScaleUpBy2Gaussian5x5u8C, obxScaleUpBy2Gaussian5x5u8V), Kind::Up,
     false, 1, 1, "srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && (dstStride >= srcWidth*2)"},
    {SCALE_OP(obxScaleDownu8_v2, obxScaleDownu8C, obxScaleDownu8V), Kind::Ratio, false, 1, 1,
     "srcImg && dstImg && srcWidth && srcHeight && (srcStride >= srcWidth) && dstWidth && dstHeight && (dstStride >= dstWidth) && srcWidth >= dstWidth && srcHeight >= dstHeight"},
    {SCALE_OP(obxScaleDown3To2u8, obxScaleDown3To2u8C, obxScaleDown3To2u8V), Kind::ThreeToTwo, false, 1, 1,
     "src && dst && srcWidth && srcHeight && (srcStride ==0 || srcStride >= srcWidth) && (dstStride == 0 || dstStride >= ((srcWidth/3)<<1))"},
    {SCALE_OP(obxScaleDownNNu8, obxScaleDownNNu8C, obxScaleDownNNu8V), Kind::Nearest, false, 1, 1,
     "src && dst && srcWidth && srcHeight && (srcStride==0 || srcStride >= srcWidth) && dstWidth && dstHeight && (dstStride == 0 || dstStride >= dstWidth)"},
};
#undef SCALE_OP

void PrintTo(const ScaleOp& op, std::ostream* os) { *os << op.name; }

// ---- One call on guarded images ------------------------------------------------------------

// The shape of one call: source and destination sizes, row padding in
// elements (a dstStride given as dstRowStep(...) + dstStrideExtra), and
// offsets past a 64-byte boundary.
struct Shape {
    uint32_t sw, sh, dw, dh;
    uint32_t srcPadding, dstPadding, dstStrideExtra;
    size_t srcOffset, dstOffset;
};

std::ostream& operator<<(std::ostream& os, const Shape& s) {
    return os << s.sw << "x" << s.sh << " -> " << s.dw << "x" << s.dh << " padding " << s.srcPadding << "/"
              << s.dstPadding << "+" << s.dstStrideExtra << " offsets " << s.srcOffset << "/" << s.dstOffset;
}

// Source and destination in guarded buffers: a u8 or float image each.
struct Images {
    const ScaleOp& op;
    Shape shape;
    GuardedImage<uint8_t> src8, dst8;
    GuardedImage<float> srcF, dstF;
    uint32_t dstStride;  // as passed

    static uint32_t bytes(const ScaleOp& op, uint32_t width, uint32_t padding) {
        return static_cast<uint32_t>((width + padding) * elementBytes(op));
    }
    // The image of the other element type stays empty.
    Images(const ScaleOp& o, const Shape& s)
        : op(o), shape(s),
          src8(isFloat(o) ? 0 : s.sw, s.sh, bytes(o, s.sw, s.srcPadding), s.srcOffset),
          dst8(isFloat(o) ? 0 : s.dw, s.dh, bytes(o, s.dw, s.dstPadding), s.dstOffset),
          srcF(isFloat(o) ? s.sw : 0, s.sh, bytes(o, s.sw, s.srcPadding), s.srcOffset & ~size_t{3}),
          dstF(isFloat(o) ? s.dw : 0, s.dh, bytes(o, s.dw, s.dstPadding), s.dstOffset & ~size_t{3}),
          dstStride(bytes(o, s.dw, s.dstPadding) + s.dstStrideExtra) {}

    uint32_t srcStride() const { return isFloat(op) ? srcF.stride() : src8.stride(); }
    const void* srcData() const { return isFloat(op) ? static_cast<const void*>(srcF.data()) : src8.data(); }
    Pixels source() const {
        if (isFloat(op)) return {shape.sw, shape.sh, [this](uint32_t x, uint32_t y) { return double(srcF.at(x, y)); }};
        return {shape.sw, shape.sh, [this](uint32_t x, uint32_t y) { return double(src8.at(x, y)); }};
    }
    double out(uint32_t x, uint32_t y) const { return isFloat(op) ? dstF.at(x, y) : dst8.at(x, y); }
    bool guardsIntact() const {
        return src8.guardsIntact() && dst8.guardsIntact() && srcF.guardsIntact() && dstF.guardsIntact();
    }
    int32_t run(const Call& call) {
        return call(srcData(), shape.sw, shape.sh, srcStride(), isFloat(op) ? static_cast<void*>(dstF.data()) : dst8.data(),
                    shape.dw, shape.dh, dstStride);
    }
};

// A random shape for a source size. The destination image's stride is the
// row step, so dstStride passes it plus 0 to 3 only where the box reductions'
// wide path rounds the extra away (dw is then a multiple of 4).
Shape makeShape(const ScaleOp& op, uint32_t sw, uint32_t sh, uint32_t dw, uint32_t dh, std::mt19937& rng) {
    Shape s{sw, sh, dw, dh, 0, 0, 0, rng() % 16, rng() % 16};
    destinationSize(op, sw, sh, &s.dw, &s.dh);
    if (!op.packed) {
        s.srcPadding = rng() % 3 == 0 ? 0 : rng() % 40;
        s.dstPadding = rng() % 3 == 0 ? 0 : rng() % 40;
        if ((op.kind == Kind::Box2 || op.kind == Kind::Box4) && sw % 16 == 0) {
            s.dstPadding &= ~3u;  // a step of dw + padding (dw is a multiple of 4 here)
            s.dstStrideExtra = rng() % 4;
        }
    }
    return s;
}

// Source sizes from the smallest the contract admits, in the operation's units.
std::vector<Shape> comparisonShapes(const ScaleOp& op, uint32_t seed, int randomCount) {
    std::mt19937 rng(seed);
    std::vector<Shape> shapes;
    const uint32_t wu = op.widthUnit, hu = op.heightUnit;
    const auto add = [&](uint32_t sw, uint32_t sh) {
        uint32_t dw = 0, dh = 0;
        if (op.kind == Kind::Ratio) dw = 1 + rng() % sw, dh = 1 + rng() % sh;
        if (op.kind == Kind::Nearest) dw = 1 + rng() % (2 * sw), dh = 1 + rng() % (2 * sh);
        // Every fifth ratio a small one, where the vector paths differ most.
        if (op.kind == Kind::Ratio && rng() % 5 == 0) dw = std::max<uint32_t>(1, sw / (1 + rng() % 4));
        shapes.push_back(makeShape(op, sw, sh, dw, dh, rng));
    };
    for (uint32_t k = 1; k <= 40; ++k) add(k * wu, hu * (1 + rng() % 6));
    for (uint32_t k = 1; k <= 8; ++k) add(wu * (1 + rng() % 40), k * hu);
    for (int i = 0; i < randomCount; ++i) add(wu * (1 + rng() % (400 / wu)), hu * (1 + rng() % (60 / hu + 1)));
    if (op.kind == Kind::Ratio) {
        // Blocks past the exact reciprocal (kx * ky > 4096), wider than the
        // column sums kept at once (kx > 1024), and taller than u16 lanes
        // hold (ky > 257).
        for (const auto& [sw, sh, dw, dh] : {std::array<uint32_t, 4>{300, 40, 2, 1}, {200, 30, 1, 1}, {2100, 2, 1, 1},
                                              {2100, 3, 2, 3}, {20, 300, 3, 1}, {41, 520, 9, 2}})
            shapes.push_back(makeShape(op, sw, sh, dw, dh, rng));
    }
    return shapes;
}

void fillSource(Images& im, std::mt19937& rng, int content) {
    for (uint32_t y = 0; y < im.shape.sh; ++y) {
        for (uint32_t x = 0; x < im.shape.sw; ++x) {
            const uint32_t v = content == 0 ? rng() % 256 : content == 1 ? (rng() & 1) * 255 : rng() % 16 ? 0 : rng() % 256;
            if (!isFloat(im.op)) im.src8.at(x, y) = static_cast<uint8_t>(v);
            // Signed floats over ten decades: sums round at every scale.
            else im.srcF.at(x, y) = static_cast<float>((rng() % 2000001 / 1e6 - 1) * std::pow(10.0, rng() % 11 - 5.0));
        }
    }
}

class Scale : public ::testing::TestWithParam<ScaleOp> {};

// ---- Hand-checked cases ------------------------------------------------------------------

struct HandCase {
    const char* what;
    const char* op;  // the operation's name
    uint32_t sw, sh;
    std::vector<uint8_t> pixels;
    uint32_t dw, dh, dstStride;  // dstStride 0: the destination width
    std::vector<std::vector<int>> expected;  // destination rows
    int32_t status;
};

const HandCase kHandCases[] = {
    {"2x2 block 1,1,1,2 truncates to 1", "obxScaleDownBy2u8_v2", 2, 2, {1, 1, 1, 2}, 1, 1, 0, {{1}}, 0},
    {"4x4 block summing to 31 truncates to 1", "obxScaleDownBy4u8_v2", 4, 4,
     {2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 2, 1}, 1, 1, 0, {{1}}, 0},
    {"width 10 to 3: kx = 3, column 9 ignored", "obxScaleDownu8_v2", 10, 1, {3, 0, 0, 6, 6, 6, 0, 1, 2, 255},
     3, 1, 0, {{1, 6, 1}}, 0},
    {"2x2 ratio path truncates", "obxScaleDownu8_v2", 4, 2, {1, 1, 0, 4, 1, 2, 0, 3}, 2, 1, 0, {{1, 1}}, 0},
    {"rows past dstHeight * ky ignored", "obxScaleDownu8_v2", 2, 3, {4, 4, 3, 4, 255, 255}, 1, 2, 0, {{4}, {3}}, 0},
    {"3:2 width 7: two blocks, column 6 dropped", "obxScaleDown3To2u8", 7, 3,
     {16, 0, 0, 0, 0, 32, 99, 0, 16, 0, 0, 0, 0, 99, 0, 0, 0, 48, 0, 16, 99}, 4, 2, 0,
     {{10, 1, 0, 18}, {1, 1, 27, 9}}, 0},
    {"3:2 width 2 returns 1 and writes nothing", "obxScaleDown3To2u8", 2, 3, {1, 2, 3, 4, 5, 6}, 2, 1, 2,
     {{77, 77}}, 1},
    {"3:2 height 2 returns 1", "obxScaleDown3To2u8", 3, 2, {1, 2, 3, 4, 5, 6}, 2, 1, 2, {{77, 77}}, 1},
    {"Gaussian 2x2: W = 100, rounded", "obxScaleDownBy2Gaussian5x5u8", 2, 2, {5, 200, 17, 99}, 1, 1, 0, {{70}}, 0},
    {"Gaussian 4x2: W = 110 and 150", "obxScaleDownBy2Gaussian5x5u8_v2", 4, 2, {90, 0, 0, 0, 0, 0, 0, 50}, 2, 1, 0,
     {{29, 9}}, 0},
    {"up-scaler: mirrored left, repeated right, one row", "obxScaleUpBy2Gaussian5x5u8_v2", 3, 1, {0, 64, 128}, 6, 2,
     0, {{16, 32, 64, 96, 120, 128}, {16, 32, 64, 96, 120, 128}}, 0},
    {"up-scaler: mirrored top, repeated bottom, one column", "obxScaleUpBy2Gaussian5x5u8_v2", 1, 3, {0, 64, 128}, 2,
     6, 0, {{16, 16}, {32, 32}, {64, 64}, {96, 96}, {120, 120}, {128, 128}}, 0},
    {"nearest 7 to 3 wide: columns 0, 2, 4", "obxScaleDownNNu8", 7, 2, {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13},
     3, 1, 0, {{0, 2, 4}}, 0},
    {"nearest 5 to 3 high: rows 0, 1, 3", "obxScaleDownNNu8", 1, 5, {10, 11, 12, 13, 14}, 1, 3, 0,
     {{10}, {11}, {13}}, 0},
};

// The hand values, which also check the definitions used by the exhaustive
// tests below; both implementations, the destination starting as 77.
TEST(ScaleHand, BothImplementationsGiveTheHandValues) {
    for (const HandCase& c : kHandCases) {
        const ScaleOp& op = *std::find_if(std::begin(kOps), std::end(kOps),
                                          [&c](const ScaleOp& o) { return std::string(o.name) == c.op; });
        for (bool vector : {false, true}) {
            SCOPED_TRACE(::testing::Message() << c.what << (vector ? " (vector)" : " (reference)"));
            const uint32_t dstStride = c.dstStride ? c.dstStride : c.dw;
            std::vector<uint8_t> src(c.pixels), dst(static_cast<size_t>(dstStride) * c.dh, 77);
            const Call& call = vector ? op.vector : op.reference;
            EXPECT_EQ(call(src.data(), c.sw, c.sh, c.sw, dst.data(), c.dw, c.dh, dstStride), c.status);
            for (uint32_t y = 0; y < c.dh; ++y) {
                const Pixels s{c.sw, c.sh, [&c](uint32_t x, uint32_t y) { return double(c.pixels[y * c.sw + x]); }};
                for (uint32_t x = 0; x < c.dw; ++x) {
                    EXPECT_EQ(dst[y * dstStride + x], c.expected[y][x]) << "at (" << x << ", " << y << ")";
                    if (c.status == 0) {
                        EXPECT_EQ(definition(op.kind, s, x, y, c.dw, c.dh), c.expected[y][x]) << "definition";
                    }
                }
            }
        }
    }
}

// The wide path of the box reductions (source width a multiple of 16) steps
// destination rows by dstStride rounded down to a multiple of 4; other widths
// by dstStride itself.
TEST(ScaleHand, BoxReductionsRoundTheDestinationStepOnTheWidePath) {
    struct Case {
        const char* op;
        uint32_t sw, sh, dstStride, step;
    };
    const Case cases[] = {{"obxScaleDownBy2u8_v2", 16, 4, 9, 8},   {"obxScaleDownBy2u8_v2", 32, 4, 17, 16},
                          {"obxScaleDownBy2u8_v2", 32, 4, 19, 16}, {"obxScaleDownBy2u8_v2", 14, 4, 9, 9},
                          {"obxScaleDownBy4u8_v2", 16, 8, 5, 4},   {"obxScaleDownBy4u8_v2", 32, 8, 11, 8},
                          {"obxScaleDownBy4u8_v2", 20, 8, 7, 7}};
    for (const Case& c : cases) {
        const ScaleOp& op = *std::find_if(std::begin(kOps), std::end(kOps),
                                          [&c](const ScaleOp& o) { return std::string(o.name) == c.op; });
        const uint32_t factor = op.kind == Kind::Box2 ? 2 : 4, dw = c.sw / factor, dh = c.sh / factor;
        for (bool vector : {false, true}) {
            SCOPED_TRACE(::testing::Message() << c.op << " " << c.sw << " dstStride " << c.dstStride << (vector ? " V" : " C"));
            std::vector<uint8_t> src(size_t{c.sw} * c.sh);
            for (size_t i = 0; i < src.size(); ++i) src[i] = static_cast<uint8_t>(30 * (i / c.sw) + 1);  // rows 1, 31, 61, ...
            std::vector<uint8_t> dst(size_t{c.dstStride} * dh + 64, 0);
            (vector ? op.vector : op.reference)(src.data(), c.sw, c.sh, c.sw, dst.data(), dw, dh, c.dstStride);
            for (size_t i = 0; i < dst.size(); ++i) {
                const size_t row = i / c.step, column = i % c.step;
                const bool pixel = row < dh && column < dw;
                const int expected = pixel ? 1 + 30 * (factor * row) + 15 * (factor - 1) : 0;
                ASSERT_EQ(dst[i], expected) << "byte " << i;
            }
        }
    }
}

// A stride of 0 means packed rows where the contract admits it: the 3:2
// reduction (destination (srcWidth/3)*2 wide) and nearest neighbour.
TEST(ScaleHand, ZeroStridesMeanPackedRows) {
    struct Case {
        const char* op;
        uint32_t sw, sh, dw, dh;
    };
    std::mt19937 rng(12);
    for (const Case& c : {Case{"obxScaleDown3To2u8", 11, 7, 6, 4}, Case{"obxScaleDown3To2u8", 48, 9, 32, 6},
                          Case{"obxScaleDownNNu8", 13, 5, 7, 3}, Case{"obxScaleDownNNu8", 70, 4, 41, 3}}) {
        const ScaleOp& op = *std::find_if(std::begin(kOps), std::end(kOps),
                                          [&c](const ScaleOp& o) { return std::string(o.name) == c.op; });
        std::vector<uint8_t> src(size_t{c.sw} * c.sh);
        fillRandom(src.data(), src.size(), rng);
        for (bool vector : {false, true}) {
            SCOPED_TRACE(::testing::Message() << c.op << " " << c.sw << "x" << c.sh << (vector ? " V" : " C"));
            const Call& call = vector ? op.vector : op.reference;
            std::vector<uint8_t> packed(size_t{c.dw} * c.dh + 16, 77), explicitStrides(packed);
            EXPECT_EQ(call(src.data(), c.sw, c.sh, 0, packed.data(), c.dw, c.dh, 0), 0);
            EXPECT_EQ(call(src.data(), c.sw, c.sh, c.sw, explicitStrides.data(), c.dw, c.dh, c.dw), 0);
            EXPECT_EQ(packed, explicitStrides);
            EXPECT_EQ(packed[size_t{c.dw} * c.dh], 77);
        }
    }
}

// ---- Every output byte ------------------------------------------------------------------------

// Random images of small sizes and of the first sizes with whole vector
// steps (float sources: small integers, whose sums are exact), each output
// against the definition, padding and guards untouched.
TEST_P(Scale, EveryOutputFollowsTheDefinition) {
    const ScaleOp& op = GetParam();
    std::mt19937 rng(31);
    int index = 0;
    for (const Shape& shape : comparisonShapes(op, 5, 6)) {
        if (shape.sw > 120 && index % 4 != 0) continue;
        for (bool vector : {false, true}) {
            SCOPED_TRACE(::testing::Message() << shape << (vector ? " vector" : " reference"));
            const Call& call = vector ? op.vector : op.reference;
            Images im(op, shape);
            fillSource(im, rng, index++ % 3);
            if (isFloat(op))
                for (uint32_t y = 0; y < shape.sh; ++y)
                    for (uint32_t x = 0; x < shape.sw; ++x) im.srcF.at(x, y) = static_cast<float>(static_cast<int>(rng() % 2001) - 1000);
            const int32_t status = im.run(call);
            const Pixels s = im.source();
            if (op.kind == Kind::ThreeToTwo) {
                ASSERT_EQ(status, shape.sw < 3 || shape.sh < 3 ? 1 : 0);
            }
            for (uint32_t y = 0; y < shape.dh && status == 0; ++y)
                for (uint32_t x = 0; x < shape.dw; ++x)
                    ASSERT_EQ(im.out(x, y), definition(op.kind, s, x, y, shape.dw, shape.dh)) << "at (" << x << ", " << y << ")";
            ASSERT_TRUE(im.guardsIntact());
        }
    }
}

// A uniform image stays uniform: the border weights of the Gaussian
// reduction renormalise exactly, the up-scaler's weights total 64. In float
// the border's sum * (float)(1/W) may land one unit in the last place off.
TEST_P(Scale, UniformImagesStayUniform) {
    const ScaleOp& op = GetParam();
    for (const Shape& shape : comparisonShapes(op, 9, 0)) {
        if (op.kind == Kind::ThreeToTwo && (shape.sw < 3 || shape.sh < 3)) continue;
        for (double value : {0.0, 1.0, 127.0, 254.0, 255.0}) {
            for (const Call& call : {op.reference, op.vector}) {
                SCOPED_TRACE(::testing::Message() << shape << " value " << value);
                Images im(op, shape);
                im.src8.fill(static_cast<uint8_t>(value));
                im.srcF.fill(static_cast<float>(value));
                im.run(call);
                for (uint32_t y = 0; y < shape.dh; ++y)
                    for (uint32_t x = 0; x < shape.dw; ++x)
                        ASSERT_NEAR(im.out(x, y), value, isFloat(op) ? value * 0x1p-23 : 0) << x << ", " << y;
            }
        }
    }
}

// ---- Vector variants against their references ----------------------------------------------------

TEST_P(Scale, VectorMatchesReference) {
    const ScaleOp& op = GetParam();
    std::mt19937 rng(1234);
    std::vector<Shape> shapes = comparisonShapes(op, 77, 40);
    int index = 0;
    for (const Shape& shape : shapes) {
        SCOPED_TRACE(::testing::Message() << shape);
        Images expected(op, shape), actual(op, shape);
        fillSource(expected, rng, index++ % 3);
        actual.src8.copyPixelsFrom(expected.src8);
        actual.srcF.copyPixelsFrom(expected.srcF);
        const int32_t status = expected.run(op.reference);
        ASSERT_EQ(actual.run(op.vector), status);
        if (isFloat(op)) {
            for (uint32_t y = 0; y < shape.dh; ++y)
                ASSERT_EQ(memcmp(expected.dstF.row(y), actual.dstF.row(y), shape.dw * 4), 0) << "row " << y;
        } else {
            ASSERT_EQ(pixelDifference(expected.dst8, actual.dst8), "");
        }
        ASSERT_TRUE(actual.guardsIntact());
    }
}

INSTANTIATE_TEST_SUITE_P(Resampling, Scale, ::testing::ValuesIn(kOps),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- Assertion texts ----------------------------------------------------------------------------

alignas(16) uint8_t gBytes[8192];

// Each argument broken in turn on a 16x16 source; strides of 0 where the
// contract admits them break nothing and are not listed.
std::vector<AssertionCase> assertionCases() {
    struct Break {
        const char* what;
        bool nullSrc = false, nullDst = false;
        uint32_t sw = 16, sh = 16, srcStride = 16, dw = 8, dh = 8, dstStride = 32;
    };
    std::vector<AssertionCase> cases;
    for (const ScaleOp& op : kOps) {
        std::vector<Break> breaks = {{"null source", true}, {"zero width", false, false, 0}, {"zero height", false, false, 16, 0}};
        if (op.kind != Kind::GaussianF32) breaks.push_back({"null destination", false, true});
        if (op.widthUnit > 1) {
            breaks.push_back({"width off the unit", false, false, 16 + op.widthUnit / 2, 16, 32});
            breaks.push_back({"height off the unit", false, false, 16, 16 + op.heightUnit / 2});
        }
        if (!op.packed) {
            breaks.push_back({"srcStride one short", false, false, 16, 16, 15});
            const uint32_t needed = op.kind == Kind::Box2 ? 8 : op.kind == Kind::Box4 ? 4 : op.kind == Kind::Up ? 32
                                  : op.kind == Kind::ThreeToTwo ? 10 : 8;
            breaks.push_back({"dstStride one short", false, false, 16, 16, 16, 8, 8, needed - 1});
        }
        if (op.kind == Kind::Ratio || op.kind == Kind::Nearest) {
            breaks.push_back({"zero dstWidth", false, false, 16, 16, 16, 0});
            breaks.push_back({"zero dstHeight", false, false, 16, 16, 16, 8, 0});
        }
        if (op.kind == Kind::Ratio) {
            breaks.push_back({"dstWidth above srcWidth", false, false, 16, 16, 16, 17, 8, 32});
            breaks.push_back({"dstHeight above srcHeight", false, false, 16, 16, 16, 8, 17});
        }
        for (const Break& b : breaks) {
            for (bool vector : {false, true}) {
                const Call call = vector ? op.vector : op.reference;
                cases.push_back({std::string(op.name) + (vector ? " V " : " C ") + b.what,
                                 [call, b] {
                                     call(b.nullSrc ? nullptr : gBytes, b.sw, b.sh, b.srcStride,
                                          b.nullDst ? nullptr : gBytes + 4096, b.dw, b.dh, b.dstStride);
                                 },
                                 moduleOf("Scale", vector), op.contract});
            }
        }
    }
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Scale, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

}  // namespace
