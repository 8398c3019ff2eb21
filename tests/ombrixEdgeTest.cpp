// Gradients and the Sobel edge filter: hand-checked steps, every output
// byte against a direct evaluation of the derivatives, the assertion texts
// of every reference and vector variant, and randomized vector-against-
// reference comparisons with guard bytes around and between output rows.
#include <cmath>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

// Every operation called as (src, width, height, srcStride, out0, out1, outStride);
// out1 is unused by the one-output forms.
using Call = std::function<void(const void*, uint32_t, uint32_t, uint32_t, void*, void*, uint32_t)>;

template <typename Src, typename Out>
Call wrap(void (*f)(const Src*, uint32_t, uint32_t, uint32_t, Out*, uint32_t)) {
    return [f](const void* s, uint32_t w, uint32_t h, uint32_t ss, void* o, void*, uint32_t os) {
        f(static_cast<const Src*>(s), w, h, ss, static_cast<Out*>(o), os);
    };
}
template <typename Src, typename Out>
Call wrap(void (*f)(const Src*, uint32_t, uint32_t, uint32_t, Out*, Out*, uint32_t)) {
    return [f](const void* s, uint32_t w, uint32_t h, uint32_t ss, void* o0, void* o1, uint32_t os) {
        f(static_cast<const Src*>(s), w, h, ss, static_cast<Out*>(o0), static_cast<Out*>(o1), os);
    };
}

enum class Layout { Interleaved, Planar, Magnitude };
enum class Element { U8, S8, S16, F32 };
enum class Weights { Central, Sobel, Scharr };
enum class Scaling { None, Shift3, Eighth };

struct EdgeOp {
    const char* name;  // reference name without the final C
    Call reference, vector;
    Layout layout;
    Element out;
    bool floatSource;
    Weights weights;
    Scaling scaling;
    const char* contract;
    double rising, falling, corner;  // stored for dx = +1020 (central: +255), -1020 (-255), -9 (Scharr -27)
};

size_t elementBytes(Element e) { return e == Element::S16 ? 2 : e == Element::F32 ? 4 : 1; }

const char kInterleaveds16[] = "src && srcWidth && srcHeight && (srcStride >= srcWidth) && gradients && (gradStride >= ((srcWidth-2)*2*sizeof(int16_t)))";
const char kInterleavedf32[] = "src && srcWidth && srcHeight && (srcStride >= srcWidth) && gradients && (gradStride >= ((srcWidth-2)*2*sizeof(float)))";
const char kPlanars16[] = "src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= (srcWidth*sizeof(int16_t)))";
const char kPlanarf32[] = "src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= (srcWidth*sizeof(float)))";

