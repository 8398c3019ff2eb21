// Patch descriptors and dot products: hand-checked descriptors of ramps and
// steps, dot products at the extremes of their element types, the scaling of
// the normalisation and the sampled mean and variance, every vector variant
// against its reference on seeded random input at unaligned addresses with
// guarded outputs, and the assertion texts.
#include <cmath>

#include "ombrixKernels.h"
#include "ombrixTestSupport.h"

namespace {

using namespace ombrix_test;

// ---- Descriptor -----------------------------------------------------------------------

struct DescriptorVariant {
    const char* name;
    obxDescriptor17x17u8To36s8_fn* fn;
};
const DescriptorVariant kDescriptorVariants[] = {{"reference", obxDescriptor17x17u8To36s8C},
                                                 {"vector", obxDescriptor17x17u8To36s8V}};
void PrintTo(const DescriptorVariant& v, std::ostream* os) { *os << v.name; }
class Descriptor : public ::testing::TestWithParam<DescriptorVariant> {};

std::vector<uint8_t> patchOf(int (*value)(int row, int col)) {
    std::vector<uint8_t> p(289);
    for (int i = 0; i < 289; ++i) p[i] = static_cast<uint8_t>(value(i / 17, i % 17));
    return p;
}

TEST_P(Descriptor, FlatPatchReturnsMinusOneAndWritesNothing) {
    const std::vector<uint8_t> flat(289, 77);
    std::vector<int8_t> out(36, 0x55);
    int32_t normSq = -5;
    EXPECT_EQ(GetParam().fn(flat.data(), out.data(), &normSq), -1);
    EXPECT_EQ(normSq, -5);
    EXPECT_EQ(out, std::vector<int8_t>(36, 0x55));
    // A gradient only on the border rows and columns is outside every cell.
    std::vector<uint8_t> border(289, 9);
    border[0] = border[16] = border[288] = 200;
    EXPECT_EQ(GetParam().fn(border.data(), out.data(), &normSq), -1);
}

// Expected values at accumulators 4 * cell + offset, zero elsewhere.
std::vector<int8_t> spread(const std::vector<int>& cells, const std::vector<int>& offsets, int value) {
    std::vector<int8_t> d(36, 0);
    for (int c : cells)
        for (int o : offsets) d[4 * c + o] = static_cast<int8_t>(value);
    return d;
}

TEST_P(Descriptor, HandCheckedRampsAndStep) {
    std::vector<int8_t> out(36);
    int32_t normSq = 0;
    const std::vector<int> all = {0, 1, 2, 3, 4, 5, 6, 7, 8};
    // P = col: gx = 2 everywhere. The cells' weight sums are 255 (corners),
    // 370 (edges) and 604 (centre), so the x sums and magnitudes are
    // 510, 740, 1208 >> 3 = 63, 92, 151; normSq = 145066, sqrt 380, limit
    // (20 * 380) >> 7 = 59. All are clamped to 59, and 127 / 59 * 59 is 127.
    EXPECT_EQ(GetParam().fn(patchOf([](int, int c) { return c; }).data(), out.data(), &normSq), 0);
    EXPECT_EQ(out, spread(all, {0, 2}, 127));
    EXPECT_EQ(normSq, 18 * 127 * 127);
    // P = 16 - col: the x sums shift to -64, -93, -151 (floor), magnitudes as
    // before; limit 59 again, so -127 and 127.
    EXPECT_EQ(GetParam().fn(patchOf([](int, int c) { return 16 - c; }).data(), out.data(), &normSq), 0);
    std::vector<int8_t> expected = spread(all, {0}, -127);
    for (int c : all) expected[4 * c + 2] = 127;
    EXPECT_EQ(out, expected);
    // P = 4 * row (top 0, bottom 64): the same in y, full range of input.
    EXPECT_EQ(GetParam().fn(patchOf([](int r, int) { return 4 * r; }).data(), out.data(), &normSq), 0);
    EXPECT_EQ(out, spread(all, {1, 3}, 127));
    // A step of 2 between columns 7 and 8: gx = 2 at columns 7 and 8 only,
    // both in the middle cell column. Weight sums there: 80 + 86 (top and
    // bottom cells), 130 + 144 (centre), so sums 41, 68, 41; normSq 15972,
    // sqrt 126, limit 19; 127 / 19 * 19 rounds below 127, giving 126.
    EXPECT_EQ(GetParam().fn(patchOf([](int, int c) { return c >= 8 ? 2 : 0; }).data(), out.data(), &normSq), 0);
    EXPECT_EQ(out, spread({1, 4, 7}, {0, 2}, 126));
    EXPECT_EQ(normSq, 6 * 126 * 126);
}

TEST(DescriptorVector, MatchesReferenceOnRandomPatches) {
    std::mt19937 rng(17);
    for (int trial = 0; trial < 600; ++trial) {
        GuardedBuffer patch(289, rng() % 16);
        const int kind = trial % 6;
        for (size_t i = 0; i < 289; ++i) {
            const int r = static_cast<int>(i / 17), c = static_cast<int>(i % 17);
            uint8_t v = static_cast<uint8_t>(rng());
            if (kind == 1) v = rng() % 2 ? 255 : 0;                            // extremes
            if (kind == 2) v = static_cast<uint8_t>(((r / 2 + c / 2) % 2) * 255);  // large magnitudes
            if (kind == 3) v = static_cast<uint8_t>(100 + (rng() % 5 == 0 ? rng() % 3 : 0));  // weak
            if (kind == 4) v = static_cast<uint8_t>(r * (trial % 15) + c * (trial % 7));
            if (kind == 5) v = static_cast<uint8_t>(trial % 40 == 5 ? 9 : (r == 8 && c == 8) ? 255 : 0);
            patch.data()[i] = v;
        }
        GuardedBuffer expected(36 + 4, rng() % 16, 0x11), actual(36 + 4, rng() % 16, 0x11);
        int32_t normExpected = 0, normActual = 0;
        const uint8_t* p = patch.data();
        const int32_t re = obxDescriptor17x17u8To36s8C(p, reinterpret_cast<int8_t*>(expected.data()), &normExpected);
        const int32_t ra = obxDescriptor17x17u8To36s8V(p, reinterpret_cast<int8_t*>(actual.data()), &normActual);
        ASSERT_EQ(re, ra) << trial;
        ASSERT_EQ(normExpected, normActual) << trial;
        ASSERT_EQ(memcmp(expected.data(), actual.data(), 40), 0) << trial;
        ASSERT_TRUE(actual.guardsIntact() && patch.guardsIntact());
        ASSERT_EQ(actual.data()[36], 0x11);  // nothing past the 36 values
    }
}

std::string descriptorName(const ::testing::TestParamInfo<DescriptorVariant>& info) { return info.param.name; }
INSTANTIATE_TEST_SUITE_P(Descriptor, Descriptor, ::testing::ValuesIn(kDescriptorVariants), descriptorName);

// ---- Dot products: hand-checked extremes ---------------------------------------------------

struct DotVariant {
    const char* name;
    obxDotProduct36x1s8_fn *s36, *s64, *s128;
    obxDotProduct36x1u8_fn *u36, *u64, *u128;
    obxDotProducts8_fn* sAny;
    obxDotProductu8_fn* uAny;
    obxDotProduct36x4s8_fn* s36x4;
    obxDotProduct36x4u8_fn* u128x4;
    obxDotProductNorm36x4s8_fn* norm36;
    obxDotProduct8x8u8_fn* patch;
    obxDotProduct11x12u8_fn* grid;
};
const DotVariant kDotVariants[] = {
    {"reference", obxDotProduct36x1s8C, obxDotProduct64x1s8C, obxDotProduct128x1s8C, obxDotProduct36x1u8C,
     obxDotProduct64x1u8C, obxDotProduct128x1u8C, obxDotProducts8C, obxDotProductu8C, obxDotProduct36x4s8C,
     obxDotProduct128x4u8C, obxDotProductNorm36x4s8C, obxDotProduct8x8u8C, obxDotProduct11x12u8C},
    {"vector", obxDotProduct36x1s8V, obxDotProduct64x1s8V, obxDotProduct128x1s8V, obxDotProduct36x1u8V,
     obxDotProduct64x1u8V, obxDotProduct128x1u8V, obxDotProducts8V, obxDotProductu8V, obxDotProduct36x4s8V,
     obxDotProduct128x4u8V, obxDotProductNorm36x4s8V, obxDotProduct8x8u8V, obxDotProduct11x12u8V},
};
void PrintTo(const DotVariant& v, std::ostream* os) { *os << v.name; }
class DotProduct : public ::testing::TestWithParam<DotVariant> {};

TEST_P(DotProduct, Extremes) {
    const DotVariant& v = GetParam();
    const std::vector<int8_t> m127(256, -127), m128(256, -128), p127(256, 127);
    const std::vector<uint8_t> u255(256, 255);
    EXPECT_EQ(v.s36(m127.data(), m127.data()), 580644);
    EXPECT_EQ(v.s64(m127.data(), m127.data()), 64 * 16129);
    EXPECT_EQ(v.s128(m127.data(), p127.data()), -128 * 16129);
    // -128 * -128 twice does not fit 16 bits.
    EXPECT_EQ(v.s36(m128.data(), m128.data()), 36 * 16384);
    EXPECT_EQ(v.s128(m128.data(), m128.data()), 128 * 16384);
    EXPECT_EQ(v.u36(u255.data(), u255.data()), 36u * 65025u);
    EXPECT_EQ(v.u64(u255.data(), u255.data()), 64u * 65025u);
    EXPECT_EQ(v.u128(u255.data(), u255.data()), 128u * 65025u);
    EXPECT_EQ(v.sAny(m128.data(), m128.data(), 0), 0);
    EXPECT_EQ(v.sAny(m128.data(), m128.data(), 255), 255 * 16384);
    EXPECT_EQ(v.uAny(u255.data(), u255.data(), 251), 251u * 65025u);
    // Long vectors wrap in 32 bits: 70000 * 65025 = 2^32 + 256782704, and
    // 140000 * 16384 = 2293760000 = 2^32 - 2001207296.
    const std::vector<uint8_t> long255(70000, 255);
    EXPECT_EQ(v.uAny(long255.data(), long255.data(), 70000), 256782704u);
    const std::vector<int8_t> long128(140000, -128);
    EXPECT_EQ(v.sAny(long128.data(), long128.data(), 140000), -2001207296);
}

TEST_P(DotProduct, FourAtOnceAndScaled) {
    const DotVariant& v = GetParam();
    const std::vector<int8_t> two(36, 2), three(36, 3), minusOne(36, -1), zero(36, 0);
    int32_t dots[4] = {1, 1, 1, 1};
    v.s36x4(two.data(), three.data(), minusOne.data(), two.data(), zero.data(), dots);
    EXPECT_EQ(std::vector<int32_t>(dots, dots + 4), (std::vector<int32_t>{216, -72, 144, 0}));
    // (float)216 * 0.5 * {0.25, -1, 1/1024, 3} exactly.
    const float invB[4] = {0.25f, -1.0f, 1.0f / 1024, 3.0f};
    float scaled[4];
    v.norm36(two.data(), 0.5f, three.data(), three.data(), three.data(), three.data(), invB, scaled);
    EXPECT_EQ(std::vector<float>(scaled, scaled + 4), (std::vector<float>{27.0f, -108.0f, 108.0f / 1024, 324.0f}));
    std::vector<uint8_t> ramp(128), u255(128, 255), u0(128, 0), u1(128, 1);
    for (int i = 0; i < 128; ++i) ramp[i] = static_cast<uint8_t>(2 * i);
    uint32_t udots[4];
    v.u128x4(u255.data(), u255.data(), u0.data(), ramp.data(), u1.data(), udots);
    EXPECT_EQ(std::vector<uint32_t>(udots, udots + 4), (std::vector<uint32_t>{128u * 65025u, 0u, 255u * 16256u, 128u * 255u}));
}

TEST_P(DotProduct, PatchCorrelationIsCentred) {
    const DotVariant& v = GetParam();
    // A patch with a single 1 at its fifth column and row picks the image
    // pixel (nX + i, nY) for position i.
    std::vector<uint8_t> ptch(64, 0), img(40 * 30);
    ptch[4 * 8 + 4] = 1;
    for (size_t i = 0; i < img.size(); ++i) img[i] = static_cast<uint8_t>(i * 7 + i / 40);
    std::vector<uint32_t> out(13, 0xDEAD);
    v.patch(ptch.data(), img.data(), 40, 30, 9, 12, 11, out.data());
    for (uint32_t i = 0; i < 11; ++i) EXPECT_EQ(out[i], img[12 * 40 + 9 + i]) << i;
    EXPECT_EQ(out[11], 0xDEADu);
    v.patch(ptch.data(), img.data(), 40, 30, 9, 12, 0, out.data());
    EXPECT_EQ(out[0], img[12 * 40 + 9]);
    // All 255 against all 255: 64 * 65025 at every grid position.
    std::vector<uint8_t> p255(64, 255), i255(19 * 18, 255);
    std::vector<uint32_t> grid(133, 7);
    v.grid(p255.data(), i255.data() + 4 * 19 + 4, 19, 18, 0, 0, grid.data());
    EXPECT_EQ(std::vector<uint32_t>(grid.begin(), grid.begin() + 132), std::vector<uint32_t>(132, 64u * 65025u));
    EXPECT_EQ(grid[132], 7u);
    // The grid's 12 x 11 positions are the correlation rows, left to right.
    v.grid(ptch.data(), img.data(), 40, 30, 9, 12, grid.data());
    for (uint32_t dy = 0; dy < 11; ++dy)
        for (uint32_t dx = 0; dx < 12; ++dx) ASSERT_EQ(grid[12 * dy + dx], img[(12 + dy) * 40 + 9 + dx]);
}

std::string dotName(const ::testing::TestParamInfo<DotVariant>& info) { return info.param.name; }
INSTANTIATE_TEST_SUITE_P(Dot, DotProduct, ::testing::ValuesIn(kDotVariants), dotName);

// ---- Dot products: every slot's vector variant against its reference ------------------------

// Inputs of `count` vectors of `length` elements, each in its own guarded
// buffer at a random misalignment; the contents cycle through random, the
// negative extreme, the positive extreme and sparse values.
struct VectorInputs {
    std::vector<std::unique_ptr<GuardedBuffer>> buffers;
    VectorInputs(uint32_t count, uint32_t length, std::mt19937& rng, int content) {
        for (uint32_t i = 0; i < count; ++i) {
            buffers.push_back(std::make_unique<GuardedBuffer>(length, rng() % 16));
            uint8_t* d = buffers.back()->data();
            for (uint32_t j = 0; j < length; ++j)
                d[j] = content == 1 ? 0x80 : content == 2 ? (i % 2 ? 0x81 : 0xFF) : content == 3 && rng() % 4 ? 0
                                                                                    : static_cast<uint8_t>(rng());
        }
    }
    template <typename T>
    const T* at(uint32_t i) const {
        return reinterpret_cast<const T*>(buffers[i]->data());
    }
    bool intact() const {
        for (const auto& b : buffers)
            if (!b->guardsIntact()) return false;
        return true;
    }
};

// One call of a dot-product slot: its inputs and its outputs written to a
// guarded buffer. Overloaded on the slot's function type.
using Out = GuardedBuffer;
void call(obxDotProducts8_fn* f, const VectorInputs& in, uint32_t len, Out& out) {
    const int32_t r = f(in.at<int8_t>(0), in.at<int8_t>(1), len);
    memcpy(out.data(), &r, 4);
}
void call(obxDotProductu8_fn* f, const VectorInputs& in, uint32_t len, Out& out) {
    const uint32_t r = f(in.at<uint8_t>(0), in.at<uint8_t>(1), len);
    memcpy(out.data(), &r, 4);
}
void call(obxDotProduct36x1s8_fn* f, const VectorInputs& in, uint32_t, Out& out) {
    const int32_t r = f(in.at<int8_t>(0), in.at<int8_t>(1));
    memcpy(out.data(), &r, 4);
}
void call(obxDotProduct36x1u8_fn* f, const VectorInputs& in, uint32_t, Out& out) {
    const uint32_t r = f(in.at<uint8_t>(0), in.at<uint8_t>(1));
    memcpy(out.data(), &r, 4);
}
void call(obxDotProduct36x4s8_fn* f, const VectorInputs& in, uint32_t, Out& out) {
    f(in.at<int8_t>(0), in.at<int8_t>(1), in.at<int8_t>(2), in.at<int8_t>(3), in.at<int8_t>(4),
      reinterpret_cast<int32_t*>(out.data()));
}
void call(obxDotProduct36x4u8_fn* f, const VectorInputs& in, uint32_t, Out& out) {
    f(in.at<uint8_t>(0), in.at<uint8_t>(1), in.at<uint8_t>(2), in.at<uint8_t>(3), in.at<uint8_t>(4),
      reinterpret_cast<uint32_t*>(out.data()));
}
// Inverse lengths of plausible descriptors (norms 1 .. 1000).
const float kInvLengths[5] = {1.0f / 3.0f, 0.0123f, 1.0f / 977.0f, 0.5f, 0.7071f};
void call(obxDotProductNorm36x4s8_fn* f, const VectorInputs& in, uint32_t, Out& out) {
    f(in.at<int8_t>(0), kInvLengths[0], in.at<int8_t>(1), in.at<int8_t>(2), in.at<int8_t>(3), in.at<int8_t>(4),
      kInvLengths + 1, reinterpret_cast<float*>(out.data()));
}
void call(obxDotProductNorm36x4u8_fn* f, const VectorInputs& in, uint32_t, Out& out) {
    f(in.at<uint8_t>(0), kInvLengths[0], in.at<uint8_t>(1), in.at<uint8_t>(2), in.at<uint8_t>(3),
      in.at<uint8_t>(4), kInvLengths + 1, reinterpret_cast<float*>(out.data()));
}

struct DotSlot {
    std::string name;
    std::function<void()> compare;
};
void PrintTo(const DotSlot& s, std::ostream* os) { *os << s.name; }

// A fixed length (0 for the any-length forms, which get 0 .. 300).
template <typename Fn>
DotSlot dotSlot(const char* name, Fn* reference, Fn* vector, uint32_t length, uint32_t vectors) {
    return {name, [=] {
                std::mt19937 rng(length * 31 + vectors);
                for (int trial = 0; trial < 200; ++trial) {
                    const uint32_t len = length ? length : trial < 40 ? trial : rng() % 301;
                    const VectorInputs in(vectors, len, rng, trial % 4);
                    Out expected(16, 4 * (rng() % 4)), actual(16, 4 * (rng() % 4));
                    call(reference, in, len, expected);
                    call(vector, in, len, actual);
                    ASSERT_EQ(memcmp(expected.data(), actual.data(), 16), 0) << "trial " << trial << " length " << len;
                    ASSERT_TRUE(actual.guardsIntact() && in.intact()) << trial;
                }
            }};
}

#define OBX_DOT_SLOT(op, length, vectors) dotSlot(#op, op##C, op##V, length, vectors)
const std::vector<DotSlot> kDotSlots = {
    OBX_DOT_SLOT(obxDotProducts8, 0, 2),          OBX_DOT_SLOT(obxDotProductu8, 0, 2),
    OBX_DOT_SLOT(obxDotProduct36x1s8, 36, 2),     OBX_DOT_SLOT(obxDotProduct64x1s8, 64, 2),
    OBX_DOT_SLOT(obxDotProduct128x1s8, 128, 2),   OBX_DOT_SLOT(obxDotProduct36x1u8, 36, 2),
    OBX_DOT_SLOT(obxDotProduct64x1u8, 64, 2),     OBX_DOT_SLOT(obxDotProduct128x1u8, 128, 2),
    OBX_DOT_SLOT(obxDotProduct36x4s8, 36, 5),     OBX_DOT_SLOT(obxDotProduct64x4s8, 64, 5),
    OBX_DOT_SLOT(obxDotProduct128x4s8, 128, 5),   OBX_DOT_SLOT(obxDotProduct36x4u8, 36, 5),
    OBX_DOT_SLOT(obxDotProduct64x4u8, 64, 5),     OBX_DOT_SLOT(obxDotProduct128x4u8, 128, 5),
    OBX_DOT_SLOT(obxDotProductNorm36x4s8, 36, 5), OBX_DOT_SLOT(obxDotProductNorm64x4s8, 64, 5),
    OBX_DOT_SLOT(obxDotProductNorm128x4s8, 128, 5), OBX_DOT_SLOT(obxDotProductNorm36x4u8, 36, 5),
    OBX_DOT_SLOT(obxDotProductNorm64x4u8, 64, 5), OBX_DOT_SLOT(obxDotProductNorm128x4u8, 128, 5),
};
#undef OBX_DOT_SLOT

class DotSlots : public ::testing::TestWithParam<DotSlot> {};
TEST_P(DotSlots, VectorMatchesReference) { GetParam().compare(); }
std::string slotName(const ::testing::TestParamInfo<DotSlot>& info) { return info.param.name; }
INSTANTIATE_TEST_SUITE_P(Dot, DotSlots, ::testing::ValuesIn(kDotSlots), slotName);

// The correlations on images that end exactly at the last pixel read, so
// that a memory checker sees any read past it.
TEST(DotPatchVector, MatchesReferenceAtImageEdges) {
    std::mt19937 rng(88);
    for (int trial = 0; trial < 300; ++trial) {
        const bool grid = trial % 3 == 0;
        const uint32_t nNum = grid ? 12 : trial < 40 ? trial % 20 : rng() % 200;
        const uint32_t spanX = nNum + 7, spanY = grid ? 18 : 8;
        const uint32_t imgW = spanX + rng() % 20, imgH = spanY + rng() % 10;
        const uint32_t nX = 4 + imgW - spanX - (trial % 2 ? 0 : rng() % (imgW - spanX + 1));
        const uint32_t nY = 4 + imgH - spanY - (trial % 2 ? 0 : rng() % (imgH - spanY + 1));
        std::vector<uint8_t> img(size_t{imgW} * imgH), ptch(64);
        const uint8_t top = trial % 5 == 1 ? 255 : 0;
        for (auto& b : img) b = top ? top : static_cast<uint8_t>(rng());
        for (auto& b : ptch) b = top ? top : static_cast<uint8_t>(rng());
        GuardedBuffer expected(4 * 200, 4 * (rng() % 4)), actual(4 * 200, 4 * (rng() % 4));
        auto* e = reinterpret_cast<uint32_t*>(expected.data());
        auto* a = reinterpret_cast<uint32_t*>(actual.data());
        if (grid) {
            obxDotProduct11x12u8C(ptch.data(), img.data(), imgW, imgH, nX, nY, e);
            obxDotProduct11x12u8V(ptch.data(), img.data(), imgW, imgH, nX, nY, a);
        } else {
            obxDotProduct8x8u8C(ptch.data(), img.data(), imgW, imgH, nX, nY, nNum, e);
            obxDotProduct8x8u8V(ptch.data(), img.data(), imgW, imgH, nX, nY, nNum, a);
        }
        ASSERT_EQ(memcmp(expected.data(), actual.data(), 4 * 200), 0) << trial;
        ASSERT_TRUE(actual.guardsIntact());
        const size_t written = grid ? 132 : nNum;
        ASSERT_TRUE(GuardedBuffer::untouched(actual.data() + 4 * written, actual.data() + 4 * 200)) << trial;
    }
}

// ---- Normalisation --------------------------------------------------------------------------

struct FloatOpVariant {
    const char* name;
    obxVecNormalize36s8f32_fn* normalize;
    obxDescriptorSampledMeanAndVar36f32_fn* meanVar;
};
const FloatOpVariant kFloatOpVariants[] = {
    {"reference", obxVecNormalize36s8f32C, obxDescriptorSampledMeanAndVar36f32C},
    {"vector", obxVecNormalize36s8f32V, obxDescriptorSampledMeanAndVar36f32V},
};
void PrintTo(const FloatOpVariant& v, std::ostream* os) { *os << v.name; }
class FloatOps : public ::testing::TestWithParam<FloatOpVariant> {};

TEST_P(FloatOps, NormaliseScalesByInverseLengthTimesRequestedNorm) {
    std::vector<int8_t> src(2 * 40);
    for (int i = 0; i < 80; ++i) src[i] = static_cast<int8_t>(i % 2 ? -127 + i : 127 - i);
    const float invLen[2] = {0.5f, 0.125f};
    std::vector<float> dst(73, -1.0f);
    int32_t stop = 0;
    EXPECT_EQ(GetParam().normalize(src.data(), 40, invLen, 2, 4.0f, dst.data(), &stop), 0);
    for (int i = 0; i < 2; ++i)
        for (int j = 0; j < 36; ++j) ASSERT_EQ(dst[36 * i + j], (i ? 0.5f : 2.0f) * src[40 * i + j]) << i << "," << j;
    EXPECT_EQ(dst[72], -1.0f);
    // The stop flag and an empty list leave the output alone.
    std::vector<float> untouched(73, -1.0f);
    stop = 1;
    EXPECT_EQ(GetParam().normalize(src.data(), 40, invLen, 2, 4.0f, untouched.data(), &stop), 0);
    stop = 0;
    EXPECT_EQ(GetParam().normalize(src.data(), 40, invLen, 0, 4.0f, untouched.data(), &stop), 0);
    EXPECT_EQ(untouched, std::vector<float>(73, -1.0f));
}

TEST(FloatOpsVector, NormaliseMatchesReference) {
    std::mt19937 rng(5);
    std::uniform_real_distribution<float> inv(1e-3f, 2.0f);
    for (int trial = 0; trial < 200; ++trial) {
        const uint32_t n = 1 + rng() % 50, stride = 36 + rng() % 30;
        GuardedBuffer src(size_t{stride} * (n - 1) + 36, rng() % 16);
        fillRandom(src.data(), src.size(), rng);
        std::vector<float> invLen(n);
        for (float& f : invLen) f = inv(rng);
        GuardedBuffer expected(144 * n, 4 * (rng() % 4)), actual(144 * n, 4 * (rng() % 4));
        const int32_t stop = 0;
        const float reqNorm = inv(rng) * 512.0f;
        const auto* s = reinterpret_cast<const int8_t*>(src.data());
        obxVecNormalize36s8f32C(s, stride, invLen.data(), n, reqNorm, reinterpret_cast<float*>(expected.data()), &stop);
        obxVecNormalize36s8f32V(s, stride, invLen.data(), n, reqNorm, reinterpret_cast<float*>(actual.data()), &stop);
        ASSERT_EQ(memcmp(expected.data(), actual.data(), expected.size()), 0) << trial;
        ASSERT_TRUE(actual.guardsIntact() && src.guardsIntact());
    }
}

// ---- Sampled mean and variance ------------------------------------------------------------------

struct MeanVar {
    std::vector<float> means = std::vector<float>(36), vars = std::vector<float>(36);
};
MeanVar meanVar(obxDescriptorSampledMeanAndVar36f32_fn* f, const std::vector<float>& src, int32_t first,
                int32_t last, const std::vector<uint32_t>& vind) {
    MeanVar r;
    float temp = 0;
    EXPECT_EQ(f(src.data(), first, last, vind.data(), r.means.data(), r.vars.data(), &temp), 0);
    return r;
}

TEST_P(FloatOps, MeanAndSumOfSquaredDeviations) {
    // Descriptors 1, 2, 3, 6 (plus d in dimension d) sampled through indices
    // in a shuffled order: mean 3 + d, squared deviations 4 + 1 + 0 + 9.
    std::vector<float> src(36 * 6, 1000.0f);
    const float base[4] = {1, 2, 3, 6};
    const std::vector<uint32_t> vind = {5, 4, 2, 0, 3, 1};
    for (int k = 0; k < 4; ++k)
        for (int d = 0; d < 36; ++d) src[36 * vind[k + 1] + d] = base[k] + d;
    const MeanVar r = meanVar(GetParam().meanVar, src, 1, 4, vind);
    for (int d = 0; d < 36; ++d) {
        EXPECT_EQ(r.means[d], 3.0f + d) << d;
        EXPECT_EQ(r.vars[d], 14.0f) << d;
    }
    // One descriptor: its values and no deviation.
    const MeanVar one = meanVar(GetParam().meanVar, src, 2, 2, vind);
    for (int d = 0; d < 36; ++d) {
        EXPECT_EQ(one.means[d], 2.0f + d);
        EXPECT_EQ(one.vars[d], 0.0f);
    }
}

TEST_P(FloatOps, SamplesOnlyTheFirst101) {
    // 500 indices; those past the 101st point at descriptors of huge values.
    std::vector<float> src(36 * 500);
    std::vector<uint32_t> vind(500);
    for (uint32_t k = 0; k < 500; ++k) {
        vind[k] = (k * 7) % 500;
        for (int d = 0; d < 36; ++d) src[36 * vind[k] + d] = k <= 100 ? static_cast<float>((k + d) % 9) : 1e6f;
    }
    const MeanVar all = meanVar(GetParam().meanVar, src, 0, 499, vind);
    const MeanVar first = meanVar(GetParam().meanVar, src, 0, 100, vind);
    EXPECT_EQ(all.means, first.means);
    EXPECT_EQ(all.vars, first.vars);
    for (float m : all.means) EXPECT_LT(m, 9.0f);
}

// Equal bits, or NaN on both sides.
bool sameFloats(const std::vector<float>& a, const std::vector<float>& b) {
    for (size_t i = 0; i < a.size(); ++i)
        if (memcmp(&a[i], &b[i], 4) != 0 && !(std::isnan(a[i]) && std::isnan(b[i]))) return false;
    return true;
}

TEST(FloatOpsVector, MeanAndVarianceMatchReference) {
    std::mt19937 rng(9);
    std::uniform_real_distribution<float> value(-2.0f, 2.0f);
    const uint32_t count = 400;
    std::vector<float> src(36 * count);
    for (float& f : src) f = value(rng);
    std::vector<uint32_t> vind(count);
    for (uint32_t& i : vind) i = rng() % count;
    for (int trial = 0; trial < 150; ++trial) {
        // Ranges of every small length, long ones, and empty ones (last <
        // first, where the formulas see zero sums).
        const int32_t first = static_cast<int32_t>(rng() % 200);
        const int32_t last = trial < 10 ? first - trial % 3 : first + static_cast<int32_t>(trial < 60 ? trial % 20 : rng() % 200);
        const MeanVar e = meanVar(obxDescriptorSampledMeanAndVar36f32C, src, first, last, vind);
        const MeanVar a = meanVar(obxDescriptorSampledMeanAndVar36f32V, src, first, last, vind);
        ASSERT_TRUE(sameFloats(e.means, a.means)) << trial;
        ASSERT_TRUE(sameFloats(e.vars, a.vars)) << trial;
    }
}

std::string floatOpName(const ::testing::TestParamInfo<FloatOpVariant>& info) { return info.param.name; }
INSTANTIATE_TEST_SUITE_P(Descriptor, FloatOps, ::testing::ValuesIn(kFloatOpVariants), floatOpName);

// ---- Assertion texts ------------------------------------------------------------------------------

std::vector<AssertionCase> assertionCases() {
    static uint8_t u[512];
    static float f[64];
    static int32_t i32[4];
    const int8_t* s = reinterpret_cast<const int8_t*>(u);
    const std::string dotPair = "a && b", fourS36 = "A && B && C && D && E",
                      four = "A && B && C && D && E && dotProducts",
                      norm = "A && vB0 && vB1 && vB2 && vB3 && invLengthsB && dotProducts",
                      patch = "ptch && img && dotProducts && imgW && imgH";
    std::vector<AssertionCase> cases;
    for (bool vector : {false, true}) {
        const std::string dot = moduleOf("Dot", vector);
        const DotVariant& v = kDotVariants[vector];
        cases.push_back({"descriptor null norm",
                         [vector] {
                             (vector ? obxDescriptor17x17u8To36s8V : obxDescriptor17x17u8To36s8C)(
                                 u, reinterpret_cast<int8_t*>(u + 300), nullptr);
                         },
                         moduleOf("Descriptor", vector), "patch && descriptorChar && descriptorNormSq"});
        cases.push_back({"mean/var null temp",
                         [vector] {
                             (vector ? obxDescriptorSampledMeanAndVar36f32V : obxDescriptorSampledMeanAndVar36f32C)(
                                 f, 0, 0, reinterpret_cast<uint32_t*>(i32), f, f, nullptr);
                         },
                         moduleOf("Descriptor2", vector), "src && vind && means && vars && temp"});
        cases.push_back({"normalise null invLen",
                         [vector] {
                             (vector ? obxVecNormalize36s8f32V : obxVecNormalize36s8f32C)(
                                 reinterpret_cast<int8_t*>(u), 36, nullptr, 1, 1.0f, f, i32);
                         },
                         moduleOf("Vector", vector), "src && invLen && dst"});
        cases.push_back({"any length null b", [v, s] { v.sAny(s, nullptr, 0); }, dot, dotPair});
        cases.push_back({"36x1 null a", [v, s] { v.s36(nullptr, s); }, dot, dotPair});
        cases.push_back({"128x1u8 null b", [v] { v.u128(u, nullptr); }, dot, dotPair});
        cases.push_back({"36x4s8 null E", [v, s] { v.s36x4(s, s, s, s, nullptr, i32); }, dot, fourS36});
        cases.push_back({"128x4u8 null output", [v] { v.u128x4(u, u, u, u, u, nullptr); }, dot, four});
        cases.push_back({"128x4u8 null A", [v] { v.u128x4(nullptr, u, u, u, u, reinterpret_cast<uint32_t*>(i32)); },
                         dot, four});
        cases.push_back({"norm null lengths", [v, s] { v.norm36(s, 1.0f, s, s, s, s, nullptr, f); }, dot, norm});
        cases.push_back({"norm null vB2", [v, s] { v.norm36(s, 1.0f, s, s, nullptr, s, f, f); }, dot, norm});
        cases.push_back({"8x8 zero height", [v] { v.patch(u, u, 8, 0, 4, 4, 1, reinterpret_cast<uint32_t*>(i32)); },
                         dot, patch});
        cases.push_back({"11x12 zero width", [v] { v.grid(u, u, 0, 18, 4, 4, reinterpret_cast<uint32_t*>(f)); },
                         dot, patch});
    }
    const std::string dotC = moduleOf("Dot", false);
    cases.push_back({"64x4s8 null output", [s] { obxDotProduct64x4s8C(s, s, s, s, s, nullptr); }, dotC, four});
    cases.push_back({"128x4s8 null D", [s] { obxDotProduct128x4s8C(s, s, s, nullptr, s, i32); }, dotC, four});
    cases.push_back({"norm128x4u8 null A",
                     [] { obxDotProductNorm128x4u8C(nullptr, 1.0f, u, u, u, u, f, f); }, dotC, norm});
    cases.push_back({"64x4u8 vector null C",
                     [] { obxDotProduct64x4u8V(u, u, nullptr, u, u, reinterpret_cast<uint32_t*>(i32)); },
                     moduleOf("Dot", true), four});
    return cases;
}

INSTANTIATE_TEST_SUITE_P(Descriptor, AssertionText, ::testing::ValuesIn(assertionCases()), assertionCaseName);

}  // namespace