#define EDGE_OP(op) #op, wrap(op##C), wrap(op##V)
const EdgeOp kOps[] = {
    {EDGE_OP(obxFilterSobel3x3u8), Layout::Magnitude, Element::U8, false, Weights::Sobel, Scaling::None,
     "src && srcWidth && srcHeight && (srcStride >= srcWidth) && dst && (dstStride >= srcWidth)", 255, 255, 18},
    {EDGE_OP(obxImageGradientInterleaveds16), Layout::Interleaved, Element::S16, false, Weights::Central,
     Scaling::None, kInterleaveds16, 255, -255, 0},
    {EDGE_OP(obxImageGradientPlanars16), Layout::Planar, Element::S16, false, Weights::Central, Scaling::None,
     kPlanars16, 255, -255, 0},
    {EDGE_OP(obxImageGradientInterleavedf32), Layout::Interleaved, Element::F32, false, Weights::Central,
     Scaling::None, kInterleavedf32, 255, -255, 0},
    {EDGE_OP(obxImageGradientPlanarf32), Layout::Planar, Element::F32, false, Weights::Central, Scaling::None,
     kPlanarf32, 255, -255, 0},
    {EDGE_OP(obxImageGradientSobelInterleaveds16), Layout::Interleaved, Element::S16, false, Weights::Sobel,
     Scaling::Shift3, kInterleaveds16, 127, -128, -2},
    {EDGE_OP(obxImageGradientSobelInterleaveds16_v3), Layout::Interleaved, Element::S16, false, Weights::Sobel,
     Scaling::None, kInterleaveds16, 1020, -1020, -9},
    {EDGE_OP(obxImageGradientSobelInterleavedf32), Layout::Interleaved, Element::F32, false, Weights::Sobel,
     Scaling::Eighth, kInterleavedf32, 127.5, -127.5, -1.125},
    {EDGE_OP(obxImageGradientSobelPlanars16), Layout::Planar, Element::S16, false, Weights::Sobel, Scaling::Shift3,
     kPlanars16, 127, -128, -2},
    {EDGE_OP(obxImageGradientSobelPlanars16_v3), Layout::Planar, Element::S16, false, Weights::Sobel, Scaling::None,
     kPlanars16, 1020, -1020, -9},
    {EDGE_OP(obxImageGradientSobelPlanars8), Layout::Planar, Element::S8, false, Weights::Sobel, Scaling::Shift3,
     "src && srcWidth && srcHeight && (srcStride >= srcWidth) && dx && dy && (dxyStride >= srcWidth)", 127, -128, -2},
    {EDGE_OP(obxImageGradientSobelPlanarf32), Layout::Planar, Element::F32, false, Weights::Sobel, Scaling::Eighth,
     kPlanarf32, 127.5, -127.5, -1.125},
    {EDGE_OP(obxImageGradientSobelPlanarf32f32), Layout::Planar, Element::F32, true, Weights::Sobel,
     Scaling::Eighth,
     "src && srcWidth && srcHeight && (srcStride >= (srcWidth*sizeof(float))) && dx && dy && (dxyStride >= (srcWidth*sizeof(float)))",
     127.5, -127.5, -1.125},
    {EDGE_OP(obxImageGradientScharrInterleaveds16), Layout::Interleaved, Element::S16, false, Weights::Scharr,
     Scaling::None,
     "src && srcWidth && srcHeight && (srcStride >= srcWidth)&& gradients && (gradStride >= ((srcWidth-2)*2*sizeof(int16_t)))",
     4080, -4080, -27},
};
#undef EDGE_OP

void PrintTo(const EdgeOp& op, std::ostream* os) { *os << op.name; }

// ---- Images and outputs ------------------------------------------------------------

// A source image of u8 or float pixels in a guarded buffer; strides in bytes.
struct Source {
    uint32_t width, height, stride;
    bool isFloat;
    GuardedBuffer buffer;
    Source(uint32_t w, uint32_t h, uint32_t paddingPixels, size_t offset, bool f)
        : width(w), height(h), stride((w + paddingPixels) * (f ? 4 : 1)), isFloat(f),
          buffer(static_cast<size_t>(stride) * h, f ? offset & ~size_t{3} : offset) {}
    double at(uint32_t x, uint32_t y) const {
        const uint8_t* row = buffer.data() + static_cast<size_t>(y) * stride;
        if (!isFloat) return row[x];
        float v;
        memcpy(&v, row + 4 * x, 4);
        return v;
    }
    void set(uint32_t x, uint32_t y, double v) {
        uint8_t* row = buffer.data() + static_cast<size_t>(y) * stride;
        if (!isFloat) row[x] = static_cast<uint8_t>(v);
        else {
            const float f = static_cast<float>(v);
            memcpy(row + 4 * x, &f, 4);
        }
    }
};

// The output planes of one call, all bytes starting as the sentinel: one
// plane of pairs (rows srcHeight - 2) or of magnitudes, or a dx and a dy plane.
struct Outputs {
    uint32_t stride, rows;
    std::vector<GuardedBuffer> planes;
    Outputs(const EdgeOp& op, uint32_t w, uint32_t h, uint32_t paddingElements, size_t offset) {
        const size_t bytes = elementBytes(op.out);
        const uint32_t rowElements = op.layout == Layout::Interleaved ? (w > 2 ? 2 * (w - 2) : 0) : w;
        stride = static_cast<uint32_t>((rowElements + paddingElements) * bytes);
        rows = op.layout == Layout::Interleaved ? (h > 2 ? h - 2 : 1) : h;
        for (int p = 0; p < (op.layout == Layout::Planar ? 2 : 1); ++p)
            planes.emplace_back(static_cast<size_t>(stride) * rows, offset - offset % bytes);
    }
    void* plane(int p) { return planes[std::min<size_t>(p, planes.size() - 1)].data(); }
    bool guardsIntact() const {
        return std::all_of(planes.begin(), planes.end(), [](const GuardedBuffer& b) { return b.guardsIntact(); });
    }
};

void run(const Call& call, const Source& src, Outputs& out) {
    call(src.buffer.data(), src.width, src.height, src.stride, out.plane(0), out.plane(1), out.stride);
}

// ---- The definition, evaluated directly --------------------------------------------

double derivative(const EdgeOp& op, const Source& s, uint32_t x, uint32_t y, bool vertical) {
    const double w[3][3] = {{0, 1, 0}, {1, 2, 1}, {3, 10, 3}};
    const double* k = w[static_cast<int>(op.weights)];
    double d = 0;
    for (uint32_t j = 0; j < 3; ++j)
        d += vertical ? k[j] * (s.at(x - 1 + j, y + 1) - s.at(x - 1 + j, y - 1))
                      : k[j] * (s.at(x + 1, y - 1 + j) - s.at(x - 1, y - 1 + j));
    return op.scaling == Scaling::Shift3 ? std::floor(d / 8) : op.scaling == Scaling::Eighth ? d / 8 : d;
}

void storeElement(uint8_t* p, Element e, double v) {
    switch (e) {
        case Element::U8: *p = static_cast<uint8_t>(v); return;
        case Element::S8: *p = static_cast<uint8_t>(static_cast<int8_t>(v)); return;
        case Element::S16: { const int16_t s = static_cast<int16_t>(v); memcpy(p, &s, 2); return; }
        case Element::F32: { const float f = static_cast<float>(v); memcpy(p, &f, 4); return; }
    }
}

// The planes as they must be after the call: the sentinel everywhere except
// at the results of the interior pixels, which every element type holds
// exactly.
std::vector<std::vector<uint8_t>> expectedPlanes(const EdgeOp& op, const Source& s, const Outputs& out) {
    std::vector<std::vector<uint8_t>> planes;
    for (const GuardedBuffer& b : out.planes) planes.emplace_back(b.size(), GuardedBuffer::kSentinel);
    const size_t bytes = elementBytes(op.out);
    for (uint32_t y = 1; y + 1 < s.height; ++y) {
        for (uint32_t x = 1; x + 1 < s.width; ++x) {
            const double dx = derivative(op, s, x, y, false), dy = derivative(op, s, x, y, true);
            const size_t row = static_cast<size_t>(op.layout == Layout::Interleaved ? y - 1 : y) * out.stride;
            if (op.layout == Layout::Magnitude) {
                storeElement(&planes[0][row + x], op.out, std::min(std::fabs(dx) + std::fabs(dy), 255.0));
            } else if (op.layout == Layout::Planar) {
                storeElement(&planes[0][row + x * bytes], op.out, dx);
                storeElement(&planes[1][row + x * bytes], op.out, dy);
            } else {
                storeElement(&planes[0][row + 2 * (x - 1) * bytes], op.out, dx);
                storeElement(&planes[0][row + (2 * x - 1) * bytes], op.out, dy);
            }
        }
    }
    return planes;
}

// Empty when every byte of every plane is as expected.
std::string planeDifference(const std::vector<std::vector<uint8_t>>& expected, const Outputs& out) {
    for (size_t p = 0; p < expected.size(); ++p)
        for (size_t i = 0; i < expected[p].size(); ++i)
            if (out.planes[p].data()[i] != expected[p][i])
                return "plane " + std::to_string(p) + " row " + std::to_string(i / out.stride) + " byte " +
                       std::to_string(i % out.stride) + ": expected " + std::to_string(expected[p][i]) + ", got " +
                       std::to_string(out.planes[p].data()[i]);
    return {};
}

class Edge : public ::testing::TestWithParam<EdgeOp> {};

// ---- Every output byte ------------------------------------------------------------------

// Images worked out by hand, then random ones; small integers (float
// sources: eighths) keep every float sum exact, so the direct evaluation in
// double is the stored value. Every byte of the outputs is checked, outer
// rows, columns and padding included: 3x3 images give exactly one result
// (pair 0 of row 0, or pixel (1, 1)), images 1 or 2 wide or high give none.
TEST_P(Edge, EveryOutputByteFollowsTheDefinition) {
    const EdgeOp& op = GetParam();
    struct Case {
        const char* what;
        uint32_t width, height, x, y;
        std::function<double(uint32_t, uint32_t)> pixel;
        double dx, dy;  // the hand values at (x, y): the stored dx, dy (or magnitude)
    };
    std::vector<Case> cases = {
        {"rising vertical step 0|255", 6, 3, 2, 1, [](uint32_t x, uint32_t) { return x >= 3 ? 255 : 0; },
         op.rising, 0},
        {"falling vertical step 255|0", 6, 3, 3, 1, [](uint32_t x, uint32_t) { return x >= 4 ? 0 : 255; },
         op.falling, 0},
        {"falling horizontal step", 3, 6, 1, 2, [](uint32_t, uint32_t y) { return y >= 3 ? 0 : 255; }, 0,
         op.falling},
        {"9 in the top-left corner of a 3x3 image", 3, 3, 1, 1,
         [](uint32_t x, uint32_t y) { return x + y == 0 ? 9 : 0; }, op.corner, op.corner},
    };
    std::mt19937 rng(77);
    for (const auto& [w, h] : {std::pair<uint32_t, uint32_t>{3, 3}, {2, 5}, {5, 2}, {2, 2}, {1, 4}, {4, 1}, {4, 4},
                               {9, 3}, {17, 6}, {40, 5}, {67, 9}}) {
        if (w == 1 && op.layout == Layout::Interleaved) continue;  // below the contract
        cases.push_back({"random", w, h, 0, 0, [&rng, &op](uint32_t, uint32_t) -> double {
            return op.floatSource ? static_cast<int>(rng() % 16001) / 8.0 - 1000 : rng() % 256;
        }, 0, 0});
    }
    for (const Case& c : cases) {
        SCOPED_TRACE(::testing::Message() << c.what << " " << c.width << "x" << c.height);
        Source src(c.width, c.height, 3, 1, op.floatSource);
        for (uint32_t y = 0; y < c.height; ++y)
            for (uint32_t x = 0; x < c.width; ++x) src.set(x, y, c.pixel(x, y));
        if (c.x) {  // the definition agrees with the hand values
            const double dx = derivative(op, src, c.x, c.y, false), dy = derivative(op, src, c.x, c.y, true);
            if (op.layout == Layout::Magnitude)
                EXPECT_EQ(std::min(std::fabs(dx) + std::fabs(dy), 255.0), c.dx != 0 ? c.dx : c.dy);
            else
                EXPECT_TRUE(dx == c.dx && dy == c.dy) << dx << " " << dy;
        }
        for (const Call& call : {op.reference, op.vector}) {
            Outputs out(op, c.width, c.height, 3, 6);
            run(call, src, out);
            EXPECT_EQ(planeDifference(expectedPlanes(op, src, out), out), "");
            EXPECT_TRUE(out.guardsIntact());
        }
    }
}

// ---- Vector variants against their references ------------------------------------------

void fillRandom(Source& s, std::mt19937& rng, int content) {
    for (uint32_t y = 0; y < s.height; ++y)
        for (uint32_t x = 0; x < s.width; ++x) {
            if (s.isFloat)  // signed values over ten decades: sums round at every scale
                s.set(x, y, (static_cast<double>(rng() % 2000001) / 1e6 - 1) * std::pow(10.0, rng() % 11 - 5.0));
            else
                s.set(x, y, content == 1 ? (rng() & 1) * 255 : rng() % 256);  // extremes saturate |dx| + |dy|
        }
}

TEST_P(Edge, VectorMatchesReference) {
    const EdgeOp& op = GetParam();
    const uint32_t minWidth = op.layout == Layout::Interleaved ? 2 : 1;
    std::mt19937 rng(1234);
    std::vector<ImageGeometry> shapes = comparisonGeometries(minWidth, 1, 99, 60);
    // Rows split into chunks of 256 interior pixels: exact multiples, and
    // short last chunks on either side of one vector step.
    for (uint32_t w : {17u, 18u, 19u, 257u, 258u, 259u, 260u, 272u, 273u, 274u, 275u, 514u, 531u})
        shapes.push_back({w, 4, static_cast<uint32_t>(rng() % 5), static_cast<uint32_t>(rng() % 5), rng() % 16,
                          rng() % 16});
    int index = 0;
    for (const ImageGeometry& g : shapes) {
        SCOPED_TRACE(::testing::Message() << g);
        Source src(g.width, g.height, g.srcPadding, g.srcOffset, op.floatSource);
        fillRandom(src, rng, index++ % 2);
        Outputs expected(op, g.width, g.height, g.dstPadding, g.dstOffset);
        Outputs actual(op, g.width, g.height, g.dstPadding, g.dstOffset);
        run(op.reference, src, expected);
        run(op.vector, src, actual);
        for (size_t p = 0; p < expected.planes.size(); ++p)
            ASSERT_EQ(memcmp(expected.planes[p].data(), actual.planes[p].data(), expected.planes[p].size()), 0)
                << "plane " << p;
        ASSERT_TRUE(actual.guardsIntact());
        ASSERT_TRUE(src.buffer.guardsIntact());
    }
}

INSTANTIATE_TEST_SUITE_P(Gradients, Edge, ::testing::ValuesIn(kOps),
                         [](const auto& info) { return std::string(info.param.name); });

// ---- Assertion texts -----------------------------------------------------------------------

alignas(16) uint8_t gBytes[4096];

// Every reference and vector variant with each argument broken in turn on
// an 8x8 image; planar forms also with a null dy plane.
std::vector<AssertionCase> assertionCases() {
    std::vector<AssertionCase> cases;
    const char* const kinds[] = {"null source", "null output", "zero width", "zero height", "srcStride one byte short",
                                 "output stride one byte short", "null dy"};
    for (const EdgeOp& op : kOps) {
        const uint32_t srcStride = op.floatSource ? 32 : 8;
        const uint32_t outStride = static_cast<uint32_t>((op.layout == Layout::Interleaved ? 12 : 8) * elementBytes(op.out));
        for (int kind = 0; kind < (op.layout == Layout::Planar ? 7 : 6); ++kind) {
            for (bool vector : {false, true}) {
                const Call call = vector ? op.vector : op.reference;
                const auto violate = [call, kind, srcStride, outStride] {
                    call(kind == 0 ? nullptr : gBytes, kind == 2 ? 0 : 8, kind == 3 ? 0 : 8, srcStride - (kind == 4),
                         kind == 1 ? nullptr : gBytes + 1024, kind == 6 ? nullptr : gBytes + 2048, outStride - (kind == 5));
                };
                cases.push_back({std::string(op.name) + (vector ? "V " : "C ") + kinds[kind], violate,
                                 moduleOf("Edge", vector), op.contract});
            }
        }
    }
    // Width 1 makes (srcWidth-2) wrap to a bound above any real stride.
    cases.push_back({"obxImageGradientSobelInterleaveds16V width 1",
                     [] { obxImageGradientSobelInterleaveds16V(gBytes, 1, 8, 8, reinterpret_cast<int16_t*>(gBytes + 1024), 0xFFFFFFF0u); },
                     "src/lanex/ombrixEdgeV", kInterleaveds16});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Edge, AssertionText, ::testing::ValuesIn(assertionCases()),
                         assertionCaseName);

}  // namespace
